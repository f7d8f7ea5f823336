#include "modes/ModeManager.h"
#include "support/SettingsFile.h"
#include "support/TestData.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

namespace {
const QString modesKey = QStringLiteral("modes");

QUuid builtIn(int number)
{
    return ModeCatalogue::builtInId(number);
}

QList<QUuid> ids(const QList<Mode>& modes)
{
    QList<QUuid> result;
    for (const Mode& mode : modes)
        result.append(mode.id);
    return result;
}

Mode custom(const char* id, std::optional<Hotkey> hotkey = std::nullopt)
{
    return Mode{QUuid(QString::fromLatin1(id)), QStringLiteral("Custom"), QString(), QStringLiteral("p"), hotkey,
                true, false, false, std::nullopt};
}
} // namespace

class TestModeManager : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    SettingsFile m_settings{m_env, "modes"};

private Q_SLOTS:
    void init() { m_settings.fresh(); }

    void firstLaunch()
    {
        ModeManager manager(*m_settings);
        QCOMPARE(manager.modes(), ModeCatalogue::defaultModes());
        QCOMPARE(manager.enabledModes().size(), 1);
        QCOMPARE(manager.enabledModes().first().id, builtIn(1));
        QVERIFY(!m_settings->contains(modesKey));
        QCOMPARE(m_settings->value(QStringLiteral("modesMigrationComplete")).toBool(), true);
        QVERIFY(!m_settings.reopen().contains(modesKey));
    }

    void mergesMissingBuiltIns_data()
    {
        QTest::addColumn<QList<Mode>>("stored");
        QTest::addColumn<QList<QUuid>>("expected");
        const QList<Mode> defaults = ModeCatalogue::defaultModes();
        const Mode a = custom("A0000000-0000-4000-8000-00000000000A");
        const Mode b = custom("B0000000-0000-4000-8000-00000000000B");

        const QUuid one = builtIn(1), two = builtIn(2), three = builtIn(3), four = builtIn(4);
        QTest::newRow("1, 2, then two custom") << QList<Mode>{defaults[0], defaults[1], a, b}
                                               << QList<QUuid>{one, two, three, four, a.id, b.id};
        QTest::newRow("only built-ins, out of order") << QList<Mode>{defaults[2], defaults[0]} << QList<QUuid>{three, one, two, four};
        QTest::newRow("custom first") << QList<Mode>{a, defaults[0]} << QList<QUuid>{two, three, four, a.id, one};
        QTest::newRow("built-in after custom keeps its place")
            << QList<Mode>{defaults[1], a, defaults[3]} << QList<QUuid>{two, one, three, a.id, four};
        QTest::newRow("empty array") << QList<Mode>{} << QList<QUuid>{one, two, three, four};
        QTest::newRow("complete") << defaults << QList<QUuid>{one, two, three, four};
    }

    void mergesMissingBuiltIns()
    {
        QFETCH(QList<Mode>, stored);
        const QByteArray data = ModeCatalogue::encode(stored);
        m_settings->setValue(modesKey, data);
        ModeManager manager(m_settings.reopen());
        QTEST(ids(manager.modes()), "expected");
        QCOMPARE(m_settings->value(modesKey).toByteArray(), data);
    }

    void keepsEditedBuiltInsAndDecodesHandWrittenData()
    {
        m_settings->setValue(modesKey, testData("modes/builtins-then-custom.json"));
        ModeManager manager(m_settings.reopen());
        QCOMPARE(manager.modes().size(), 6);
        QCOMPARE(manager.modes()[0].prompt, QStringLiteral("My own proofreading prompt."));
        QCOMPARE(manager.modes()[1].isEnabled, true);
        QCOMPARE(manager.modes()[2], ModeCatalogue::defaultModes()[2]);
        QCOMPARE(manager.modes()[4].name, QStringLiteral("Pirate"));
        QCOMPARE(manager.defaultMode().prompt, QStringLiteral("My own proofreading prompt."));
        QCOMPARE(m_settings->value(modesKey).toByteArray(), testData("modes/builtins-then-custom.json"));
    }

    void unreadableCatalogueFallsBackAndIsKept_data()
    {
        QTest::addColumn<QVariant>("data");
        QTest::newRow("entry without isBuiltIn") << QVariant(testData("modes/missing-isBuiltIn.json"));
        QTest::newRow("truncated") << QVariant(testData("modes/truncated.json"));
        QTest::newRow("not JSON") << QVariant(QByteArray("\x00\xff garbage", 10));
        // Hand edits that lost the data type.
        QTest::newRow("text") << QVariant(QString::fromUtf8(testData("modes/builtins-then-custom.json")));
        QTest::newRow("empty text") << QVariant(QString());
        QTest::newRow("number") << QVariant(42);
        QTest::newRow("list") << QVariant(QStringList{"Pirate", "Arr"});
    }

    void unreadableCatalogueFallsBackAndIsKept()
    {
        QFETCH(QVariant, data);
        m_settings->setValue(modesKey, data);
        const QVariant stored = m_settings.reopen().value(modesKey); // as the file gives it back
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral("^Failed to load modes, using defaults: .")));
        QTest::ignoreMessage(QtWarningMsg, R"(Kept the unreadable modes under "modesUnreadable")");
        ModeManager manager(*m_settings);
        QCOMPARE(manager.modes(), ModeCatalogue::defaultModes());
        QCOMPARE(m_settings->value(modesKey), stored);
        QCOMPARE(m_settings->value(QStringLiteral("modesUnreadable")), stored);

        // A deliberate change replaces the stored catalogue; the copy stays.
        Mode toggled = manager.modes().at(1);
        toggled.isEnabled = !toggled.isEnabled;
        manager.updateMode(toggled);
        QCOMPARE(m_settings.reopen().value(QStringLiteral("modesUnreadable")), stored);
        QCOMPARE(ModeManager(*m_settings).modes().at(1), toggled);
    }

    void addMode_data()
    {
        QTest::addColumn<std::optional<Hotkey>>("hotkey");
        QTest::newRow("with shortcut") << std::optional<Hotkey>(Hotkey{9, 0x140000});
        QTest::newRow("without shortcut") << std::optional<Hotkey>();
    }

    void addMode()
    {
        QFETCH(std::optional<Hotkey>, hotkey);
        ModeManager manager(*m_settings);
        QSignalSpy changed(&manager, &ModeManager::modesChanged);
        const QUuid first = manager.addMode(QStringLiteral("Pirate"), QStringLiteral("Arr"), hotkey);
        const QUuid second = manager.addMode(QStringLiteral("Pirate"), QStringLiteral("Arr"), hotkey);
        QCOMPARE(changed.count(), 2);
        QVERIFY(first != second);
        QCOMPARE(manager.modes().size(), 6);
        const Mode added = manager.modes()[4];
        QCOMPARE(added.id, first);
        QCOMPARE(added.name, QStringLiteral("Pirate"));
        QCOMPARE(added.description, QString());
        QCOMPARE(added.hotkey, hotkey);
        QCOMPARE(added.isEnabled, hotkey.has_value());
        QVERIFY(!added.isBuiltIn);
        QVERIFY(!added.isDefault);
        QVERIFY(!added.defaultPrompt);
        QCOMPARE(ModeManager(m_settings.reopen()).modes(), manager.modes());
    }

    void updateKeepsPositionAndSaves()
    {
        ModeManager manager(*m_settings);
        const QUuid added = manager.addMode(QStringLiteral("Mine"), QStringLiteral("p"), std::nullopt);
        Mode casual = *manager.mode(builtIn(3));
        casual.isEnabled = true;
        casual.prompt = QStringLiteral("edited");
        QSignalSpy changed(&manager, &ModeManager::modesChanged);
        manager.updateMode(casual);
        QCOMPARE(manager.modes()[2], casual);
        QCOMPARE(manager.modes()[4].id, added);
        QCOMPARE(changed.count(), 1);
        // An identical value is still an assignment.
        manager.updateMode(casual);
        QCOMPARE(changed.count(), 2);

        ModeManager reloaded(m_settings.reopen());
        QCOMPARE(reloaded.modes(), manager.modes());
        QCOMPARE(ids(reloaded.enabledModes()), (QList<QUuid>{builtIn(1), builtIn(3)}));
        QCOMPARE(reloaded.mode(builtIn(3))->defaultPrompt, ModeCatalogue::defaultModes()[2].prompt);
    }

    void refusedChangesAreLogged_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("line");
        const QString deleting = QStringLiteral("Attempted to delete built-in or non-existent mode: ");
        QTest::newRow("delete built-in") << "delete-builtin" << QString(deleting + QStringLiteral("00000000-0000-0000-0000-000000000001"));
        QTest::newRow("delete unknown") << "delete-unknown" << QString(deleting + QStringLiteral("C0FFEE00-0000-4000-8000-000000000000"));
        QTest::newRow("update unknown")
            << "update-unknown" << QStringLiteral("Attempted to update non-existent mode: C0FFEE00-0000-4000-8000-000000000000");
    }

    void refusedChangesAreLogged()
    {
        QFETCH(QString, action);
        QFETCH(QString, line);
        ModeManager manager(*m_settings);
        const QList<Mode> before = manager.modes();
        const char* unknown = "c0ffee00-0000-4000-8000-000000000000";
        QSignalSpy changed(&manager, &ModeManager::modesChanged);
        QTest::ignoreMessage(QtCriticalMsg, qPrintable(line)); // and the test fails unless it is logged
        if (action == QLatin1String("delete-builtin"))
            manager.deleteMode(builtIn(1));
        else if (action == QLatin1String("delete-unknown"))
            manager.deleteMode(QUuid(QLatin1String(unknown)));
        else
            manager.updateMode(custom(unknown));
        QCOMPARE(manager.modes(), before);
        QCOMPARE(changed.count(), 0);
        QVERIFY(!m_settings->contains(modesKey));
    }

    void deleteRemovesCustomMode()
    {
        ModeManager manager(*m_settings);
        const QUuid keep = manager.addMode(QStringLiteral("Keep"), QStringLiteral("k"), std::nullopt);
        const QUuid drop = manager.addMode(QStringLiteral("Drop"), QStringLiteral("d"), std::nullopt);
        manager.deleteMode(drop);
        QVERIFY(!manager.mode(drop));
        QVERIFY(!manager.mode(QUuid()));
        QVERIFY(manager.mode(keep));
        QCOMPARE(ids(ModeManager(m_settings.reopen()).modes()).last(), keep);
    }

    void resetRestoresShippedCatalogue()
    {
        ModeManager manager(*m_settings);
        manager.addMode(QStringLiteral("Mine"), QStringLiteral("p"), Hotkey{0, 0x100000});
        Mode primary = manager.defaultMode();
        primary.prompt = QStringLiteral("changed");
        primary.hotkey = Hotkey{2, 0x100000};
        manager.updateMode(primary);
        Mode concise = *manager.mode(builtIn(4));
        concise.isEnabled = true;
        manager.updateMode(concise);
        manager.resetAllModes();
        QCOMPARE(manager.modes(), ModeCatalogue::defaultModes());
        QCOMPARE(ModeManager(m_settings.reopen()).modes(), ModeCatalogue::defaultModes());
    }

    void modeUsingHotkey()
    {
        ModeManager manager(*m_settings);
        const Hotkey shared{9, 0x140000};
        const QUuid first = manager.addMode(QStringLiteral("First"), QStringLiteral("p"), shared);
        const QUuid second = manager.addMode(QStringLiteral("Second"), QStringLiteral("p"), shared);

        QCOMPARE(manager.modeUsingHotkey(9, 0x140000)->id, first);
        QCOMPARE(manager.modeUsingHotkey(9, 0x140000, first)->id, second);
        QCOMPARE(manager.modeUsingHotkey(9, 0x140000, second)->id, first);
        QVERIFY(!manager.modeUsingHotkey(9, 0x140000 | 0x10000));
        QVERIFY(!manager.modeUsingHotkey(9, 0x100000));
        QCOMPARE(manager.modeUsingHotkey(1, 0x120000)->id, builtIn(1));
        QVERIFY(!manager.modeUsingHotkey(1, 0x120000, builtIn(1)));
        // Disabled modes still own their shortcut.
        QCOMPARE(manager.modeUsingHotkey(35, 0x120000)->id, builtIn(2));
    }

    void hotkeyConfigsFollowTheCatalogue()
    {
        ModeManager manager(*m_settings);
        const QUuid added = manager.addMode(QStringLiteral("Mine"), QStringLiteral("p"), std::nullopt);
        const QList<HotkeyConfig> configs = manager.hotkeyConfigs();
        QCOMPARE(configs.size(), 5);
        QCOMPARE(configs[0], (HotkeyConfig{builtIn(1), true, Hotkey{1, 0x120000}}));
        QCOMPARE(configs[3], (HotkeyConfig{builtIn(4), false, Hotkey{11, 0x120000}}));
        QCOMPARE(configs[4], (HotkeyConfig{added, false, std::nullopt}));
        QCOMPARE(manager.modeList().size(), 5);
        QCOMPARE(manager.modeList().at(4).value<Mode>().id, added);
    }

    void migration_data()
    {
        QTest::addColumn<QVariant>("flag");
        QTest::addColumn<QVariant>("legacyPrompt");
        QTest::addColumn<bool>("alreadyDone");
        QTest::addColumn<bool>("migrates");

        const QString prompt = QStringLiteral("  My own prompt\n");
        QTest::newRow("flag and prompt") << QVariant(true) << QVariant(prompt) << false << true;
        QTest::newRow("blank prompt") << QVariant(true) << QVariant(QStringLiteral(" \n\t ")) << false << false;
        QTest::newRow("empty prompt") << QVariant(true) << QVariant(QString()) << false << false;
        QTest::newRow("flag off") << QVariant(false) << QVariant(prompt) << false << false;
        QTest::newRow("no flag") << QVariant() << QVariant(prompt) << false << false;
        QTest::newRow("no prompt") << QVariant(true) << QVariant() << false << false;
        QTest::newRow("already migrated") << QVariant(true) << QVariant(prompt) << true << false;
    }

    void migration()
    {
        QFETCH(QVariant, flag);
        QFETCH(QVariant, legacyPrompt);
        QFETCH(bool, alreadyDone);
        QFETCH(bool, migrates);
        if (flag.isValid())
            m_settings->setValue(QStringLiteral("useCustomSystemPrompt"), flag);
        if (legacyPrompt.isValid())
            m_settings->setValue(QStringLiteral("customSystemPrompt"), legacyPrompt);
        if (alreadyDone)
            m_settings->setValue(QStringLiteral("modesMigrationComplete"), true);

        if (migrates)
            QTest::ignoreMessage(QtInfoMsg, "Migrated custom system prompt to Tembrel mode");
        ModeManager manager(m_settings.reopen());
        const Mode primary = manager.defaultMode();
        const QString shipped = ModeCatalogue::defaultModes().first().prompt;
        QCOMPARE(primary.prompt, migrates ? legacyPrompt.toString() : shipped);
        QCOMPARE(primary.defaultPrompt, shipped);
        QCOMPARE(m_settings->contains(modesKey), migrates);
        QCOMPARE(m_settings.reopen().value(QStringLiteral("modesMigrationComplete")).toString(), QStringLiteral("true"));
        // The earlier keys are only read.
        QCOMPARE(m_settings->value(QStringLiteral("customSystemPrompt")).isValid(), legacyPrompt.isValid());

        // Runs once: a later launch keeps whatever the user has done since.
        ModeManager later(*m_settings);
        Mode edited = later.defaultMode();
        edited.prompt = QStringLiteral("after");
        later.updateMode(edited);
        QCOMPARE(ModeManager(m_settings.reopen()).defaultMode().prompt, QStringLiteral("after"));
    }
};

QTEST_GUILESS_MAIN(TestModeManager)
#include "tst_modemanager.moc"
