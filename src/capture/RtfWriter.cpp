#include "capture/RtfWriter.h"

namespace {

void appendEscaped(QByteArray& out, const QString& text)
{
    for (QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit == '\\' || unit == '{' || unit == '}') {
            out += '\\';
            out += char(unit);
        } else if (unit == '\n') {
            out += "\\line ";
        } else if (unit == '\t') {
            out += "\\tab ";
        } else if (unit >= 0x20 && unit < 0x80) {
            out += char(unit);
        } else if (unit < 0x20) {
            continue;
        } else {
            // \u takes a signed 16-bit number. The fallback "?" goes as a hex escape: some readers
            // (pandoc) swallow the space after a literal fallback character.
            out += "\\u" + QByteArray::number(unit >= 0x8000 ? int(unit) - 65536 : int(unit)) + "\\'3f";
        }
    }
}

QByteArray formatWords(const TextRun& run)
{
    QByteArray words;
    if (run.bold)
        words += "\\b";
    if (run.italic)
        words += "\\i";
    if (run.underline)
        words += "\\ul";
    if (run.strike)
        words += "\\strike";
    return words;
}

void appendRun(QByteArray& out, const TextRun& run)
{
    const QByteArray words = formatWords(run);
    // The space ends the last control word; without one it would be text.
    QByteArray body = "{" + words + (words.isEmpty() ? "" : " ");
    appendEscaped(body, run.text);
    body += '}';
    if (run.link.isEmpty()) {
        out += body;
        return;
    }
    QString target = run.link;
    target.remove(QLatin1Char('"'));
    out += "{\\field{\\*\\fldinst{HYPERLINK \"";
    appendEscaped(out, target);
    out += "\"}}{\\fldrslt" + body + "}}";
}

QByteArray number(int value)
{
    return QByteArray::number(value);
}

// One list of the list table: nine levels, each a bullet or a decimal number by what the list's
// items at that level are. Readers number the items themselves; \listtext is for those that don't.
QByteArray listDefinition(int id, const QList<TextParagraph::List>& levels)
{
    QByteArray out = "{\\list\\listtemplateid" + number(id) + "\\listhybrid";
    for (int level = 0; level < levels.size(); ++level) {
        const bool ordered = levels[level] == TextParagraph::List::ordered;
        const QByteArray indent = "\\fi-360\\li" + number(720 * (level + 1)) + "\\lin" + number(720 * (level + 1));
        out += "{\\listlevel\\levelnfc" + QByteArray(ordered ? "0" : "23") + "\\levelnfcn"
            + QByteArray(ordered ? "0" : "23") + "\\leveljc0\\leveljcn0\\levelfollow0\\levelstartat1";
        if (ordered)
            out += "{\\leveltext\\'02\\'0" + number(level) + ".;}{\\levelnumbers\\'01;}";
        else
            out += "{\\leveltext\\'01\\u8226 ?;}{\\levelnumbers;}";
        out += indent + "}";
    }
    out += "{\\listname ;}\\listid" + number(id) + "}";
    return out;
}

void appendListText(QByteArray& out, const TextParagraph& paragraph, int orderedNumber)
{
    out += "{\\listtext ";
    if (paragraph.list == TextParagraph::List::ordered)
        out += number(orderedNumber) + '.';
    else
        out += "\\u8226\\'3f";
    out += "\\tab}";
}

void appendRuns(QByteArray& out, const TextParagraph& paragraph)
{
    for (const TextRun& run : paragraph.runs)
        appendRun(out, run);
}

