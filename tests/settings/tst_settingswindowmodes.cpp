// The modes section of the real settings window: recording shortcuts in a mode's row, editing,
// adding, deleting and resetting modes, and what that does to the registered global shortcuts.
#include "SettingsWindowDriver.h"

#include "modes/HotkeyManager.h"

#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {
constexpr quint64 cmdShift = Hotkey::commandFlag | Hotkey::shiftFlag;
}

class TestSettingsWindowModes : public QObject
{
    Q_OBJECT

    QString row(int index, const char* part) const
    {
        return QStringLiteral("modeRow%1%2").arg(index).arg(QLatin1String(part));
    }
    QString recorder(int index) const { return row(index, "RecorderButton"); }
    Mode modeAt(int index) const { return m_ui->modes->modes().at(index); }

    TestEnvironment m_env;
    std::unique_ptr<SettingsWindowDriver> m_ui;
    FakeGlobalShortcuts m_shortcuts;
    std::unique_ptr<HotkeyManager> m_hotkeys;

private Q_SLOTS:
    void init()
    {
        m_ui = std::make_unique<SettingsWindowDriver>(m_env);
        // Registration follows the catalogue, as the app wires it.
        m_hotkeys = std::make_unique<HotkeyManager>(m_shortcuts);
        m_hotkeys->registerModeHotkeys(m_ui->modes->modes());
        connect(m_ui->modes.get(), &ModeManager::modesChanged, m_hotkeys.get(),
                [this] { m_hotkeys->registerModeHotkeys(m_ui->modes->modes()); });
        QVERIFY(m_ui->open());
    }

    void cleanup()
    {
        m_hotkeys.reset();
        m_ui.reset();
    }

    void rowsFollowTheCatalogue()
    {
        QCOMPARE(m_ui->text(recorder(0)), QStringLiteral("Ctrl+Shift+S"));
        QCOMPARE(m_ui->text(recorder(1)), QStringLiteral("Ctrl+Shift+P"));
        QCOMPARE(m_ui->text(recorder(3)), QStringLiteral("Ctrl+Shift+B"));
        QVERIFY(!m_ui->isShown(row(4, "")));
        QVERIFY(m_ui->item(row(0, "Enabled"))->property("checked").toBool());
        QVERIFY(!m_ui->item(row(1, "Enabled"))->property("checked").toBool());
    }

    void recordingInARow_data()
    {
        QTest::addColumn<int>("rowIndex");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<quint64>("flags");
        QTest::addColumn<QString>("message");

        const int ctrlShift = int(Qt::ControlModifier | Qt::ShiftModifier);
        QTest::newRow("reserved Ctrl+Alt+T") << 0 << int(Qt::Key_T) << int(Qt::ControlModifier | Qt::AltModifier) << 17u
                                             << quint64(Hotkey::commandFlag | Hotkey::optionFlag)
                                             << "This shortcut is used by the system for Terminal";
        QTest::newRow("owned by the primary mode") << 2 << int(Qt::Key_S) << ctrlShift << 1u << cmdShift
                                                   << "Used by Tembrel";
        QTest::newRow("F5 alone") << 1 << int(Qt::Key_F5) << 0 << 96u << quint64(0) << QString();
    }

