#include "core/Logging.h"

Q_LOGGING_CATEGORY(lcApp, "tembrel.App", QtInfoMsg)
Q_LOGGING_CATEGORY(lcCoordinator, "tembrel.FixCoordinator", QtInfoMsg)
Q_LOGGING_CATEGORY(lcCloudEngine, "tembrel.CloudEngine", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOfflineEngine, "tembrel.OfflineEngine", QtInfoMsg)
Q_LOGGING_CATEGORY(lcCustomEngine, "tembrel.CustomOpenAIEngine", QtInfoMsg)
Q_LOGGING_CATEGORY(lcClipboard, "tembrel.ClipboardManager", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSelection, "tembrel.SelectionManager", QtInfoMsg)
Q_LOGGING_CATEGORY(lcModes, "tembrel.ModeManager", QtInfoMsg)
Q_LOGGING_CATEGORY(lcHotkey, "tembrel.Hotkey", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDiff, "tembrel.Diff", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPanel, "tembrel.Panel", QtInfoMsg)
Q_LOGGING_CATEGORY(lcHistory, "tembrel.HistoryManager", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSettings, "tembrel.SettingsManager", QtInfoMsg)
Q_LOGGING_CATEGORY(lcAnalytics, "tembrel.AnalyticsManager", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPostHog, "tembrel.PostHogClient", QtInfoMsg)
Q_LOGGING_CATEGORY(lcUpdates, "tembrel.Updates", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPlatform, "tembrel.Platform", QtInfoMsg)

namespace {

// Categories of Qt's own that print what a page holds: the web channel's transport logs every
// message between the diff page and the app at debug level, and those messages carry the user's
// text. They stay off whatever rules switch debug output on.
constexpr const char* pageContentCategories[] = {"qt.webengine.webchanneltransport"};

QLoggingCategory::CategoryFilter previousFilter = nullptr;

void keepPageContentQuiet(QLoggingCategory* category)
{
    if (previousFilter)
        previousFilter(category);
    for (const char* name : pageContentCategories) {
        if (qstrcmp(category->categoryName(), name) == 0) {
            category->setEnabled(QtDebugMsg, false);
            category->setEnabled(QtInfoMsg, false);
        }
    }
}

void installQuietFilter()
{
    previousFilter = QLoggingCategory::installFilter(keepPageContentQuiet);
}

} // namespace

// Installed before main() in every program that logs through these categories, so no rule set
// later, from the environment or in code, can switch the quiet categories on.
Q_CONSTRUCTOR_FUNCTION(installQuietFilter)
