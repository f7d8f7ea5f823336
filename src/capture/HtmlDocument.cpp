#include "capture/HtmlDocument.h"

#include "capture/HtmlText.h"
#include "core/TextFormat.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>
#include <variant>

namespace {

bool opensAsDocument(const QString& html)
{
    return !html.isEmpty() && html.size() <= HtmlDocument::maxDocumentSize;
}

TextParagraph::List listKind(const QTextList* list)
{
    if (!list)
        return TextParagraph::List::none;
    switch (list->format().style()) {
    case QTextListFormat::ListDisc:
    case QTextListFormat::ListCircle:
    case QTextListFormat::ListSquare:
    case QTextListFormat::ListStyleUndefined:
        return TextParagraph::List::bullet;
    default:
        return TextParagraph::List::ordered;
    }
}

TextParagraph paragraphOf(const QTextBlock& block)
{
    TextParagraph paragraph;
    if (const QTextList* list = block.textList()) {
        paragraph.list = listKind(list);
        paragraph.listLevel = qMax(0, list->format().indent() - 1);
    }
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        if (!fragment.isValid())
            continue;
        const QTextCharFormat format = fragment.charFormat();
        TextRun run;
        run.text = fragment.text();
        run.text.replace(QChar::LineSeparator, QLatin1Char('\n'));
        run.text.remove(QChar::ObjectReplacementCharacter);
        run.bold = format.fontWeight() >= QFont::DemiBold;
        run.italic = format.fontItalic();
        run.strike = format.fontStrikeOut();
        if (format.isAnchor() && !format.anchorHref().isEmpty())
            run.link = format.anchorHref();
        // A link's underline is how links look, not something the author added.
        run.underline = format.fontUnderline() && run.link.isEmpty();
        paragraph.append(run);
    }
    return paragraph;
}

// The frame's children in order; Qt's empty blocks before and after a table are left out.
QList<std::variant<QTextBlock, QTextFrame*>> frameChildren(const QTextFrame* frame)
{
    QList<std::variant<QTextBlock, QTextFrame*>> children;
    for (auto it = frame->begin(); !it.atEnd(); ++it) {
        if (QTextFrame* child = it.currentFrame())
            children.append(child);
        else if (it.currentBlock().isValid())
            children.append(it.currentBlock());
    }
    QList<std::variant<QTextBlock, QTextFrame*>> kept;
    for (qsizetype i = 0; i < children.size(); ++i) {
        const bool nextToFrame = (i > 0 && std::holds_alternative<QTextFrame*>(children[i - 1]))
            || (i + 1 < children.size() && std::holds_alternative<QTextFrame*>(children[i + 1]));
        if (nextToFrame && std::holds_alternative<QTextBlock>(children[i])
            && std::get<QTextBlock>(children[i]).text().isEmpty())
            continue;
        kept.append(children[i]);
    }
    return kept;
}

void appendFrame(RichText& text, const QTextFrame* frame)
{
    for (const auto& child : frameChildren(frame)) {
        if (const auto* block = std::get_if<QTextBlock>(&child)) {
            text.paragraphs.append(paragraphOf(*block));
            continue;
        }
        const auto* table = qobject_cast<const QTextTable*>(std::get<QTextFrame*>(child));
        if (!table) {
            appendFrame(text, std::get<QTextFrame*>(child));
            continue;
        }
        int tableIndex = 0;
        for (const TextParagraph& paragraph : std::as_const(text.paragraphs))
            tableIndex = qMax(tableIndex, paragraph.table + 1);
        for (int row = 0; row < table->rows(); ++row) {
            for (int column = 0; column < table->columns(); ++column) {
                const QTextTableCell cell = table->cellAt(row, column);
                if (cell.row() != row || cell.column() != column)
                    continue;
                for (auto it = cell.begin(); !it.atEnd(); ++it) {
                    if (!it.currentBlock().isValid())
                        continue;
                    TextParagraph paragraph = paragraphOf(it.currentBlock());
                    paragraph.table = tableIndex;
                    paragraph.tableRow = row;
                    paragraph.tableColumn = column;
                    text.paragraphs.append(paragraph);
                }
            }
        }
    }
}

// The plain text of a laid-out document as a browser copies it: no-break spaces as spaces, table
// cells apart by tabs and rows by line breaks, every block on its own line and a paragraph with a
// bottom margin followed by a blank line. QTextDocument's own text marks frames with
// noncharacters and puts each table cell on a line of its own.
class PlainTextWriter
{
public:
    QString write(const QTextDocument& document)
    {
        frame(document.rootFrame());
        return m_text;
    }

private:
    static QString blockText(const QTextBlock& block)
    {
        QString text = block.text();
        text.replace(QChar::LineSeparator, QLatin1Char('\n'));
        text.replace(QChar::Nbsp, QLatin1Char(' '));
        text.remove(QChar::ObjectReplacementCharacter);
        return text;
    }

