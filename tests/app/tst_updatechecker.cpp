#include "app/UpdateController.h"
#include "settings/SettingsManager.h"
#include "support/TestData.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QApplication>
#include <QCoro/QCoroTask>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(UpdateCheckResult)
Q_DECLARE_METATYPE(CannedResponse)

using Outcome = UpdateCheckResult::Outcome;
using Failure = UpdateCheckResult::Failure;

namespace {

QByteArray appcast(const QByteArray& items)
{
    return QByteArrayLiteral("<?xml version=\"1.0\"?><rss version=\"2.0\" "
                             "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>")
           + items + QByteArrayLiteral("</channel></rss>");
}

CannedResponse feed(const QByteArray& xml)
{
    return CannedResponse{200, xml, "application/rss+xml"};
}

} // namespace

// The update check against a real HTTP server: what a feed offers on which channel, every way the
// check can fail without deciding anything, and what the user is told.
class UpdateCheckerTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<UpdateCheckResult>(); }

    void check_data()
    {
        QTest::addColumn<CannedResponse>("answer"); // status 0: nobody listens on the port
        QTest::addColumn<QString>("current");
        QTest::addColumn<QStringList>("channels");
        QTest::addColumn<Outcome>("outcome");
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QString>("detail"); // the version offered, or what the failure message mentions

        const CannedResponse stableAndBeta = feed(testData("app/appcast.xml"));
        const QStringList beta{"beta"};
        const Outcome available = Outcome::updateAvailable;
        const Outcome upToDate = Outcome::upToDate;
        const Failure none = Failure::none;
        QTest::newRow("newer") << stableAndBeta << "1.0" << QStringList() << available << none << "1.1";
        QTest::newRow("same") << stableAndBeta << "1.1" << QStringList() << upToDate << none << "";
        QTest::newRow("running is newer than the feed") << stableAndBeta << "1.1.1" << QStringList() << upToDate << none << "";
        QTest::newRow("beta channel offers the beta") << stableAndBeta << "1.1" << beta << available << none << "1.2b1";
        QTest::newRow("a beta is older than its release") << stableAndBeta << "1.2" << beta << upToDate << none << "";
        const QByteArray betaOnly = appcast(
            "<item><sparkle:version>2.0b1</sparkle:version><sparkle:channel>beta</sparkle:channel></item>");
        QTest::newRow("beta only, beta off") << feed(betaOnly) << "1.0" << QStringList() << upToDate << none << "";
        QTest::newRow("beta only, beta on") << feed(betaOnly) << "1.0" << beta << available << none << "2.0b1";
        QTest::newRow("empty channel") << feed(appcast("")) << "1.0" << beta << upToDate << none << "";

        const Outcome failed = Outcome::failed;
        QTest::newRow("malformed feed") << feed("<rss><channel><item>") << "1.0" << QStringList() << failed
                                        << Failure::malformedFeed << "not valid XML";
        QTest::newRow("error page instead of a feed")
            << CannedResponse{200, "<html><body>Maintenance</body></html>", "text/html"} << "1.0" << QStringList() << failed
            << Failure::malformedFeed << "not an appcast";
        QTest::newRow("not found") << CannedResponse::text(404, "gone") << "1.0" << QStringList() << failed
                                   << Failure::httpStatus << "404";
        QTest::newRow("server error") << CannedResponse::text(503, "busy") << "1.0" << QStringList() << failed
                                      << Failure::httpStatus << "503";
        QTest::newRow("dropped connection") << CannedResponse::dropped() << "1.0" << QStringList() << failed
                                            << Failure::unreachable << "could not reach";
        QTest::newRow("nobody listening") << CannedResponse{0} << "1.0" << QStringList() << failed << Failure::unreachable
                                          << "";
    }

    void check()
    {
        QFETCH(CannedResponse, answer);
        QFETCH(QString, current);
        QFETCH(QStringList, channels);
        QFETCH(Outcome, outcome);
        QFETCH(Failure, failure);
        QFETCH(QString, detail);

        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(answer);
        const QUrl url = server.url(QStringLiteral("/appcast.xml"));
        if (answer.status == 0)
            server.close();
        UpdateChecker checker(std::chrono::seconds(5));
        const UpdateCheckResult result
            = QCoro::waitFor(checker.check(url, current, QSet<QString>(channels.begin(), channels.end())));
        QCOMPARE(result.outcome, outcome);
        QCOMPARE(result.failure, failure);
        if (outcome == Outcome::failed) {
            QVERIFY(!result.item);
            QVERIFY(!result.message.isEmpty());
            QVERIFY2(result.message.contains(detail), qPrintable(result.message));
        } else {
            QCOMPARE(result.item ? result.item->version : QString(), detail);
        }
        if (answer.status != 0 && !answer.drop) {
            QCOMPARE(server.requestCount(), 1);
            QCOMPARE(server.requests().first().method, QByteArray("GET"));
            QCOMPARE(server.requests().first().path, QByteArray("/appcast.xml"));
        }
    }

    void channelsFollowTheSettingAtEveryCheck()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(feed(testData("app/appcast.xml")));
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
        QCOMPARE(shown.last().kind, UpdateNotice::Kind::upToDate);
        QVERIFY(shown.last().text.contains(QStringLiteral("1.1")));

        // No restart: the next check asks for the channels again.
        settings.setReceiveBetaUpdates(true);
        QCOMPARE(controller.allowedChannels(), QSet<QString>{QStringLiteral("beta")});
        controller.checkForUpdates();
        QVERIFY(finished.wait());
        QCOMPARE(shown.size(), 2);
        QCOMPARE(shown.last().kind, UpdateNotice::Kind::updateAvailable);
        QVERIFY2(shown.last().text.contains(QStringLiteral("1.2b1")), qPrintable(shown.last().text));
        QCOMPARE(shown.last().downloadUrl, QUrl(QStringLiteral("https://example.invalid/tembrel-1.2b1.tar.gz")));
        // A successful check is remembered for the daily schedule.
        QVERIFY(defaults.value(QLatin1String(UpdateController::lastCheckTimeKey)).toDateTime().isValid());
        QVERIFY(controller.nextAutomaticCheckIn() > std::chrono::hours(23));
    }

    void userCheckReportsFailureButAutomaticCheckStaysQuiet()
    {
        const UpdateCheckResult failed
            = UpdateCheckResult::failedWith(Failure::unreachable, QStringLiteral("refused"));
        const auto told = UpdateNotice::forResult(failed, QStringLiteral("1.0"), true);
        QVERIFY(told);
        QCOMPARE(told->kind, UpdateNotice::Kind::failed);
        QCOMPARE(told->details, QStringLiteral("refused"));
        QVERIFY(!UpdateNotice::forResult(failed, QStringLiteral("1.0"), false));

        UpdateCheckResult upToDate;
        upToDate.outcome = Outcome::upToDate;
        QVERIFY(!UpdateNotice::forResult(upToDate, QStringLiteral("1.0"), false));

        UpdateCheckResult available;
        available.outcome = Outcome::updateAvailable;
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
        QCOMPARE(shown.first().kind, UpdateNotice::Kind::noFeed);
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
    TestEnvironment::nameApplication();
    UpdateCheckerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_updatechecker.moc"
