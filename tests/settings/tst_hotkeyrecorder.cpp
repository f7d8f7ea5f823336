// The shortcut recorder driven by real key events sent to a real window, with the real catalogue.
#include "modes/ModeManager.h"
#include "modes/QtKeyTranslation.h"
#include "settings/HotkeyRecorder.h"
#include "settings/HotkeyRecorderConflicts.h"
#include "settings/ModesModel.h"
#include "support/TestEnvironment.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

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

    void play(const QList<KeyStep>& steps)
    {
        for (const KeyStep& step : steps)
            sendKey(m_window.get(), step.press, step.key, step.modifiers);
    }

private Q_SLOTS:
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
        QTest::addColumn<QString>("message");

        const QString system = QStringLiteral("This shortcut is used by the system for ");
        const QString maybe = QStringLiteral("This shortcut may conflict with a system shortcut");
        QTest::newRow("Ctrl+Shift+4") << 21u << (cmd | shift) << QString() << system + QStringLiteral("Screenshot Selection");
        QTest::newRow("Ctrl+Shift+3") << 20u << (cmd | shift) << QString() << system + QStringLiteral("Screenshot");
        QTest::newRow("Ctrl+C") << 8u << cmd << QString() << system + QStringLiteral("Copy");
        QTest::newRow("Ctrl+A, the key that cannot be recorded") << 0u << cmd << QString() << system + QStringLiteral("Select All");
        QTest::newRow("Ctrl+Tab") << 48u << cmd << QString() << system + QStringLiteral("App Switcher");
        QTest::newRow("Ctrl+Space names search, not Spotlight") << 49u << cmd << QString() << system + QStringLiteral("Search");
        QTest::newRow("Ctrl+M reserved without a name") << 46u << cmd << QString() << maybe;
        QTest::newRow("Ctrl+comma") << 43u << cmd << QString() << maybe;
        QTest::newRow("Ctrl+Shift+Z reserved, Ctrl+Z named") << 6u << (cmd | shift) << QString() << maybe;
        QTest::newRow("Ctrl+Shift+C is not Ctrl+C") << 8u << (cmd | shift) << QString() << QString();
        QTest::newRow("Super+C is not Ctrl+C") << 8u << ctl << QString() << QString();
        QTest::newRow("C alone") << 8u << quint64(0) << QString() << QString();
        QTest::newRow("Ctrl+Shift+5") << 23u << (cmd | shift) << QString() << system + QStringLiteral("Screenshot Options");
        QTest::newRow("another mode wins over the system") << 8u << cmd << QStringLiteral("Casual") << QStringLiteral("Used by Casual");
        QTest::newRow("another mode, free key") << 96u << quint64(0) << QStringLiteral("Mine") << QStringLiteral("Used by Mine");
    }

    void conflictMessages()
    {
        QFETCH(quint32, keyCode);
        QFETCH(quint64, modifiers);
        QFETCH(QString, otherMode);
        QFETCH(QString, message);
        const auto other = otherMode.isEmpty() ? std::nullopt : std::optional(otherMode);
        QCOMPARE(HotkeyRecorderConflicts::message(Hotkey{keyCode, modifiers}, other), message);
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
        QCOMPARE(m_recorder->conflictMessage(), QString());
    }

    void ownShortcutIsNoConflict()
    {
        m_recorder->setExcludingModeId(storedUuidString(ModeCatalogue::builtInId(1)));
        m_recorder->setHotkey(Hotkey::commandShift(1));
        QCOMPARE(m_recorder->conflictMessage(), QString());
        // Without an excluded mode (the add sheet) the primary mode owns it.
        m_recorder->setExcludingModeId(QString());
        QCOMPARE(m_recorder->conflictMessage(), QStringLiteral("Used by Tembrel"));
    }
};

QTEST_MAIN(TestHotkeyRecorder)
#include "tst_hotkeyrecorder.moc"
