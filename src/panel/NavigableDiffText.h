#pragma once
#include "panel/DiffSegments.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

/// The panel's word diff as rich text with the current edit drawn deeper, and where each edit
/// sits in the text so the view can frame it and scroll to it. UI thread.
class NavigableDiffText : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVariantList runs READ runs WRITE setRuns NOTIFY runsChanged)
    Q_PROPERTY(int currentEdit READ currentEdit WRITE setCurrentEdit NOTIFY currentEditChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY darkChanged)
    Q_PROPERTY(QString html READ html NOTIFY htmlChanged)
    Q_PROPERTY(int editCount READ editCount NOTIFY htmlChanged)
    Q_PROPERTY(int segmentCount READ segmentCount NOTIFY htmlChanged)
    Q_PROPERTY(QVariantList strikeRanges READ strikeRanges NOTIFY htmlChanged)

public:
    explicit NavigableDiffText(QObject* parent = nullptr);

    [[nodiscard]] QVariantList runs() const { return m_runs; }
    void setRuns(const QVariantList& runs);
    [[nodiscard]] int currentEdit() const { return m_currentEdit; }
    void setCurrentEdit(int edit);
    [[nodiscard]] bool dark() const { return m_dark; }
    void setDark(bool dark);
    [[nodiscard]] QString html() const { return m_diff.html; }
    [[nodiscard]] int editCount() const { return m_diff.editCount; }
    [[nodiscard]] int segmentCount() const { return int(m_diff.segments.size()); }
    /// Where the removed words sit in `html`'s text, for the strike lines the view draws.
    [[nodiscard]] QVariantList strikeRanges() const;
    [[nodiscard]] const SegmentedDiff& diff() const { return m_diff; }

    /// Text position where edit `edit` starts; -1 when there is no such edit.
    Q_INVOKABLE int editStart(int edit) const;
    /// Text position just after edit `edit`; -1 when there is no such edit.
    Q_INVOKABLE int editEnd(int edit) const;

Q_SIGNALS:
    void runsChanged();
    void currentEditChanged();
    void darkChanged();
    void htmlChanged();

private:
    void rebuild();
    [[nodiscard]] qsizetype segmentOf(int edit) const;

    QVariantList m_runs;
    int m_currentEdit = 0;
    bool m_dark = false;
    SegmentedDiff m_diff;
};
