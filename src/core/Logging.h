#pragma once
#include <QLoggingCategory>

// Every component logs under its own category, all declared here ("tembrel.<Component>").
// Switch them on with QT_LOGGING_RULES="tembrel.*.debug=true". Never log user text or keys.
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcCoordinator)
Q_DECLARE_LOGGING_CATEGORY(lcCloudEngine)
Q_DECLARE_LOGGING_CATEGORY(lcOfflineEngine)
Q_DECLARE_LOGGING_CATEGORY(lcCustomEngine)
Q_DECLARE_LOGGING_CATEGORY(lcClipboard)
Q_DECLARE_LOGGING_CATEGORY(lcSelection)
Q_DECLARE_LOGGING_CATEGORY(lcModes)
Q_DECLARE_LOGGING_CATEGORY(lcHotkey)
Q_DECLARE_LOGGING_CATEGORY(lcDiff)
Q_DECLARE_LOGGING_CATEGORY(lcPanel)
Q_DECLARE_LOGGING_CATEGORY(lcHistory)
Q_DECLARE_LOGGING_CATEGORY(lcSettings)
Q_DECLARE_LOGGING_CATEGORY(lcAnalytics)
Q_DECLARE_LOGGING_CATEGORY(lcPostHog)
Q_DECLARE_LOGGING_CATEGORY(lcUpdates)
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)
