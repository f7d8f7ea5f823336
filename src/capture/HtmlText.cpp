#include "capture/HtmlText.h"

#include "capture/ClipboardTypes.h"
#include "core/TextFormat.h"

#include <QStringDecoder>

namespace {

constexpr int tailwindThreshold = 50;

bool looksLikeUtf16(const QByteArray& data, bool& littleEndian)
{
    // HTML starts with ASCII markup; in UTF-16 without a mark every other byte of it is zero.
    if (data.size() < 4 || data.size() % 2 != 0)
        return false;
    if (data[0] != 0 && data[1] == 0 && data[2] != 0 && data[3] == 0) {
        littleEndian = true;
        return true;
    }
    if (data[0] == 0 && data[1] != 0 && data[2] == 0 && data[3] != 0) {
        littleEndian = false;
        return true;
    }
    return false;
}

QString decodeWith(QStringConverter::Encoding encoding, QByteArrayView data)
{
    QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
    return decoder.decode(data);
}

// Removes every match of a pattern "opener … closer" where the closer is the first occurrence of
// `closer` after the opener (and, when `midStop` is set, after the first `midStop`). Equivalent to
// the regular expressions it replaces, but linear: when a closer is missing, no later opener can
// find one either, so the scan ends there instead of retrying from every opener.
QString removeSpans(const QString& text, QStringView opener, QStringView midStop, QStringView closer)
{
    QString out;
    qsizetype pos = 0;
    while (pos < text.size()) {
        const qsizetype start = text.indexOf(opener, pos);
        if (start < 0)
            break;
        qsizetype searchFrom = start + opener.size();
        if (!midStop.isEmpty()) {
            const qsizetype mid = text.indexOf(midStop, searchFrom);
            if (mid < 0)
                break;
            searchFrom = mid + midStop.size();
        }
        const qsizetype end = text.indexOf(closer, searchFrom);
        if (end < 0)
            break;
        out += QStringView(text).mid(pos, start - pos);
        pos = end + closer.size();
    }
    if (pos == 0)
        return text;
    out += QStringView(text).mid(pos);
    return out;
}

} // namespace

QString HtmlText::decode(const QByteArray& data)
{
    const QByteArrayView view(data);
    if (view.startsWith("\xEF\xBB\xBF"))
        return decodeWith(QStringConverter::Utf8, view.sliced(3));
    if (view.startsWith("\xFF\xFE"))
        return decodeWith(QStringConverter::Utf16LE, view.sliced(2));
    if (view.startsWith("\xFE\xFF"))
        return decodeWith(QStringConverter::Utf16BE, view.sliced(2));
    bool littleEndian = true;
    if (looksLikeUtf16(data, littleEndian))
        return decodeWith(littleEndian ? QStringConverter::Utf16LE : QStringConverter::Utf16BE, view);
    // Chromium and others prefix the fragment with <meta charset='utf-8'>; honour whatever it names.
    QStringDecoder decoder = QStringDecoder::decoderForHtml(view);
    if (!decoder.isValid())
        return decodeWith(QStringConverter::Utf8, view);
    return decoder.decode(view);
}

QString HtmlText::plainTextToHtml(const QString& text)
{
    QString escaped = TextFormat::escapeHtml(text);
    escaped.replace(QLatin1Char('\n'), QStringLiteral("<br>"));
    return QStringLiteral("<p>") + escaped + QStringLiteral("</p>");
}

QString HtmlText::stripTags(const QString& html)
{
    // "<[^>]+>": a "<" with at least one non-">" character before the next ">".
    QString out;
    out.reserve(html.size());
    qsizetype pos = 0;
    while (pos < html.size()) {
        const qsizetype open = html.indexOf(QLatin1Char('<'), pos);
        if (open < 0)
            break;
        const qsizetype close = html.indexOf(QLatin1Char('>'), open + 1);
        if (close < 0)
            break;
        if (close == open + 1) {
            out += QStringView(html).mid(pos, close + 1 - pos);
        } else {
            out += QStringView(html).mid(pos, open - pos);
        }
        pos = close + 1;
    }
    out += QStringView(html).mid(pos);
    return out.trimmed();
}

QString HtmlText::cleanForFix(const QString& html)
{
    // Counted as split() would cut, without overlaps: "--tw--tw-" holds one, not two.
    const QString marker = QStringLiteral("--tw-");
    int occurrences = 0;
    for (qsizetype at = html.indexOf(marker); at >= 0 && occurrences < tailwindThreshold;
         at = html.indexOf(marker, at + marker.size()))
        ++occurrences;
    if (occurrences < tailwindThreshold)
        return html;
    // ` style="[^"]*"` and then `<style[^>]*>[\s\S]*?</style>`.
    const QString withoutAttributes = removeSpans(html, u" style=\"", {}, u"\"");
    return removeSpans(withoutAttributes, u"<style", u">", u"</style>");
}

QString HtmlText::stripGoogleDocsIds(const QString& html)
{
    return removeSpans(html, u" id=\"docs-internal-guid-", {}, u"\"");
}

bool HtmlText::isFromGoogleDocs(const QString& html)
{
    return html.contains(ClipboardTypes::googleDocsMarker);
}

QString HtmlText::normaliseNewlines(const QString& text)
{
    QString out = text;
    out.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    out.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    out.replace(QChar(0x2028), QLatin1Char('\n'));
    out.replace(QChar(0x2029), QLatin1Char('\n'));
    return out.trimmed();
}
