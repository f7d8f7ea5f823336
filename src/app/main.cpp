#include "app/AppIcons.h"
#include "app/BuildConfig.h"
#include "app/CommandLine.h"
#include "app/QuitSignals.h"
#include "app/SingleInstance.h"
#include "app/TembrelApp.h"
#include "core/Logging.h"
#include "diff/HtmlDiffWarmup.h"
#include "platform/PlatformServices.h"
#include "platform/SessionInfo.h"

#include <QApplication>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

QStringList argumentList(int argc, char* argv[])
{
    QStringList arguments;
    for (int k = 0; k < argc; ++k)
        arguments.append(QString::fromLocal8Bit(argv[k]));
    return arguments;
}

// A later launch hands its request over and ends: 0 when the running Tembrel did it.
int handOver(SingleInstance& instance, const LaunchRequest& request)
{
    const SingleInstance::Reply reply = instance.sendRequest(request.toMessage());
    switch (reply.status) {
    case SingleInstance::Reply::Status::done:
        qCInfo(lcApp) << "Tembrel is already running; handed the request over";
        return 0;
    case SingleInstance::Reply::Status::refused:
        std::fprintf(stderr, "tembrel: %s\n", qUtf8Printable(reply.message));
        return 1;
    case SingleInstance::Reply::Status::noAnswer:
        break;
    }
    qCCritical(lcApp) << "Tembrel is already running but did not answer at" << instance.socketPath();
    return 1;
}

// What a request does in the running Tembrel: empty when done, else why not.
QString perform(TembrelApp& tembrel, const LaunchRequest& request)
{
    switch (request.action) {
    case LaunchRequest::Action::open:
    case LaunchRequest::Action::settings:
        tembrel.showSettings();
        return {};
    case LaunchRequest::Action::history:
        tembrel.showHistory();
        return {};
    case LaunchRequest::Action::quit:
        // After the answer has gone out to the launch that asked.
        QMetaObject::invokeMethod(&tembrel, &TembrelApp::quit, Qt::QueuedConnection);
        return {};
    case LaunchRequest::Action::fix:
        return tembrel.fixWithMode(request.mode);
    }
    return {};
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication::setOrganizationName(QStringLiteral("Tembrel"));
    QApplication::setOrganizationDomain(QStringLiteral("tembrel.com"));
    QApplication::setApplicationName(QStringLiteral("Tembrel"));
    QApplication::setApplicationVersion(QString::fromLatin1(BuildConfig::version));
    // Read before the application object exists, so that --help and --version need no display.
    const std::variant<LaunchRequest, int> parsed = parseLaunchArguments(argumentList(argc, argv));
    if (const int* status = std::get_if<int>(&parsed))
        return *status;
    const LaunchRequest request = std::get<LaunchRequest>(parsed);
    // The platform backend needs Qt on the same window system, chosen before Qt connects to one.
    SessionInfo::detect().selectQtPlatform();

    // The web engine shares OpenGL contexts with Qt Quick, and both must be set up before the
    // application object exists.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    HtmlDiffWarmup::initializeEngine();

    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QLatin1String(AppIcons::applicationId));
    QApplication::setWindowIcon(AppIcons::application());

    // One Tembrel per user: a later launch hands its request to the running one.
    SingleInstance instance(SingleInstance::defaultSocketPath());
    if (!instance.claim())
        return handOver(instance, request);
    if (request.action == LaunchRequest::Action::quit) {
        std::fputs("tembrel: Tembrel is not running.\n", stderr);
        return 0;
    }

    TembrelApp tembrel(createPlatformServices());
    QObject::connect(&instance, &SingleInstance::reopenRequested, &tembrel, &TembrelApp::showSettings);
    instance.setRequestHandler([&tembrel](const QString& message) -> std::optional<QString> {
        const std::optional<LaunchRequest> handed = LaunchRequest::fromMessage(message);
        if (!handed)
            return std::nullopt;
        qCInfo(lcApp).noquote() << "A later launch asked for" << message;
        return perform(tembrel, *handed);
    });
    QuitSignals quitSignals;
    QObject::connect(&quitSignals, &QuitSignals::quitRequested, &tembrel, &TembrelApp::quit);

    tembrel.start();
    if (request.action != LaunchRequest::Action::open) {
        const QString problem = perform(tembrel, request);
        if (!problem.isEmpty())
            qCWarning(lcApp).noquote() << problem;
    }
    return QApplication::exec();
}
