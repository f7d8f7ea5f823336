#include "engines/CloudEngine.h"
#include "engines/ConnectionTester.h"
#include "engines/CustomOpenAIEngine.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

using namespace std::chrono_literals;
using namespace EngineTest;

namespace {

enum class Client
{
    custom,
    cloud,
    tester
};

// Sends its answer's body one byte at a time, every `intervalMs`, after complete headers.
class TricklingServer : public QObject
{
public:
    QByteArray body;
    int intervalMs = 100;

    bool listen()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { start(socket); });
        });
        return m_server.listen(QHostAddress::LocalHost, 0);
    }
    [[nodiscard]] QUrl url(const QString& path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
    }

private:
    void start(QTcpSocket* socket)
    {
        if (socket->property("answering").toBool())
            return;
        socket->setProperty("answering", true);
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: "
            + QByteArray::number(body.size()) + "\r\n\r\n");
        auto* timer = new QTimer(socket);
        auto sent = std::make_shared<qsizetype>(0);
        connect(timer, &QTimer::timeout, socket, [this, socket, timer, sent] {
            if (*sent >= body.size())
                return timer->stop();
            socket->write(body.mid((*sent)++, 1));
        });
        timer->start(intervalMs);
    }

    QTcpServer m_server;
};

} // namespace

Q_DECLARE_METATYPE(Client)

