#include "cli/FixCommand.h"

#include "diff/DiffUtils.h"
#include "engines/ApiKeyStore.h"
#include "engines/CloudEngine.h"
#include "engines/CustomOpenAIEngine.h"
#include "engines/EngineChoice.h"
#include "engines/OfflineEngine.h"
#include "modes/ModeManager.h"
#include "settings/SettingsManager.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QStringDecoder>
#include <QUuid>

#include <cstdio>
#include <memory>

namespace {

struct FixOptions
{
    QString modeName;
    std::optional<EngineKind> engine;
    bool json = false;
    QString path = QStringLiteral("-");
};

int usageError(const QString& message)
{
    std::fprintf(stderr, "tembrel-cli fix: %s\nusage: %s\n", qUtf8Printable(message), qUtf8Printable(fixCommandUsage()));
    return 2;
}

std::optional<QString> readText(const QString& path, QString* problem)
{
    QFile file;
    const bool opened = path == u"-" ? file.open(stdin, QIODevice::ReadOnly)
                                     : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    const QString name = path == u"-" ? QStringLiteral("standard input") : u'\'' + path + u'\'';
    if (!opened) {
        *problem = QStringLiteral("cannot read %1: %2").arg(name, file.errorString());
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder(bytes);
    if (decoder.hasError()) {
        *problem = QStringLiteral("%1 is not valid UTF-8 text").arg(name);
        return std::nullopt;
    }
    return text;
}

std::optional<Mode> findMode(const ModeManager& modes, const QString& name)
{
    for (const Mode& mode : modes.modes()) {
        if (name.isEmpty() ? mode.isDefault : mode.name.compare(name, Qt::CaseInsensitive) == 0)
            return mode;
    }
    if (name.isEmpty() && !modes.modes().isEmpty())
        return modes.modes().front();
    return std::nullopt;
}

QByteArray asJson(const FixResult& result)
{
    const DiffComputation diff = DiffUtils::wordDiff(result.originalText, result.fixedText);
    QJsonArray changes;
    for (const Change& change : diff.changes) {
        changes.append(QJsonObject{{QStringLiteral("value"), change.value},
                                   {QStringLiteral("added"), change.added},
                                   {QStringLiteral("removed"), change.removed},
                                   {QStringLiteral("trailingWhitespace"), change.trailingWhitespace}});
    }
    const QJsonObject object{{QStringLiteral("fixedText"), result.fixedText},
                             {QStringLiteral("editCount"), qint64(diff.editCount)},
                             {QStringLiteral("changes"), changes}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

QString fixCommandUsage()
{
    return QStringLiteral("tembrel-cli fix [--mode NAME] [--engine offline|custom|cloud] [--json] [FILE|-]");
}

int runFixCommand(const QStringList& arguments)
{
    FixOptions options;
    bool pathGiven = false;
    for (qsizetype k = 0; k < arguments.size(); ++k) {
        const QString& argument = arguments[k];
        if (argument == u"--json") {
            options.json = true;
        } else if (argument == u"--mode" || argument == u"--engine") {
            if (k + 1 >= arguments.size())
                return usageError(argument + QStringLiteral(" needs a value"));
            const QString value = arguments[++k];
            if (argument == u"--mode") {
                options.modeName = value;
            } else {
                options.engine = engineKindFromName(value);
                if (!options.engine)
                    return usageError(QStringLiteral("unknown engine '%1'").arg(value));
            }
        } else if (argument.startsWith(QStringLiteral("--")) || pathGiven) {
            return usageError(QStringLiteral("unexpected argument '%1'").arg(argument));
        } else {
            options.path = argument;
            pathGiven = true;
        }
    }

    // The app's organisation and name select its settings file; the command reads the same one.
    static int argc = 1;
    static char name[] = "tembrel-cli";
    static char* argv[] = {name, nullptr};
    std::unique_ptr<QCoreApplication> app;
    if (!QCoreApplication::instance())
        app = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Tembrel"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("tembrel.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Tembrel"));

    QString problem;
    const std::optional<QString> text = readText(options.path, &problem);
    if (!text) {
        std::fprintf(stderr, "tembrel-cli fix: %s\n", qUtf8Printable(problem));
        return 2;
    }

    QSettings defaults;
    ApiKeyStore keys;
    SettingsManager settings(defaults, &keys);
    ModeManager modes(defaults);
    const std::optional<Mode> mode = findMode(modes, options.modeName);
    if (!mode)
        return usageError(QStringLiteral("no mode named '%1'").arg(options.modeName));

    const QString cloudUrl = CloudEngine::baseUrlFromEnvironment();
    const bool customConfigured = settings.isCustomEndpointConfigured();
    const EngineKind kind = options.engine.value_or(chooseEngine(customConfigured, cloudUrl));
    std::unique_ptr<TextFixEngine> engine;
    switch (kind) {
    case EngineKind::offline: engine = std::make_unique<OfflineEngine>(); break;
    case EngineKind::cloud:
        // The command line sends no analytics; a fresh identifier links nothing to the app's.
        engine = std::make_unique<CloudEngine>(cloudUrl, [] { return QUuid::createUuid().toString(QUuid::WithoutBraces); });
        break;
    case EngineKind::custom:
        engine = std::make_unique<CustomOpenAIEngine>(
            [&settings] {
                return CustomEndpointConfig{settings.customAPIURL(), settings.customModelID(),
                                            settings.isCustomEndpointConfigured()};
            },
            [&keys]() { return keys.readKey(); });
        break;
    }

    const bool customMessages = kind == EngineKind::custom;
    std::optional<FixOutcome> outcome;
    auto run = [&]() -> QCoro::Task<> {
        if (!co_await engine->isAvailable()) {
            outcome = FixOutcome(TextFixError::engineUnavailable());
            co_return;
        }
        outcome = co_await engine->fix(*text, mode->prompt, nullptr, CancellationToken::none());
    };
    QCoro::waitFor(run());

    if (!outcome || !*outcome) {
        const QString message = outcome ? panelMessage(outcome->error(), customMessages)
                                        : QStringLiteral("Something went wrong. Try again?");
        std::fprintf(stderr, "%s\n", qUtf8Printable(message));
        return 1;
    }
    const FixResult& result = outcome->value();
    const QByteArray out = options.json ? asJson(result) : result.fixedText.toUtf8();
    std::fwrite(out.constData(), 1, std::size_t(out.size()), stdout);
    std::fflush(stdout);
    return 0;
}
