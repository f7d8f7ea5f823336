#include <QApplication>
#include <QScopeGuard>
#include <QKeyEvent>
#include <QKeySequence>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <QCoro/QCoroTask>

#include "modes/HotkeyManager.h"
#include "modes/Mode.h"
#include "platform/x11/X11Display.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "platform/x11/X11KeyMonitor.h"
#include "platform/x11/X11KeySender.h"
#include "platform/x11/X11Workspace.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

constexpr quint16 macS = 1;
constexpr quint64 commandShift = 0x120000;

// Records the keys that reach it, standing in for the application the user is writing in.
class KeyRecorder : public QWidget
{
public:
    struct Key
    {
        int key;
        Qt::KeyboardModifiers modifiers;
    };
    QList<Key> pressed;

    /// The keys received, as "Ctrl+V".
    QStringList received() const
    {
        QStringList keys;
        for (const Key& key : pressed)
            keys << QKeySequence(key.modifiers | Qt::Key(key.key)).toString();
        return keys;
    }

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        // Modifier keys on their own are not what the tests look for.
        if (event->key() != Qt::Key_Control && event->key() != Qt::Key_Shift)
            pressed.append({event->key(), event->modifiers()});
    }
};

// A second client playing the user's keyboard: through XTest, as a remote desktop or xdotool
// types, or through the server's own keyboard device, as a person's fingers would.
class Keyboard
{
public:
    Keyboard() : m_display(XOpenDisplay(nullptr)) {}
    ~Keyboard()
    {
        setPhysical(false);
        if (m_display)
            XCloseDisplay(m_display);
    }
    /// Types on the server's own keyboard instead of XTest's; false when there is none.
    bool setPhysical(bool physical)
    {
        if (m_device)
            XCloseDevice(m_display, m_device);
        m_device = nullptr;
        int count = 0;
        XDeviceInfo* devices = physical ? XListInputDevices(m_display, &count) : nullptr;
        for (int i = 0; i < count && !m_device; ++i) {
            if (devices[i].use == IsXExtensionKeyboard && !QByteArray(devices[i].name).contains("XTEST"))
                m_device = XOpenDevice(m_display, devices[i].id);
        }
        if (devices)
            XFreeDeviceList(devices);
        return m_device || !physical;
    }
    void down(KeySym sym) { send(sym, true); }
    void up(KeySym sym) { send(sym, false); }
    bool isDown(KeySym sym) const
    {
        char keys[32] = {};
        XQueryKeymap(m_display, keys);
        const KeyCode keycode = XKeysymToKeycode(m_display, sym);
        return keys[keycode / 8] & (1 << (keycode % 8));
    }
    Display* display() const { return m_display; }

private:
    void send(KeySym sym, bool press)
    {
        const KeyCode keycode = XKeysymToKeycode(m_display, sym);
        if (m_device)
            XTestFakeDeviceKeyEvent(m_display, m_device, keycode, press, nullptr, 0, CurrentTime);
        else
            XTestFakeKeyEvent(m_display, keycode, press, CurrentTime);
        XFlush(m_display);
    }
    Display* m_display;
    XDevice* m_device = nullptr;
};

} // namespace

