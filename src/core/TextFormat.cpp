#include "core/TextFormat.h"

#include <QLocale>
#include <QTextBoundaryFinder>
#include <algorithm>

bool TextFormat::isBlank(const QString& text)
{
    return text.trimmed().isEmpty();
}

QString TextFormat::escapeHtml(const QString& text)
{
    QString out = text;
    out.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
    out.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
    out.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
    out.replace(QLatin1Char('"'), QStringLiteral("&quot;"));
    out.replace(QLatin1Char('\''), QStringLiteral("&#39;"));
    return out;
}

qsizetype TextFormat::characterCount(QStringView text)
{
    // Below U+0300 only a carriage return before a line feed joins what follows it: such a text
    // has one character per code unit, and long texts mostly are such texts.
    const bool simple =
        std::none_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0x300 || c == u'\r'; });
    if (simple)
        return text.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QLocale TextFormat::displayLocale()
{
    // The C locale (no LANG set) writes numbers without grouping and times with seconds; read it
    // as English, as the product's own texts are.
    const QLocale locale;
    return locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale;
}

QString TextFormat::groupedNumber(qint64 value)
{
    QLocale locale = displayLocale();
    locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
    return locale.toString(value);
}

QString TextFormat::plural(qint64 count, const QString& singular)
{
    return QString::number(count) + QLatin1Char(' ') + singular + (count == 1 ? QString() : QStringLiteral("s"));
}
