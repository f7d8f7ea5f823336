// Shows every page of onboarding in the light and the dark appearance and saves a screenshot of
// each:  onboarding_gallery <output folder>
// Run it inside scripts/with-desktop.sh.
#include "analytics/AnalyticsManager.h"
#include "capture/ClipboardManager.h"
#include "modes/ModeManager.h"
#include "platform/fake/FakePlatform.h"
#include "settings/OnboardingController.h"
#include "settings/SettingsManager.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QGuiApplication>
#include <QPalette>
#include <QProcess>
#include <QQuickWindow>
#include <QSettings>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

void setDarkAppearance(bool dark)
{
    QPalette palette;
    if (dark) {
        palette.setColor(QPalette::Window, QColor(0x20, 0x21, 0x24));
        palette.setColor(QPalette::WindowText, QColor(0xf1, 0xf3, 0xf4));
        palette.setColor(QPalette::Base, QColor(0x18, 0x19, 0x1b));
        palette.setColor(QPalette::Text, QColor(0xf1, 0xf3, 0xf4));
        palette.setColor(QPalette::Button, QColor(0x30, 0x31, 0x35));
        palette.setColor(QPalette::ButtonText, QColor(0xf1, 0xf3, 0xf4));
        palette.setColor(QPalette::Mid, QColor(0x5f, 0x63, 0x68));
        palette.setColor(QPalette::PlaceholderText, QColor(0x9a, 0xa0, 0xa6));
    }
    QGuiApplication::setPalette(palette);
}

struct Scene
{
    QString name;
    bool trusted;
    int page;
    QString pasted;
};

} // namespace

int main(int argc, char* argv[])
{
    TestEnvironment env;
    QGuiApplication app(argc, argv);
    const QString folder = app.arguments().value(1, QStringLiteral("."));
    QDir().mkpath(folder);

    QSettings defaults(env.configHome() + QStringLiteral("/gallery.ini"), QSettings::IniFormat);
    SettingsManager settings(defaults);
    ModeManager modes(defaults);
    ClipboardManager clipboard;
    PostHogConfig quiet;
    quiet.storageDirectory = env.dataHome() + QStringLiteral("/analytics");
    AnalyticsManager analytics(quiet, [] { return false; });
    FakeAccessibilityTrust trust;
    trust.reason = QStringLiteral("This Wayland session doesn't let apps send keystrokes to other windows. "
                                  "Log in to an X11 session to use Tembrel.");

    const QList<Scene> scenes{
        {QStringLiteral("welcome"), true, 0, {}},
        {QStringLiteral("permission"), true, 1, {}},
        {QStringLiteral("permission-unavailable"), false, 1, {}},
        {QStringLiteral("tryit"), true, 2, {}},
        {QStringLiteral("success"), true, 2,
         QStringLiteral("I have a meeting tomorrow, and there are going to be a lot of people.")},
    };
    for (const bool dark : {false, true}) {
        setDarkAppearance(dark);
        for (const Scene& scene : scenes) {
            trust.trusted = scene.trusted;
            OnboardingController onboarding(modes, settings, trust, clipboard, analytics, defaults);
            onboarding.show();
            (void)QTest::qWaitForWindowExposed(onboarding.window());
            onboarding.goToPage(scene.page);
            if (!scene.pasted.isEmpty())
                onboarding.setPastedText(scene.pasted);
            QTest::qWait(700);
            const QRect shot = onboarding.window()->frameGeometry();
            const QString file = folder + QStringLiteral("/onboarding-") + scene.name
                + (dark ? QStringLiteral("-dark.png") : QStringLiteral("-light.png"));
            QProcess::execute(QStringLiteral("import"),
                              {QStringLiteral("-window"), QStringLiteral("root"), QStringLiteral("-crop"),
                               QStringLiteral("%1x%2+%3+%4").arg(shot.width()).arg(shot.height()).arg(shot.x()).arg(shot.y()),
                               QStringLiteral("+repage"), file});
        }
    }
    return 0;
}