    // Chromium leaves a blank line only after a paragraph whose bottom margin is at least half a
    // line; Qt gives <p> such a margin and headings, list items and divs none or a heading level.
    static bool endsWithBlankLine(const QTextBlock& block)
    {
        const QTextBlockFormat format = block.blockFormat();
        return !block.textList() && format.headingLevel() == 0 && format.bottomMargin() >= 8;
    }

    void item(const QString& text, const QString& separatorAfter)
    {
        if (m_started)
            m_text += m_separator;
        m_text += text;
        m_started = true;
        m_separator = separatorAfter;
    }

    static QString cellText(const QTextTableCell& cell)
    {
        QStringList lines;
        for (auto it = cell.begin(); !it.atEnd(); ++it) {
            if (it.currentBlock().isValid())
                lines.append(blockText(it.currentBlock()));
        }
        return lines.join(QLatin1Char(' ')).trimmed();
    }

    void table(const QTextTable* table)
    {
        QStringList rows;
        for (int row = 0; row < table->rows(); ++row) {
            QStringList cells;
            for (int column = 0; column < table->columns(); ++column) {
                const QTextTableCell cell = table->cellAt(row, column);
                // A spanned cell is written once, where it starts.
                if (cell.row() == row && cell.column() == column)
                    cells.append(cellText(cell));
            }
            rows.append(cells.join(QLatin1Char('\t')));
        }
        item(rows.join(QLatin1Char('\n')), QStringLiteral("\n"));
    }

    void frame(const QTextFrame* frame)
    {
        const auto children = frameChildren(frame);
        for (const auto& child : children) {
            if (auto* const* childFrame = std::get_if<QTextFrame*>(&child)) {
                if (auto* asTable = qobject_cast<QTextTable*>(*childFrame))
                    table(asTable);
                else
                    this->frame(*childFrame);
                continue;
            }
            const QTextBlock block = std::get<QTextBlock>(child);
            const QString text = blockText(block);
            item(text, endsWithBlankLine(block) ? QStringLiteral("\n\n") : QStringLiteral("\n"));
        }
    }

    QString m_text;
    QString m_separator;
    bool m_started = false;
};

QString escapedParagraph(const QString& text)
{
    return HtmlText::plainTextToHtml(text);
}

bool isLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

// Elements that never hold content, and so never nest.
bool isVoidElement(QStringView name)
{
    static const QStringList names{
        QStringLiteral("area"), QStringLiteral("base"),  QStringLiteral("br"),    QStringLiteral("col"),
        QStringLiteral("embed"), QStringLiteral("hr"),   QStringLiteral("img"),   QStringLiteral("input"),
        QStringLiteral("link"), QStringLiteral("meta"),  QStringLiteral("param"), QStringLiteral("source"),
        QStringLiteral("track"), QStringLiteral("wbr")};
    return names.contains(name, Qt::CaseInsensitive);
}

// Elements whose end tag may be left out: opening one closes these if they are open innermost,
// so that a long list or table without end tags does not count as deep.
QStringList implicitlyClosedBy(const QString& name)
{
    static const QHash<QString, QStringList> closers{
        {QStringLiteral("p"), {QStringLiteral("p")}},
        {QStringLiteral("li"), {QStringLiteral("p"), QStringLiteral("li")}},
        {QStringLiteral("dt"), {QStringLiteral("p"), QStringLiteral("dt"), QStringLiteral("dd")}},
        {QStringLiteral("dd"), {QStringLiteral("p"), QStringLiteral("dt"), QStringLiteral("dd")}},
        {QStringLiteral("tr"), {QStringLiteral("td"), QStringLiteral("th"), QStringLiteral("tr")}},
        {QStringLiteral("td"), {QStringLiteral("td"), QStringLiteral("th")}},
        {QStringLiteral("th"), {QStringLiteral("td"), QStringLiteral("th")}},
        {QStringLiteral("option"), {QStringLiteral("option")}},
    };
    return closers.value(name);
}

// Where a tag that starts at `open` ends: after its ">", skipping quoted attribute values.
qsizetype tagEnd(const QString& html, qsizetype open)
{
    QChar quote;
    for (qsizetype i = open + 1; i < html.size(); ++i) {
        const QChar c = html.at(i);
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u'>') {
            return i + 1;
        }
    }
    return -1;
}

} // namespace

