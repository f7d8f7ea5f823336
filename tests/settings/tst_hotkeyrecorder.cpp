// The shortcut recorder driven by real key events sent to a real window, with the real catalogue,
// the real X server's grabs and desktop shortcut stores written by the test.
#include "modes/ModeManager.h"
#include "modes/QtKeyTranslation.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "settings/DesktopShortcuts.h"
#include "settings/HotkeyRecorder.h"
#include "settings/HotkeyRecorderConflicts.h"
#include "settings/ModesModel.h"
#include "settings/ShortcutAvailability.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <X11/Xlib.h>
#include <X11/keysym.h>
// X names its events like Qt's.
#undef KeyPress
#undef KeyRelease

namespace {
constexpr quint64 cmd = Hotkey::commandFlag;
constexpr quint64 shift = Hotkey::shiftFlag;
constexpr quint64 opt = Hotkey::optionFlag;
constexpr quint64 ctl = Hotkey::controlFlag;

// One event per physical key, as the window system delivers them. (QTest's key functions also
// press and release every modifier they are given, which is not what a keyboard does.)
void sendKey(QWindow* window, bool press, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QKeyEvent event(press ? QEvent::KeyPress : QEvent::KeyRelease, key, modifiers);
    QCoreApplication::sendEvent(window, &event);
}

struct KeyStep
{
    bool press;
    int key;
    Qt::KeyboardModifiers modifiers;
};

// Another X client, on its own connection, as another application would be.
class OtherClient
{
public:
    OtherClient() : m_display(XOpenDisplay(nullptr)) {}
    ~OtherClient()
    {
        if (m_display)
            XCloseDisplay(m_display);
    }
    [[nodiscard]] bool isOpen() const { return m_display != nullptr; }

