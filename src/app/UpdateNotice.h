#pragma once
#include "app/UpdateChecker.h"

#include <QUrl>
#include <optional>

/// What the user is told after an update check, independent of how it is shown.
struct UpdateNotice
{
    enum class Kind { updateAvailable, upToDate, failed, noFeed };
    Kind kind;
    QString title;
    QString text;
    QString details;      // release notes (HTML) or the reason of a failure; may be empty
    QUrl downloadUrl;     // where to get the new version; empty unless an update is available
    QUrl releaseNotesUrl;

    /// The notice for `result`; nothing when the check ran on its own and found nothing to offer,
    /// since only the user's own check reports "up to date" or a failure.
    [[nodiscard]] static std::optional<UpdateNotice> forResult(const UpdateCheckResult& result,
                                                               const QString& currentVersion, bool userInitiated);
    /// The notice of a build without an update feed.
    [[nodiscard]] static UpdateNotice noFeed();
};
