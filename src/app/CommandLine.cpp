#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <array>
#include <cstdio>

namespace {

struct ActionName
{
    LaunchRequest::Action action;
    const char* word;
};

constexpr std::array<ActionName, 5> actionNames{{
    {LaunchRequest::Action::open, "reopen"},
    {LaunchRequest::Action::settings, "settings"},
    {LaunchRequest::Action::history, "history"},
    {LaunchRequest::Action::quit, "quit"},
    {LaunchRequest::Action::fix, "fix"},
}};

int misuse(const QString& message)
{
    std::fprintf(stderr, "tembrel: %s\nTry 'tembrel --help' for the options.\n", qUtf8Printable(message));
    return 2;
}

} // namespace

QString LaunchRequest::toMessage() const
{
    for (const ActionName& name : actionNames) {
        if (name.action == action)
            return action == Action::fix ? QString(QLatin1String(name.word) + QLatin1Char(' ') + mode)
                                         : QString(QLatin1String(name.word));
    }
    return {};
}

std::optional<LaunchRequest> LaunchRequest::fromMessage(const QString& message)
{
    const QString word = message.section(QLatin1Char(' '), 0, 0);
    const QString rest = message.section(QLatin1Char(' '), 1);
    for (const ActionName& name : actionNames) {
        if (word != QLatin1String(name.word))
            continue;
        if ((name.action == Action::fix) == rest.isEmpty())
            return std::nullopt;
        return LaunchRequest{name.action, rest};
    }
    return std::nullopt;
}

std::variant<LaunchRequest, int> parseLaunchArguments(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Fix the text you selected, anywhere.\n\n"
                       "Tembrel runs in the background. Starting it again while it runs hands the "
                       "option to the running Tembrel; without an option that opens Settings."));
    // Own help and version options: Qt's would add --help-all, for options this launch never reads.
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show these options."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    parser.addOption(help);
    parser.addOption(version);
    const QCommandLineOption settings(QStringLiteral("settings"), QStringLiteral("Open Settings."));
    const QCommandLineOption history(QStringLiteral("history"), QStringLiteral("Open the history of fixes."));
    const QCommandLineOption fix(QStringLiteral("fix"),
                                 QStringLiteral("Fix the selected text with MODE (its name or id), as its "
                                                "shortcut does. Bind this to a key where shortcuts cannot "
                                                "be grabbed."),
                                 QStringLiteral("MODE"));
    const QCommandLineOption quit(QStringLiteral("quit"), QStringLiteral("End the running Tembrel."));
    parser.addOptions({settings, history, fix, quit});

    if (!parser.parse(arguments))
        return misuse(parser.errorText());
    if (parser.isSet(help)) {
        // Read before the application object exists, the parser does not know the program's name.
        QString text = parser.helpText();
        text.replace(QStringLiteral("<executable_name>"), QStringLiteral("tembrel"));
        std::fputs(qUtf8Printable(text), stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("%s %s\n", qUtf8Printable(QCoreApplication::applicationName()),
                    qUtf8Printable(QCoreApplication::applicationVersion()));
        return 0;
    }
    if (!parser.positionalArguments().isEmpty())
        return misuse(QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().constFirst()));

    std::optional<LaunchRequest> request;
    const auto choose = [&request](LaunchRequest chosen) {
        const bool first = !request.has_value();
        request = std::move(chosen);
        return first;
    };
    const std::array<std::pair<const QCommandLineOption*, LaunchRequest::Action>, 3> plain{{
        {&settings, LaunchRequest::Action::settings},
        {&history, LaunchRequest::Action::history},
        {&quit, LaunchRequest::Action::quit},
    }};
    bool single = true;
    for (const auto& [option, action] : plain) {
        if (parser.isSet(*option))
            single = choose(LaunchRequest{action, {}}) && single;
    }
    if (parser.isSet(fix)) {
        const QStringList modes = parser.values(fix);
        const QString mode = modes.constLast().trimmed();
        if (mode.isEmpty() || mode.contains(QLatin1Char('\n')))
            return misuse(QStringLiteral("--fix needs the name or id of a mode."));
        single = choose(LaunchRequest{LaunchRequest::Action::fix, mode}) && single && modes.size() == 1;
    }
    if (!single)
        return misuse(QStringLiteral("Give one of --settings, --history, --fix and --quit."));
    return request.value_or(LaunchRequest{});
}
