#include "analytics/AnalyticsManager.h"
#include "analytics/PostHogClient.h"
#include "app/StatusMenu.h"
#include "app/TembrelApp.h"
#include "modes/ModeManager.h"
#include "platform/fake/FakePlatform.h"
#include "settings/SettingsManager.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"
#include "../analytics/AnalyticsWire.h"

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QTest>

namespace {

// Fakes that write what the app asked of the system into one journal, in order.
struct Journal
{
    QStringList steps;
    TembrelApp* app = nullptr;

    void note(const QString& step)
    {
        if (steps.isEmpty() || steps.last() != step)
            steps.append(step);
    }
};

struct JournalShortcuts : FakeGlobalShortcuts
{
    explicit JournalShortcuts(Journal& journal) : journal(journal) {}
    RegistrationError registerShortcut(quint32 id, quint16 keyCode, quint64 modifierFlags) override
    {
        if (journal.app && journal.app->statusMenu() && !journal.steps.contains(QStringLiteral("status item")))
            journal.note(QStringLiteral("status item"));
        journal.note(QStringLiteral("shortcuts"));
        ++registerCalls;
        return FakeGlobalShortcuts::registerShortcut(id, keyCode, modifierFlags);
    }
    Journal& journal;
    int registerCalls = 0;
};

struct JournalTrust : FakeAccessibilityTrust
{
    explicit JournalTrust(Journal& journal) : journal(journal) {}
    void requestTrust() override
    {
        journal.note(QStringLiteral("trust prompt"));
        FakeAccessibilityTrust::requestTrust();
    }
    Journal& journal;
};

struct JournalLoginItem : FakeLoginItem
{
    explicit JournalLoginItem(Journal& journal) : journal(journal) {}
    [[nodiscard]] Status status() const override
    {
        journal.note(QStringLiteral("login status"));
        return FakeLoginItem::status();
    }
    Journal& journal;
};

} // namespace

