#include "app/TembrelApp.h"
#include "platform/PlatformServices.h"

#include <QApplication>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Tembrel"));
    QApplication::setOrganizationDomain(QStringLiteral("tembrel.com"));
    QApplication::setApplicationName(QStringLiteral("Tembrel"));
    QApplication::setQuitOnLastWindowClosed(false);

    TembrelApp tembrel(createPlatformServices());
    tembrel.start();
    return QApplication::exec();
}
