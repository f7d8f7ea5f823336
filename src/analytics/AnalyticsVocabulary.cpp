#include "analytics/AnalyticsVocabulary.h"

namespace Analytics {

namespace {
// Both spellings side by side; the build picks the one of the platform it targets.
#if defined(Q_OS_MACOS)
constexpr auto platformWord = "macos";
#else
constexpr auto platformWord = "linux";
#endif
} // namespace

QString textLengthBucket(qint64 characters)
{
    if (characters < 51)
        return QStringLiteral("tiny");
    if (characters <= 200)
        return QStringLiteral("short");
    if (characters <= 1000)
        return QStringLiteral("medium");
    if (characters <= 5000)
        return QStringLiteral("long");
    return QStringLiteral("very_long");
}

QString failureCategoryText(int code)
{
    switch (code) {
    case 0: return QStringLiteral("network");
    case 1: return QStringLiteral("rate_limit");
    case 2: return QStringLiteral("empty_input");
    case 3: return QStringLiteral("too_long");
    case 4: return QStringLiteral("processing");
    default: return QStringLiteral("other");
    }
}

QString endpointType(bool customEndpoint)
{
    return customEndpoint ? QStringLiteral("custom") : QStringLiteral("cloud");
}

QString platformName()
{
    return QString::fromLatin1(platformWord);
}

QString environmentName()
{
    return QStringLiteral("production");
}

} // namespace Analytics
