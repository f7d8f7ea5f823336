#include "app/UpdateNotice.h"

std::optional<UpdateNotice> UpdateNotice::forResult(const UpdateCheckResult& result, const QString& currentVersion,
                                                    bool userInitiated)
{
    switch (result.outcome) {
    case UpdateCheckResult::Outcome::updateAvailable: {
        const AppcastItem& item = *result.item;
        UpdateNotice notice{Kind::updateAvailable, QStringLiteral("A new version of Tembrel is available!"),
                            QStringLiteral("Tembrel %1 is available; you have %2. Download it and install it the "
                                           "way you installed Tembrel.")
                                .arg(item.displayVersion(), currentVersion),
                            item.description, item.downloadUrl, item.releaseNotesUrl};
        return notice;
    }
    case UpdateCheckResult::Outcome::upToDate:
        if (!userInitiated)
            return std::nullopt;
        return UpdateNotice{Kind::upToDate, QStringLiteral("You're up to date!"),
                            QStringLiteral("Tembrel %1 is currently the newest version available.").arg(currentVersion),
                            {}, {}, {}};
    case UpdateCheckResult::Outcome::failed:
        if (!userInitiated)
            return std::nullopt;
        return UpdateNotice{Kind::failed, QStringLiteral("Update Error!"),
                            QStringLiteral("Tembrel could not check for updates."), result.message, {}, {}};
    }
    return std::nullopt;
}

UpdateNotice UpdateNotice::noFeed()
{
    return UpdateNotice{Kind::noFeed, QStringLiteral("Updates come from your package manager"),
                        QStringLiteral("This build of Tembrel does not check for updates itself. New versions arrive "
                                       "through your system's package manager (or wherever you installed Tembrel "
                                       "from)."),
                        {}, {}, {}};
}
