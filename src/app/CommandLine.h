#pragma once
#include <QString>
#include <QStringList>
#include <optional>
#include <variant>

/// What one launch of Tembrel was asked to do on its command line. A launch that finds Tembrel
/// running hands it over as one line of text.
struct LaunchRequest
{
    enum class Action { open, settings, history, quit, fix };
    Action action = Action::open;
    QString mode; // --fix: a mode's name or id

    [[nodiscard]] QString toMessage() const;
    /// Nullopt for a line that is no request.
    [[nodiscard]] static std::optional<LaunchRequest> fromMessage(const QString& message);

    bool operator==(const LaunchRequest&) const = default;
};

/// Reads the app's options with QCommandLineParser: a request, or the exit status when the launch
/// ends here (help or version printed: 0; an unknown option or a misuse explained on standard
/// error: 2). `arguments` start with the program name.
std::variant<LaunchRequest, int> parseLaunchArguments(const QStringList& arguments);