// Servers that misbehave on purpose: they redirect elsewhere, trickle, or answer without end.
// Whatever they do, credentials stay with the origin, every request ends in time, and an answer
// is never read past what a fix could need.
class HostileServersTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;
    TestHttpServer m_elsewhere;

    // A fix through `client` against `url`, shortened to the given idle time and deadline; the
    // message the user gets, or nothing on success.
    std::optional<QString> attempt(Client client, const QUrl& url, const TracePtr& trace,
        std::chrono::milliseconds deadline = 10s, std::chrono::milliseconds idle = 2s)
    {
        const QString base = url.toString();
        switch (client) {
        case Client::custom: {
            CustomOpenAIEngine engine(
                [base] {
                    return CustomEndpointConfig {base, "m", true};
                },
                []() -> QCoro::Task<std::optional<QString>> { co_return QString("sk-secret"); });
            engine.setTimeout(idle);
            engine.setDeadline(deadline);
            const FixOutcome outcome
                = finish(engine.fix("i has a cat", "Fix.", trace, CancellationToken::none()));
            return outcome.hasValue() ? std::nullopt : std::optional(panelMessage(outcome.error(), true));
        }
        case Client::cloud: {
            CloudEngine engine(base, [] { return QStringLiteral("distinct-id-of-this-install"); });
            engine.setTimeout(idle);
            engine.setDeadline(deadline);
            const FixOutcome outcome
                = finish(engine.fix("i has a cat", "Fix.", trace, CancellationToken::none()));
            return outcome.hasValue() ? std::nullopt : std::optional(panelMessage(outcome.error(), false));
        }
        case Client::tester: {
            ConnectionTester tester;
            tester.setTimeout(idle);
            tester.setDeadline(deadline);
            return finish(tester.run(base, "sk-secret", "m", "Fix."));
        }
        }
        return std::nullopt;
    }

    static CannedResponse goodAnswer(Client client, const QString& text = "I have a cat.")
    {
        if (client == Client::cloud)
            return CannedResponse::json(200, {{"fixedText", text}, {"editCount", 1}});
        return CannedResponse::json(200, chatAnswer(text));
    }

    static QString path(Client client)
    {
        return client == Client::cloud ? "/api/fix" : "/v1/chat/completions";
    }
    static QString base(Client client) { return client == Client::cloud ? "" : "/v1"; }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_server.listen() && m_elsewhere.listen()); }

    void init()
    {
        for (TestHttpServer* server : {&m_server, &m_elsewhere}) {
            server->clearRequests();
            server->setHandler({});
            server->setDefaultResponse(CannedResponse::json(200, {}));
        }
    }

    void redirectsNeverCarryCredentialsToAnotherOrigin_data()
    {
        QTest::addColumn<Client>("client");
        QTest::addColumn<bool>("sameOrigin");
        QTest::addColumn<int>("status");
        for (const auto& [name, client] :
            {std::pair {"custom", Client::custom}, {"cloud", Client::cloud}, {"test", Client::tester}}) {
            QTest::addRow("%s, 307 elsewhere", name) << client << false << 307;
            QTest::addRow("%s, 302 elsewhere", name) << client << false << 302;
            QTest::addRow("%s, 307 same server", name) << client << true << 307;
        }
    }

    void redirectsNeverCarryCredentialsToAnotherOrigin()
    {
        QFETCH(Client, client);
        QFETCH(bool, sameOrigin);
        QFETCH(int, status);
        TestHttpServer& target = sameOrigin ? m_server : m_elsewhere;
        const QByteArray location = target.url("/moved" + path(client)).toEncoded();
        m_server.setHandler([&](const RecordedRequest& request) {
            if (request.path.startsWith("/moved"))
                return goodAnswer(client);
            CannedResponse redirect = CannedResponse::text(status, "moved");
            redirect.headers = {{"Location", location}};
            return redirect;
        });
        m_elsewhere.setHandler([&](const RecordedRequest&) { return goodAnswer(client); });

        auto trace = std::make_shared<TraceCollector>();
        const std::optional<QString> failure = attempt(client, m_server.url(base(client)), trace);
        QCOMPARE(m_elsewhere.requestCount(), 0);
        if (sameOrigin) {
            QCOMPARE(failure, std::nullopt);
            const RecordedRequest moved = m_server.requests().last();
            QCOMPARE(moved.method, "POST");
            QCOMPARE(moved.body, m_server.requests().first().body);
            return;
        }
        QVERIFY(failure.has_value());
        if (client == Client::tester)
            QVERIFY2(failure->contains(m_elsewhere.url().authority()), qPrintable(*failure));
        else if (client == Client::custom)
            QVERIFY2(failure->contains("another server"), qPrintable(*failure));
        if (client != Client::tester)
            QVERIFY(traceLines(trace).contains("request_failed: redirect to another origin refused"));
    }

    void aTricklingAnswerEndsAtTheDeadline_data()
    {
        QTest::addColumn<Client>("client");
        QTest::addColumn<int>("attempts");
        QTest::newRow("custom") << Client::custom << 1;
        QTest::newRow("cloud") << Client::cloud << 2;
        QTest::newRow("test") << Client::tester << 1;
    }

    void aTricklingAnswerEndsAtTheDeadline()
    {
        QFETCH(Client, client);
        QFETCH(int, attempts);
        // The user hears what a silent server earns: the time-out message.
        CannedResponse silent = goodAnswer(client);
        silent.delayMs = 2000;
        m_server.setDefaultResponse(silent);
        const std::optional<QString> expected
            = attempt(client, m_server.url(base(client)), nullptr, 10s, 200ms);
        QVERIFY(expected.has_value());

        // Each byte comes well within the idle time-out; the whole answer would take 5 s.
        TricklingServer server;
        server.body = goodAnswer(client).body.leftJustified(50, ' ');
        QVERIFY(server.listen());
        auto trace = std::make_shared<TraceCollector>();
        QElapsedTimer elapsed;
        elapsed.start();
        const std::optional<QString> failure = attempt(client, server.url(base(client)), trace, 400ms);
        QCOMPARE(failure, expected);
        QVERIFY2(elapsed.elapsed() < 400 * attempts + 1500, qPrintable(QString::number(elapsed.elapsed())));
        if (client == Client::custom)
            QCOMPARE(traceLines(trace).last(), "request_failed: timeout");
        if (client == Client::cloud)
            QCOMPARE(traceLines(trace).last(), "retry_failed: timeout");
    }

    void anAnswerFarLargerThanTheTextIsRefused_data()
    {
        QTest::addColumn<Client>("client");
        QTest::addColumn<QString>("expected");
        QTest::newRow("custom") << Client::custom << "Your API endpoint's answer was far too large to use.";
        QTest::newRow("cloud") << Client::cloud << TextFixError::processingFailed().panelMessage(false);
    }

    void anAnswerFarLargerThanTheTextIsRefused()
    {
        QFETCH(Client, client);
        QFETCH(QString, expected);
        const QString huge(3 * 1024 * 1024, u'x');
        m_server.setHandler([&](const RecordedRequest&) { return goodAnswer(client, huge); });
        auto trace = std::make_shared<TraceCollector>();
        QCOMPARE(attempt(client, m_server.url(base(client)), trace), expected);
        QCOMPARE(traceLines(trace).last(), "request_failed: answer too large");
        // An answer a little larger than the text is an ordinary answer.
        m_server.setHandler([&](const RecordedRequest&) { return goodAnswer(client, QString(2000, u'y')); });
        QCOMPARE(attempt(client, m_server.url(base(client)), trace), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(HostileServersTest)
#include "tst_hostileservers.moc"
