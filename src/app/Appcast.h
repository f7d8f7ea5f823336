#pragma once
#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>
#include <QUrl>
#include <optional>
#include <variant>

/// One release in an update feed.
struct AppcastItem
{
    QString title;
    QString version;             // sparkle:version, the one that is compared
    QString shortVersionString;  // sparkle:shortVersionString, the one shown; may be empty
    QString channel;             // sparkle:channel; empty for the default channel
    QUrl releaseNotesUrl;        // sparkle:releaseNotesLink
    QString description;         // the item's description (HTML in most feeds)
    QUrl downloadUrl;            // the enclosure's url, else the item's link
    QString os;                  // sparkle:os of the enclosure; empty when the item is for every system
    QDateTime publishedAt;       // pubDate; invalid when absent or unreadable

    /// The version to show the user: the short version string when the feed has one.
    [[nodiscard]] QString displayVersion() const { return shortVersionString.isEmpty() ? version : shortVersionString; }
};

/// Why a feed could not be read.
struct AppcastError
{
    enum class Kind { notXml, notAnAppcast };
    Kind kind;
    QString detail;
    qint64 line = 0;
    qint64 column = 0;

    /// One line for the user, with the place of the fault when there is one.
    [[nodiscard]] QString message() const;
};

/// A Sparkle-format RSS update feed.
struct Appcast
{
    QList<AppcastItem> items;   // in feed order; items without any version are left out

    /// Reads a feed; the items or why it is not one.
    [[nodiscard]] static std::variant<Appcast, AppcastError> parse(const QByteArray& xml);

    /// The newest item offered to this system on the default channel or one of `channels`; the first
    /// of equal versions. Items for another system (sparkle:os other than "linux") are skipped.
    [[nodiscard]] std::optional<AppcastItem> newestItem(const QSet<QString>& channels) const;
};
