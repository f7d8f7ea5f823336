// Whole fixes through the app's own components, wired as the app wires them: the fake platform
// plays the user who selects text, real engines talk to a chat-completions or cloud server on
// 127.0.0.1, and the real analytics client sends its batches to another one. Nothing the user
// wrote, no prompt, no fixed text, no server message and no key may appear in what analytics sent,
// nor in the log.
#include "AnalyticsWire.h"
#include "FixTestBackends.h"
#include "engines/EngineTestSupport.h"

#include "analytics/AnalyticsManager.h"
#include "analytics/PostHogClient.h"
#include "app/FixAdapters.h"
#include "capture/ClipboardManager.h"
#include "core/Logging.h"
#include "capture/SelectionManager.h"
#include "engines/CloudEngine.h"
#include "engines/CustomOpenAIEngine.h"
#include "history/HistoryManager.h"
#include "modes/ModeManager.h"
#include "platform/fake/FakePlatform.h"
#include "settings/SettingsManager.h"
#include "settings/UsageStatsManager.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QSettings>
#include <QTemporaryDir>

namespace {

// Each marker stands for one kind of private text; none of them may reach analytics or the log.
const QString selectedMarker = "Selquorvex";
const QString fixedMarker = "Fixmarbolt";
const QString promptMarker = "Promptzindle";
const QString serverMarker = "Errglombic";
const QString keyMarker = "sk-keyvarnish-made-up";
const QString selectedText = "Teh " + selectedMarker + " plan was aproved by Zoë.";

using Serve = std::function<CannedResponse(const RecordedRequest&)>;

QStringList logged;
QtMessageHandler testLog = nullptr;

void keepLog(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    logged << message;
    testLog(type, context, message);
}

QString userText(const RecordedRequest& request)
{
    const QJsonObject body = request.json();
    return body.contains("text") ? body.value("text").toString() : EngineTest::userContent(request);
}

// The service's answer in the protocol of the endpoint that was asked.
CannedResponse answer(const RecordedRequest& request, const QString& fixed)
{
    const QJsonObject cloud{{"fixedText", fixed}, {"editCount", 2}};
    return CannedResponse::json(200, request.path.endsWith("/api/fix") ? cloud : EngineTest::chatAnswer(fixed));
}

const Serve fixes = [](const RecordedRequest& r) { return answer(r, "The " + fixedMarker + " plan was approved."); };
const Serve echoes = [](const RecordedRequest& r) { return answer(r, userText(r)); };
const Serve holdsBack = [](const RecordedRequest& r) {
    CannedResponse late = answer(r, fixedMarker);
    late.delayMs = 30000;
    return late;
};

// Services like to quote what they were sent in their complaints.
Serve refuses(int status, const QString& code = "BAD_INPUT")
{
    return [status, code](const RecordedRequest& r) {
        const QString message = serverMarker + ": cannot handle \"" + userText(r) + '"';
        return CannedResponse::json(status, {{"error", QJsonObject{{"message", message}, {"code", code}}}});
    };
}

/// The app's components around one coordinator, wired as the app wires them, in their own folder.
struct App
{
    QTemporaryDir dir;
    TestHttpServer engineServer;
    TestHttpServer analyticsServer;
    const bool listening = dir.isValid() && engineServer.listen() && analyticsServer.listen();
    QSettings defaults{dir.filePath("defaults.ini"), QSettings::IniFormat};
    SettingsManager settings{defaults};
    ModeManager modes{defaults};
    HistoryManager history{defaults, dir.filePath("history.json")};
    UsageStatsManager usage{defaults};
    AnalyticsManager analytics{AnalyticsWire::testConfig(analyticsServer, dir.filePath("analytics")),
                               [this] { return settings.analyticsEnabled(); }};
    ClipboardManager clipboard;
    FakeKeySender keys;
    FakeWorkspace workspace;
    SelectionManager selection{keys, clipboard, workspace};
    CloudEngine cloud{engineServer.url().toString(), [this] { return analytics.distinctId(); }};
    CustomOpenAIEngine custom{[this] {
                                  return CustomEndpointConfig{settings.customAPIURL(), settings.customModelID(),
                                                              settings.isCustomEndpointConfigured()};
                              },
                              []() -> QCoro::Task<std::optional<QString>> { co_return keyMarker; }};
    TestPanel panel;
    FakeAccessibilityTrust trust;
    ModeCatalogAdapter modeAdapter{modes};
    SelectionAdapter selectionAdapter{selection};
    ClipboardAdapter clipboardAdapter{clipboard};
    SettingsAdapter settingsAdapter{settings, history};
    HistoryAdapter historyAdapter{history};
    UsageAdapter usageAdapter{usage};
    AnalyticsAdapter analyticsAdapter{analytics};
    FixCoordinator coordinator{FixNeighbourhood{modeAdapter, selectionAdapter, clipboardAdapter, cloud, custom, panel,
                                                settingsAdapter, historyAdapter, usageAdapter, analyticsAdapter, trust,
                                                workspace}};
    const QString modeId = storedUuidString(
        modes.addMode("Pirate", "Rewrite like a pirate. " + promptMarker, std::nullopt));

