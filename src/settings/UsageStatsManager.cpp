#include "settings/UsageStatsManager.h"

#include "settings/UserDefaults.h"

#include <QSettings>
#include <QTimeZone>
#include <cmath>

namespace {
const QString totalTembrelsKey = QStringLiteral("stats.totalTembrels");
const QString totalEditsKey = QStringLiteral("stats.totalEdits");
// The field counts characters processed; the key was always the shorter name.
const QString totalCharactersKey = QStringLiteral("stats.totalCharacters");
const QString firstTembrelDateKey = QStringLiteral("stats.firstTembrelDate");

qint64 checkedAdd(qint64 total, qint64 amount, const char* counter)
{
    qint64 sum = 0;
    if (__builtin_add_overflow(total, amount, &sum))
        qFatal("Usage counter %s overflowed", counter);
    return sum;
}
} // namespace

UsageStatsManager::UsageStatsManager(QSettings& defaults, QObject* parent)
    : QObject(parent)
    , m_defaults(defaults)
{
    m_totalTembrels = UserDefaults::integerValue(m_defaults, totalTembrelsKey);
    m_totalEdits = UserDefaults::integerValue(m_defaults, totalEditsKey);
    m_totalCharactersProcessed = UserDefaults::integerValue(m_defaults, totalCharactersKey);
    // Seconds since 1970 here, unlike the history file's dates, which count from 2001.
    if (const auto seconds = UserDefaults::doubleValue(m_defaults, firstTembrelDateKey))
        m_firstTembrelDate = QDateTime::fromMSecsSinceEpoch(qint64(std::llround(*seconds * 1000.0)), QTimeZone::utc());
}

void UsageStatsManager::recordFix(qint64 editCount, qint64 characterCount)
{
    m_totalTembrels = checkedAdd(m_totalTembrels, 1, "totalTembrels");
    m_totalEdits = checkedAdd(m_totalEdits, editCount, "totalEdits");
    m_totalCharactersProcessed = checkedAdd(m_totalCharactersProcessed, characterCount, "totalCharactersProcessed");
    if (!m_firstTembrelDate)
        m_firstTembrelDate = QDateTime::currentDateTimeUtc();
    save();
    Q_EMIT statsChanged();
}

void UsageStatsManager::save()
{
    m_defaults.setValue(totalTembrelsKey, m_totalTembrels);
    m_defaults.setValue(totalEditsKey, m_totalEdits);
    m_defaults.setValue(totalCharactersKey, m_totalCharactersProcessed);
    if (m_firstTembrelDate)
        m_defaults.setValue(firstTembrelDateKey, double(m_firstTembrelDate->toMSecsSinceEpoch()) / 1000.0);
    else
        m_defaults.remove(firstTembrelDateKey);
    // Written through at once: a crash must not take the last fixes' counts with it.
    m_defaults.sync();
}