    void recordingInARow()
    {
        QFETCH(int, rowIndex);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(quint32, keyCode);
        QFETCH(quint64, flags);
        QFETCH(QString, message);

        const QString button = recorder(rowIndex);
        QVERIFY(m_ui->click(button));
        QCOMPARE(m_ui->text(button), QStringLiteral("Type shortcut"));
        m_ui->keyPress(Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QTRY_VERIFY(m_ui->text(button) != QStringLiteral("Type shortcut") && !m_ui->text(button).endsWith(QLatin1Char('+')));
        QTRY_COMPARE(modeAt(rowIndex).hotkey, std::optional(Hotkey{keyCode, flags}));
        const QString conflict = row(rowIndex, "Recorder") + QStringLiteral("Conflict");
        if (message.isEmpty())
            QVERIFY(!m_ui->isShown(conflict));
        else
            QTRY_COMPARE(m_ui->text(conflict), message);
        // A conflict never blocks saving: the catalogue holds it, and it is stored.
        QCOMPARE(ModeManager(*m_ui->defaults).modes().at(rowIndex).hotkey, std::optional(Hotkey{keyCode, flags}));
    }

    // The chords every application needs, and the ones Tembrel sends itself, are refused: the
    // recorder says why and the mode keeps its shortcut.
    void chordsTembrelSendsAreRefused_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("shown");
        const int ctrl = int(Qt::ControlModifier);
        QTest::newRow("copy") << int(Qt::Key_C) << ctrl << "Ctrl+C";
        QTest::newRow("cut") << int(Qt::Key_X) << ctrl << "Ctrl+X";
        QTest::newRow("paste") << int(Qt::Key_V) << ctrl << "Ctrl+V";
        QTest::newRow("undo") << int(Qt::Key_Z) << ctrl << "Ctrl+Z";
        QTest::newRow("terminal copy") << int(Qt::Key_C) << int(Qt::ControlModifier | Qt::ShiftModifier)
                                       << "Ctrl+Shift+C";
    }

