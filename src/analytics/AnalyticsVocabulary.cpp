#include "analytics/AnalyticsVocabulary.h"

#include "core/TextFixError.h"

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
    // The fix pipeline owns the category words; analytics only sends them.
    return ::failureCategoryText(code);
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