// A table's paragraphs, in row order, as rows of cells of equal width.
void appendTable(QByteArray& out, const QList<TextParagraph>& cells)
{
    int columns = 1;
    for (const TextParagraph& cell : cells)
        columns = qMax(columns, cell.tableColumn + 1);
    const int width = 9360 / columns;
    qsizetype i = 0;
    while (i < cells.size()) {
        const int row = cells[i].tableRow;
        out += "\\trowd\\trgaph108\\trleft0";
        for (int column = 1; column <= columns; ++column)
            out += "\\clbrdrt\\brdrs\\brdrw10\\clbrdrl\\brdrs\\brdrw10\\clbrdrb\\brdrs\\brdrw10\\clbrdrr\\brdrs\\brdrw10\\cellx"
                + number(width * column);
        out += '\n';
        for (int column = 0; column < columns; ++column) {
            out += "\\pard\\plain\\intbl ";
            bool first = true;
            while (i < cells.size() && cells[i].tableRow == row && cells[i].tableColumn == column) {
                if (!first)
                    out += "\\par\\pard\\plain\\intbl ";
                appendRuns(out, cells[i]);
                first = false;
                ++i;
            }
            out += "\\cell\n";
        }
        // Cells out of order (a reader's quirk) would stall the loop: skip what this row left.
        while (i < cells.size() && cells[i].tableRow == row)
            ++i;
        out += "\\row\n";
    }
    out += "\\pard\n";
}

} // namespace

QByteArray RtfWriter::write(const RichText& text)
{
    // Lists: a new one wherever an item follows a paragraph that is none, or the kind of its top
    // level changes; each gets a list definition and its own override, so numbering restarts.
    QList<int> listOf(text.paragraphs.size(), 0);
    QList<QList<TextParagraph::List>> lists;
    for (qsizetype i = 0; i < text.paragraphs.size(); ++i) {
        const TextParagraph& paragraph = text.paragraphs[i];
        if (paragraph.list == TextParagraph::List::none || paragraph.table >= 0)
            continue;
        const int level = qBound(0, paragraph.listLevel, 8);
        const bool continues = i > 0 && listOf[i - 1] > 0
            && !(level == 0 && lists.last()[0] != TextParagraph::List::none && lists.last()[0] != paragraph.list);
        if (!continues)
            lists.append(QList<TextParagraph::List>(9, TextParagraph::List::none));
        if (lists.last()[level] == TextParagraph::List::none)
            lists.last()[level] = paragraph.list;
        listOf[i] = int(lists.size());
    }

    QByteArray out = "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1{\\fonttbl{\\f0\\fswiss\\fcharset0 Helvetica;}}\n";
    if (!lists.isEmpty()) {
        out += "{\\*\\listtable\n";
        for (qsizetype l = 0; l < lists.size(); ++l) {
            QList<TextParagraph::List> levels = lists[l];
            for (TextParagraph::List& level : levels) {
                if (level == TextParagraph::List::none)
                    level = TextParagraph::List::bullet;
            }
            out += listDefinition(int(l + 1), levels) + '\n';
        }
        out += "}\n{\\*\\listoverridetable\n";
        for (qsizetype l = 0; l < lists.size(); ++l)
            out += "{\\listoverride\\listid" + number(int(l + 1)) + "\\listoverridecount0\\ls" + number(int(l + 1)) + "}\n";
        out += "}\n";
    }
    out += "\\f0\\fs24\n";

    // Numbers for \listtext restart with each list; each nesting level counts alone.
    QList<int> counters(9, 0);
    for (qsizetype i = 0; i < text.paragraphs.size();) {
        const TextParagraph& paragraph = text.paragraphs[i];
        if (paragraph.table >= 0) {
            QList<TextParagraph> cells;
            const int table = paragraph.table;
            while (i < text.paragraphs.size() && text.paragraphs[i].table == table)
                cells.append(text.paragraphs[i++]);
            appendTable(out, cells);
            continue;
        }
        const int level = qBound(0, paragraph.listLevel, 8);
        out += "\\pard\\plain";
        if (paragraph.list != TextParagraph::List::none) {
            if (i == 0 || listOf[i - 1] != listOf[i])
                counters.fill(0);
            int orderedNumber = ++counters[level];
            for (int deeper = level + 1; deeper < counters.size(); ++deeper)
                counters[deeper] = 0;
            out += "\\ls" + number(listOf[i]) + "\\ilvl" + number(level) + "\\fi-360\\li" + number(720 * (level + 1));
            appendListText(out, paragraph, orderedNumber);
        } else {
            out += ' ';
        }
        appendRuns(out, paragraph);
        out += "\\par\n";
        ++i;
    }
    out += "}";
    return out;
}