    void chordsTembrelSendsAreRefused()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, shown);
        const QString button = recorder(0);
        QVERIFY(m_ui->click(button));
        m_ui->keyPress(Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        const QString conflict = row(0, "Recorder") + QStringLiteral("Conflict");
        QTRY_VERIFY(m_ui->isShown(conflict));
        QVERIFY2(m_ui->text(conflict).startsWith(shown + QStringLiteral(" is how applications copy")),
                 qPrintable(m_ui->text(conflict)));
        QCOMPARE(m_ui->text(button), QStringLiteral("Ctrl+Shift+S"));
        QCOMPARE(modeAt(0).hotkey, std::optional(Hotkey::commandShift(1)));
        QVERIFY(!m_ui->defaults->contains(QStringLiteral("modes"))); // nothing was saved
    }

    void modifiersThenEscapeKeepTheShortcut()
    {
        const QString button = recorder(0);
        QVERIFY(m_ui->click(button));
        m_ui->keyPress(Qt::Key_Control);
        m_ui->keyPress(Qt::Key_Alt, Qt::ControlModifier);
        QCOMPARE(m_ui->text(button), QStringLiteral("Ctrl+Alt+"));
        m_ui->keyPress(Qt::Key_Escape, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(m_ui->text(button), QStringLiteral("Ctrl+Shift+S"));
        QCOMPARE(modeAt(0).hotkey, std::optional(Hotkey::commandShift(1)));
        QVERIFY(!m_ui->defaults->contains(QStringLiteral("modes"))); // nothing was saved
    }

    void enablingRegistersTheShortcut()
    {
        QCOMPARE(m_hotkeys->registrationCount(), 1);
        QVERIFY(m_ui->click(row(3, "Enabled")));
        QVERIFY(modeAt(3).isEnabled);
        QCOMPARE(m_hotkeys->registrationCount(), 2);
        QVERIFY(m_ui->click(row(0, "Enabled")));
        QVERIFY(!modeAt(0).isEnabled);
        QCOMPARE(m_hotkeys->registrationCount(), 1);
        QCOMPARE(m_shortcuts.registrations.begin()->keyCode, quint16(11)); // Concise's B
    }

    void editAndResetPrompt()
    {
        const QString shipped = modeAt(1).prompt;
        QVERIFY(!m_ui->isShown(row(1, "Prompt")));
        QVERIFY(m_ui->click(row(1, "Edit")));
        QTRY_VERIFY(m_ui->isShown(row(1, "Prompt")));
        QVERIFY(!m_ui->isShown(row(1, "Delete"))); // built-in modes cannot be deleted
        QVERIFY(!m_ui->isShown(row(1, "Name")));
        QVERIFY(!m_ui->item(row(1, "ResetPrompt"))->isEnabled());

        QVERIFY(m_ui->type(row(1, "Prompt"), QStringLiteral("Be brief.")));
        QCOMPARE(modeAt(1).prompt, QStringLiteral("Be brief."));
        QQuickItem* editor = m_ui->item(row(1, "Prompt"));
        QVERIFY(editor->hasActiveFocus()); // saving every key press keeps the editor as it was

        QVERIFY(m_ui->click(row(1, "ResetPrompt")));
        QCOMPARE(modeAt(1).prompt, shipped);
        QCOMPARE(modeAt(1).defaultPrompt, std::optional(shipped));
    }

    void addDeleteAndResetModes()
    {
        QVERIFY(m_ui->click(QStringLiteral("addModeButton")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("addModeName")));
        QVERIFY(!m_ui->item(QStringLiteral("addModeConfirm"))->isEnabled());
        QVERIFY(m_ui->type(QStringLiteral("addModeName"), QStringLiteral("Pirate")));
        QVERIFY(m_ui->type(QStringLiteral("addModePrompt"), QStringLiteral("Talk like a pirate.")));
        QVERIFY(m_ui->click(QStringLiteral("addModeRecorderButton")));
        m_ui->keyPress(Qt::Key_F6);
        QTRY_COMPARE(m_ui->text(QStringLiteral("addModeRecorderButton")), QStringLiteral("F6"));
        QVERIFY(m_ui->click(QStringLiteral("addModeConfirm")));
        QTRY_COMPARE(m_ui->modes->modes().size(), 5);
        const Mode pirate = modeAt(4);
        QCOMPARE(pirate.name, QStringLiteral("Pirate"));
        QCOMPARE(pirate.prompt, QStringLiteral("Talk like a pirate."));
        QCOMPARE(pirate.hotkey, std::optional(Hotkey{97, 0}));
        QVERIFY(pirate.isEnabled);
        QCOMPARE(m_hotkeys->registrationCount(), 2);

        // A second one without a shortcut starts disabled.
        QVERIFY(m_ui->click(QStringLiteral("addModeButton")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("addModeName")));
        QCOMPARE(m_ui->text(QStringLiteral("addModeName")), QString()); // the sheet starts empty
        QVERIFY(m_ui->type(QStringLiteral("addModeName"), QStringLiteral("Quiet")));
        QVERIFY(m_ui->type(QStringLiteral("addModePrompt"), QStringLiteral("Lowercase all.")));
        QVERIFY(m_ui->click(QStringLiteral("addModeConfirm")));
        QTRY_COMPARE(m_ui->modes->modes().size(), 6);
        QVERIFY(!modeAt(5).hotkey);
        QVERIFY(!modeAt(5).isEnabled);

        // Rename and delete the custom mode from its row.
        QVERIFY(m_ui->click(row(4, "Edit")));
        QTRY_VERIFY(m_ui->isShown(row(4, "Name")));
        QVERIFY(m_ui->type(row(4, "Name"), QStringLiteral("Buccaneer")));
        QCOMPARE(modeAt(4).name, QStringLiteral("Buccaneer"));
        QVERIFY(m_ui->click(row(4, "Delete")));
        QTRY_COMPARE(m_ui->modes->modes().size(), 5);
        QCOMPARE(modeAt(4).name, QStringLiteral("Quiet"));
        QCOMPARE(m_hotkeys->registrationCount(), 1);

        // Reset all: Cancel keeps everything, "Reset All" brings back the shipped four.
        QVERIFY(m_ui->click(QStringLiteral("resetModesButton")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("resetModesConfirmCancel")));
        QVERIFY(m_ui->click(QStringLiteral("resetModesConfirmCancel")));
        QTRY_VERIFY(!m_ui->isShown(QStringLiteral("resetModesConfirmCancel")));
        QCOMPARE(m_ui->modes->modes().size(), 5);
        QVERIFY(m_ui->click(row(2, "Enabled")));
        QVERIFY(m_ui->click(QStringLiteral("resetModesButton")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("resetModesConfirmConfirm")));
        QCOMPARE(m_ui->text(QStringLiteral("resetModesConfirmConfirm")), QStringLiteral("Reset All"));
        QVERIFY(m_ui->click(QStringLiteral("resetModesConfirmConfirm")));
        QTRY_COMPARE(m_ui->modes->modes(), ModeCatalogue::defaultModes());
        QCOMPARE(m_hotkeys->registrationCount(), 1);
        QVERIFY(!m_ui->isShown(row(4, "")));
    }
};

QTEST_MAIN(TestSettingsWindowModes)
#include "tst_settingswindowmodes.moc"
