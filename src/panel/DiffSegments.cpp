#include "panel/DiffSegments.h"

#include "diff/Graphemes.h"

#include <QVariantMap>

namespace {

// The current edit stands out from the others by a deeper tint.
constexpr double highlightTintOpacity = 0.38;

enum class Kind { removed, added, unchanged, whitespace };

struct Run
{
    QString text;
    Kind kind;
};

Kind kindOf(const QString& name)
{
    if (name == u"removed")
        return Kind::removed;
    if (name == u"added")
        return Kind::added;
    if (name == u"whitespace")
        return Kind::whitespace;
    return Kind::unchanged;
}

QString escaped(const QString& text)
{
    QString out = text.toHtmlEscaped();
    out.replace(u'\'', QStringLiteral("&#39;"));
    return out;
}

// Rich text knows one newline: CR LF and a lone CR become "\n", as in the styled diff.
QString normalisedBreaks(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

QString cssColor(QColor color, double opacity = 1.0)
{
    color.setAlphaF(float(opacity));
    return color.name(QColor::HexArgb);
}

QString runHtml(const Run& run, const DiffColors& colors, bool highlighted)
{
    const QString text = escaped(normalisedBreaks(run.text));
    if (run.kind == Kind::whitespace)
        return text;
    const double tint = highlighted ? highlightTintOpacity : kDiffTintOpacity;
    QString style = QStringLiteral("color:") + cssColor(colors.text);
    if (run.kind == Kind::removed)
        style += QStringLiteral(";background-color:") + cssColor(colors.removal, tint); // the view strikes it
    else if (run.kind == Kind::added)
        style += QStringLiteral(";background-color:") + cssColor(colors.addition, tint);
    return QStringLiteral("<span style=\"") + style + QStringLiteral("\">") + text + QStringLiteral("</span>");
}

class Builder
{
public:
    Builder(const DiffColors& colors, int highlightedEdit)
        : m_colors(colors)
        , m_highlighted(highlightedEdit)
    {
    }

    void add(const Run& run, std::optional<int> edit)
    {
        if (m_open && m_openEdit != edit)
            close();
        if (!m_open) {
            m_open = true;
            m_openEdit = edit;
            m_html.clear();
            m_characters = 0;
            m_units = 0;
        }
        const QString text = normalisedBreaks(run.text);
        m_html += runHtml(run, m_colors, edit && *edit == m_highlighted);
        m_characters += graphemeCount(text);
        m_units += text.size();
    }

    SegmentedDiff finish(int editCount)
    {
        close();
        m_result.editCount = editCount;
        m_result.html = QStringLiteral("<div style=\"white-space:pre-wrap\">") + m_result.html + QStringLiteral("</div>");
        return std::move(m_result);
    }

private:
    void close()
    {
        if (!m_open)
            return;
        DiffSegment segment;
        segment.id = int(m_result.segments.size());
        segment.attributed = m_html;
        segment.editNumber = m_openEdit;
        segment.characterOffset = m_characterOffset;
        segment.characterLength = m_characters;
        m_result.segments.append(segment);
        m_result.textRanges.append({m_unitOffset, m_unitOffset + m_units});
        m_result.html += m_html;
        m_characterOffset += m_characters;
        m_unitOffset += m_units;
        m_open = false;
    }

    const DiffColors& m_colors;
    const int m_highlighted;
    SegmentedDiff m_result;
    bool m_open = false;
    std::optional<int> m_openEdit;
    QString m_html;
    qsizetype m_characters = 0;
    qsizetype m_units = 0;
    qsizetype m_characterOffset = 0;
    qsizetype m_unitOffset = 0;
};

} // namespace

SegmentedDiff segmentDiff(const QVariantList& runs, const DiffColors& colors, int highlightedEdit)
{
    QList<Run> list;
    list.reserve(runs.size());
    for (const QVariant& item : runs) {
        const QVariantMap map = item.toMap();
        list.append({map.value(QStringLiteral("text")).toString(), kindOf(map.value(QStringLiteral("kind")).toString())});
    }

    Builder builder(colors, highlightedEdit);
    int edits = 0;
    for (qsizetype i = 0; i < list.size(); ++i) {
        const Run& run = list[i];
        if (run.kind == Kind::unchanged || run.kind == Kind::whitespace) {
            builder.add(run, std::nullopt);
            continue;
        }
        const int edit = edits++;
        builder.add(run, edit);
        if (run.kind != Kind::removed)
            continue;
        // A replacement: the removed word, its space, and the added word that follows it.
        qsizetype next = i + 1;
        if (next < list.size() && list[next].kind == Kind::whitespace)
            ++next;
        if (next < list.size() && list[next].kind == Kind::added) {
            for (qsizetype j = i + 1; j <= next; ++j)
                builder.add(list[j], edit);
            i = next;
        }
    }
    return builder.finish(edits);
}
