// A plain-text selection through the app's own components, wired as the app wires them: the fake
// platform plays the user who copies, a real OpenAI-compatible engine talks to a server on
// 127.0.0.1, the real clipboard takes the answer and the real panel shows it. What the engine is
// sent, what the clipboard holds, what the history keeps and what the panel shows must all be the
// user's plain text, every space of it.
#include "engines/EngineTestSupport.h"
#include "FixTestBackends.h"

#include "app/FixAdapters.h"
#include "capture/ClipboardManager.h"
#include "capture/SelectionManager.h"
#include "diff/DiffUtils.h"
#include "engines/CloudEngine.h"
#include "engines/CustomOpenAIEngine.h"
#include "history/HistoryManager.h"
#include "modes/ModeManager.h"
#include "panel/InlineDiffPanelController.h"
#include "platform/fake/FakePlatform.h"
#include "platform/PlatformServices.h"
#include "settings/SettingsManager.h"
#include "settings/UsageStatsManager.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QQuickItem>
#include <QQuickView>
#include <QSettings>
#include <QTemporaryDir>

namespace {

QQuickItem* findItem(QQuickItem* root, const QString& name)
{
    if (!root || root->objectName() == name)
        return root;
    for (QQuickItem* child : root->childItems()) {
        if (QQuickItem* found = findItem(child, name))
            return found;
    }
    return nullptr;
}

struct App
{
    QTemporaryDir dir;
    TestHttpServer engineServer;
    const bool listening = dir.isValid() && engineServer.listen();
    QSettings defaults {dir.filePath("defaults.ini"), QSettings::IniFormat};
    SettingsManager settings {defaults};
    ModeManager modes {defaults};
    HistoryManager history {defaults, dir.filePath("history.json")};
    UsageStatsManager usage {defaults};
    FakePlatform fakes {};
    std::unique_ptr<PlatformServices> services = createFakePlatformServices(&fakes);
    ClipboardManager clipboard;
    FakeKeySender keys;
    SelectionManager selection {keys, clipboard, *services->workspace};
    CloudEngine cloud {engineServer.url().toString(), [] { return QString(); }};
    CustomOpenAIEngine custom {[this] {
                                   return CustomEndpointConfig {settings.customAPIURL(),
                                       settings.customModelID(), settings.isCustomEndpointConfigured()};
                               },
        []() -> QCoro::Task<std::optional<QString>> { co_return std::nullopt; }};
    InlineDiffPanelController panel {*services->workspace, services->keyMonitor.get()};
    TestAnalytics analytics;
    FakeAccessibilityTrust trust;
    ModeCatalogAdapter modeAdapter {modes};
    SelectionAdapter selectionAdapter {selection};
    ClipboardAdapter clipboardAdapter {clipboard};
    PanelAdapter panelAdapter {panel};
    SettingsAdapter settingsAdapter {settings, history};
    HistoryAdapter historyAdapter {history};
    UsageAdapter usageAdapter {usage};
    FixCoordinator coordinator {
        FixNeighbourhood {modeAdapter, selectionAdapter, clipboardAdapter, cloud, custom, panelAdapter,
            settingsAdapter, historyAdapter, usageAdapter, analytics, trust, *services->workspace}};

    App()
    {
        settings.setAnalyticsEnabled(false);
        settings.setUseCustomEndpoint(true);
        settings.setCustomAPIURL(engineServer.url("/v1").toString());
    }

    QQuickItem* panelItem(const QString& name) const
    {
        return panel.window() ? findItem(panel.window()->rootObject(), name) : nullptr;
    }
};

} // namespace

class TestFixWriteBack : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;

private Q_SLOTS:
    void plainTextStaysPlainText_data()
    {
        QTest::addColumn<QString>("selected");
        QTest::addColumn<QString>("answer");
        QTest::newRow("indentation, runs of spaces, tabs and blank lines")
            << "  indented   spaces teh end\n\tTabbed  line\n\n    code(x);  \n"
            << "  indented   spaces the end\n\tTabbed  line\n\n    code(x);  \n";
        QTest::newRow("markup characters typed as text")
            << "if (a < b && c > d) { say(\"teh\"); } // it's <b>not</b> HTML"
            << "if (a < b && c > d) { say(\"the\"); } // it's <b>not</b> HTML";
        QTest::newRow("the onboarding sample")
            << "I has a meeting tomorow and their going to be alot of people."
            << "I have a meeting tomorrow and there are going to be a lot of people.";
    }

    void plainTextStaysPlainText()
    {
        QFETCH(QString, selected);
        QFETCH(QString, answer);
        App app;
        QVERIFY(app.listening);
        app.keys.onCopy = [selected] { QGuiApplication::clipboard()->setText(selected); };
        app.engineServer.setHandler([answer](const RecordedRequest&) {
            return CannedResponse::json(200, EngineTest::chatAnswer(answer));
        });

        app.coordinator.startFix(storedUuidString(app.modes.modes().first().id));
        QTRY_VERIFY_WITH_TIMEOUT(!app.coordinator.isProcessing(), 20000);

        // The engine got the selection itself, not an HTML paragraph made of it.
        QCOMPARE(app.engineServer.requests().size(), 1);
        QCOMPARE(EngineTest::userContent(app.engineServer.requests().first()), selected);

        // The clipboard holds the answer exactly, as plain text only.
        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data);
        QCOMPARE(data->text(), answer);
        QVERIFY(!data->hasHtml());

        // The history keeps plain text and no HTML for it.
        QCOMPARE(app.history.entries().size(), 1);
        const FixHistoryEntry& entry = app.history.entries().first();
        QCOMPARE(entry.originalText, selected);
        QCOMPARE(entry.fixedText, answer);
        QVERIFY(!entry.originalHTML && !entry.fixedHTML);
        QCOMPARE(entry.sourceFormat, std::optional<QString>("plainText"));

        // The panel shows the word diff of those texts and never loads the web view.
        QCOMPARE(app.panel.viewModel().fixedText(), answer);
        QVERIFY(!app.panel.viewModel().hasHtmlDiff());
        QTRY_VERIFY(app.panelItem("diffText"));
        QVERIFY(!app.panelItem("htmlDiff"));
        const qint64 edits = DiffUtils::wordDiff(selected, answer).editCount;
        QTRY_COMPARE(app.panel.viewModel().totalEdits(), int(edits));
        QVERIFY2(app.panel.viewModel().successHeader().contains(QString::number(edits) + " edit"),
            qPrintable(app.panel.viewModel().successHeader()));
        if (QTest::currentDataTag() == QByteArrayView("the onboarding sample"))
            QCOMPARE(edits, 6);
    }
};

QTEST_MAIN(TestFixWriteBack)
#include "tst_fixwriteback.moc"
