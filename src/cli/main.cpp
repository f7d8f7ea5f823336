// tembrel-cli: the product's text tools on the command line.

#include "app/BuildConfig.h"
#include "cli/ClipboardCommand.h"
#include "cli/DiffCommand.h"
#include "cli/FixCommand.h"
#include "cli/QuillCommand.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QStringList>

#include <cstdio>
#include <iterator>

namespace {

// One line per command: its name, its synopsis in the help, and what runs it with the arguments
// that follow the name.
struct Command
{
    const char* name;
    const char* synopsis;
    int (*run)(const QStringList& arguments);
    bool needsDisplay = false; // reads the window system (the clipboard)
};

const Command commands[] = {
    {"diff", "diff [--json] ORIGINAL FIXED   word diff of two texts (- reads standard input)", runDiffCommand},
    {"quill", "quill [FILE]                   HTML of a Quill delta (standard input without FILE)", runQuillCommand},
    {"clipboard", "clipboard                      what Tembrel reads from the clipboard right now",
     runClipboardCommand, true},
    {"fix", "fix [--mode NAME] [--engine offline|custom|cloud] [--json] [FILE|-]\n"
            "                                 fixes a text as the app would",
     runFixCommand},
};

QString commandList()
{
    QString text = QStringLiteral("Commands:\n");
    for (const Command& command : commands)
        text += QStringLiteral("  ") + QLatin1String(command.synopsis) + QLatin1Char('\n');
    return text;
}

int misuse(const QString& message)
{
    std::fprintf(stderr, "tembrel-cli: %s\nTry 'tembrel-cli --help' for the commands.\n", qUtf8Printable(message));
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("tembrel-cli"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(BuildConfig::version));
    QStringList arguments;
    for (int k = 0; k < argc; ++k)
        arguments.append(QString::fromLocal8Bit(argv[k]));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Tembrel's text tools on the command line."));
    // Everything after the command's name belongs to the command.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show the commands."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    parser.addOption(help);
    parser.addOption(version);
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("What to do; see below."),
                                 QStringLiteral("<command> [arguments]"));
    if (!parser.parse(arguments))
        return misuse(parser.errorText());
    if (parser.isSet(help)) {
        QString text = parser.helpText() + QLatin1Char('\n') + commandList();
        text.replace(QStringLiteral("<executable_name>"), QStringLiteral("tembrel-cli"));
        std::fputs(qUtf8Printable(text), stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("tembrel-cli %s\n", BuildConfig::version);
        return 0;
    }
    QStringList rest = parser.positionalArguments();
    if (rest.isEmpty())
        return misuse(QStringLiteral("Name a command."));
    const QString name = rest.takeFirst();
    for (const Command& command : commands) {
        if (name != QLatin1String(command.name))
            continue;
        if (command.needsDisplay) {
            QGuiApplication app(argc, argv);
            return command.run(rest);
        }
        return command.run(rest);
    }
    return misuse(QStringLiteral("Unknown command '%1'.").arg(name));
}
