#include "platform/SessionInfo.h"

#include <QTest>

// The session as the environment describes it, and what Tembrel makes of it.
class TestSessionInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void detectsTheSession_data();
    void detectsTheSession();
    void fallsBackToAnInstalledPlugin();
    void bindingLinesFollowTheCompositor();
};

using Kind = SessionInfo::Kind;
using Desktop = SessionInfo::Desktop;
using Backend = SessionInfo::Backend;

void TestSessionInfo::detectsTheSession_data()
{
    QTest::addColumn<QStringList>("environment");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<bool>("xwayland");
    QTest::addColumn<Desktop>("desktop");
    QTest::addColumn<Backend>("backend");
    QTest::addColumn<QString>("qtPlatform");
    QTest::addColumn<QString>("limitationMentions"); // empty: everything works here

    QTest::newRow("X11 session") << QStringList{"DISPLAY=:0", "XDG_SESSION_TYPE=x11", "XDG_CURRENT_DESKTOP=XFCE"}
                                 << Kind::x11 << false << Desktop::other << Backend::x11 << "xcb" << "";
    QTest::newRow("GNOME on Wayland with XWayland")
        << QStringList{"WAYLAND_DISPLAY=wayland-0", "DISPLAY=:0", "XDG_SESSION_TYPE=wayland",
                       "XDG_CURRENT_DESKTOP=GNOME"}
        << Kind::wayland << true << Desktop::gnome << Backend::x11 << "xcb"
        << "only in X11 applications; bind `tembrel --fix proofread` in Settings → Keyboard";
    QTest::newRow("Ubuntu's GNOME is GNOME")
        << QStringList{"WAYLAND_DISPLAY=wayland-0", "DISPLAY=:0", "XDG_CURRENT_DESKTOP=ubuntu:GNOME"}
        << Kind::wayland << true << Desktop::gnome << Backend::x11 << "xcb" << "Settings → Keyboard";
    QTest::newRow("Plasma on Wayland with XWayland")
        << QStringList{"WAYLAND_DISPLAY=wayland-0", "DISPLAY=:1", "XDG_CURRENT_DESKTOP=KDE"}
        << Kind::wayland << true << Desktop::kde << Backend::x11 << "xcb" << "System Settings → Shortcuts";
    QTest::newRow("GNOME on Wayland without XWayland")
        << QStringList{"WAYLAND_DISPLAY=wayland-0", "XDG_CURRENT_DESKTOP=GNOME"}
        << Kind::wayland << false << Desktop::gnome << Backend::x11 << "wayland" << "Log in to an X11 session";
    QTest::newRow("sway") << QStringList{"WAYLAND_DISPLAY=wayland-1", "SWAYSOCK=/run/user/1000/sway-ipc.sock"}
                          << Kind::wayland << false << Desktop::wlroots << Backend::wayland << "wayland"
                          << "bindsym Ctrl+Shift+s exec tembrel --fix proofread";
    QTest::newRow("sway with XWayland still uses Wayland")
        << QStringList{"WAYLAND_DISPLAY=wayland-1", "DISPLAY=:0", "XDG_CURRENT_DESKTOP=sway"}
        << Kind::wayland << true << Desktop::wlroots << Backend::wayland << "wayland" << "bindsym";
    QTest::newRow("Hyprland") << QStringList{"WAYLAND_DISPLAY=wayland-1", "HYPRLAND_INSTANCE_SIGNATURE=abc"}
                              << Kind::wayland << false << Desktop::wlroots << Backend::wayland << "wayland"
                              << "bind = CTRL SHIFT, s, exec, tembrel --fix proofread";
    QTest::newRow("labwc by its desktop name")
        << QStringList{"WAYLAND_DISPLAY=wayland-0", "XDG_CURRENT_DESKTOP=labwc:wlroots"}
        << Kind::wayland << false << Desktop::wlroots << Backend::wayland << "wayland" << "labwc Wayland";
    QTest::newRow("unknown Wayland desktop with XWayland")
        << QStringList{"WAYLAND_DISPLAY=wayland-0", "DISPLAY=:0"} << Kind::wayland << true << Desktop::other
        << Backend::x11 << "xcb" << "your desktop's keyboard shortcut settings";
    QTest::newRow("Wayland session type without a socket is not X11")
        << QStringList{"XDG_SESSION_TYPE=wayland"} << Kind::wayland << false << Desktop::other << Backend::x11
        << "wayland" << "runs no XWayland";
    QTest::newRow("no display at all") << QStringList{"XDG_SESSION_TYPE=tty"} << Kind::none << false
                                       << Desktop::other << Backend::x11 << "offscreen" << "no display";
}

void TestSessionInfo::detectsTheSession()
{
    QFETCH(QStringList, environment);
    QProcessEnvironment env(QProcessEnvironment::InheritFromParent);
    env.clear();
    for (const QString& entry : std::as_const(environment))
        env.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));

    const SessionInfo info = SessionInfo::detect(env);
    QTEST(info.kind, "kind");
    QTEST(info.xwayland, "xwayland");
    QTEST(info.desktop, "desktop");
    QTEST(info.backend(), "backend");
    QTEST(info.qtPlatform({"xcb", "wayland", "offscreen", "minimal"}), "qtPlatform");
    QFETCH(QString, limitationMentions);
    if (limitationMentions.isEmpty())
        QVERIFY2(info.limitation().isEmpty(), qPrintable(info.limitation()));
    else
        QVERIFY2(info.limitation().contains(limitationMentions), qPrintable(info.limitation()));
    QCOMPARE(info.canSendKeys(), info.kind == Kind::x11 || info.xwayland || info.desktop == Desktop::wlroots);
}

void TestSessionInfo::fallsBackToAnInstalledPlugin()
{
    QProcessEnvironment env;
    env.insert("WAYLAND_DISPLAY", "wayland-1");
    env.insert("DISPLAY", ":0");
    env.insert("SWAYSOCK", "/tmp/sway.sock");
    const SessionInfo sway = SessionInfo::detect(env);
    // Without qt6-wayland, XWayland still gives Tembrel a window system instead of an abort.
    QCOMPARE(sway.qtPlatform({"xcb", "offscreen"}), QString("xcb"));
    env.remove("DISPLAY");
    QCOMPARE(SessionInfo::detect(env).qtPlatform({"xcb", "offscreen"}), QString("offscreen"));
    QCOMPARE(SessionInfo::detect(env).qtPlatform({}), QString("minimal"));
    QVERIFY(SessionInfo::installedQtPlatforms().contains("offscreen"));
}

void TestSessionInfo::bindingLinesFollowTheCompositor()
{
    QProcessEnvironment env;
    env.insert("WAYLAND_DISPLAY", "wayland-1");
    env.insert("SWAYSOCK", "/tmp/sway.sock");
    const SessionInfo sway = SessionInfo::detect(env);
    QCOMPARE(sway.compositorBinding("Ctrl+Alt+F5", "rewrite"), QString("bindsym Ctrl+Alt+F5 exec tembrel --fix rewrite"));
    QCOMPARE(sway.compositorBinding("", "rewrite"), QString());
    env.insert("XDG_CURRENT_DESKTOP", "GNOME");
    env.remove("SWAYSOCK");
    QCOMPARE(SessionInfo::detect(env).compositorBinding("Ctrl+Shift+S", "proofread"), QString());
}

QTEST_GUILESS_MAIN(TestSessionInfo)
#include "tst_sessioninfo.moc"
