// Onboarding as the user meets it: the real window over real stores, the real clipboard of the
// test desktop, and analytics sent to a real HTTP server; only the permission is played by a fake.
#include "AnalyticsWire.h"

#include "analytics/AnalyticsManager.h"
#include "analytics/PostHogClient.h"
#include "capture/ClipboardManager.h"
#include "modes/ModeManager.h"
#include "platform/fake/FakePlatform.h"
#include "settings/OnboardingController.h"
#include "settings/OnboardingSuccess.h"
#include "settings/SettingsManager.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QJsonArray>
#include <QMimeData>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

QQuickItem* findItem(QQuickItem* root, const QString& objectName)
{
    if (!root || !root->isVisible())
        return nullptr;
    if (root->objectName() == objectName)
        return root;
    for (QQuickItem* child : root->childItems()) {
        // Pages slid out of view are still visible to Qt Quick; only what lies inside the window counts.
        if (QQuickItem* found = findItem(child, objectName)) {
            const QRectF shown = found->mapRectToScene(QRectF(0, 0, found->width(), found->height()));
            if (shown.intersects(QRectF(QPointF(), found->window()->size())))
                return found;
        }
    }
    return nullptr;
}

const QString fixedButAlot = QStringLiteral("I have a meeting tomorrow and there are going to be alot of people.");
const QString fullyFixed = QStringLiteral("I have a meeting tomorrow, and there are going to be a lot of people.");

} // namespace

class OnboardingTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    TestHttpServer m_analyticsServer;
    int m_run = 0;
    std::unique_ptr<QSettings> m_defaults;
    std::unique_ptr<SettingsManager> m_settings;
    std::unique_ptr<ModeManager> m_modes;
    FakeAccessibilityTrust m_trust;
    ClipboardManager m_clipboard;
    std::unique_ptr<AnalyticsManager> m_analytics;
    std::unique_ptr<OnboardingController> m_onboarding;

    bool open()
    {
        m_onboarding = std::make_unique<OnboardingController>(*m_modes, *m_settings, m_trust, m_clipboard,
                                                              *m_analytics, *m_defaults);
        m_onboarding->show();
        return QTest::qWaitForWindowActive(m_onboarding->window());
    }
    QQuickItem* item(const QString& name) const
    {
        QQuickWindow* window = m_onboarding->window();
        return window ? findItem(window->contentItem(), name) : nullptr;
    }
    bool shown(const QString& name) const { return item(name) != nullptr; }
    QString text(const QString& name) const { return item(name) ? item(name)->property("text").toString() : QString(); }
    // Clicks an item once the page that holds it has slid into place.
    bool click(const QString& name)
    {
        if (!QTest::qWaitFor([&] { return shown(name); }, 3000))
            return false;
        QTest::qWait(400);
        QQuickItem* target = item(name);
        const QPoint centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2)).toPoint();
        QTest::mouseClick(m_onboarding->window(), Qt::LeftButton, Qt::NoModifier, centre);
        return true;
    }
    bool goToTryIt()
    {
        if (!click(QStringLiteral("getStartedButton")) || !click(QStringLiteral("continueButton")))
            return false;
        QTest::qWait(400); // the page slides into place
        return shown(QStringLiteral("sampleText"));
    }
    void waitForPolls() { QTest::qWait(3 * int(OnboardingController::clipboardPollInterval.count())); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_analyticsServer.listen());
        // Model servers are looked for only where a test puts them, never on the machine's own ports.
        qputenv("TEMBREL_LOCAL_SERVERS", "Nothing=http://127.0.0.1:9/v1");
    }

    void init()
    {
        m_defaults = std::make_unique<QSettings>(m_env.configHome() + QStringLiteral("/onboarding.ini"), QSettings::IniFormat);
        m_defaults->clear();
        m_settings = std::make_unique<SettingsManager>(*m_defaults);
        m_modes = std::make_unique<ModeManager>(*m_defaults);
        m_trust.trusted = true;
        m_analyticsServer.clearRequests();
        m_analytics = std::make_unique<AnalyticsManager>(
            AnalyticsWire::testConfig(m_analyticsServer, m_env.dataHome() + QStringLiteral("/analytics-%1").arg(++m_run)),
            [] { return true; });
    }

    void cleanup()
    {
        m_onboarding.reset();
        m_analytics.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void welcomePage()
    {
        QVERIFY(open());
        QCOMPARE(m_onboarding->window()->size(), QSize(OnboardingController::width, OnboardingController::height));
        QCOMPARE(item(QStringLiteral("welcomeTitle"))->property("font").value<QFont>().family(), QStringLiteral("Pacifico"));
        QCOMPARE(text(QStringLiteral("welcomeHint")), QStringLiteral("Select text, press Ctrl+Shift+S, and paste."));
        QVERIFY(!shown(QStringLiteral("backButton")));
    }

    void navigation_data()
    {
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<int>("page");
        QTest::newRow("Get Started") << QStringList{"getStartedButton"} << 1;
        QTest::newRow("then Continue") << QStringList{"getStartedButton", "continueButton"} << 2;
        QTest::newRow("then Back") << QStringList{"getStartedButton", "continueButton", "backButton"} << 1;
        QTest::newRow("Back to the start") << QStringList{"getStartedButton", "backButton"} << 0;
        QTest::newRow("last dot from the start") << QStringList{"pageDot2"} << 2;
        QTest::newRow("first dot from the end") << QStringList{"pageDot2", "pageDot0"} << 0;
    }

    void navigation()
    {
        QFETCH(QStringList, clicks);
        QFETCH(int, page);
        QVERIFY(open());
        for (const QString& name : clicks)
            QVERIFY2(click(name), qPrintable(name));
        QCOMPARE(m_onboarding->currentPage(), page);
        QTRY_COMPARE(shown(QStringLiteral("backButton")), page > 0);
        QCOMPARE(shown(QStringLiteral("continueButton")), page == 1);
        QCOMPARE(shown(QStringLiteral("letsGoButton")), page == 2);
    }

    void returnKeyDoesTheMainButton()
    {
        QVERIFY(open());
        QTest::keyClick(m_onboarding->window(), Qt::Key_Return);
        QTest::keyClick(m_onboarding->window(), Qt::Key_Return);
        QCOMPARE(m_onboarding->currentPage(), 2);
        QTest::keyClick(m_onboarding->window(), Qt::Key_Return); // nothing fixed yet: stays
        QVERIFY(m_onboarding->window());
    }

    void permissionPage_data()
    {
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<QString>("notice");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("note");
        QTest::newRow("X11: nothing to ask")
            << true << "permissionGranted"
            << "No permission is needed on this desktop: Tembrel can copy your selection right away." << "";
        QTest::newRow("no synthetic input: why not")
            << false << "permissionUnavailable" << "Not trusted in this test." << "";
        const QString gnome = "In this GNOME Wayland session Tembrel can fix text only in X11 applications.";
        QTest::newRow("keys reach only some applications: which") << true << "sessionNote" << gnome << gnome;
    }

    void permissionPage()
    {
        QFETCH(bool, trusted);
        QFETCH(QString, notice);
        QFETCH(QString, detail);
        QFETCH(QString, note);
        m_trust.trusted = trusted;
        m_trust.note = note;
        QVERIFY(open());
        QVERIFY(click(QStringLiteral("getStartedButton")));
        QTRY_VERIFY(shown(notice));
        QCOMPARE(item(notice)->property("detail").toString(), detail);
        QVERIFY(!shown(QStringLiteral("openSettingsButton"))); // there is no system prompt to open
        QCOMPARE(m_trust.trustRequests, 0);

        // The trust is polled while the page shows: a change reaches it without any click.
        m_trust.trusted = !trusted;
        QTRY_COMPARE(m_onboarding->isTrusted(), !trusted);
        QTRY_VERIFY(!shown(notice));
    }

    void successDetection_data()
    {
        QTest::addColumn<bool>("pasteIt");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("success");
        QTest::newRow("clipboard: the copied sample") << false << OnboardingSuccess::sampleSentence << false;
        QTest::newRow("clipboard: alot kept") << false << fixedButAlot << true;
        QTest::newRow("paste: the sample") << true << OnboardingSuccess::sampleSentence << false;
        QTest::newRow("paste: alot kept") << true << fixedButAlot << false;
        QTest::newRow("paste: fully fixed") << true << fullyFixed << true;
    }

    void successDetection()
    {
        QFETCH(bool, pasteIt);
        QFETCH(QString, text);
        QFETCH(bool, success);
        // Only what changes on the clipboard after onboarding opened is looked at; what was there
        // before reaches the page only by a paste.
        if (pasteIt)
            QGuiApplication::clipboard()->setText(text);
        QVERIFY(open());
        QVERIFY(goToTryIt());
        if (pasteIt) {
            QVERIFY(click(QStringLiteral("pasteArea")));
            QTest::keyClick(m_onboarding->window(), Qt::Key_V, Qt::ControlModifier);
            QTRY_COMPARE(m_onboarding->pastedText(), text);
        } else {
            QGuiApplication::clipboard()->setText(text);
        }
        waitForPolls();
        QTRY_COMPARE(m_onboarding->succeeded(), success);
        QCOMPARE(shown(QStringLiteral("successText")), success);
        QCOMPARE(item(QStringLiteral("letsGoButton"))->property("prominent").toBool(), success);
    }

    // A model server already running here is offered beside the offline fix, one click to use.
    void localServerIsOffered()
    {
        TestHttpServer server;
        server.setDefaultResponse(CannedResponse::json(
            200, {{QStringLiteral("data"), QJsonArray{QJsonObject{{QStringLiteral("id"), QStringLiteral("llama3.2")}}}}}));
        QVERIFY(server.listen());
        const QByteArray previous = qgetenv("TEMBREL_LOCAL_SERVERS");
        qputenv("TEMBREL_LOCAL_SERVERS", "Ollama=" + server.url(QStringLiteral("/v1")).toEncoded());
        const bool opened = open();
        qputenv("TEMBREL_LOCAL_SERVERS", previous);
        QVERIFY(opened);
        QVERIFY(goToTryIt());
        QVERIFY(!m_settings->isCustomEndpointConfigured());
        QVERIFY(click(QStringLiteral("useLocalServer")));
        QTRY_VERIFY(m_settings->isCustomEndpointConfigured());
        QCOMPARE(m_settings->customAPIURL(), server.url(QStringLiteral("/v1")).toString());
        QCOMPARE(m_settings->customModelID(), QStringLiteral("llama3.2"));
    }

    void sampleIsSelectableInPlace()
    {
        QVERIFY(open());
        QVERIFY(goToTryIt());
        QQuickItem* sample = item(QStringLiteral("sampleText"));
        QTRY_VERIFY(sample->hasActiveFocus());
        const QPoint start = sample->mapToScene(QPointF(1, 4)).toPoint();
        const QPoint end = sample->mapToScene(QPointF(sample->width() - 1, sample->height() - 4)).toPoint();
        QWindow* window = m_onboarding->window();
        QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, start);
        QTest::mouseMove(window, (start + end) / 2);
        QTest::mouseMove(window, end);
        QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, end);
        QCOMPARE(sample->property("selectedText").toString(), OnboardingSuccess::sampleSentence);

        // The copy shortcut Tembrel sends reaches the sentence, which puts itself on the clipboard.
        QTest::keyClick(window, Qt::Key_C, Qt::ControlModifier);
        QTRY_COMPARE(m_clipboard.readPlainText().value_or(QString()), OnboardingSuccess::sampleSentence);
        QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasHtml());
        waitForPolls();
        QVERIFY(!m_onboarding->succeeded());
    }

    void finishing_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<bool>("done");
        QTest::newRow("Let's Go, trusted") << "letsGoButton" << true << true;
        QTest::newRow("Let's Go, not trusted") << "letsGoButton" << false << true;
        QTest::newRow("window closed") << "" << true << false;
    }

    void finishing()
    {
        QFETCH(QString, how);
        QFETCH(bool, trusted);
        QFETCH(bool, done);
        m_trust.trusted = trusted;
        QVERIFY(open());
        QSignalSpy finished(m_onboarding.get(), &OnboardingController::finished);
        QVERIFY(click(QStringLiteral("pageDot2")));
        if (how.isEmpty())
            m_onboarding->window()->close();
        else
            QVERIFY(click(how));
        QTRY_VERIFY(!m_onboarding->window());
        QCOMPARE(finished.size(), done ? 1 : 0);
        QCOMPARE(m_defaults->value(QStringLiteral("skipOnboarding")).isValid(), done);
        QCOMPARE(m_defaults->value(QStringLiteral("skipOnboarding")).toBool(), done);

        m_analytics->client().flush();
        if (done)
            QVERIFY(m_analyticsServer.waitForRequests(1));
        else
            QTest::qWait(300);
        QList<QJsonObject> completed;
        for (const QJsonObject& event : AnalyticsWire::events(m_analyticsServer.requests()))
            if (event.value(QStringLiteral("event")).toString() == QStringLiteral("onboarding_completed"))
                completed.append(event);
        QCOMPARE(completed.size(), done ? 1 : 0);
        if (done) {
            const QJsonObject properties = completed.first().value(QStringLiteral("properties")).toObject();
            QCOMPARE(properties.value(QStringLiteral("granted_accessibility")), QJsonValue(trusted));
        }
    }
};

QTEST_MAIN(OnboardingTest)
#include "tst_onboarding.moc"
