#include "app/QuitSignals.h"
#include "app/SingleInstance.h"
#include "app/TembrelApp.h"
#include "core/Logging.h"
#include "diff/HtmlDiffWarmup.h"
#include "platform/PlatformServices.h"

#include <QApplication>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

int main(int argc, char* argv[])
{
    // The web engine shares OpenGL contexts with Qt Quick, and both must be set up before the
    // application object exists.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    HtmlDiffWarmup::initializeEngine();

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Tembrel"));
    QApplication::setOrganizationDomain(QStringLiteral("tembrel.com"));
    QApplication::setApplicationName(QStringLiteral("Tembrel"));
    QApplication::setQuitOnLastWindowClosed(false);

    // Opening Tembrel while it runs shows its settings instead of starting a second copy.
    SingleInstance instance(SingleInstance::defaultSocketPath());
    if (!instance.claim()) {
        if (instance.notifyRunningInstance()) {
            qCInfo(lcApp) << "Tembrel is already running; asked it to show Settings";
            return 0;
        }
        qCCritical(lcApp) << "Tembrel is already running but did not answer at" << instance.socketPath();
        return 1;
    }

    TembrelApp tembrel(createPlatformServices());
    QObject::connect(&instance, &SingleInstance::reopenRequested, &tembrel, &TembrelApp::showSettings);
    tembrel.start();
    // A session ending quits as the menu does, writing what is still pending.
    QuitSignals::install([&tembrel] { tembrel.quit(); });
    return QApplication::exec();
}
