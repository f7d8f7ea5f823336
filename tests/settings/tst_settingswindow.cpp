// The settings window as the user meets it: the real QML window over the real stores, the real
// keyring of the test desktop and a real HTTP server for the connection test.
#include "SettingsWindowDriver.h"

#include "engines/ApiKeyStore.h"
#include "engines/CloudEngine.h"
#include "engines/EngineChoice.h"
#include "support/TestHttpServer.h"

#include <QCoro/QCoroTask>
#include <QJsonArray>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {
std::optional<QString> storedKey()
{
    return QCoro::waitFor(ApiKeyStore().readKey());
}
} // namespace

class TestSettingsWindow : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    std::unique_ptr<SettingsWindowDriver> m_ui;
    TestHttpServer m_localServer;

private Q_SLOTS:
    void initTestCase()
    {
        // The only "model server on this computer" the window may find is this one.
        const QJsonArray models{QJsonObject{{QStringLiteral("id"), QStringLiteral("llama3.2")}},
                                QJsonObject{{QStringLiteral("id"), QStringLiteral("qwen2.5")}}};
        m_localServer.setDefaultResponse(CannedResponse::json(200, {{QStringLiteral("data"), models}}));
        QVERIFY(m_localServer.listen());
        qputenv("TEMBREL_LOCAL_SERVERS", "Ollama=" + m_localServer.url(QStringLiteral("/v1")).toEncoded());
    }

    void init() { m_ui = std::make_unique<SettingsWindowDriver>(m_env); }

    void cleanup()
    {
        m_ui.reset();
        QCoro::waitFor(ApiKeyStore().setKey(QString()));
    }

    void windowShape()
    {
        QVERIFY(m_ui->open());
        QQuickWindow* window = m_ui->window();
        QCOMPARE(window->title(), QStringLiteral("Settings"));
        QCOMPARE(window->size(), QSize(400, 450));
        QCOMPARE(window->minimumSize(), window->maximumSize()); // not resizable
        QVERIFY(window->flags() & Qt::WindowCloseButtonHint);
        QVERIFY(window->flags() & Qt::WindowMinimizeButtonHint);
        QVERIFY(!(window->flags() & Qt::WindowMaximizeButtonHint));
        QVERIFY(window->isActive());
        QVERIFY(!m_ui->isShown(QStringLiteral("greeting")));

        window->close();
        QTRY_VERIFY(!m_ui->window());
    }

    void onboardingRebuildsWithGreeting()
    {
        QVERIFY(m_ui->open());
        QPointer<QQuickWindow> first = m_ui->window();
        QVERIFY(m_ui->open(true));
        QVERIFY(m_ui->window() != first.data());
        QTRY_VERIFY(!first); // the old window is gone, not just hidden
        QVERIFY(m_ui->isShown(QStringLiteral("greeting")));
        QVERIFY(m_ui->click(QStringLiteral("greetingClose")));
        QTRY_VERIFY(!m_ui->window());
    }

    void menuBringsTheOpenWindowForward()
    {
        QVERIFY(m_ui->open(true));
        QQuickWindow* greeted = m_ui->window();
        QVERIFY(m_ui->open());
        QCOMPARE(m_ui->window(), greeted);
        QVERIFY(m_ui->isShown(QStringLiteral("greeting"))); // as it is: the greeting stays

        greeted->close();
        QTRY_VERIFY(!m_ui->window());
        QVERIFY(m_ui->open());
        QVERIFY(!m_ui->isShown(QStringLiteral("greeting")));
    }

    void headerShowsShortcutAndVersion()
    {
        QVERIFY(m_ui->open());
        QVERIFY(m_ui->text(QStringLiteral("versionLine")).startsWith(QStringLiteral("Version ")));
        QVERIFY(m_ui->text(QStringLiteral("versionLine")).size() > 8);
        QCOMPARE(m_ui->controller->shortcutText(), QStringLiteral("Ctrl+Shift+S"));
        Mode primary = m_ui->modes->defaultMode();
        primary.hotkey = Hotkey{96, Hotkey::optionFlag};
        m_ui->modes->updateMode(primary);
        QCOMPARE(m_ui->controller->shortcutText(), QStringLiteral("Alt+F5"));
    }

    void swayShowsTheLinesToBindEachMode()
    {
        // On sway the compositor owns the keys: Settings gives the exact configuration lines.
        qputenv("WAYLAND_DISPLAY", "wayland-test");
        qputenv("SWAYSOCK", "/run/sway-test.sock");
        m_ui = std::make_unique<SettingsWindowDriver>(m_env);
        qunsetenv("WAYLAND_DISPLAY");
        qunsetenv("SWAYSOCK");
        QVERIFY(m_ui->open());
        Mode primary = m_ui->modes->defaultMode();
        const QString rules = "\nfor_window [title=\"^Tembrel$\"] floating enable, sticky enable"
                              "\nno_focus [title=\"^Tembrel$\"]";
        QCOMPARE(m_ui->text(QStringLiteral("compositorBindings")),
                 "bindsym Ctrl+Shift+s exec tembrel --fix " + primary.name + rules);
        primary.hotkey = Hotkey{96, Hotkey::optionFlag};
        m_ui->modes->updateMode(primary);
        QTRY_COMPARE(m_ui->text(QStringLiteral("compositorBindings")),
                     "bindsym Alt+F5 exec tembrel --fix " + primary.name + rules);

        m_ui = std::make_unique<SettingsWindowDriver>(m_env); // on X11 Tembrel binds them itself
        QVERIFY(m_ui->open());
        QVERIFY(!m_ui->isShown(QStringLiteral("compositorBindings")));
    }

    void switchesWriteTheirKeys_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("before");

        QTest::newRow("welcome screen, stored inverted") << "showWelcome" << "skipOnboarding" << true;
        QTest::newRow("analytics") << "analytics" << "analyticsEnabled" << true;
        QTest::newRow("task bar") << "hideDockIcon" << "hideDockIcon" << false;
        QTest::newRow("history") << "historyEnabled" << "historyEnabled" << true;
        QTest::newRow("custom endpoint") << "customEndpoint" << "useCustomEndpoint" << false;
        QTest::newRow("beta updates") << "betaUpdates" << "receiveBetaUpdates" << false;
    }

    void switchesWriteTheirKeys()
    {
        QFETCH(QString, control);
        QFETCH(QString, key);
        QFETCH(bool, before);
        const bool inverted = key == QStringLiteral("skipOnboarding");
        // Only a build with an analytics key offers the choice.
        qputenv("TEMBREL_POSTHOG_KEY", "phc_test_key");
        const auto forgetKey = qScopeGuard([] { qunsetenv("TEMBREL_POSTHOG_KEY"); });
        QVERIFY(m_ui->open());
        QQuickItem* toggle = m_ui->item(control + QStringLiteral("Switch"));
        QVERIFY(toggle);
        QCOMPARE(toggle->property("checked").toBool(), before);

        QVERIFY(m_ui->click(control + QStringLiteral("Switch")));
        QCOMPARE(toggle->property("checked").toBool(), !before);
        QVERIFY(m_ui->defaults->contains(key));
        QCOMPARE(m_ui->defaults->value(key).toBool(), inverted ? before : !before);

        QVERIFY(m_ui->click(control + QStringLiteral("Switch")));
        QCOMPARE(m_ui->defaults->value(key).toBool(), inverted ? !before : before);
        QCOMPARE(toggle->property("checked").toBool(), before);
    }

    void analyticsWithoutAKeySendsNothing()
    {
        qunsetenv("TEMBREL_POSTHOG_KEY");
        QVERIFY(m_ui->open());
        QQuickItem* row = m_ui->item(QStringLiteral("analytics"));
        QQuickItem* toggle = m_ui->item(QStringLiteral("analyticsSwitch"));
        QVERIFY(row && toggle);
        // The stored consent is on, yet this build sends nothing: the switch must not claim otherwise.
        QVERIFY(m_ui->settings->analyticsEnabled());
        QVERIFY(!toggle->property("checked").toBool());
        QVERIFY(!toggle->isEnabled());
        QVERIFY2(row->property("help").toString().contains(QStringLiteral("sends no usage data")),
                 qPrintable(row->property("help").toString()));
    }

    void launchAtLogin_data()
    {
        QTest::addColumn<bool>("refused");
        QTest::newRow("accepted") << false;
        QTest::newRow("refused: logged and shown beside the switch") << true;
    }

    void launchAtLogin()
    {
        QFETCH(bool, refused);
        const QString toggle = QStringLiteral("launchAtLoginSwitch");
        const auto switchedOn = [&] { return m_ui->item(toggle)->property("checked").toBool(); };
        m_ui->loginItem.refuse = refused;
        for (const bool enable : {true, false}) {
            // A window reads the system's state as it opens.
            m_ui->controller->close();
            QTRY_VERIFY(!m_ui->window());
            m_ui->loginItem.currentStatus = enable ? LoginItem::Status::notRegistered : LoginItem::Status::enabled;
            QVERIFY(m_ui->open());
            QCOMPARE(switchedOn(), !enable);
            if (refused) {
                QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Failed to %1 launch at login: .+")
                                                                          .arg(QLatin1String(enable ? "enable" : "disable"))));
            }
            QVERIFY(m_ui->click(toggle));
            // The switch tells the truth: after a refusal it stays as the system has it.
            QCOMPARE(switchedOn(), enable != refused);
            QCOMPARE(m_ui->loginItem.currentStatus == LoginItem::Status::enabled, enable != refused);
            QCOMPARE(m_ui->item(QStringLiteral("launchAtLogin"))->property("help").toString(),
                     refused ? m_ui->loginItem.error : QString());
        }
    }

    void endpointFieldsHideAndKeepValues()
    {
        QVERIFY(m_ui->open());
        QVERIFY(!m_ui->isShown(QStringLiteral("apiUrlField")));
        QVERIFY(m_ui->click(QStringLiteral("customEndpointSwitch")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("apiUrlField")));
        QVERIFY(m_ui->type(QStringLiteral("apiUrlField"), QStringLiteral("http://127.0.0.1:9/v1")));
        QVERIFY(m_ui->type(QStringLiteral("modelField"), QStringLiteral("llama3")));
        QCOMPARE(m_ui->settings->customAPIURL(), QStringLiteral("http://127.0.0.1:9/v1"));
        QCOMPARE(m_ui->defaults->value(QStringLiteral("customModelID")).toString(), QStringLiteral("llama3"));
        QVERIFY(m_ui->settings->isCustomEndpointConfigured());

        QVERIFY(m_ui->click(QStringLiteral("customEndpointSwitch")));
        QTRY_VERIFY(!m_ui->isShown(QStringLiteral("apiUrlField")));
        QVERIFY(!m_ui->isShown(QStringLiteral("modelField")));
        QVERIFY(!m_ui->isShown(QStringLiteral("apiKeyField")));
        QVERIFY(!m_ui->isShown(QStringLiteral("connectionTestButton")));
        QCOMPARE(m_ui->settings->customAPIURL(), QStringLiteral("http://127.0.0.1:9/v1"));

        QVERIFY(m_ui->click(QStringLiteral("customEndpointSwitch")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("apiUrlField")));
        QCOMPARE(m_ui->text(QStringLiteral("apiUrlField")), QStringLiteral("http://127.0.0.1:9/v1"));
        QCOMPARE(m_ui->text(QStringLiteral("modelField")), QStringLiteral("llama3"));
    }

    // A model server already running here is one click away, and the model field offers its models.
    void localServerFillsTheEndpoint()
    {
        QVERIFY(m_ui->open());
        const QString cloud = CloudEngine::baseUrlFromEnvironment();
        QCOMPARE(m_ui->text(QStringLiteral("engineDescription")), engineDescription(chooseEngine(false, cloud)));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("useLocalServer")));
        QCOMPARE(m_ui->text(QStringLiteral("useLocalServer")), QStringLiteral("Use Ollama \u00b7 llama3.2"));
        QVERIFY(m_ui->click(QStringLiteral("useLocalServer")));
        QCOMPARE(m_ui->settings->customAPIURL(), m_localServer.url(QStringLiteral("/v1")).toString());
        QCOMPARE(m_ui->settings->customModelID(), QStringLiteral("llama3.2"));
        QVERIFY(m_ui->settings->isCustomEndpointConfigured());
        QCOMPARE(m_ui->text(QStringLiteral("engineDescription")), engineDescription(EngineKind::custom));
        QTRY_VERIFY(m_ui->item(QStringLiteral("modelChoices")) && m_ui->item(QStringLiteral("modelChoices"))->isVisible());
        QVERIFY(m_ui->type(QStringLiteral("modelField"), QStringLiteral("myown")));
        QCOMPARE(m_ui->settings->customModelID(), QStringLiteral("myown"));
    }

    void apiKeyGoesToTheKeyring()
    {
        m_ui->settings->setUseCustomEndpoint(true);
        QVERIFY(m_ui->open());
        QQuickItem* field = m_ui->item(QStringLiteral("apiKeyField"));
        QVERIFY(field);
        QCOMPARE(field->property("echoMode").toInt(), 2); // TextInput.Password: never shown in clear
        QCOMPARE(field->property("placeholderText").toString(), QStringLiteral("sk-..."));

        // Typed key by key, saved once when typing pauses, with all of it.
        QSignalSpy written(m_ui->settings.get(), &SettingsManager::apiKeyChanged);
        QVERIFY(m_ui->type(QStringLiteral("apiKeyField"), QStringLiteral("sk-test-1234")));
        QTRY_COMPARE_WITH_TIMEOUT(storedKey(), std::optional(QStringLiteral("sk-test-1234")), 10000);
        QTest::qWait(SettingsWindowController::apiKeySavePauseMs * 2);
        QCOMPARE(written.count(), 1);
        QCOMPARE(m_ui->text(QStringLiteral("apiKeyError")), QStringLiteral("<missing apiKeyError>"));

        // A new window reads the key back into the masked field.
        m_ui->controller->close();
        QTRY_VERIFY(!m_ui->window());
        QVERIFY(m_ui->open());
        QTRY_COMPARE(m_ui->text(QStringLiteral("apiKeyField")), QStringLiteral("sk-test-1234"));

        QVERIFY(m_ui->type(QStringLiteral("apiKeyField"), QString()));
        QTRY_COMPARE_WITH_TIMEOUT(storedKey(), std::nullopt, 10000);
    }

    void connectionTestVerdicts_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("message");

        QTest::newRow("200") << 200 << "Connected!" << QString();
        QTest::newRow("429 counts as reachable") << 429 << "Connected!" << QString();
        QTest::newRow("401") << 401 << "Retry" << "Authentication failed";
        QTest::newRow("403") << 403 << "Retry" << "Authentication failed";
        QTest::newRow("404") << 404 << "Retry" << "Endpoint not found";
        QTest::newRow("503") << 503 << "Retry" << "Server error";
        QTest::newRow("418") << 418 << "Retry" << "Unexpected response (418)";
    }

    void connectionTestVerdicts()
    {
        QFETCH(int, status);
        QFETCH(QString, button);
        QFETCH(QString, message);

        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(CannedResponse::json(status, {}, 300));
        m_ui->settings->setUseCustomEndpoint(true);
        QVERIFY(m_ui->open());
        QCOMPARE(m_ui->text(QStringLiteral("connectionTestButton")), QStringLiteral("Test Connection"));
        QVERIFY(!m_ui->item(QStringLiteral("connectionTestButton"))->isEnabled()); // no URL yet

        QVERIFY(m_ui->type(QStringLiteral("apiUrlField"), server.url(QStringLiteral("/v1/")).toString()));
        QVERIFY(m_ui->type(QStringLiteral("apiKeyField"), QStringLiteral("sk-abc")));
        QVERIFY(m_ui->click(QStringLiteral("connectionTestButton")));
        QCOMPARE(m_ui->text(QStringLiteral("connectionTestButton")), QStringLiteral("Testing..."));
        QTRY_COMPARE(m_ui->text(QStringLiteral("connectionTestButton")), button);
        if (!message.isEmpty())
            QCOMPARE(m_ui->text(QStringLiteral("connectionTestMessage")), message);

        // Besides the model list the field asks for, exactly one test request.
        QList<RecordedRequest> tests;
        for (const RecordedRequest& sent : server.requests()) {
            if (sent.path != "/v1/models")
                tests.append(sent);
        }
        QCOMPARE(tests.size(), 1);
        const RecordedRequest request = tests.first();
        QCOMPARE(request.path, QByteArray("/v1/chat/completions"));
        QCOMPARE(request.header("authorization"), QByteArray("Bearer sk-abc"));
        const QJsonArray messages = request.json().value(QStringLiteral("messages")).toArray();
        QCOMPARE(messages.at(0).toObject().value(QStringLiteral("content")).toString(), m_ui->modes->defaultMode().prompt);

        // Editing a field puts the button back.
        QVERIFY(m_ui->type(QStringLiteral("modelField"), QStringLiteral("m")));
        QCOMPARE(m_ui->text(QStringLiteral("connectionTestButton")), QStringLiteral("Test Connection"));
    }

    void historySummaryAndClear()
    {
        const auto addFix = [this](qint64 edits) {
            const auto id = m_ui->history->addEntry(FixHistoryEntry{{}, {}, QStringLiteral("a"), QStringLiteral("b")});
            QVERIFY(id);
            m_ui->history->updateEditCount(*id, edits); // counted once the diff is shown
        };
        addFix(2);
        addFix(1);
        QVERIFY(m_ui->open());
        QCOMPARE(m_ui->text(QStringLiteral("historySummary")), QStringLiteral("2 tembrels, 3 edits saved"));

        QVERIFY(m_ui->click(QStringLiteral("clearHistory")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("clearHistoryConfirmCancel")));
        QVERIFY(m_ui->click(QStringLiteral("clearHistoryConfirmCancel")));
        QTRY_VERIFY(!m_ui->isShown(QStringLiteral("clearHistoryConfirmCancel")));
        QCOMPARE(m_ui->history->count(), 2);

        QVERIFY(m_ui->click(QStringLiteral("clearHistory")));
        QTRY_VERIFY(m_ui->isShown(QStringLiteral("clearHistoryConfirmConfirm")));
        QCOMPARE(m_ui->text(QStringLiteral("clearHistoryConfirmConfirm")), QStringLiteral("Clear History"));
        QVERIFY(m_ui->click(QStringLiteral("clearHistoryConfirmConfirm")));
        QTRY_COMPARE(m_ui->history->count(), 0);
        QCOMPARE(m_ui->text(QStringLiteral("historySummary")), QStringLiteral("0 tembrels, 0 edits saved"));

        addFix(1);
        QCOMPARE(m_ui->text(QStringLiteral("historySummary")), QStringLiteral("1 tembrel, 1 edit saved"));
        QCOMPARE(m_ui->controller->clearHistoryMessage(),
                 QStringLiteral("Delete all 1 tembrel from history? This can't be undone."));
    }
};

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"
