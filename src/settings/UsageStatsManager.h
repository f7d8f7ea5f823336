#pragma once
#include <QDateTime>
#include <QObject>
#include <QSet>
#include <optional>

class QSettings;

/// Local counters of completed fixes, edits and characters, and the date of the first fix. Lives
/// on the UI thread; the app creates one and hands it to whoever needs it.
class UsageStatsManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 totalTembrels READ totalTembrels NOTIFY statsChanged)
    Q_PROPERTY(qint64 totalEdits READ totalEdits NOTIFY statsChanged)
    Q_PROPERTY(qint64 totalCharactersProcessed READ totalCharactersProcessed NOTIFY statsChanged)
    Q_PROPERTY(QDateTime firstTembrelDate READ firstTembrelDateOrInvalid NOTIFY statsChanged)

public:
    /// Reads the counters from `defaults`, which must outlive the manager.
    explicit UsageStatsManager(QSettings& defaults, QObject* parent = nullptr);

    [[nodiscard]] qint64 totalTembrels() const { return m_totalTembrels; }
    [[nodiscard]] qint64 totalEdits() const { return m_totalEdits; }
    [[nodiscard]] qint64 totalCharactersProcessed() const { return m_totalCharactersProcessed; }
    [[nodiscard]] std::optional<QDateTime> firstTembrelDate() const { return m_firstTembrelDate; }
    /// For QML: the first date, or an invalid date when no fix was recorded yet.
    [[nodiscard]] QDateTime firstTembrelDateOrInvalid() const { return m_firstTembrelDate.value_or(QDateTime()); }

    /// Counts one completed fix with its edit count and the characters of its original text, then
    /// saves. A counter that would overflow stays at its largest value, logged once.
    void recordFix(qint64 editCount, qint64 characterCount);
    /// Writes all four values.
    void save();

Q_SIGNALS:
    void statsChanged();

private:
    qint64 saturatingAdd(qint64 total, qint64 amount, const QString& counter);

    QSettings& m_defaults;
    qint64 m_totalTembrels = 0;
    qint64 m_totalEdits = 0;
    qint64 m_totalCharactersProcessed = 0;
    std::optional<QDateTime> m_firstTembrelDate;
    QSet<QString> m_saturated; // counters whose stop at their largest value has been logged
};