QString HtmlDocument::boundedNesting(const QString& html, int maxDepth)
{
    struct Open
    {
        QString name;
        bool kept;
    };
    QList<Open> stack;
    QString out;
    qsizetype copied = 0; // html before this is in `out` or deliberately left out
    bool changed = false;
    const auto drop = [&](qsizetype from, qsizetype to) {
        out += QStringView(html).mid(copied, from - copied);
        copied = to;
        changed = true;
    };

    for (qsizetype pos = html.indexOf(u'<'); pos >= 0 && pos + 1 < html.size(); pos = html.indexOf(u'<', pos + 1)) {
        if (QStringView(html).mid(pos, 4) == QLatin1StringView("<!--")) {
            const qsizetype end = html.indexOf(QLatin1StringView("-->"), pos + 4);
            if (end < 0)
                break;
            pos = end + 2;
            continue;
        }
        const bool closing = html.at(pos + 1) == u'/';
        const qsizetype nameStart = pos + (closing ? 2 : 1);
        if (nameStart >= html.size() || !isLetter(html.at(nameStart)))
            continue; // not a tag: "<" in text, "<!DOCTYPE", "<?xml"
        qsizetype nameEnd = nameStart;
        while (nameEnd < html.size() && (html.at(nameEnd).isLetterOrNumber() || html.at(nameEnd) == u'-'))
            ++nameEnd;
        const QString name = html.mid(nameStart, nameEnd - nameStart).toLower();
        qsizetype end = tagEnd(html, pos);
        if (end < 0) // a quote never closed: the layout reads the tag up to its first ">" anyway
            end = html.indexOf(u'>', pos) + 1;
        if (end <= 0)
            break;

        if (closing) {
            qsizetype match = stack.size() - 1;
            while (match >= 0 && stack.at(match).name != name)
                --match;
            if (match >= 0) {
                const bool kept = stack.at(match).kept;
                stack.resize(match);
                if (!kept)
                    drop(pos, end);
            }
        } else if (!isVoidElement(name) && html.at(end - 2) != u'/') {
            const QStringList closed = implicitlyClosedBy(name);
            while (!stack.isEmpty() && closed.contains(stack.last().name)) {
                if (!stack.last().kept)
                    break; // its dropped end tag is still to come; leave the count to it
                stack.removeLast();
            }
            const bool kept = stack.size() < maxDepth;
            stack.append({name, kept});
            if (!kept)
                drop(pos, end);
            // Script and style hold text, not tags.
            if (name == u"script" || name == u"style") {
                const qsizetype close = html.indexOf(QStringLiteral("</") + name, end, Qt::CaseInsensitive);
                if (close < 0)
                    break;
                pos = close - 1;
                continue;
            }
        }
        pos = end - 1;
    }
    if (!changed)
        return html;
    out += QStringView(html).mid(copied);
    return out;
}

QString HtmlDocument::toPlainText(const QString& html)
{
    if (!opensAsDocument(html))
        return HtmlText::stripTags(html);
    QTextDocument document;
    document.setHtml(boundedNesting(html));
    return HtmlText::normaliseNewlines(PlainTextWriter().write(document));
}

RichText HtmlDocument::toRichText(const QString& html)
{
    RichText text;
    if (!opensAsDocument(html)) {
        TextParagraph paragraph;
        paragraph.append(TextRun{.text = HtmlText::stripTags(html)});
        text.paragraphs.append(paragraph);
        return text;
    }
    QTextDocument document;
    document.setHtml(boundedNesting(html));
    appendFrame(text, document.rootFrame());
    return text;
}

QString HtmlDocument::bodyHtml(const QTextDocument& document)
{
    const QString exported = document.toHtml();
    // Qt writes <body style="…">, so the opening tag is matched up to its ">".
    const qsizetype bodyTag = exported.indexOf(QLatin1StringView("<body"));
    const qsizetype open = bodyTag < 0 ? -1 : exported.indexOf(QLatin1Char('>'), bodyTag);
    const qsizetype close = open < 0 ? -1 : exported.indexOf(QLatin1StringView("</body>"), open);
    if (close >= 0) {
        const QString inner = exported.mid(open + 1, close - open - 1).trimmed();
        if (!inner.isEmpty())
            return inner;
    }
    return escapedParagraph(document.toRawText());
}

QString HtmlDocument::bodyHtml(const RichText& text)
{
    const QString html = text.toHtml().trimmed();
    if (!TextFormat::isBlank(html))
        return html;
    return escapedParagraph(text.plainText());
}
