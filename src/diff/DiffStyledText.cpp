#include "diff/DiffStyledText.h"

#include <QVariantMap>

namespace {

QString escapeHtml(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (QChar c : text) {
        switch (c.unicode()) {
        case u'&': out += QStringLiteral("&amp;"); break;
        case u'<': out += QStringLiteral("&lt;"); break;
        case u'>': out += QStringLiteral("&gt;"); break;
        case u'"': out += QStringLiteral("&quot;"); break;
        case u'\'': out += QStringLiteral("&#39;"); break;
        default: out += c;
        }
    }
    return out;
}

// Whitespace keeps the fixed text's line breaks; rich text knows one newline, so CR LF and a lone
// CR become "\n" (pre-wrap keeps them) and line/paragraph separators stay as they are.
QString escapeWhitespace(QStringView text)
{
    QString out = text.toString();
    out.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    out.replace(u'\r', u'\n');
    return out;
}

// #AARRGGBB is the one colour form with alpha that Qt's rich-text CSS reads.
QString cssColor(QColor color, double opacity = 1.0)
{
    color.setAlphaF(float(opacity));
    return color.name(QColor::HexArgb);
}

QVariantMap run(const QString &text, const QString &kind)
{
    return {{QStringLiteral("text"), text}, {QStringLiteral("kind"), kind}};
}

} // namespace

DiffColors diffColors(DiffPaletteKind palette, bool dark)
{
    if (palette == DiffPaletteKind::History) {
        return dark ? DiffColors{QColor(0xe6, 0xe6, 0xe8), QColor(0xff, 0x45, 0x3a), QColor(0x30, 0xd1, 0x58)}
                    : DiffColors{QColor(0x1d, 0x1d, 0x1f), QColor(0xff, 0x3b, 0x30), QColor(0x34, 0xc7, 0x59)};
    }
    return dark ? DiffColors{QColor(0xf1, 0xf3, 0xf4), QColor(0xf2, 0x8b, 0x82), QColor(0x81, 0xc9, 0x95)}
                : DiffColors{QColor(0x20, 0x21, 0x24), QColor(0xd9, 0x30, 0x25), QColor(0x18, 0x80, 0x38)};
}

QVariantList strikeRanges(const QVariantList &runs)
{
    QVariantList ranges;
    qsizetype position = 0;
    for (const QVariant &item : runs) {
        const QVariantMap map = item.toMap();
        const qsizetype length = escapeWhitespace(map.value(QStringLiteral("text")).toString()).size();
        if (map.value(QStringLiteral("kind")).toString() == u"removed")
            ranges.append(QVariantMap{{QStringLiteral("start"), position}, {QStringLiteral("end"), position + length}});
        position += length;
    }
    return ranges;
}

StyledDiff styleDiff(const DiffComputation &diff, const DiffColors &colors)
{
    const QString text = cssColor(colors.text);
    // No line-through: Qt's rich text would draw it in the text colour; views draw it in the
    // removal colour from strikeRanges().
    const QString removedStyle = QStringLiteral("color:%1;background-color:%2")
                                     .arg(text, cssColor(colors.removal, kDiffTintOpacity));
    const QString addedStyle =
        QStringLiteral("color:%1;background-color:%2").arg(text, cssColor(colors.addition, kDiffTintOpacity));
    const QString unchangedStyle = QStringLiteral("color:%1").arg(text);

    StyledDiff styled;
    styled.editCount = diff.editCount;
    styled.html = QStringLiteral("<div style=\"white-space:pre-wrap\">");
    for (const Change &change : diff.changes) {
        const QString &style = change.removed ? removedStyle : change.added ? addedStyle : unchangedStyle;
        styled.html += u"<span style=\"" + style + u"\">" + escapeHtml(change.value) + u"</span>";
        styled.runs.append(run(change.value, change.removed ? QStringLiteral("removed")
                                             : change.added ? QStringLiteral("added")
                                                            : QStringLiteral("unchanged")));
        // A separate plain run, so tints and strike lines stop at the word's edge.
        if (!change.trailingWhitespace.isEmpty()) {
            styled.html += escapeWhitespace(change.trailingWhitespace);
            styled.runs.append(run(change.trailingWhitespace, QStringLiteral("whitespace")));
        }
    }
    styled.html += QStringLiteral("</div>");
    return styled;
}
