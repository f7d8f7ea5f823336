#include "modes/HotkeyManager.h"
#include "platform/fake/FakePlatform.h"

#include <QSignalSpy>
#include <QTest>

namespace {

Mode mode(const QString& name, bool enabled, std::optional<Hotkey> hotkey)
{
    Mode m;
    m.id = QUuid::createUuid();
    m.name = name;
    m.isEnabled = enabled;
    m.hotkey = hotkey;
    return m;
}

const Hotkey cmdShiftS = Hotkey::commandShift(1);
const Hotkey cmdShiftP = Hotkey::commandShift(35);

} // namespace

// Registration ids, which modes count, and what a press turns into.
class HotkeyManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_manager.reset(); // it still refers to the previous test's shortcuts
        m_services = createFakePlatformServices(&m_fake);
        m_manager = std::make_unique<HotkeyManager>(*m_services->shortcuts);
    }

    void onlyEnabledModesWithAShortcutRegister()
    {
        const QList<Mode> modes{mode(QStringLiteral("One"), true, cmdShiftS),
                                mode(QStringLiteral("Two"), false, cmdShiftP),
                                mode(QStringLiteral("Three"), true, std::nullopt),
                                mode(QStringLiteral("Four"), false, Hotkey::commandShift(11))};
        QTest::ignoreMessage(QtInfoMsg, "Registered hotkey Ctrl+Shift+S for mode: One");
        QTest::ignoreMessage(QtInfoMsg, "Registered 1 mode hotkeys");
        m_manager->registerModeHotkeys(modes);
        QCOMPARE(m_fake.shortcuts->registrations.keys(), QList<quint32>{1});
        QCOMPARE(m_fake.shortcuts->registrations.value(1).keyCode, quint16(1));
        QCOMPARE(m_fake.shortcuts->registrations.value(1).modifierFlags, quint64(0x120000));
    }

    void failedRegistrationStillConsumesItsId()
    {
        const QList<Mode> modes{mode(QStringLiteral("A"), true, cmdShiftS), mode(QStringLiteral("B"), true, cmdShiftS),
                                mode(QStringLiteral("C"), true, cmdShiftP)};
        QTest::ignoreMessage(QtInfoMsg, "Registered hotkey Ctrl+Shift+S for mode: A");
        QTest::ignoreMessage(QtCriticalMsg, "Failed to register hotkey for mode B: -9878");
        QTest::ignoreMessage(QtInfoMsg, "Registered hotkey Ctrl+Shift+P for mode: C");
        QTest::ignoreMessage(QtInfoMsg, "Registered 3 mode hotkeys");
        m_manager->registerModeHotkeys(modes);
        QCOMPARE(m_manager->registrationCount(), 2);
        QVERIFY(m_fake.shortcuts->registrations.contains(1));
        QVERIFY(!m_fake.shortcuts->registrations.contains(2));
        QVERIFY(m_fake.shortcuts->registrations.contains(3));

        QList<QUuid> triggered;
        m_manager->onModeTriggered = [&](const QUuid& id) { triggered << id; };
        m_fake.shortcuts->press(3);
        m_fake.shortcuts->press(1);
        QTRY_COMPARE(triggered, (QList<QUuid>{modes[2].id, modes[0].id}));
    }

    void shortcutTakenElsewhereLeavesOthersWorking()
    {
        m_fake.shortcuts->takenElsewhere.append({quint16(1), quint64(0x120000)});
        QTest::ignoreMessage(QtCriticalMsg, "Failed to register hotkey for mode A: -9878");
        m_manager->registerModeHotkeys({mode(QStringLiteral("A"), true, cmdShiftS), mode(QStringLiteral("B"), true, cmdShiftP)});
        QCOMPARE(m_fake.shortcuts->registrations.keys(), QList<quint32>{2});
    }

    void idsStartAgainAfterUnregistering()
    {
        const QList<Mode> modes{mode(QStringLiteral("A"), true, cmdShiftS), mode(QStringLiteral("B"), true, cmdShiftP)};
        m_manager->registerModeHotkeys(modes);
        m_manager->registerModeHotkeys(modes);
        QCOMPARE(m_fake.shortcuts->registrations.keys().size(), 2);
        QVERIFY(m_fake.shortcuts->registrations.contains(1));
        QVERIFY(m_fake.shortcuts->registrations.contains(2));
        m_manager->unregisterAll();
        QVERIFY(m_fake.shortcuts->registrations.isEmpty());
        m_manager->registerModeHotkeys({modes[1]});
        QCOMPARE(m_fake.shortcuts->registrations.keys(), QList<quint32>{1});
    }

    void unknownIdIsLoggedAndReported()
    {
        m_manager->registerModeHotkeys({mode(QStringLiteral("A"), true, cmdShiftS)});
        int unknown = 0;
        int triggered = 0;
        m_manager->onHotkeyPressed = [&] { ++unknown; };
        m_manager->onModeTriggered = [&](const QUuid&) { ++triggered; };
        QTest::ignoreMessage(QtCriticalMsg, "Unknown hotkey ID: 42");
        m_fake.shortcuts->press(42);
        QTRY_COMPARE(unknown, 1);
        QCOMPARE(triggered, 0);
    }

    void pressAfterUnregisteringDoesNothing()
    {
        m_manager->registerModeHotkeys({mode(QStringLiteral("A"), true, cmdShiftS)});
        int triggered = 0;
        m_manager->onModeTriggered = [&](const QUuid&) { ++triggered; };
        m_fake.shortcuts->press(1);
        m_manager->unregisterAll();
        QTest::qWait(20);
        m_fake.shortcuts->press(1);
        QTest::qWait(20);
        QCOMPARE(triggered, 0);
    }

private:
    FakePlatform m_fake{};
    std::unique_ptr<PlatformServices> m_services;
    std::unique_ptr<HotkeyManager> m_manager;
};

QTEST_GUILESS_MAIN(HotkeyManagerTest)
#include "tst_hotkeymanager.moc"
