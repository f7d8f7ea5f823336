#include "app/UpdateController.h"
#include "settings/SettingsManager.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QApplication>
#include <QCoro/QCoroTask>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

Q_DECLARE_METATYPE(UpdateCheckResult)
Q_DECLARE_METATYPE(CannedResponse)

namespace {

QByteArray appcast(const QByteArray& items)
{
    return QByteArrayLiteral("<?xml version=\"1.0\"?><rss version=\"2.0\" "
                             "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>")
           + items + QByteArrayLiteral("</channel></rss>");
}

const QByteArray stableAndBeta = appcast("\n"
        "<item><title>1.1</title><sparkle:version>1.1</sparkle:version>\n"
        "  <description>Steadier shortcuts</description>\n"
        "  <enclosure url=\"https://example.invalid/tembrel-1.1.tar.gz\"/></item>\n"
        "<item><title>1.2 beta</title><sparkle:version>1.2b1</sparkle:version><sparkle:channel>beta</sparkle:channel>\n"
        "  <enclosure url=\"https://example.invalid/tembrel-1.2b1.tar.gz\"/></item>");

// A port on which nobody listens: bound for a moment to learn a free number, then released.
quint16 closedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

} // namespace

// The update check against a real HTTP server: what a feed offers on which channel, and every way
// the check can fail without deciding anything.
class UpdateCheckerTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;

    static UpdateCheckResult check(const QUrl& feed, const QString& current, const QSet<QString>& channels = {})
    {
        UpdateChecker checker(std::chrono::seconds(5));
        return QCoro::waitFor(checker.check(feed, current, channels));
    }

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<UpdateCheckResult>(); }

    void outcomes_data()
    {
        QTest::addColumn<QByteArray>("feed");
        QTest::addColumn<QString>("current");
        QTest::addColumn<QStringList>("channels");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("offered");

        const int available = int(UpdateCheckResult::Outcome::updateAvailable);
        const int upToDate = int(UpdateCheckResult::Outcome::upToDate);
        QTest::newRow("newer") << stableAndBeta << "1.0" << QStringList() << available << "1.1";
        QTest::newRow("same") << stableAndBeta << "1.1" << QStringList() << upToDate << "";
        QTest::newRow("running is newer than the feed") << stableAndBeta << "1.1.1" << QStringList() << upToDate << "";
        QTest::newRow("beta channel offers the beta") << stableAndBeta << "1.1" << QStringList{"beta"} << available
                                                      << "1.2b1";
        QTest::newRow("a beta is older than its release")
            << stableAndBeta << "1.2" << QStringList{"beta"} << upToDate << "";
        const QByteArray betaOnly = appcast(
            "<item><sparkle:version>2.0b1</sparkle:version><sparkle:channel>beta</sparkle:channel></item>");
        QTest::newRow("beta only, beta off") << betaOnly << "1.0" << QStringList() << upToDate << "";
        QTest::newRow("beta only, beta on") << betaOnly << "1.0" << QStringList{"beta"} << available << "2.0b1";
        QTest::newRow("empty channel") << appcast("") << "1.0" << QStringList{"beta"} << upToDate << "";
    }

    void outcomes()
    {
        QFETCH(QByteArray, feed);
        QFETCH(QString, current);
        QFETCH(QStringList, channels);
        QFETCH(int, outcome);
        QFETCH(QString, offered);

        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(CannedResponse{200, feed, "application/rss+xml"});
        const UpdateCheckResult result
            = check(server.url(QStringLiteral("/appcast.xml")), current, QSet<QString>(channels.begin(), channels.end()));
        QCOMPARE(int(result.outcome), outcome);
        QCOMPARE(result.item ? result.item->version : QString(), offered);
        QCOMPARE(server.requestCount(), 1);
        QCOMPARE(server.requests().first().method, QByteArray("GET"));
        QCOMPARE(server.requests().first().path, QByteArray("/appcast.xml"));
    }

    void failures_data()
    {
        QTest::addColumn<CannedResponse>("answer");
        QTest::addColumn<int>("failure");
        QTest::addColumn<QString>("mentions");

        QTest::newRow("malformed feed") << CannedResponse{200, "<rss><channel><item>", "application/rss+xml"}
                                        << int(UpdateCheckResult::Failure::malformedFeed) << "not valid XML";
        QTest::newRow("error page instead of a feed")
            << CannedResponse{200, "<html><body>Maintenance</body></html>", "text/html"}
            << int(UpdateCheckResult::Failure::malformedFeed) << "not an appcast";
        QTest::newRow("not found") << CannedResponse::text(404, "gone") << int(UpdateCheckResult::Failure::httpStatus)
                                   << "404";
        QTest::newRow("server error") << CannedResponse::text(503, "busy")
                                      << int(UpdateCheckResult::Failure::httpStatus) << "503";
        QTest::newRow("dropped connection") << CannedResponse::dropped()
                                            << int(UpdateCheckResult::Failure::unreachable) << "could not reach";
    }

    void failures()
    {
        QFETCH(CannedResponse, answer);
        QFETCH(int, failure);
        QFETCH(QString, mentions);

        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(answer);
        const UpdateCheckResult result = check(server.url(QStringLiteral("/appcast.xml")), QStringLiteral("1.0"));
        QCOMPARE(int(result.outcome), int(UpdateCheckResult::Outcome::failed));
        QCOMPARE(int(result.failure), failure);
        QVERIFY(!result.item);
        QVERIFY2(result.message.contains(mentions), qPrintable(result.message));
    }

    void unreachableHost()
    {
        const QUrl feed(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(closedPort()));
        const UpdateCheckResult result = check(feed, QStringLiteral("1.0"));
        QCOMPARE(int(result.outcome), int(UpdateCheckResult::Outcome::failed));
        QCOMPARE(int(result.failure), int(UpdateCheckResult::Failure::unreachable));
        QVERIFY(!result.message.isEmpty());
    }

    void channelsFollowTheSettingAtEveryCheck()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(CannedResponse{200, stableAndBeta, "application/rss+xml"});
        QSettings defaults;
        SettingsManager settings(defaults);
        settings.setReceiveBetaUpdates(false);
        UpdateController controller(settings, defaults);
        controller.setFeed(server.url(QStringLiteral("/appcast.xml")));
        controller.setCurrentVersion(QStringLiteral("1.1"));
        QList<UpdateNotice> shown;
        controller.setPresenter([&shown](const UpdateNotice& notice) { shown.append(notice); });
        QSignalSpy finished(&controller, &UpdateController::checkFinished);

        QVERIFY(controller.allowedChannels().isEmpty());
        controller.checkForUpdates();
        QVERIFY(finished.wait());
        QCOMPARE(shown.size(), 1);
        QCOMPARE(int(shown.last().kind), int(UpdateNotice::Kind::upToDate));
        QVERIFY(shown.last().text.contains(QStringLiteral("1.1")));

        // No restart: the next check asks for the channels again.
        settings.setReceiveBetaUpdates(true);
        QCOMPARE(controller.allowedChannels(), QSet<QString>{QStringLiteral("beta")});
        controller.checkForUpdates();
        QVERIFY(finished.wait());
        QCOMPARE(shown.size(), 2);
        QCOMPARE(int(shown.last().kind), int(UpdateNotice::Kind::updateAvailable));
        QVERIFY2(shown.last().text.contains(QStringLiteral("1.2b1")), qPrintable(shown.last().text));
        QCOMPARE(shown.last().downloadUrl, QUrl(QStringLiteral("https://example.invalid/tembrel-1.2b1.tar.gz")));
        // A successful check is remembered for the daily schedule.
        QVERIFY(defaults.value(QLatin1String(UpdateController::lastCheckTimeKey)).toDateTime().isValid());
        QVERIFY(controller.nextAutomaticCheckIn() > std::chrono::hours(23));
    }

    void userCheckReportsFailureButAutomaticCheckStaysQuiet()
    {
        const UpdateCheckResult failed
            = UpdateCheckResult::failedWith(UpdateCheckResult::Failure::unreachable, QStringLiteral("refused"));
        const auto told = UpdateNotice::forResult(failed, QStringLiteral("1.0"), true);
        QVERIFY(told);
        QCOMPARE(int(told->kind), int(UpdateNotice::Kind::failed));
        QCOMPARE(told->details, QStringLiteral("refused"));
        QVERIFY(!UpdateNotice::forResult(failed, QStringLiteral("1.0"), false));

        UpdateCheckResult upToDate;
        upToDate.outcome = UpdateCheckResult::Outcome::upToDate;
        QVERIFY(!UpdateNotice::forResult(upToDate, QStringLiteral("1.0"), false));

        UpdateCheckResult available;
        available.outcome = UpdateCheckResult::Outcome::updateAvailable;
        available.item = AppcastItem{};
        available.item->version = QStringLiteral("120");
        available.item->shortVersionString = QStringLiteral("1.2");
        available.item->description = QStringLiteral("<p>Notes</p>");
        const auto automatic = UpdateNotice::forResult(available, QStringLiteral("1.0"), false);
        QVERIFY(automatic);
        QVERIFY2(automatic->text.contains(QStringLiteral("1.2")), qPrintable(automatic->text));
        QVERIFY(!automatic->text.contains(QStringLiteral("120")));
        QCOMPARE(automatic->details, QStringLiteral("<p>Notes</p>"));
    }

    void withoutAFeedTheUserLearnsWhereUpdatesComeFrom()
    {
        QSettings defaults;
        SettingsManager settings(defaults);
        UpdateController controller(settings, defaults);
        controller.setFeed(QUrl());
        QList<UpdateNotice> shown;
        controller.setPresenter([&shown](const UpdateNotice& notice) { shown.append(notice); });
        controller.start();
        controller.checkForUpdates();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(int(shown.first().kind), int(UpdateNotice::Kind::noFeed));
        QVERIFY(shown.first().text.contains(QStringLiteral("package manager")));
    }

    void dailySchedule_data()
    {
        QTest::addColumn<int>("hoursAgo"); // -1: never checked
        QTest::addColumn<int>("dueInHoursAtMost");
        QTest::addColumn<int>("dueInHoursAtLeast");

        QTest::newRow("never checked: due now") << -1 << 0 << 0;
        QTest::newRow("checked two days ago: due now") << 48 << 0 << 0;
        QTest::newRow("checked an hour ago") << 1 << 23 << 22;
        QTest::newRow("clock set back: due now") << -30 << 0 << 0;
    }

    void dailySchedule()
    {
        QFETCH(int, hoursAgo);
        QFETCH(int, dueInHoursAtMost);
        QFETCH(int, dueInHoursAtLeast);
        QSettings defaults;
        defaults.remove(QLatin1String(UpdateController::lastCheckTimeKey));
        if (hoursAgo != -1)
            defaults.setValue(QLatin1String(UpdateController::lastCheckTimeKey),
                              QDateTime::currentDateTimeUtc().addSecs(-qint64(hoursAgo) * 3600));
        SettingsManager settings(defaults);
        UpdateController controller(settings, defaults);
        const auto due = controller.nextAutomaticCheckIn();
        QVERIFY(due <= std::chrono::hours(dueInHoursAtMost));
        QVERIFY(due >= std::chrono::hours(dueInHoursAtLeast));
    }
};

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Tembrel"));
    QApplication::setOrganizationDomain(QStringLiteral("tembrel.com"));
    QApplication::setApplicationName(QStringLiteral("Tembrel"));
    UpdateCheckerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_updatechecker.moc"