    explicit App(bool useCustomEndpoint)
    {
        settings.setAnalyticsEnabled(true);
        settings.setUseCustomEndpoint(useCustomEndpoint);
        settings.setCustomAPIURL(engineServer.url("/v1").toString());
        keys.onCopy = [] { QGuiApplication::clipboard()->setText(selectedText); };
    }

    /// Sends what is queued and hands back every event the analytics server received.
    QList<QJsonObject> sentEvents()
    {
        analytics.client().flush();
        if (!analyticsServer.waitForRequests(1, 10000)
            || !QTest::qWaitFor([this] { return analytics.client().queuedCount() == 0; }, 10000))
            return {};
        return AnalyticsWire::events(analyticsServer.requests());
    }
};

} // namespace

Q_DECLARE_METATYPE(Serve)

class TestFixPrivacy : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;

private Q_SLOTS:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules("tembrel.*=true"); // every level of every component
        testLog = qInstallMessageHandler(keepLog);
    }

    void cleanupTestCase() { qInstallMessageHandler(testLog); }

    void qtCategoriesThatPrintPageContentStayOff()
    {
        // Debug output switched on for everything, as someone chasing a problem would.
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=true"));
        const auto restore = qScopeGuard([] { QLoggingCategory::setFilterRules("tembrel.*=true"); });
        QLoggingCategory transport("qt.webengine.webchanneltransport");
        QVERIFY(!transport.isDebugEnabled());
        QVERIFY(!transport.isInfoEnabled());
        QVERIFY(transport.isWarningEnabled());
        QVERIFY(QLoggingCategory("qt.webengine.other").isDebugEnabled());
        QVERIFY(lcCoordinator().isDebugEnabled());
    }

    void searchFindsTextInAnAnalyticsBatch()
    {
        // The search must find text that was sent, compressed and escaped, or its silence proves nothing.
        App app(true);
        QVERIFY(app.listening);
        app.analytics.capture("probe", {{"leak", selectedText}});
        QCOMPARE(app.sentEvents().size(), 1);
        QCOMPARE(app.analyticsServer.requests().first().header("content-encoding"), QByteArray("gzip"));
        for (const QString& marker : {selectedText, selectedMarker, QString("Zoë")})
            QVERIFY2(AnalyticsWire::anyBytesContain(app.analyticsServer.requests(), marker), qPrintable(marker));
    }

    void nothingPrivateReachesAnalytics_data()
    {
        QTest::addColumn<bool>("custom");
        QTest::addColumn<Serve>("serve");
        QTest::addColumn<QString>("phase"); // "loading": the fix is cancelled while the server works
        QTest::addColumn<QString>("event"); // empty: the fix sends none
        QTest::addColumn<QJsonObject>("properties");

        const QJsonObject changed{{"endpoint_type", "custom"}, {"had_changes", true}, {"mode_name", "Pirate"}};
        QTest::newRow("custom: fixed") << true << fixes << "success" << "tembrel_completed" << changed;
        QTest::newRow("custom: no changes") << true << echoes << "noChanges" << "tembrel_completed"
                                            << QJsonObject{{"endpoint_type", "custom"}, {"had_changes", false}};
        QTest::newRow("custom: 400 quoting the text") << true << refuses(400) << "error" << "tembrel_failed"
                                                      << QJsonObject{{"error_type", "processing"}};
        QTest::newRow("custom: 401") << true << refuses(401) << "error" << "tembrel_failed"
                                     << QJsonObject{{"error_type", "other"}};
        QTest::newRow("custom: 429") << true << refuses(429) << "error" << "tembrel_failed"
                                     << QJsonObject{{"error_type", "rate_limit"}};
        QTest::newRow("custom: 500") << true << refuses(500) << "error" << "tembrel_failed"
                                     << QJsonObject{{"endpoint_type", "custom"}, {"error_type", "other"}};
        QTest::newRow("custom: error inside a 200") << true << refuses(200) << "error" << "tembrel_failed"
                                                    << QJsonObject{{"error_type", "other"}};
        QTest::newRow("custom: cancelled while the server works") << true << holdsBack << "loading" << QString()
                                                                  << QJsonObject{};
        QTest::newRow("cloud: fixed") << false << fixes << "success" << "tembrel_completed"
                                      << QJsonObject{{"endpoint_type", "cloud"}, {"had_changes", true}, {"edit_count", 2}};
        QTest::newRow("cloud: 400 too long") << false << refuses(400, "INPUT_TOO_LONG") << "error" << "tembrel_failed"
                                             << QJsonObject{{"endpoint_type", "cloud"}, {"error_type", "too_long"}};
        QTest::newRow("cloud: 429") << false << refuses(429) << "error" << "tembrel_failed"
                                    << QJsonObject{{"error_type", "rate_limit"}};
        QTest::newRow("cloud: cancelled while the server works") << false << holdsBack << "loading" << QString()
                                                                 << QJsonObject{};
    }

    void nothingPrivateReachesAnalytics()
    {
        QFETCH(bool, custom);
        QFETCH(Serve, serve);
        QFETCH(QString, phase);
        QFETCH(QString, event);
        QFETCH(QJsonObject, properties);
        App app(custom);
        QVERIFY(app.listening);
        app.engineServer.setHandler(serve);
        logged.clear();
        // Sent at every launch: the batch is never empty, so a fix that sends nothing is seen to.
        app.analytics.trackAppLaunched(custom, true, false);

        app.coordinator.startFix(app.modeId);
        if (phase == u"loading") {
            QVERIFY(app.engineServer.waitForRequests(1, 10000));
            app.coordinator.cancel();
        }
        QTRY_VERIFY_WITH_TIMEOUT(!app.coordinator.isProcessing(), 20000);
        QVERIFY(!app.panel.shown.isEmpty());
        const TestPanel::Shown& shown = app.panel.shown.last();
        QCOMPARE(shown.phase, phase);
        if (phase == u"success") {
            // The engine's own steps fall between the coordinator's.
            QStringList steps;
            for (const TraceEvent& step : app.coordinator.currentTrace()->events())
                steps << step.event;
            QCOMPARE(steps, (QStringList{"hotkey_pressed", "clipboard_read", "engine_selected", "request_started",
                                         "response_received", "result", "clipboard_written", "panel_shown"}));
        }
        // The panel reports its own count of the edits; that completes the fix.
        if (shown.onEditCount)
            shown.onEditCount(shown.result->editCount.value_or(0));

        // The private texts were really in play: the engine got the selection, prompt and key, and a
        // fixed text reached the clipboard.
        const QList<RecordedRequest> engineRequests = app.engineServer.requests();
        QVERIFY(AnalyticsWire::anyBytesContain(engineRequests, selectedMarker));
        QVERIFY(AnalyticsWire::anyBytesContain(engineRequests, promptMarker));
        QCOMPARE(AnalyticsWire::anyBytesContain(engineRequests, keyMarker), custom);
        if (shown.result)
            QVERIFY(app.clipboard.readPlainText().value_or(QString()).contains(phase == u"success" ? fixedMarker
                                                                                                  : selectedMarker));

        const QList<QJsonObject> events = app.sentEvents();
        QStringList names;
        for (const QJsonObject& sent : events)
            names << sent.value("event").toString();
        QCOMPARE(names, event.isEmpty() ? QStringList{"app_launched"} : (QStringList{"app_launched", event}));
        if (!event.isEmpty()) {
            const QJsonObject sent = events.last().value("properties").toObject();
            for (auto it = properties.begin(); it != properties.end(); ++it)
                QCOMPARE(sent.value(it.key()), it.value());
        }

        QVERIFY(!logged.isEmpty()); // the log was heard
        for (const QString& marker : {selectedMarker, fixedMarker, promptMarker, serverMarker, keyMarker}) {
            QVERIFY2(!AnalyticsWire::anyBytesContain(app.analyticsServer.requests(), marker), qPrintable(marker));
            QVERIFY2(!logged.join('\n').contains(marker), qPrintable(logged.join('\n')));
        }
    }
};

QTEST_MAIN(TestFixPrivacy)
#include "tst_fixprivacy.moc"
