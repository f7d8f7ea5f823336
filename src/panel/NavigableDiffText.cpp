#include "panel/NavigableDiffText.h"

#include "diff/DiffStyledText.h"

NavigableDiffText::NavigableDiffText(QObject* parent)
    : QObject(parent)
{
    rebuild();
}

void NavigableDiffText::setRuns(const QVariantList& runs)
{
    m_runs = runs;
    Q_EMIT runsChanged();
    rebuild();
}

void NavigableDiffText::setCurrentEdit(int edit)
{
    if (edit == m_currentEdit)
        return;
    m_currentEdit = edit;
    Q_EMIT currentEditChanged();
    rebuild();
}

void NavigableDiffText::setDark(bool dark)
{
    if (dark == m_dark)
        return;
    m_dark = dark;
    Q_EMIT darkChanged();
    rebuild();
}

int NavigableDiffText::editStart(int edit) const
{
    const qsizetype segment = segmentOf(edit);
    return segment < 0 ? -1 : int(m_diff.textRanges[segment].first);
}

int NavigableDiffText::editEnd(int edit) const
{
    const qsizetype segment = segmentOf(edit);
    return segment < 0 ? -1 : int(m_diff.textRanges[segment].second);
}

void NavigableDiffText::rebuild()
{
    m_diff = segmentDiff(m_runs, diffColors(DiffPaletteKind::Panel, m_dark), m_currentEdit);
    Q_EMIT htmlChanged();
}

qsizetype NavigableDiffText::segmentOf(int edit) const
{
    for (qsizetype i = 0; i < m_diff.segments.size(); ++i) {
        if (m_diff.segments[i].editNumber == edit)
            return i;
    }
    return -1;
}

QVariantList NavigableDiffText::strikeRanges() const
{
    return ::strikeRanges(m_runs);
}
