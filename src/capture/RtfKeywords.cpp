#include "capture/RtfKeywords.h"

#include <QHash>
#include <QSet>

namespace {

// Destinations whose content is never text: tables of fonts, colours, styles, document info,
// pictures, headers and footers, and what Word and LibreOffice add around them.
const QSet<QByteArray>& skippedDestinations()
{
    static const QSet<QByteArray> names = {
        "colortbl", "stylesheet", "info", "pict", "object", "header", "headerl", "headerr", "headerf",
        "footer", "footerl", "footerr", "footerf", "footnote", "listtable", "listoverridetable",
        "rsidtbl", "generator", "xmlnstbl", "themedata", "colorschememapping", "latentstyles",
        "datastore", "revtbl", "filetbl", "pgdsctbl", "pntxta", "pntxtb", "nonshppict",
        "shppict", "sp", "shp", "annotation", "atnid", "atnauthor", "bkmkstart", "bkmkend",
        "expandedcolortbl", "mmathPr", "operator", "author", "title", "subject", "company",
    };
    return names;
}

// Symbols RTF names by control word.
const QHash<QByteArray, QChar>& namedCharacters()
{
    static const QHash<QByteArray, QChar> symbols = {
        {"emdash", QChar(0x2014)}, {"endash", QChar(0x2013)}, {"bullet", QChar(0x2022)},
        {"lquote", QChar(0x2018)}, {"rquote", QChar(0x2019)}, {"ldblquote", QChar(0x201C)},
        {"rdblquote", QChar(0x201D)}, {"emspace", QChar(0x2003)}, {"enspace", QChar(0x2002)},
        {"qmspace", QChar(0x2005)}, {"zwj", QChar(0x200D)}, {"zwnj", QChar(0x200C)},
    };
    return symbols;
}

} // namespace

// The first quoted argument, else the first word.
QString RtfKeywords::hyperlinkTarget(const QString& instruction)
{
    const QString trimmed = instruction.trimmed();
    if (!trimmed.startsWith(QLatin1StringView("HYPERLINK"), Qt::CaseInsensitive))
        return {};
    const QString rest = trimmed.mid(9).trimmed();
    if (rest.startsWith(QLatin1Char('"'))) {
        const qsizetype end = rest.indexOf(QLatin1Char('"'), 1);
        return end < 0 ? rest.mid(1) : rest.mid(1, end - 1);
    }
    return rest.section(QLatin1Char(' '), 0, 0);
}

bool RtfKeywords::looksOrdered(const QString& marker)
{
    for (QChar c : marker) {
        if (c.isDigit())
            return true;
    }
    const QString trimmed = marker.trimmed();
    return trimmed.size() >= 2 && trimmed.at(0).isLetter()
        && (trimmed.endsWith(QLatin1Char('.')) || trimmed.endsWith(QLatin1Char(')')));
}

bool RtfKeywords::isSkippedDestination(const QByteArray& word)
{
    return skippedDestinations().contains(word);
}

std::optional<QChar> RtfKeywords::namedCharacter(const QByteArray& word)
{
    const auto it = namedCharacters().constFind(word);
    if (it == namedCharacters().cend())
        return std::nullopt;
    return *it;
}
