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

void appendParagraph(QByteArray& out, const TextParagraph& paragraph, int orderedNumber)
{
    out += "\\pard\\plain";
    if (paragraph.list != TextParagraph::List::none) {
        const int level = qBound(0, paragraph.listLevel, 8);
        out += "\\ilvl" + QByteArray::number(level) + "\\li" + QByteArray::number(720 * (level + 1)) + "\\fi-360";
        out += "{\\listtext ";
        if (paragraph.list == TextParagraph::List::ordered)
            out += QByteArray::number(orderedNumber) + '.';
        else
            out += "\\u8226\\'3f";
        out += "\\tab}";
    } else {
        out += ' ';
    }
    for (const TextRun& run : paragraph.runs)
        appendRun(out, run);
    out += "\\par\n";
}

} // namespace

QByteArray RtfWriter::write(const RichText& text)
{
    QByteArray out = "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1{\\fonttbl{\\f0\\fswiss\\fcharset0 Helvetica;}}\n"
                     "\\f0\\fs24\n";
    // Numbers restart whenever an ordered list is interrupted; each nesting level counts alone.
    QList<int> counters(9, 0);
    for (const TextParagraph& paragraph : text.paragraphs) {
        const int level = qBound(0, paragraph.listLevel, 8);
        int number = 0;
        if (paragraph.list == TextParagraph::List::ordered) {
            number = ++counters[level];
            for (int deeper = level + 1; deeper < counters.size(); ++deeper)
                counters[deeper] = 0;
        } else if (paragraph.list == TextParagraph::List::none) {
            counters.fill(0);
        }
        appendParagraph(out, paragraph, number);
    }
    out += "}";
    return out;
}
