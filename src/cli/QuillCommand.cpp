#include "cli/QuillCommand.h"

#include "capture/QuillDeltaParser.h"

#include <QFile>
#include <QTextStream>
#include <cstdio>

int runQuillCommand(const QStringList& args)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (args.size() > 1 || (args.size() == 1 && args.first().startsWith(QLatin1Char('-')) && args.first() != QLatin1String("-"))) {
        err << "usage: tembrel-cli quill [FILE]\n";
        return 2;
    }
    QFile file;
    const bool fromStdin = args.isEmpty() || args.first() == QLatin1String("-");
    const bool opened = fromStdin ? file.open(stdin, QIODevice::ReadOnly) : (file.setFileName(args.first()), file.open(QIODevice::ReadOnly));
    if (!opened) {
        err << "tembrel-cli quill: cannot read " << (fromStdin ? QStringLiteral("standard input") : args.first()) << ": "
            << file.errorString() << '\n';
        return 1;
    }
    const std::optional<QString> html = QuillDeltaParser::parse(file.readAll());
    if (!html) {
        err << "tembrel-cli quill: not a Quill delta (expected a JSON object with an \"ops\" array of objects)\n";
        return 1;
    }
    out << *html << '\n';
    return 0;
}
