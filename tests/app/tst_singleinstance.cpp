#include "app/SingleInstance.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>
#include <atomic>
#include <thread>

// One Tembrel per user: the second launch reaches the first through the socket and steps back,
// and what a crashed launch left behind does not lock anyone out.
class SingleInstanceTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    int m_case = 0;

    QString freshSocketPath() { return m_env.root() + QStringLiteral("/instance-%1.socket").arg(++m_case); }

    // The second launch runs its blocking notification on another thread, as it would in its own
    // process, while this thread's event loop lets the first one answer.
    static bool notifyFromElsewhere(SingleInstance& second, int timeoutMs = 3000)
    {
        std::atomic<int> answer{-1};
        std::thread launch([&] { answer = second.notifyRunningInstance(timeoutMs) ? 1 : 0; });
        const bool finished = QTest::qWaitFor([&] { return answer != -1; }, timeoutMs + 2000);
        launch.join();
        return finished && answer == 1;
    }

private Q_SLOTS:
    void laterLaunchesReachTheFirst_data()
    {
        QTest::addColumn<bool>("leftover");
        QTest::newRow("clean start") << false;
        QTest::newRow("socket file left by a crash") << true;
    }

    void laterLaunchesReachTheFirst()
    {
        QFETCH(bool, leftover);
        const QString path = freshSocketPath();
        if (leftover) {
            QFile stale(path);
            QVERIFY(stale.open(QIODevice::WriteOnly) && stale.write("left by a crash") > 0);
        }
        SingleInstance first(path);
        QVERIFY(first.claim());
        QVERIFY(first.isPrimary());
        QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
        // Every later launch is heard, not only the first of them.
        for (int launch = 1; launch <= 2; ++launch) {
            SingleInstance later(path);
            QVERIFY(!later.claim());
            QVERIFY(!later.isPrimary());
            QVERIFY(notifyFromElsewhere(later));
            QTRY_COMPARE(reopened.size(), launch);
        }
    }

    void requestsAreAnswered_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        using Status = SingleInstance::Reply::Status;
        QTest::newRow("reopen, without the handler") << "reopen" << int(Status::done) << QString();
        QTest::newRow("done") << "history" << int(Status::done) << QString();
        QTest::newRow("refused, with the reason") << "fix Pirate" << int(Status::refused)
                                                  << QStringLiteral("There is no mode called 'Pirate'.");
        QTest::newRow("not understood: dropped") << "dance" << int(Status::noAnswer) << QString();
    }

    void requestsAreAnswered()
    {
        QFETCH(QString, request);
        QFETCH(int, status);
        QFETCH(QString, message);
        const QString path = freshSocketPath();
        SingleInstance first(path);
        QVERIFY(first.claim());
        QStringList handled;
        first.setRequestHandler([&handled](const QString& line) -> std::optional<QString> {
            handled.append(line);
            if (line == u"history")
                return QString();
            if (line.startsWith(u"fix "))
                return QStringLiteral("There is no mode called '%1'.").arg(line.mid(4));
            return std::nullopt;
        });
        QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
        SingleInstance later(path);
        std::optional<SingleInstance::Reply> reply;
        std::atomic<bool> answered{false};
        std::thread launch([&] {
            reply = later.sendRequest(request, 1000);
            answered = true;
        });
        const bool inTime = QTest::qWaitFor([&] { return answered.load(); }, 3000);
        launch.join();
        QVERIFY(inTime);
        QCOMPARE(int(reply->status), status);
        QCOMPARE(reply->message, message);
        QCOMPARE(reopened.size(), request == u"reopen" ? 1 : 0);
        QCOMPARE(handled, request == u"reopen" ? QStringList() : QStringList{request});
    }

    void theNextLaunchTakesOverWhenTheFirstEnds()
    {
        const QString path = freshSocketPath();
        {
            SingleInstance first(path);
            QVERIFY(first.claim());
        }
        SingleInstance next(path);
        QVERIFY(next.claim());
    }

    void notifyingNobodyFails()
    {
        SingleInstance lonely(freshSocketPath());
        QVERIFY(!notifyFromElsewhere(lonely, 300));
    }

    void strangersAreIgnored()
    {
        const QString path = freshSocketPath();
        SingleInstance first(path);
        QVERIFY(first.claim());
        QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
        QLocalSocket stranger;
        stranger.connectToServer(path);
        QVERIFY(stranger.waitForConnected(1000));
        stranger.write("show me your secrets\n");
        stranger.flush();
        QTRY_VERIFY(stranger.state() == QLocalSocket::UnconnectedState);
        QCOMPARE(reopened.size(), 0);
    }

    void defaultPathIsInTheUsersRuntimeFolder()
    {
        const QString runtime = m_env.root() + QStringLiteral("/runtime");
        const std::optional<QByteArray> saved = qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")
            ? std::optional(qgetenv("XDG_RUNTIME_DIR")) : std::nullopt;
        qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
        const QString path = SingleInstance::defaultSocketPath();
        saved ? qputenv("XDG_RUNTIME_DIR", *saved) : qunsetenv("XDG_RUNTIME_DIR");
        QCOMPARE(path, runtime + QStringLiteral("/tembrel.socket"));
    }
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "tst_singleinstance.moc"