class X11KeyboardTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_recorder = std::make_unique<KeyRecorder>();
        m_recorder->setGeometry(100, 100, 300, 200);
        m_recorder->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_recorder.get()));
        XSetInputFocus(m_keyboard.display(), Window(m_recorder->winId()), RevertToParent, CurrentTime);
        XSync(m_keyboard.display(), False);
        QTest::qWait(50);
    }

    void cleanup()
    {
        for (bool physical : {true, false}) {
            m_keyboard.setPhysical(physical);
            for (KeySym sym : {XK_s, XK_v, XK_Shift_L, XK_Control_L, XK_c})
                m_keyboard.up(sym);
        }
        m_recorder.reset();
    }

    void pressIsReportedOnceWhileHeld()
    {
        X11GlobalShortcuts shortcuts;
        QList<quint32> presses;
        shortcuts.setPressHandler([&](quint32 id) { presses << id; });
        QCOMPARE(shortcuts.registerShortcut(7, macS, commandShift), GlobalShortcuts::RegistrationError::none);

        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_Shift_L);
        m_keyboard.down(XK_s);
        QTRY_COMPARE(presses, QList<quint32>{7});
        QVERIFY(shortcuts.isGrabbedKeyHeld());
        // A second press of the held key (what key repeat sends) is not a new press.
        m_keyboard.down(XK_s);
        QTest::qWait(100);
        QCOMPARE(presses.size(), 1);

        QSignalSpy released(&shortcuts, &X11GlobalShortcuts::grabbedKeyReleased);
        m_keyboard.up(XK_s);
        QTRY_COMPARE(released.size(), 1);
        QVERIFY(!shortcuts.isGrabbedKeyHeld());
        // The shortcut's keys never reached the focused application.
        QVERIFY(m_recorder->pressed.isEmpty() || m_recorder->pressed.first().key != Qt::Key_S);
    }

    void otherModifiersDoNotTrigger()
    {
        X11GlobalShortcuts shortcuts;
        int presses = 0;
        shortcuts.setPressHandler([&](quint32) { ++presses; });
        QCOMPARE(shortcuts.registerShortcut(1, macS, commandShift), GlobalShortcuts::RegistrationError::none);
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_s);
        m_keyboard.up(XK_s);
        m_keyboard.up(XK_Control_L);
        QTest::qWait(150);
        QCOMPARE(presses, 0);
    }

    void shortcutOwnedElsewhereFailsAndOthersStillWork()
    {
        Keyboard other;
        const KeyCode p = XKeysymToKeycode(other.display(), XK_p);
        XGrabKey(other.display(), p, ControlMask | ShiftMask, DefaultRootWindow(other.display()), True,
                 GrabModeAsync, GrabModeAsync);
        XSync(other.display(), False);

        X11GlobalShortcuts shortcuts;
        QCOMPARE(shortcuts.registerShortcut(1, 35, commandShift), GlobalShortcuts::RegistrationError::alreadyTaken);
        QCOMPARE(shortcuts.registerShortcut(2, macS, commandShift), GlobalShortcuts::RegistrationError::none);
        QCOMPARE(shortcuts.registerShortcut(3, macS, commandShift), GlobalShortcuts::RegistrationError::alreadyTaken);
        QCOMPARE(shortcuts.registerShortcut(4, 10, commandShift), GlobalShortcuts::RegistrationError::unknownKey);

        QList<quint32> presses;
        shortcuts.setPressHandler([&](quint32 id) { presses << id; });
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_Shift_L);
        m_keyboard.down(XK_s);
        m_keyboard.up(XK_s);
        QTRY_COMPARE(presses, QList<quint32>{2});
    }

    void unregisteredShortcutReachesTheApplication()
    {
        X11GlobalShortcuts shortcuts;
        QCOMPARE(shortcuts.registerShortcut(1, macS, commandShift), GlobalShortcuts::RegistrationError::none);
        shortcuts.unregisterShortcut(1);
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_Shift_L);
        m_keyboard.down(XK_s);
        m_keyboard.up(XK_s);
        QTRY_VERIFY(!m_recorder->pressed.isEmpty());
        QCOMPARE(m_recorder->pressed.last().key, int(Qt::Key_S));
        QCOMPARE(m_recorder->pressed.last().modifiers, Qt::KeyboardModifiers(Qt::ControlModifier | Qt::ShiftModifier));
    }

    // A script of the user's keys: "+key"/"-key" press and release it, "pending" checks that the
    // copy still waits, "copy" starts one without a shortcut, "copied" waits for the copies
    // started so far, "?key"/"!key" check that applications see the key down/up. "received" is
    // what the focused application got, in order.
    void copyLeavesTheUsersKeysAsTheyAre_data()
    {
        QTest::addColumn<bool>("physical");
        QTest::addColumn<bool>("terminal");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("received");
        for (bool physical : {true, false}) {
            const QString device = physical ? QStringLiteral("keyboard: ") : QStringLiteral("XTest: ");
            const auto row = [&](const char* name) -> QTestData& {
                return QTest::newRow(qPrintable(device + QLatin1String(name))) << physical;
            };
            row("Ctrl kept, V pastes")
                << false << "+Control_L +Shift_L +s pending -s copied ?Control_L ?Shift_L -Shift_L +v -v -Control_L"
                << QStringList{"Ctrl+C", "Ctrl+V"};
            row("S tapped twice under Ctrl+Shift")
                << false << "+Control_L +Shift_L +s -s copied +s -s copied ?Control_L ?Shift_L -Shift_L -Control_L"
                << QStringList{"Ctrl+C", "Ctrl+C"};
            row("all let go before S: nothing stuck")
                << false << "+Control_L +Shift_L +s -Shift_L -Control_L -s copied !Control_L !Shift_L +v -v"
                << QStringList{"Ctrl+C", "V"};
            row("let go after the copy, then another copy")
                << false << "+Control_L +Shift_L +s -s copied -Shift_L -Control_L !Control_L copy copied +v -v"
                << QStringList{"Ctrl+C", "Ctrl+C", "V"};
            row("terminal copy") << true << "+Control_L +Shift_L +s -s copied ?Control_L ?Shift_L -Shift_L -Control_L"
                                  << QStringList{"Ctrl+Shift+C"};
        }
    }

    void copyLeavesTheUsersKeysAsTheyAre()
    {
        QFETCH(bool, physical);
        QFETCH(bool, terminal);
        QFETCH(QString, script);
        QFETCH(QStringList, received);
        QVERIFY(m_keyboard.setPhysical(physical));

        X11GlobalShortcuts shortcuts;
        X11KeySender sender(&shortcuts);
        QVERIFY(sender.isAvailable());
        int started = 0, finished = 0;
        const auto copy = [&] {
            ++started;
            QCoro::connect(terminal ? sender.sendTerminalCopy() : sender.sendCopy(), this, [&](bool sent) {
                QVERIFY(sent);
                ++finished;
            });
        };
        shortcuts.setPressHandler([&](quint32) { copy(); });
        QCOMPARE(shortcuts.registerShortcut(1, macS, commandShift), GlobalShortcuts::RegistrationError::none);

        for (const QString& step : script.split(u' ')) {
            const KeySym key = XStringToKeysym(step.mid(1).toLatin1().constData());
            if (step == u"pending") {
                QTRY_COMPARE(started, 1);
                QTest::qWait(100);
                QVERIFY2(finished == 0, "the copy must wait while the shortcut's key is held");
            } else if (step == u"copy") {
                copy();
            } else if (step == u"copied") {
                QTRY_VERIFY(started > 0 && finished == started);
                // What Tembrel sent is on the server before the user's next key.
                XSync(X11Display::display(), False);
            } else if (step.startsWith(u'+') || step.startsWith(u'-')) {
                QVERIFY2(key != NoSymbol, qPrintable(step));
                step.startsWith(u'+') ? m_keyboard.down(key) : m_keyboard.up(key);
            } else {
                QVERIFY2(key != NoSymbol, qPrintable(step));
                QCOMPARE(m_keyboard.isDown(key), step.startsWith(u'?'));
            }
        }
        QTRY_COMPARE(m_recorder->received(), received);
        QTest::qWait(100);
        QCOMPARE(m_recorder->received(), received);
    }

    void heldKeyGivesUpTheGrab_data()
    {
        QTest::addColumn<bool>("physical");
        QTest::newRow("keyboard") << true;
        QTest::newRow("XTest") << false;
    }

    void heldKeyGivesUpTheGrab()
    {
        QFETCH(bool, physical);
        QVERIFY(m_keyboard.setPhysical(physical));
        // A fast autorepeat keeps repeat presses in flight at the moment the grab is given up.
        unsigned int delay = 0, interval = 0;
        XkbGetAutoRepeatRate(m_keyboard.display(), XkbUseCoreKbd, &delay, &interval);
        XkbSetAutoRepeatRate(m_keyboard.display(), XkbUseCoreKbd, 50, 5);
        XSync(m_keyboard.display(), False);
        const auto restoreRate = qScopeGuard([&] {
            XkbSetAutoRepeatRate(m_keyboard.display(), XkbUseCoreKbd, delay, interval);
            XSync(m_keyboard.display(), False);
        });

        X11GlobalShortcuts shortcuts;
        X11KeySender sender(&shortcuts);
        int presses = 0;
        shortcuts.setPressHandler([&](quint32) { ++presses; });
        QCOMPARE(shortcuts.registerShortcut(1, macS, commandShift), GlobalShortcuts::RegistrationError::none);
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_Shift_L);
        m_keyboard.down(XK_s);
        QTRY_COMPARE(presses, 1);

        bool finished = false;
        QCoro::connect(sender.sendCopy(), this, [&](bool) { finished = true; });
        QTRY_VERIFY_WITH_TIMEOUT(finished, 3000);
        QVERIFY(!shortcuts.isGrabbedKeyHeld());
        QTRY_VERIFY(std::any_of(m_recorder->pressed.cbegin(), m_recorder->pressed.cend(),
                                [](const KeyRecorder::Key& k) { return k.key == Qt::Key_C; }));

        // The key stays down and keeps repeating: still the first press, not a second fix, and
        // nothing typed.
        QTest::qWait(200);
        QCOMPARE(presses, 1);
        QVERIFY(!shortcuts.isGrabbedKeyHeld());
        QCOMPARE(m_recorder->received(), QStringList{"Ctrl+C"});

        // Once it is really up, the next press is a new one.
        m_keyboard.up(XK_s);
        m_keyboard.up(XK_Shift_L);
        m_keyboard.up(XK_Control_L);
        QTest::qWait(150);
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_Shift_L);
        m_keyboard.down(XK_s);
        QTRY_COMPARE(presses, 2);
        m_keyboard.up(XK_s);
        QTRY_VERIFY(!shortcuts.isGrabbedKeyHeld());
    }

    void monitorSeesEscapeAndPasteWithoutTakingThem()
    {
        X11KeyMonitor monitor;
        QList<KeyMonitor::Key> seen;
        QVERIFY(monitor.start([&](KeyMonitor::Key key) { seen << key; }));
        QVERIFY(monitor.isActive());

        m_keyboard.down(XK_v); // plain V is typing, not pasting
        m_keyboard.up(XK_v);
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_c); // Ctrl+C is not a paste
        m_keyboard.up(XK_c);
        m_keyboard.down(XK_v);
        m_keyboard.up(XK_v);
        m_keyboard.up(XK_Control_L);
        m_keyboard.down(XK_Escape);
        m_keyboard.up(XK_Escape);
        QTRY_COMPARE(seen, (QList<KeyMonitor::Key>{KeyMonitor::Key::paste, KeyMonitor::Key::escape}));

        // The focused application received every one of those keys.
        QTRY_COMPARE(m_recorder->pressed.size(), 4);
        QCOMPARE(m_recorder->pressed[2].key, int(Qt::Key_V));
        QCOMPARE(m_recorder->pressed[2].modifiers, Qt::KeyboardModifiers(Qt::ControlModifier));
        QCOMPARE(m_recorder->pressed[3].key, int(Qt::Key_Escape));

        monitor.stop();
        QVERIFY(!monitor.isActive());
        m_keyboard.down(XK_Escape);
        m_keyboard.up(XK_Escape);
        QTest::qWait(100);
        QCOMPARE(seen.size(), 2);
    }

    void builtInModesWithLocksOnDeliverTheirIds()
    {
        X11GlobalShortcuts shortcuts;
        HotkeyManager manager(shortcuts);
        QList<Mode> modes = ModeCatalogue::defaultModes();
        for (Mode& mode : modes)
            mode.isEnabled = true;
        modes[0].isEnabled = false;
        QList<QUuid> delivered;
        manager.onModeTriggered = [&](const QUuid& id) { delivered << id; };
        manager.registerModeHotkeys(modes);
        QCOMPARE(manager.registrationCount(), 3);

        // NumLock and CapsLock on: the grabs must still match.
        for (KeySym lock : {XK_Num_Lock, XK_Caps_Lock}) {
            m_keyboard.down(lock);
            m_keyboard.up(lock);
        }
        const QList<KeySym> keys{XK_s, XK_p, XK_l, XK_b};
        for (KeySym key : keys) {
            m_keyboard.down(XK_Control_L);
            m_keyboard.down(XK_Shift_L);
            m_keyboard.down(key);
            m_keyboard.up(key);
            m_keyboard.up(XK_Shift_L);
            m_keyboard.up(XK_Control_L);
            QTest::qWait(50);
        }
        for (KeySym lock : {XK_Num_Lock, XK_Caps_Lock}) {
            m_keyboard.down(lock);
            m_keyboard.up(lock);
        }
        QTRY_COMPARE(delivered, (QList<QUuid>{modes[1].id, modes[2].id, modes[3].id}));

        // A catalogue change re-registers with fresh ids and drops the old grabs: Ctrl+Shift+P
        // reaches the application again once its mode is off.
        modes[1].isEnabled = false;
        delivered.clear();
        manager.registerModeHotkeys(modes);
        QCOMPARE(manager.registrationCount(), 2);
        m_keyboard.down(XK_Control_L);
        m_keyboard.down(XK_Shift_L);
        m_keyboard.down(XK_p);
        m_keyboard.up(XK_p);
        m_keyboard.up(XK_Shift_L);
        m_keyboard.up(XK_Control_L);
        QTRY_VERIFY(std::any_of(m_recorder->pressed.cbegin(), m_recorder->pressed.cend(),
                                [](const KeyRecorder::Key& k) { return k.key == Qt::Key_P; }));
        QVERIFY(delivered.isEmpty());
    }

    void focusedApplicationIsNamed()
    {
        X11Workspace workspace;
        QCOMPARE(workspace.frontmostApplicationName(), QStringLiteral("tst_x11keyboard"));
        QVERIFY(!workspace.hasCompositor());
    }

private:
    Keyboard m_keyboard;
    std::unique_ptr<KeyRecorder> m_recorder;
};

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    X11KeyboardTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_x11keyboard.moc"
