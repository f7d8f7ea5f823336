#include "cli/DiffCommand.h"

#include "cli/DiffOutput.h"
#include "diff/DiffUtils.h"

#include <QFile>
#include <QStringDecoder>

#include <cstdio>
#include <optional>
#include <unistd.h>

namespace {

/// Why an input could not be used.
enum class InputError {
    Unreadable,
    NotUtf8,
};

QString describe(InputError error, const QString &path, const QString &detail)
{
    const QString name = path == u"-" ? QStringLiteral("standard input") : u'\'' + path + u'\'';
    switch (error) {
    case InputError::Unreadable: return QStringLiteral("cannot read %1: %2").arg(name, detail);
    case InputError::NotUtf8: return QStringLiteral("%1 is not valid UTF-8 text").arg(name);
    }
    return {};
}

struct Input
{
    QString text;
    std::optional<InputError> error;
    QString detail;
};

Input readInput(const QString &path)
{
    QFile file;
    const bool opened = path == u"-" ? file.open(stdin, QIODevice::ReadOnly)
                                     : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened)
        return {{}, InputError::Unreadable, file.errorString()};
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return {{}, InputError::Unreadable, file.errorString()};
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return {{}, InputError::NotUtf8, {}};
    return {text, std::nullopt, {}};
}

void writeOut(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void complain(const QString &message)
{
    std::fprintf(stderr, "tembrel-cli diff: %s\n", qUtf8Printable(message));
}

} // namespace

QString diffCommandUsage()
{
    return QStringLiteral(
        "usage: tembrel-cli diff [--json] ORIGINAL FIXED\n"
        "       tembrel-cli diff [--json] --text ORIGINAL FIXED\n"
        "  Compares two texts word by word. ORIGINAL and FIXED are file paths, or - for standard input.\n"
        "  --text  ORIGINAL and FIXED are the texts themselves\n"
        "  --json  print {\"changes\":[...],\"editCount\":N} instead of the marked-up fixed text\n");
}

int runDiffCommand(const QStringList &arguments)
{
    bool json = false;
    bool literal = false;
    bool optionsDone = false;
    QStringList paths;
    for (const QString &argument : arguments) {
        if (!optionsDone && argument == u"--json") {
            json = true;
        } else if (!optionsDone && argument == u"--text") {
            literal = true;
        } else if (!optionsDone && argument == u"--") {
            optionsDone = true;
        } else if (!optionsDone && (argument == u"--help" || argument == u"-h")) {
            writeOut(diffCommandUsage().toUtf8());
            return 0;
        } else if (!optionsDone && argument.startsWith(u"--")) {
            complain(QStringLiteral("unknown option %1").arg(argument));
            std::fputs(qUtf8Printable(diffCommandUsage()), stderr);
            return 2;
        } else {
            paths.append(argument);
        }
    }
    if (paths.size() != 2) {
        complain(QStringLiteral("expected two texts, got %1").arg(paths.size()));
        std::fputs(qUtf8Printable(diffCommandUsage()), stderr);
        return 2;
    }
    if (!literal && paths.at(0) == u"-" && paths.at(1) == u"-") {
        complain(QStringLiteral("standard input can stand for only one of the two texts"));
        return 2;
    }

    QString texts[2] = {paths.at(0), paths.at(1)};
    for (int k = 0; k < 2 && !literal; ++k) {
        const Input input = readInput(paths.at(k));
        if (input.error) {
            complain(describe(*input.error, paths.at(k), input.detail));
            return 1;
        }
        texts[k] = input.text;
    }

    const DiffComputation diff = DiffUtils::wordDiff(texts[0], texts[1]);
    if (json) {
        writeOut(diffAsJson(diff));
    } else {
        // Colours only for a person at a terminal; pipes and files get plain markers.
        const bool terminal = isatty(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR");
        writeOut(diffAsText(diff, terminal ? DiffMarkup::Terminal : DiffMarkup::Plain));
    }
    return 0;
}