// The launch of the real app on the fake platform: what happens in which order, what the launch
// report says, and when the mode shortcuts are registered again.
class StartupTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    TestHttpServer m_analyticsServer;
    Journal m_journal;
    JournalShortcuts* m_shortcuts = nullptr;
    JournalTrust* m_trust = nullptr;
    JournalLoginItem* m_loginItem = nullptr;
    std::unique_ptr<TembrelApp> m_app;

    void createApp(bool withLoginItem = true)
    {
        m_journal = Journal{};
        FakePlatform handles{};
        auto services = createFakePlatformServices(&handles);
        services->shortcuts.reset(m_shortcuts = new JournalShortcuts(m_journal));
        services->trust.reset(m_trust = new JournalTrust(m_journal));
        services->loginItem.reset(m_loginItem = withLoginItem ? new JournalLoginItem(m_journal) : nullptr);
        m_app = std::make_unique<TembrelApp>(std::move(services));
        m_journal.app = m_app.get();
        connect(&m_app->taskbarPolicy(), &TaskbarPolicy::hiddenChanged, this,
                [this] { m_journal.note(QStringLiteral("task bar")); });
        connect(m_app.get(), &TembrelApp::showOnboardingRequested, this,
                [this] { m_journal.note(QStringLiteral("onboarding")); });
    }

    QList<QJsonObject> launchEvents()
    {
        m_app->analytics().client().flush();
        if (!m_analyticsServer.waitForRequests(1))
            return {};
        QList<QJsonObject> launched;
        for (const QJsonObject& event : AnalyticsWire::events(m_analyticsServer.requests()))
            if (event.value("event").toString() == QStringLiteral("app_launched"))
                launched.append(event);
        return launched;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_analyticsServer.listen());
        m_analyticsServer.setDefaultResponse(CannedResponse::json(200, {{"status", 1}}));
        qputenv("TEMBREL_POSTHOG_KEY", AnalyticsWire::testKey);
        qputenv("TEMBREL_POSTHOG_HOST", m_analyticsServer.url().toString().toUtf8());
        qputenv("TEMBREL_APPCAST_URL", "");
    }

    void init()
    {
        // Each case is a fresh installation: no events queued by an earlier launch.
        QVERIFY(QDir(m_env.dataHome() + QStringLiteral("/Tembrel/analytics")).removeRecursively());
        QSettings defaults;
        defaults.clear();
        defaults.setValue(QStringLiteral("analyticsEnabled"), true);
        m_analyticsServer.clearRequests();
    }

    void cleanup() { m_app.reset(); }

    void launchOrder_data()
    {
        QTest::addColumn<QVariant>("skipOnboarding"); // invalid: absent
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<QStringList>("steps");

        const QString taskBar = QStringLiteral("task bar");
        const QString statusItem = QStringLiteral("status item");
        const QString shortcuts = QStringLiteral("shortcuts");
        const QString onboarding = QStringLiteral("onboarding");
        const QString prompt = QStringLiteral("trust prompt");
        const QString login = QStringLiteral("login status");
        QTest::newRow("first launch: onboarding, no prompt from the shell")
            << QVariant() << false << QStringList{taskBar, statusItem, shortcuts, onboarding, login};
        QTest::newRow("onboarding not done yet, trusted")
            << QVariant(false) << true << QStringList{taskBar, statusItem, shortcuts, onboarding, login};
        QTest::newRow("onboarding done, not trusted: the system prompt")
            << QVariant(true) << false << QStringList{taskBar, statusItem, shortcuts, prompt, login};
        QTest::newRow("onboarding done, trusted: neither")
            << QVariant(true) << true << QStringList{taskBar, statusItem, shortcuts, login};
    }

    void launchOrder()
    {
        QFETCH(QVariant, skipOnboarding);
        QFETCH(bool, trusted);
        QFETCH(QStringList, steps);
        if (skipOnboarding.isValid())
            QSettings().setValue(QStringLiteral("skipOnboarding"), skipOnboarding);

        createApp();
        m_trust->trusted = trusted;
        QVERIFY(m_journal.steps.isEmpty()); // construction alone does nothing visible
        m_app->start();
        QCOMPARE(m_journal.steps, steps);
        QCOMPARE(m_trust->trustRequests, steps.contains(QStringLiteral("trust prompt")) ? 1 : 0);
        QCOMPARE(launchEvents().size(), 1);
    }

    void launchReport_data()
    {
        QTest::addColumn<int>("loginStatus"); // -1: no login item on this system
        QTest::addColumn<bool>("customEndpoint");
        QTest::addColumn<bool>("historyEnabled");
        QTest::addColumn<bool>("launchAtLogin");

        QTest::newRow("defaults") << int(LoginItem::Status::notRegistered) << false << true << false;
        QTest::newRow("login item enabled") << int(LoginItem::Status::enabled) << false << true << true;
        QTest::newRow("awaiting approval is not enabled") << int(LoginItem::Status::requiresApproval) << false << true
                                                          << false;
        QTest::newRow("not found") << int(LoginItem::Status::notFound) << true << false << false;
        QTest::newRow("no login item support") << -1 << true << true << false;
    }

    void launchReport()
    {
        QFETCH(int, loginStatus);
        QFETCH(bool, customEndpoint);
        QFETCH(bool, historyEnabled);
        QFETCH(bool, launchAtLogin);
        {
            QSettings defaults;
            defaults.setValue(QStringLiteral("skipOnboarding"), true);
            defaults.setValue(QStringLiteral("useCustomEndpoint"), customEndpoint);
            defaults.setValue(QStringLiteral("historyEnabled"), historyEnabled);
        }
        createApp(loginStatus != -1);
        if (m_loginItem)
            m_loginItem->currentStatus = LoginItem::Status(loginStatus);
        m_app->start();

        const QList<QJsonObject> launched = launchEvents();
        QCOMPARE(launched.size(), 1);
        const QJsonObject properties = launched.first().value("properties").toObject();
        QCOMPARE(properties.value("custom_endpoint_enabled"), QJsonValue(customEndpoint));
        QCOMPARE(properties.value("history_enabled"), QJsonValue(historyEnabled));
        QCOMPARE(properties.value("launch_at_login"), QJsonValue(launchAtLogin));
    }

    void noLaunchReportWithoutConsent()
    {
        QSettings().setValue(QStringLiteral("analyticsEnabled"), false);
        QSettings().setValue(QStringLiteral("skipOnboarding"), true);
        createApp();
        m_app->start();
        m_app->analytics().client().flush();
        QTest::qWait(200);
        QCOMPARE(m_analyticsServer.requestCount(), 0);
    }

    void shortcutsFollowTheModesOnlyWhenTheyChange()
    {
        QSettings().setValue(QStringLiteral("skipOnboarding"), true);
        createApp();
        m_app->start();
        ModeManager& modes = m_app->modes();
        const int perRound = int(m_shortcuts->registrations.size());
        QVERIFY(perRound > 0);
        QCOMPARE(m_shortcuts->registerCalls, perRound);

        // The same list written again: nothing to do.
        Mode first = modes.modes().first();
        modes.updateMode(first);
        QCoreApplication::processEvents();
        QTest::qWait(50);
        QCOMPARE(m_shortcuts->registerCalls, perRound);

        // A change that leaves every shortcut as it was: nothing to do either.
        first.name = QStringLiteral("Renamed");
        modes.updateMode(first);
        QTest::qWait(50);
        QCOMPARE(m_shortcuts->registerCalls, perRound);

        // A new key: registered once, on a later turn of the event loop, with the new key.
        first.hotkey = Hotkey::commandShift(7);
        modes.updateMode(first);
        QCOMPARE(m_shortcuts->registerCalls, perRound);
        QTRY_COMPARE(m_shortcuts->registerCalls, 2 * perRound);
        bool found = false;
        for (const auto& registration : std::as_const(m_shortcuts->registrations))
            found = found || (registration.keyCode == 7);
        QVERIFY(found);

        // The same list once more, after a change: still nothing.
        modes.updateMode(first);
        QTest::qWait(50);
        QCOMPARE(m_shortcuts->registerCalls, 2 * perRound);

        // Switching a mode off changes what is registered.
        first.isEnabled = false;
        modes.updateMode(first);
        QTRY_COMPARE(int(m_shortcuts->registrations.size()), perRound - 1);
        QCOMPARE(m_shortcuts->registerCalls, 3 * perRound - 1);
    }

    void hideDockIconKeepsWindowsOutOfTheTaskBar()
    {
        QSettings().setValue(QStringLiteral("skipOnboarding"), true);
        QSettings().setValue(QStringLiteral("hideDockIcon"), true);
        createApp();
        m_app->start();
        QVERIFY(m_app->taskbarPolicy().isHidden());

        QWindow window;
        m_app->taskbarPolicy().manage(&window);
        QCOMPARE(window.flags() & Qt::WindowType_Mask, Qt::Tool);

        m_app->settings().setHideDockIcon(false);
        QVERIFY(!m_app->taskbarPolicy().isHidden());
        QCOMPARE(window.flags() & Qt::WindowType_Mask, Qt::Window);
        m_app->settings().setHideDockIcon(true);
        QCOMPARE(window.flags() & Qt::WindowType_Mask, Qt::Tool);
    }

    void menuItemsReachTheApp()
    {
        QSettings().setValue(QStringLiteral("skipOnboarding"), true);
        createApp();
        m_app->start();
        int settingsShown = 0;
        int historyShown = 0;
        connect(m_app.get(), &TembrelApp::showSettingsRequested, this, [&] { ++settingsShown; });
        connect(m_app.get(), &TembrelApp::showHistoryRequested, this, [&] { ++historyShown; });
        const QList<QAction*> actions = m_app->statusMenu()->actions();
        actions.at(2)->trigger();
        QCOMPARE(settingsShown, 1);
        QCOMPARE(historyShown, 0);
        actions.at(1)->trigger();
        QCOMPARE(historyShown, 1);
    }
};

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    TestEnvironment::nameApplication();
    QApplication::setQuitOnLastWindowClosed(false);
    StartupTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_startup.moc"
