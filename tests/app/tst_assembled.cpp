#include "app/StatusMenu.h"
#include "app/TembrelApp.h"
#include "engines/ApiKeyStore.h"
#include "engines/CustomOpenAIEngine.h"
#include "panel/InlineDiffPanelController.h"
#include "panel/PanelViewModel.h"
#include "history/HistoryManager.h"
#include "modes/ModeManager.h"
#include "platform/fake/FakePlatform.h"
#include "settings/SettingsManager.h"
#include "settings/UsageStatsManager.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QApplication>
#include <QClipboard>
#include <QCoro/QCoroTask>
#include <QJsonArray>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)
Q_DECLARE_METATYPE(CannedResponse)

namespace {

// What a language model would make of the selections below.
QString corrected(QString text)
{
    return text.replace(QStringLiteral("teh"), QStringLiteral("the")).replace(QStringLiteral("adn"), QStringLiteral("and"));
}

CannedResponse chatCompletion(const RecordedRequest& request)
{
    const QJsonArray messages = request.json().value(QStringLiteral("messages")).toArray();
    const QString userText = messages.last().toObject().value(QStringLiteral("content")).toString();
    const QJsonObject message{{QStringLiteral("role"), QStringLiteral("assistant")},
                              {QStringLiteral("content"), corrected(userText)}};
    return CannedResponse::json(
        200, {{QStringLiteral("object"), QStringLiteral("chat.completion")},
              {QStringLiteral("choices"), QJsonArray{QJsonObject{{QStringLiteral("index"), 0},
                                                                 {QStringLiteral("message"), message}}}}});
}

// For each control file ("ScrollBar.qml", ...) found in this item tree, the style folders it was
// loaded from ("Fusion", "Basic", ...). A style without its own file for a control falls back to
// another style's, so one control type coming from two folders is what marks two styles in use.
void collectStyles(const QQuickItem* item, QHash<QString, QSet<QString>>& styles)
{
    if (const QQmlContext* context = qmlContext(item)) {
        static const QRegularExpression styleFile(QStringLiteral("/QtQuick/Controls/([^/]+)/(.*\\.qml)$"));
        const QRegularExpressionMatch match = styleFile.match(context->baseUrl().toString());
        if (match.hasMatch() && match.captured(1) != QStringLiteral("impl"))
            styles[match.captured(2)].insert(match.captured(1));
    }
    for (const QQuickItem* child : item->childItems())
        collectStyles(child, styles);
}

// Scrolls the window's flickable so that `item` is in view, as a user would before clicking it.
void scrollIntoView(QQuickItem* item)
{
    for (QQuickItem* up = item->parentItem(); up; up = up->parentItem()) {
        auto* content = up->property("contentItem").value<QQuickItem*>();
        if (up->metaObject()->indexOfProperty("contentY") < 0 || !content)
            continue;
        const qreal top = item->mapToItem(content, QPointF(0, 0)).y();
        const qreal most = qMax<qreal>(0, up->property("contentHeight").toReal() - up->height());
        up->setProperty("contentY", qBound<qreal>(0, top - up->height() / 3, most));
        return;
    }
}

QQuickItem* findItem(QQuickItem* root, const QString& name)
{
    if (root->objectName() == name)
        return root;
    for (QQuickItem* child : root->childItems())
        if (QQuickItem* found = findItem(child, name))
            return found;
    return nullptr;
}

QList<QQuickWindow*> visibleQuickWindows()
{
    QList<QQuickWindow*> windows;
    for (QWindow* window : QGuiApplication::topLevelWindows())
        if (auto* quick = qobject_cast<QQuickWindow*>(window); quick && quick->isVisible())
            windows.append(quick);
    return windows;
}

} // namespace

// The real app on the fake platform: the coordinator with its real neighbours (adapters, stores,
// panel, windows), where the seams between them show.
class AssembledTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    TestHttpServer m_endpoint;
    FakePlatform m_fake{};
    std::unique_ptr<TembrelApp> m_app;

    void createApp()
    {
        auto services = createFakePlatformServices(&m_fake);
        m_app = std::make_unique<TembrelApp>(std::move(services));
        m_app->start();
    }

    // Selects `text` in "another application" and presses the primary mode's shortcut.
    void fix(const QString& text)
    {
        m_fake.keySender->onCopy = [text] { QGuiApplication::clipboard()->setText(text); };
        QVERIFY(!m_fake.shortcuts->registrations.isEmpty());
        m_fake.shortcuts->press(m_fake.shortcuts->registrations.keys().first());
    }