    /// Grabs the key as a global shortcut; false when someone else holds it (BadAccess).
    bool grab(KeySym keysym, unsigned int modifiers)
    {
        s_failed = false;
        XErrorHandler previous = XSetErrorHandler([](Display*, XErrorEvent* error) {
            s_failed = s_failed || error->error_code == BadAccess;
            return 0;
        });
        XGrabKey(m_display, XKeysymToKeycode(m_display, keysym), modifiers, DefaultRootWindow(m_display), True,
                 GrabModeAsync, GrabModeAsync);
        XSync(m_display, False);
        XSetErrorHandler(previous);
        return !s_failed;
    }

private:
    static inline bool s_failed = false;
    Display* m_display;
};

// The three stores the desktops keep their shortcuts in, as each desktop writes them; GSettings
// answers through a `gsettings` stand-in that replies from a table.
void writeDesktopStores(const QString& folder)
{
    const auto write = [](const QString& path, const QByteArray& text) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    const QByteArray gnome = "org.gnome.settings-daemon.plugins.media-keys";
    const QByteArray custom = gnome + ".custom-keybinding:/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom0/";
    const QByteArray cinnamonCustom =
        "org.cinnamon.desktop.keybindings.custom-keybinding:/org/cinnamon/desktop/keybindings/custom-keybindings/custom3/";
    write(folder + QStringLiteral("/gsettings.table"),
          "list-recursively org.gnome.desktop.wm.keybindings\t"
          "org.gnome.desktop.wm.keybindings switch-to-workspace-1 ['<Super>Home', '<Super>1']\n"
          "list-recursively org.gnome.desktop.wm.keybindings\t"
          "org.gnome.desktop.wm.keybindings begin-move @as []\n"
          "list-recursively " + gnome + "\t" + gnome + " screensaver ['<Super>Escape']\n"
          "list-recursively " + gnome + "\t" + gnome
              + " custom-keybindings ['/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom0/']\n"
          "list-recursively " + custom + "\t" + gnome + ".custom-keybinding binding '<Primary><Shift>n'\n"
          "list-recursively " + custom + "\t" + gnome + ".custom-keybinding name 'Open notes'\n"
          "list-recursively org.cinnamon.desktop.keybindings.wm\t"
          "org.cinnamon.desktop.keybindings.wm toggle-maximized ['<Alt>F10']\n"
          // A parent schema lists its children too; they are read on their own.
          "list-recursively org.cinnamon.desktop.keybindings\torg.cinnamon.desktop.keybindings custom-list ['custom3']\n"
          "list-recursively org.cinnamon.desktop.keybindings\torg.cinnamon.desktop.keybindings.wm toggle-maximized ['<Alt>F9']\n"
          "list-recursively " + cinnamonCustom + "\torg.cinnamon.desktop.keybindings.custom-keybinding binding ['<Super><Alt>j']\n"
          "list-recursively " + cinnamonCustom + "\torg.cinnamon.desktop.keybindings.custom-keybinding name 'Journal'\n");
    // Where there is no dconf, GSettings keeps what the user changed in a keyfile.
    write(folder + QStringLiteral("/glib-2.0/settings/keyfile"),
          "[org/gnome/desktop/wm/keybindings]\nmove-to-workspace-3=['<Super><Shift>3']\n\n"
          "[org/gnome/settings-daemon/plugins/media-keys]\n"
          "custom-keybindings=['/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom1/']\n\n"
          "[org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom1]\n"
          "binding='<Super>e'\nname='Open files'\n");
    // Unknown questions fail, as `gsettings` does for a schema it does not have.
    write(folder + QStringLiteral("/gsettings"),
          "#!/bin/sh\nexec awk -F '\\t' -v q=\"$*\" '$1 == q { print $2; found = 1 } END { exit !found }' \""
              + QFile::encodeName(folder) + "/gsettings.table\"\n");
    QFile(folder + QStringLiteral("/gsettings")).setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    write(folder + QStringLiteral("/kglobalshortcutsrc"),
          "[kwin]\n_k_friendly_name=KWin\n"
          "Switch to Desktop 1=Meta+1,Ctrl+F1,Switch to Desktop 1\n"
          "Walk Through Windows=Alt+Tab\\tMeta+Tab,Alt+Tab,Walk Through Windows\n"
          "Window Maximize=none,Meta+PgUp,Maximize Window\n"
          "[services][org.kde.konsole.desktop]\n_launch=Ctrl+Alt+Y,none,Konsole\n");
    write(folder + QStringLiteral("/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml"),
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<channel name=\"xfce4-keyboard-shortcuts\" version=\"1.0\">\n"
          " <property name=\"commands\" type=\"empty\">\n"
          "  <property name=\"default\" type=\"empty\">\n"
          "   <property name=\"&lt;Alt&gt;F3\" type=\"string\" value=\"xfce4-appfinder\"/>\n"
          "  </property>\n"
          "  <property name=\"custom\" type=\"empty\">\n"
          "   <property name=\"&lt;Primary&gt;&lt;Alt&gt;e\" type=\"string\" value=\"thunar\"/>\n"
          "   <property name=\"override\" type=\"bool\" value=\"true\"/>\n"
          "  </property>\n"
          " </property>\n"
          " <property name=\"xfwm4\" type=\"empty\">\n"
          "  <property name=\"default\" type=\"empty\">\n"
          "   <property name=\"&lt;Super&gt;2\" type=\"string\" value=\"workspace_2_key\"/>\n"
          "  </property>\n"
          " </property>\n"
          "</channel>\n");
}
} // namespace

Q_DECLARE_METATYPE(QList<KeyStep>)

