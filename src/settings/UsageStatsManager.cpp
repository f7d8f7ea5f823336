#include "settings/UsageStatsManager.h"

#include "core/Logging.h"
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

// The dates QDateTime can hold, in seconds from 1970, with room to spare either side.
constexpr double latestDateSeconds = 253402300799.0;   // 9999-12-31 23:59:59
constexpr double earliestDateSeconds = -62135596800.0; // 0001-01-01 00:00:00
} // namespace

qint64 UsageStatsManager::saturatingAdd(qint64 total, qint64 amount, const QString& counter)
{
    qint64 sum = 0;
    if (!__builtin_add_overflow(total, amount, &sum))
        return sum;
    // The counts are a curiosity for the user: no reason to lose a fix over one.
    if (!m_saturated.contains(counter)) {
        m_saturated.insert(counter);
        qCWarning(lcSettings, "Usage counter %s reached its limit and stays there", qUtf8Printable(counter));
    }
    return amount > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

UsageStatsManager::UsageStatsManager(QSettings& defaults, QObject* parent)
    : QObject(parent)
    , m_defaults(defaults)
{
    m_totalTembrels = UserDefaults::integerValue(m_defaults, totalTembrelsKey);
    m_totalEdits = UserDefaults::integerValue(m_defaults, totalEditsKey);
    m_totalCharactersProcessed = UserDefaults::integerValue(m_defaults, totalCharactersKey);
    // Seconds since 1970 here, unlike the history file's dates, which count from 2001.
    if (const auto seconds = UserDefaults::doubleValue(m_defaults, firstTembrelDateKey)) {
        if (std::isfinite(*seconds) && *seconds >= earliestDateSeconds && *seconds <= latestDateSeconds)
            m_firstTembrelDate = QDateTime::fromMSecsSinceEpoch(qint64(std::llround(*seconds * 1000.0)), QTimeZone::utc());
        else
            qCWarning(lcSettings, "The stored date of the first fix is out of range; the next fix sets it anew");
    }
}

void UsageStatsManager::recordFix(qint64 editCount, qint64 characterCount)
{
    m_totalTembrels = saturatingAdd(m_totalTembrels, 1, QStringLiteral("totalTembrels"));
    m_totalEdits = saturatingAdd(m_totalEdits, editCount, QStringLiteral("totalEdits"));
    m_totalCharactersProcessed = saturatingAdd(m_totalCharactersProcessed, characterCount, QStringLiteral("totalCharactersProcessed"));
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