private Q_SLOTS:
    void initTestCase()
    {
        TestEnvironment::nameApplication();
        QVERIFY(m_endpoint.listen());
        m_endpoint.setHandler(chatCompletion);
        qputenv("TEMBREL_POSTHOG_KEY", "");
        qputenv("TEMBREL_APPCAST_URL", "");
    }

    void init()
    {
        QSettings defaults;
        defaults.clear();
        defaults.setValue(QStringLiteral("skipOnboarding"), true);
        defaults.setValue(QStringLiteral("useCustomEndpoint"), true);
        defaults.setValue(QStringLiteral("customAPIURL"), m_endpoint.url().toString());
        defaults.setValue(QStringLiteral("customModelID"), QStringLiteral("test-model"));
        QFile::remove(HistoryManager::defaultStoragePath());
    }

    void cleanup() { m_app.reset(); }

    // The count the panel's diff computed reaches the history entry of that fix, the usage
    // counters and the totals the history and settings windows show, all alike.
    void editCountsReachEveryStore_data()
    {
        QTest::addColumn<QStringList>("selections");
        QTest::addColumn<QList<qint64>>("counts"); // newest first

        QTest::newRow("one fix") << QStringList{QStringLiteral("I saw teh cat adn teh dog.")} << QList<qint64>{3};
        QTest::newRow("two fixes")
            << QStringList{QStringLiteral("teh end"), QStringLiteral("cats adn dogs adn teh birds")}
            << QList<qint64>{3, 1};
    }

    void editCountsReachEveryStore()
    {
        QFETCH(QStringList, selections);
        QFETCH(QList<qint64>, counts);
        createApp();
        qint64 total = 0;
        for (const QString& selection : selections) {
            const qint64 fixesBefore = m_app->usage().totalTembrels();
            fix(selection);
            QTRY_COMPARE_WITH_TIMEOUT(m_app->usage().totalTembrels(), fixesBefore + 1, 15000);
        }
        for (const qint64 count : counts)
            total += count;
        const QList<FixHistoryEntry>& entries = m_app->history().entries();
        QCOMPARE(entries.size(), counts.size());
        for (qsizetype i = 0; i < counts.size(); ++i)
            QCOMPARE(entries.at(i).editCount, std::optional<qint64>(counts.at(i)));
        QCOMPARE(m_app->usage().totalEdits(), total);
        QCOMPARE(m_app->history().totalEdits(), total);
        // And as the file keeps them, for the next start: quitting right after the last count
        // arrived loses nothing, and each fix was written once, its count included.
        m_app->quit();
        QCOMPARE(m_app->history().writeCount(), counts.size());
        QSettings defaults;
        HistoryManager reloaded(defaults, HistoryManager::defaultStoragePath());
        QCOMPARE(reloaded.entries(), entries);
        QCOMPARE(reloaded.totalEdits(), total);
    }

    // The status menu's shortcuts work in each of Tembrel's windows, not only in the menu.
    void menuShortcutsWorkInEveryWindow_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<QKeySequence>("keys");
        QTest::addColumn<QByteArray>("announcement");
        for (const char* window : {"settings", "history", "onboarding"}) {
            QTest::addRow("%s: Ctrl+Shift+H", window) << QString::fromLatin1(window)
                                                      << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_H)
                                                      << QByteArray(SIGNAL(showHistoryRequested()));
            QTest::addRow("%s: Ctrl+,", window) << QString::fromLatin1(window) << QKeySequence(Qt::CTRL | Qt::Key_Comma)
                                                << QByteArray(SIGNAL(showSettingsRequested()));
            QTest::addRow("%s: Ctrl+Q", window) << QString::fromLatin1(window) << QKeySequence(Qt::CTRL | Qt::Key_Q)
                                                << QByteArray(SIGNAL(quitRequested()));
        }
    }

    void menuShortcutsWorkInEveryWindow()
    {
        QFETCH(QString, window);
        QFETCH(QKeySequence, keys);
        QFETCH(QByteArray, announcement);
        createApp();
        // The test hears the request to quit; the test process itself stays.
        disconnect(m_app->statusMenu(), &StatusMenu::quitRequested, m_app.get(), nullptr);
        if (window == QStringLiteral("history"))
            m_app->showHistory();
        else if (window == QStringLiteral("settings"))
            m_app->showSettings();
        else
            m_app->showOnboarding();
        QTRY_COMPARE(visibleQuickWindows().size(), 1);
        QQuickWindow* shown = visibleQuickWindows().first();
        QVERIFY(QTest::qWaitForWindowExposed(shown));
        QSignalSpy heard(m_app->statusMenu(), announcement.constData());
        QTest::keyClick(shown, keys[0].key(), keys[0].keyboardModifiers());
        QTRY_COMPARE(heard.count(), 1);
    }

    // The endpoint's fields take their full height in the settings layout, whether they were
    // there when the window opened (with a stored key arriving from the keyring) or switched on.
    void endpointFieldsNeverOverlapWhatFollows_data()
    {
        QTest::addColumn<bool>("onAtOpening");
        QTest::addColumn<bool>("storedKey");
        QTest::newRow("on at opening, key stored") << true << true;
        QTest::newRow("on at opening, no key") << true << false;
        QTest::newRow("switched on, key stored") << false << true;
    }

    void endpointFieldsNeverOverlapWhatFollows()
    {
        QFETCH(bool, onAtOpening);
        QFETCH(bool, storedKey);
        ApiKeyStore keys;
        const std::optional<ApiKeyStoreError> stored =
            QCoro::waitFor(keys.setKey(storedKey ? QStringLiteral("sk-test-key") : QString()));
        QVERIFY(!stored);
        QSettings().setValue(QStringLiteral("useCustomEndpoint"), onAtOpening);
        createApp();
        m_app->showSettings();
        QTRY_COMPARE(visibleQuickWindows().size(), 1);
        QQuickWindow* window = visibleQuickWindows().first();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        if (!onAtOpening)
            m_app->settings().setUseCustomEndpoint(true);
        QQuickItem* beta = nullptr;
        QQuickItem* test = nullptr;
        QTRY_VERIFY((beta = findItem(window->contentItem(), QStringLiteral("betaUpdates")))
                    && (test = findItem(window->contentItem(), QStringLiteral("connectionTestButton"))));
        if (storedKey)
            QTRY_COMPARE(findItem(window->contentItem(), QStringLiteral("apiKeyField"))->property("text").toString(),
                         QStringLiteral("sk-test-key"));
        QTest::qWait(200); // the layout settles
        const qreal testBottom = test->mapToScene(QPointF(0, test->height())).y();
        const qreal betaTop = beta->mapToScene(QPointF(0, 0)).y();
        QVERIFY2(testBottom <= betaTop, qPrintable(QStringLiteral("%1 > %2").arg(testBottom).arg(betaTop)));
    }

    // A failed fix names what actually happened on the line under the title, and the panel never
    // says the same words twice.
    void failuresSayWhatHappened_data()
    {
        QTest::addColumn<QString>("endpoint"); // "server", "closed", a literal URL, or "cloud"
        QTest::addColumn<CannedResponse>("answer");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("subtitle"); // %1: the address tried
        const QJsonObject message{{"role", "assistant"}, {"content", "<think>first the plan"}};
        QTest::newRow("nothing listens")
            << "closed" << CannedResponse() << "Something went wrong"
            << "Nothing answers at %1. Is the server running?";
        QTest::newRow("time-out") << "server" << CannedResponse::json(200, {}, 4000) << "Something went wrong"
                                  << "%1 did not answer in time.";
        QTest::newRow("not a chat completion")
            << "server" << CannedResponse::json(200, {{"hello", "world"}}) << "Something went wrong"
            << "The endpoint's answer is not a chat completion (no \"choices\" list).";
        QTest::newRow("empty choices") << "server" << CannedResponse::json(200, {{"choices", QJsonArray{}}})
                                       << "Something went wrong" << "The endpoint answered with an empty list of choices.";
        QTest::newRow("unclosed think")
            << "server" << CannedResponse::json(200, {{"choices", QJsonArray{QJsonObject{{"message", message}}}}})
            << "Something went wrong" << "The model's answer ended inside its <think> reasoning, before any text.";
        QTest::newRow("key rejected") << "server" << CannedResponse::json(401, {}) << "Couldn't connect to your API"
                                      << "The API key was rejected.";
        QTest::newRow("forbidden") << "server" << CannedResponse::json(403, {}) << "Couldn't connect to your API"
                                   << "The API key was rejected.";
        QTest::newRow("server failed") << "server" << CannedResponse::json(503, {}) << "Couldn't connect to your API"
                                       << "The endpoint's server failed while answering.";
        QTest::newRow("not a URL") << "http://exa mple/v1" << CannedResponse() << "Couldn't reach the server"
                                   << "\u201chttp://exa mple/v1\u201d is not a web address. Check the API URL in Settings.";
        QTest::newRow("cloud refuses the request")
            << "cloud" << CannedResponse::json(400, {{"error", "bad"}}) << "Something went wrong"
            << "The service refused the request (HTTP 400).";
    }

    void failuresSayWhatHappened()
    {
        QFETCH(QString, endpoint);
        QFETCH(CannedResponse, answer);
        QFETCH(QString, title);
        QFETCH(QString, subtitle);
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(answer);
        QString url = server.url(QStringLiteral("/v1")).toString();
        const QString address = QStringLiteral("127.0.0.1:") + QString::number(server.port());
        if (endpoint == QStringLiteral("closed"))
            server.close();
        else if (endpoint != QStringLiteral("server") && endpoint != QStringLiteral("cloud"))
            url = endpoint;
        QSettings().setValue(QStringLiteral("useCustomEndpoint"), endpoint != QStringLiteral("cloud"));
        QSettings().setValue(QStringLiteral("customAPIURL"), url);
        qputenv("TEMBREL_CLOUD_URL", server.url().toString().toUtf8());
        createApp();
        qunsetenv("TEMBREL_CLOUD_URL");
        m_app->customEngine().setTimeout(std::chrono::milliseconds(1000));
        fix(QStringLiteral("Some selected text."));
        PanelViewModel& panel = m_app->panel().viewModel();
        QTRY_COMPARE_WITH_TIMEOUT(panel.phase().kind, PanelPhase::Kind::error, 15000);
        QCOMPARE(panel.errorTitle(), title);
        QCOMPARE(panel.errorSubtitle(), subtitle.arg(address));
        QVERIFY(!panel.errorSubtitle().contains(panel.errorTitle()));
    }

    // While the shortcut recorder listens, Tembrel's own global shortcuts stand aside, so a press
    // of one reaches the recorder instead of starting a fix; they come back however it ends.
    void recordingSuspendsTheGlobalShortcuts_data()
    {
        QTest::addColumn<QString>("ending");
        QTest::addColumn<QList<quint16>>("keyCodes"); // registered afterwards
        QTest::newRow("Escape") << "escape" << QList<quint16>{1};
        QTest::newRow("a new shortcut") << "F6" << QList<quint16>{97};
        QTest::newRow("a copy chord, refused") << "copy" << QList<quint16>{1};
        QTest::newRow("window closed mid-recording") << "close" << QList<quint16>{1};
    }

    void recordingSuspendsTheGlobalShortcuts()
    {
        QFETCH(QString, ending);
        QFETCH(QList<quint16>, keyCodes);
        createApp();
        QCOMPARE(m_fake.shortcuts->registrations.size(), 1);
        m_app->showSettings();
        QTRY_COMPARE(visibleQuickWindows().size(), 1);
        QQuickWindow* window = visibleQuickWindows().first();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QQuickItem* button = nullptr;
        QTRY_VERIFY((button = findItem(window->contentItem(), QStringLiteral("modeRow0RecorderButton"))));
        scrollIntoView(button);
        const QPointF centre = button->mapToScene(QPointF(button->width() / 2, button->height() / 2));
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
        QTRY_COMPARE(button->property("text").toString(), QStringLiteral("Type shortcut"));
        QVERIFY(m_fake.shortcuts->registrations.isEmpty());

        const auto press = [window](Qt::Key key, Qt::KeyboardModifiers modifiers) {
            QKeyEvent event(QEvent::KeyPress, key, modifiers);
            QCoreApplication::sendEvent(window, &event);
        };
        if (ending == QStringLiteral("escape"))
            press(Qt::Key_Escape, Qt::NoModifier);
        else if (ending == QStringLiteral("F6"))
            press(Qt::Key_F6, Qt::NoModifier);
        else if (ending == QStringLiteral("copy"))
            press(Qt::Key_C, Qt::ControlModifier);
        else
            window->close();
        QList<quint16> registered;
        QTRY_VERIFY(!m_fake.shortcuts->registrations.isEmpty());
        for (const auto& registration : std::as_const(m_fake.shortcuts->registrations))
            registered.append(registration.keyCode);
        QCOMPARE(registered, keyCodes);
    }

    // The success panel comes in at its final size with its final count: from the first frame
    // that shows the result, neither the panel's shape nor its header changes any more. The
    // service's own count (99) differs from the diff's, which is the one to show.
    void successAppearsSettled_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("edits");
        QTest::newRow("one line") << "I saw teh cat." << "1 edit";
        QTest::newRow("a paragraph") << QString("teh cat adn teh dog ").repeated(12) << "36 edits";
    }

    void successAppearsSettled()
    {
        QFETCH(QString, selection);
        QFETCH(QString, edits);
        TestHttpServer cloud;
        QVERIFY(cloud.listen());
        cloud.setHandler([](const RecordedRequest& request) {
            const QString sent = request.json().value(QStringLiteral("text")).toString();
            return CannedResponse::json(200, {{"fixedText", corrected(sent)}, {"editCount", 99}}, 800);
        });
        QSettings().setValue(QStringLiteral("useCustomEndpoint"), false);
        qputenv("TEMBREL_CLOUD_URL", cloud.url().toString().toUtf8());
        createApp();
        qunsetenv("TEMBREL_CLOUD_URL");
        fix(selection);
        // The loading pill is up while the service thinks.
        QTRY_VERIFY(m_app->panel().window() && m_app->panel().window()->isVisible());
        QQuickWindow* window = m_app->panel().window();
        QQuickItem* root = window->contentItem()->childItems().value(0);
        QVERIFY(root);

        // What every frame shows once the result's header is on screen.
        QStringList frames;
        connect(window, &QQuickWindow::afterAnimating, this, [&] {
            QQuickItem* header = findItem(root, QStringLiteral("successHeader"));
            qreal opacity = header && header->isVisible() ? 1.0 : 0.0;
            for (QQuickItem* item = header; item && opacity > 0; item = item->parentItem())
                opacity *= item->opacity();
            if (opacity > 0) {
                const QRectF shape = root->property("backgroundRect").toRectF();
                frames.append(QStringLiteral("%1x%2 %3").arg(shape.width()).arg(shape.height())
                                  .arg(header->property("text").toString().section(QStringLiteral(" · "), 1, 1)));
            }
        });
        QCOMPARE(m_app->panel().viewModel().phase().kind, PanelPhase::Kind::loading);
        QTRY_VERIFY_WITH_TIMEOUT(m_app->usage().totalTembrels() == 1, 20000);
        QTRY_VERIFY(frames.size() > 3);
        QTest::qWait(300);
        frames.removeDuplicates();
        QCOMPARE(frames.size(), 1);
        QVERIFY2(frames.first().endsWith(QStringLiteral(" ") + edits), qPrintable(frames.first()));
    }

    // Whichever window opens first, every window's controls come from one style.
    void oneStyleInEveryWindow_data()
    {
        QTest::addColumn<QStringList>("order");
        QTest::newRow("history first") << QStringList{"history", "settings", "onboarding"};
        QTest::newRow("settings first") << QStringList{"settings", "onboarding", "history"};
    }

    void oneStyleInEveryWindow()
    {
        QFETCH(QStringList, order);
        createApp();
        for (const QString& window : order) {
            if (window == QStringLiteral("history"))
                m_app->showHistory();
            else if (window == QStringLiteral("settings"))
                m_app->showSettings();
            else
                m_app->showOnboarding();
        }
        QTRY_COMPARE(visibleQuickWindows().size(), order.size());
        QHash<QString, QSet<QString>> styles;
        for (QQuickWindow* window : visibleQuickWindows()) {
            QVERIFY(QTest::qWaitForWindowExposed(window));
            collectStyles(window->contentItem()->parentItem() ? window->contentItem()->parentItem()
                                                              : window->contentItem(),
                          styles);
        }
        QVERIFY(styles.contains(QStringLiteral("ScrollBar.qml")));
        for (auto control = styles.cbegin(); control != styles.cend(); ++control)
            QVERIFY2(control.value().size() == 1, qPrintable(control.key() + QStringLiteral(" comes in more than one style")));
    }
};

QTEST_MAIN(AssembledTest)
#include "tst_assembled.moc"