class TestHotkeyRecorder : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<ModeManager> m_manager;
    std::unique_ptr<ModesModel> m_model;
    std::unique_ptr<QWindow> m_window;
    std::unique_ptr<HotkeyRecorder> m_recorder;
    QTemporaryDir m_stores;

    void play(const QList<KeyStep>& steps)
    {
        for (const KeyStep& step : steps)
            sendKey(m_window.get(), step.press, step.key, step.modifiers);
    }

    void record(int key, Qt::KeyboardModifiers modifiers)
    {
        m_recorder->startRecording(m_window.get());
        sendKey(m_window.get(), true, key, modifiers);
        QTRY_VERIFY(!m_recorder->isRecording());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_stores.isValid());
        writeDesktopStores(m_stores.path());
    }

    void init()
    {
        m_settings = std::make_unique<QSettings>(m_env.configHome() + QStringLiteral("/recorder.ini"), QSettings::IniFormat);
        m_settings->clear();
        m_manager = std::make_unique<ModeManager>(*m_settings);
        m_model = std::make_unique<ModesModel>(*m_manager);
        m_window = std::make_unique<QWindow>();
        m_window->resize(100, 100);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        m_recorder = std::make_unique<HotkeyRecorder>();
        m_recorder->setModes(m_model.get());
    }

    void cleanup()
    {
        ShortcutAvailability::instance().setShortcuts(nullptr);
        ShortcutAvailability::instance().setSources({});
        m_recorder.reset();
        m_window.reset();
        m_model.reset();
        m_manager.reset();
        m_settings.reset();
    }

    void translatesKeys_data()
    {
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<bool>("keypad");
        QTest::addColumn<int>("macKeyCode");

        QTest::newRow("A is 0, not 1") << int(Qt::Key_A) << false << 0;
        QTest::newRow("S") << int(Qt::Key_S) << false << 1;
        QTest::newRow("B") << int(Qt::Key_B) << false << 11;
        QTest::newRow("Z") << int(Qt::Key_Z) << false << 6;
        QTest::newRow("digit 4") << int(Qt::Key_4) << false << 21;
        QTest::newRow("digit 5 comes after 6 on the Mac") << int(Qt::Key_5) << false << 23;
        QTest::newRow("Shift+4 arrives as $") << int(Qt::Key_Dollar) << false << 21;
        QTest::newRow("Shift+3 arrives as #") << int(Qt::Key_NumberSign) << false << 20;
        QTest::newRow("Shift+Tab arrives as Backtab") << int(Qt::Key_Backtab) << false << 48;
        QTest::newRow("comma") << int(Qt::Key_Comma) << false << 43;
        QTest::newRow("F5") << int(Qt::Key_F5) << false << 96;
        QTest::newRow("F1") << int(Qt::Key_F1) << false << 122;
        QTest::newRow("Escape") << int(Qt::Key_Escape) << false << 53;
        QTest::newRow("Return") << int(Qt::Key_Return) << false << 36;
        QTest::newRow("keypad 5") << int(Qt::Key_5) << true << 87;
        QTest::newRow("keypad 9 skips 90") << int(Qt::Key_9) << true << 92;
        QTest::newRow("keypad minus") << int(Qt::Key_Minus) << true << 78;
        QTest::newRow("letter on the keypad flag is still a letter") << int(Qt::Key_Q) << true << 12;
        QTest::newRow("no Mac code") << int(Qt::Key_Launch0) << false << -1;
    }

    void translatesKeys()
    {
        QFETCH(int, qtKey);
        QFETCH(bool, keypad);
        QFETCH(int, macKeyCode);
        const auto code = QtKeyTranslation::macKeyCode(qtKey, keypad);
        QCOMPARE(code ? int(*code) : -1, macKeyCode);
    }

    void translatesModifiers()
    {
        using QtKeyTranslation::appKitModifiers;
        QCOMPARE(appKitModifiers(Qt::ControlModifier), cmd);
        QCOMPARE(appKitModifiers(Qt::MetaModifier), ctl);
        QCOMPARE(appKitModifiers(Qt::AltModifier), opt);
        QCOMPARE(appKitModifiers(Qt::ShiftModifier), shift);
        QCOMPARE(appKitModifiers(Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier), quint64(0x1A0000));
        QCOMPARE(appKitModifiers(Qt::KeypadModifier | Qt::GroupSwitchModifier), quint64(0));
    }

    void conflictMessages_data()
    {
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<QString>("otherMode");
        QTest::addColumn<QString>("desktopAction"); // what GNOME binds to it, if anything
        QTest::addColumn<bool>("heldElsewhere");
        QTest::addColumn<QString>("message");

        const QString system = QStringLiteral("This shortcut is used by the system for ");
        const QString many = QStringLiteral("Many applications use this shortcut for ");
        const quint64 alt = opt;
        const quint64 ctrlAlt = cmd | opt;
        const QString none;
        QTest::newRow("Alt+Tab") << 48u << alt << none << none << false << system + QStringLiteral("Switch Windows");
        QTest::newRow("Ctrl+Alt+Delete") << 117u << ctrlAlt << none << none << false << system + QStringLiteral("Log Out");
        QTest::newRow("Ctrl+Alt+Backspace is not Delete") << 51u << ctrlAlt << none << none << false << none;
        QTest::newRow("Ctrl+Alt+T") << 17u << ctrlAlt << none << none << false << system + QStringLiteral("Terminal");
        QTest::newRow("Super+L") << 37u << ctl << none << none << false << system + QStringLiteral("Lock Screen");
        QTest::newRow("Ctrl+L is not Super+L") << 37u << cmd << none << none << false << none;
        QTest::newRow("Ctrl+Alt+F1") << 122u << ctrlAlt << none << none << false << system + QStringLiteral("Switch to Console 1");
        QTest::newRow("Ctrl+Alt+F12") << 111u << ctrlAlt << none << none << false << system + QStringLiteral("Switch to Console 12");
        QTest::newRow("Alt+F2") << 120u << alt << none << none << false << system + QStringLiteral("Run Command");
        QTest::newRow("Alt+F4") << 118u << alt << none << none << false << system + QStringLiteral("Close Window");
        QTest::newRow("Ctrl+Shift+4 is free on Linux") << 21u << (cmd | shift) << none << none << false << none;
        QTest::newRow("Ctrl+Space is free on Linux") << 49u << cmd << none << none << false << none;
        QTest::newRow("Ctrl+Shift+S, the default") << 1u << (cmd | shift) << none << none << false << many + QStringLiteral("Save As");
        QTest::newRow("Ctrl+S") << 1u << cmd << none << none << false << many + QStringLiteral("Save");
        QTest::newRow("Ctrl+P") << 35u << cmd << none << none << false << many + QStringLiteral("Print");
        QTest::newRow("Ctrl+Shift+Z") << 6u << (cmd | shift) << none << none << false << many + QStringLiteral("Redo");
        QTest::newRow("Ctrl+Alt+S is no standard") << 1u << ctrlAlt << none << none << false << none;
        QTest::newRow("Super+S is no standard") << 1u << ctl << none << none << false << none;
        QTest::newRow("another mode before the system") << 48u << alt << QStringLiteral("Casual") << none << false << QStringLiteral("Used by Casual");
        QTest::newRow("the system before the desktop") << 48u << alt << none << QStringLiteral("Switch windows") << true
                                                       << system + QStringLiteral("Switch Windows");
        QTest::newRow("the desktop before another application") << 18u << ctl << none << QStringLiteral("Switch to workspace 1")
                                                                << true << QStringLiteral("Used by GNOME for Switch to workspace 1");
        QTest::newRow("another application before the standard") << 1u << (cmd | shift) << none << none << true
                                                                  << QStringLiteral("Used by another application");
        QTest::newRow("another mode, free key") << 96u << quint64(0) << QStringLiteral("Mine") << none << false << QStringLiteral("Used by Mine");
    }

    void conflictMessages()
    {
        QFETCH(quint32, keyCode);
        QFETCH(quint64, modifiers);
        QFETCH(QString, otherMode);
        QFETCH(QString, desktopAction);
        QFETCH(bool, heldElsewhere);
        QFETCH(QString, message);
        HotkeyRecorderConflicts::Findings findings;
        if (!otherMode.isEmpty())
            findings.otherModeName = otherMode;
        if (!desktopAction.isEmpty())
            findings.desktopUse = HotkeyRecorderConflicts::DesktopUse{QStringLiteral("GNOME"), desktopAction};
        findings.heldByAnotherApplication = heldElsewhere;
        QCOMPARE(HotkeyRecorderConflicts::message(Hotkey{keyCode, modifiers}, findings), message);
    }

    void desktopShortcuts_data()
    {
        using D = DesktopShortcuts::Desktop;
        QTest::addColumn<int>("desktop");
        QTest::addColumn<bool>("withGSettings"); // false: no `gsettings` command, only the keyfile
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<QString>("message");

        QTest::newRow("GNOME workspace, second of two") << int(D::gnome) << true << 18u << ctl << "Used by GNOME for Switch to workspace 1";
        QTest::newRow("GNOME media key, panel's name") << int(D::gnome) << true << 53u << ctl << "Used by GNOME for Lock screen";
        QTest::newRow("GNOME custom binding by its name") << int(D::gnome) << true << 45u << (cmd | shift) << "Used by GNOME for Open notes";
        QTest::newRow("GNOME's bindings are not Cinnamon's") << int(D::gnome) << true << 109u << opt << QString();
        QTest::newRow("Cinnamon window binding") << int(D::cinnamon) << true << 109u << opt << "Used by Cinnamon for Toggle maximized";
        QTest::newRow("Cinnamon custom binding") << int(D::cinnamon) << true << 38u << (ctl | opt) << "Used by Cinnamon for Journal";
        QTest::newRow("KDE friendly name") << int(D::kde) << true << 18u << ctl << "Used by KDE for Switch to Desktop 1";
        QTest::newRow("KDE second active shortcut") << int(D::kde) << true << 48u << ctl << "Used by KDE for Walk Through Windows";
        QTest::newRow("KDE launcher") << int(D::kde) << true << 16u << (cmd | opt) << "Used by KDE for Konsole";
        QTest::newRow("KDE default that is not active") << int(D::kde) << true << 122u << cmd << QString();
        QTest::newRow("KDE shortcut set to none") << int(D::kde) << true << 116u << ctl << QString();
        QTest::newRow("Xfce custom command") << int(D::xfce) << true << 14u << (cmd | opt) << "Used by Xfce for thunar";
        QTest::newRow("Xfce default replaced by custom") << int(D::xfce) << true << 99u << opt << QString();
        QTest::newRow("Xfce window manager action") << int(D::xfce) << true << 19u << ctl << "Used by Xfce for Workspace 2";
        QTest::newRow("Cinnamon child keys only from their own schema") << int(D::cinnamon) << true << 101u << opt << QString();
        QTest::newRow("GNOME keyfile binding") << int(D::gnome) << false << 20u << (ctl | shift)
                                               << "Used by GNOME for Move to workspace 3";
        QTest::newRow("GNOME keyfile custom binding") << int(D::gnome) << false << 14u << ctl << "Used by GNOME for Open files";
        QTest::newRow("GNOME keyfile without the command's defaults") << int(D::gnome) << false << 18u << ctl << QString();
        QTest::newRow("unknown desktop reads nothing") << int(D::none) << true << 18u << ctl << QString();
    }

    void desktopShortcuts()
    {
        QFETCH(int, desktop);
        QFETCH(bool, withGSettings);
        QFETCH(quint32, keyCode);
        QFETCH(quint64, modifiers);
        QFETCH(QString, message);

        ShortcutAvailability& availability = ShortcutAvailability::instance();
        const QString gsettings = m_stores.filePath(withGSettings ? QStringLiteral("gsettings") : QStringLiteral("missing"));
        availability.setSources({DesktopShortcuts::Desktop(desktop), gsettings, m_stores.path()});
        QSignalSpy read(&availability, &ShortcutAvailability::desktopShortcutsChanged);
        QSignalSpy state(m_recorder.get(), &HotkeyRecorder::stateChanged);
        // Recording starts the read; the warning follows once it is in.
        m_recorder->startRecording(m_window.get());
        const qsizetype before = state.count();
        QVERIFY(read.wait());
        QVERIFY(state.count() > before); // the recorder shows what was read
        m_recorder->stopRecording();
        m_recorder->setHotkey(Hotkey{keyCode, modifiers});
        QCOMPARE(m_recorder->conflictMessage(), message);
    }

    void records_data()
    {
        QTest::addColumn<QList<KeyStep>>("steps");
        QTest::addColumn<std::optional<Hotkey>>("recorded"); // none: the old shortcut stays

        const auto C = Qt::ControlModifier;
        const auto S = Qt::ShiftModifier;
        const auto A = Qt::AltModifier;
        const auto N = Qt::NoModifier;
        const std::optional<Hotkey> none;
        // X11 gives a modifier's press without its own bit and its release with it.
        QTest::newRow("Ctrl+Shift+4 as X11 sends it")
            << QList<KeyStep>{{true, Qt::Key_Control, N}, {true, Qt::Key_Shift, C}, {true, Qt::Key_Dollar, C | S}}
            << std::optional(Hotkey{21, cmd | shift});
        QTest::newRow("Ctrl+M") << QList<KeyStep>{{true, Qt::Key_Control, N}, {true, Qt::Key_M, C}} << std::optional(Hotkey{46, cmd});
        QTest::newRow("Ctrl+Alt+Shift+C") << QList<KeyStep>{{true, Qt::Key_C, C | A | S}} << std::optional(Hotkey{8, 0x1A0000});
        QTest::newRow("F5 alone") << QList<KeyStep>{{true, Qt::Key_F5, N}} << std::optional(Hotkey{96, 0});
        QTest::newRow("modifiers, then Escape keeps the old shortcut")
            << QList<KeyStep>{{true, Qt::Key_Control, N}, {true, Qt::Key_Shift, C}, {true, Qt::Key_Escape, C | S}} << none;
        QTest::newRow("a key, then Escape before it settles keeps the old shortcut")
            << QList<KeyStep>{{true, Qt::Key_F6, N}, {true, Qt::Key_Escape, N}} << none;
        QTest::newRow("modifiers pressed and released alone record nothing")
            << QList<KeyStep>{{true, Qt::Key_Control, N}, {false, Qt::Key_Control, C}} << none;
        QTest::newRow("the A key is key code 0, so it is never recorded")
            << QList<KeyStep>{{true, Qt::Key_Control, N}, {true, Qt::Key_A, C}, {false, Qt::Key_A, C}, {false, Qt::Key_Control, C}}
            << none;
        QTest::newRow("a key then all modifiers released stops at once")
            << QList<KeyStep>{{true, Qt::Key_Control, N}, {true, Qt::Key_K, C}, {false, Qt::Key_K, C}, {false, Qt::Key_Control, C}}
            << std::optional(Hotkey{40, cmd});
        QTest::newRow("a key with no Mac code is skipped")
            << QList<KeyStep>{{true, Qt::Key_Launch0, N}, {true, Qt::Key_F7, N}} << std::optional(Hotkey{98, 0});
    }

    void records()
    {
        QFETCH(QList<KeyStep>, steps);
        QFETCH(std::optional<Hotkey>, recorded);

        const Hotkey old{Hotkey::commandShift(37)}; // Ctrl+Shift+L, free on a fresh catalogue... almost:
        m_recorder->setExcludingModeId(storedUuidString(ModeCatalogue::builtInId(3))); // ...it is Casual's own
        m_recorder->setHotkey(old);
        QSignalSpy stored(m_recorder.get(), &HotkeyRecorder::recorded);

        m_recorder->startRecording(m_window.get());
        QVERIFY(m_recorder->isRecording());
        QCOMPARE(m_recorder->displayText(), QStringLiteral("Type shortcut"));
        play(steps);
        QTest::qWait(HotkeyRecorder::settleMs * 2);
        // Nothing complete was typed (or it was cancelled): a click ends it without a change.
        if (m_recorder->isRecording())
            m_recorder->toggle(m_window.get());
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->pendingHotkey(), std::nullopt);
        if (recorded) {
            QCOMPARE(stored.count(), 1);
            QCOMPARE(m_recorder->hotkey(), recorded);
            // The warning is the one for the recorded keys (Ctrl+Shift+4 and Ctrl+M have one).
            QCOMPARE(m_recorder->conflictMessage(), HotkeyRecorderConflicts::message(*recorded, std::nullopt));
        } else {
            QCOMPARE(stored.count(), 0);
            QCOMPARE(m_recorder->hotkey(), std::optional(old));
            QCOMPARE(m_recorder->displayText(), QStringLiteral("Ctrl+Shift+L"));
        }
    }

    void showsHeldModifiersLive()
    {
        QCOMPARE(m_recorder->displayText(), QStringLiteral("Set shortcut"));
        m_recorder->startRecording(m_window.get());
        sendKey(m_window.get(), true, Qt::Key_Control);
        QCOMPARE(m_recorder->displayText(), QStringLiteral("Ctrl+"));
        sendKey(m_window.get(), true, Qt::Key_Alt, Qt::ControlModifier);
        QCOMPARE(m_recorder->displayText(), QStringLiteral("Ctrl+Alt+"));
        sendKey(m_window.get(), false, Qt::Key_Control, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(m_recorder->displayText(), QStringLiteral("Alt+"));
        QCOMPARE(m_recorder->pendingHotkey(), std::optional(Hotkey{0, opt}));
        sendKey(m_window.get(), true, Qt::Key_F5, Qt::AltModifier);
        QCOMPARE(m_recorder->displayText(), QStringLiteral("Alt+F5"));
        QVERIFY(m_recorder->isRecording());
    }

    void stopsShortlyAfterAKey()
    {
        m_recorder->startRecording(m_window.get());
        sendKey(m_window.get(), true, Qt::Key_F5);
        QVERIFY(m_recorder->isRecording()); // not at once: the user may still be pressing modifiers
        QTRY_VERIFY_WITH_TIMEOUT(!m_recorder->isRecording(), 1000);
        QCOMPARE(m_recorder->hotkey(), std::optional(Hotkey{96, 0}));
        QCOMPARE(m_recorder->displayText(), QStringLiteral("F5"));
    }

    void ignoresKeysOfOtherWindows()
    {
        QWindow other;
        other.resize(50, 50);
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        m_recorder->startRecording(m_window.get());
        sendKey(&other, true, Qt::Key_F5);
        QTest::qWait(HotkeyRecorder::settleMs * 2);
        QVERIFY(m_recorder->isRecording());
        QCOMPARE(m_recorder->pendingHotkey(), std::nullopt);
    }

    void clickWhileRecordingStops()
    {
        m_recorder->startRecording(m_window.get());
        sendKey(m_window.get(), true, Qt::Key_F9, Qt::ShiftModifier);
        m_recorder->toggle(m_window.get()); // a click before the key settles keeps the key
        QVERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->hotkey(), std::optional(Hotkey{101, shift}));
        // Keys after recording stopped go where they would have gone.
        sendKey(m_window.get(), true, Qt::Key_F5);
        QCOMPARE(m_recorder->hotkey(), std::optional(Hotkey{101, shift}));
    }

    void warnsAboutAnotherModesShortcut()
    {
        // Professional's row records Ctrl+Shift+S, which the primary mode has.
        m_recorder->setExcludingModeId(storedUuidString(ModeCatalogue::builtInId(2)));
        m_recorder->startRecording(m_window.get());
        sendKey(m_window.get(), true, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(!m_recorder->isRecording());
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Used by Tembrel"));

        // The warning follows the catalogue: once the primary mode moves away, it goes.
        QSignalSpy state(m_recorder.get(), &HotkeyRecorder::stateChanged);
        m_model->setHotkey(storedUuidString(ModeCatalogue::builtInId(1)), 96, 0);
        QVERIFY(state.count() > 0);
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Many applications use this shortcut for Save As"));
    }

    void ownShortcutIsNoConflict()
    {
        m_recorder->setExcludingModeId(storedUuidString(ModeCatalogue::builtInId(1)));
        m_recorder->setHotkey(Hotkey::commandShift(1));
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Many applications use this shortcut for Save As"));
        // Without an excluded mode (the add sheet) the primary mode owns it.
        m_recorder->setExcludingModeId(QString());
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Used by Tembrel"));
    }

    void trialGrabFindsAnotherApplication()
    {
        OtherClient other;
        QVERIFY(other.isOpen());
        QVERIFY(other.grab(XK_j, ControlMask | Mod1Mask));
        X11GlobalShortcuts shortcuts;
        ShortcutAvailability::instance().setShortcuts(&shortcuts);
        // Tembrel holds the primary mode's Ctrl+Shift+S itself, through the same object.
        QCOMPARE(shortcuts.registerShortcut(1, 1, cmd | shift), GlobalShortcuts::RegistrationError::none);
        const QString professional = storedUuidString(ModeCatalogue::builtInId(2));

        m_recorder->setExcludingModeId(professional);
        record(Qt::Key_J, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(m_recorder->hotkey(), std::optional(Hotkey{38, cmd | opt}));
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Used by another application"));

        // A free shortcut is grabbed only for the trial: another client can take it right after.
        record(Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(m_recorder->conflictMessage(), QString());
        QVERIFY(other.grab(XK_k, ControlMask | Mod1Mask));

        // Tembrel's own grab is no other application's, and the trial leaves it in place: in
        // another mode's row the mode is named, in its own row only the standard use is.
        record(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Used by Tembrel"));
        m_recorder->setExcludingModeId(storedUuidString(ModeCatalogue::builtInId(1)));
        record(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Many applications use this shortcut for Save As"));
        QVERIFY(!other.grab(XK_s, ControlMask | ShiftMask));
    }
};

QTEST_MAIN(TestHotkeyRecorder)
#include "tst_hotkeyrecorder.moc"
