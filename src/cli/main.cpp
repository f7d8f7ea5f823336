// tembrel-cli: the product's text tools on the command line.

#include "cli/ClipboardCommand.h"
#include "cli/DiffCommand.h"
#include "cli/FixCommand.h"
#include "cli/QuillCommand.h"

#include <QGuiApplication>

#include <QStringList>

#include <cstdio>

namespace {

const char kUsage[] = "usage: tembrel-cli <command> [arguments]\n"
                      "commands:\n"
                      "  diff [--json] ORIGINAL FIXED   word diff of two texts (- reads standard input)\n"
                      "  quill [FILE]                   HTML of a Quill delta (standard input without FILE)\n"
                      "  clipboard                      what Tembrel reads from the clipboard right now\n"
                      "  fix [--mode NAME] [--engine offline|custom|cloud] [--json] [FILE|-]\n"
                      "                                 fixes a text as the app would\n";

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int k = 1; k < argc; ++k)
        arguments.append(QString::fromLocal8Bit(argv[k]));
    if (arguments.isEmpty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const QString command = arguments.takeFirst();
    if (command == u"diff")
        return runDiffCommand(arguments);
    if (command == u"quill")
        return runQuillCommand(arguments);
    if (command == u"fix")
        return runFixCommand(arguments);
    if (command == u"clipboard") {
        // Reading the clipboard needs the window system; the other commands run without one.
        QGuiApplication app(argc, argv);
        return runClipboardCommand(arguments);
    }
    if (command == u"--help" || command == u"-h" || command == u"help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    std::fprintf(stderr, "tembrel-cli: unknown command '%s'\n%s", qUtf8Printable(command), kUsage);
    return 2;
}
