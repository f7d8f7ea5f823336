#include "support/TestHttpServer.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

// The server stands in for real services in every network test, so its own behaviour is checked:
// answers in queue order, delays, dropped connections and the recorded request.
class TestHttpServerTest : public QObject
{
    Q_OBJECT

private:
    QNetworkReply* post(TestHttpServer& server, const QByteArray& body)
    {
        QNetworkRequest request(server.url(QStringLiteral("/api/fix")));
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
        request.setRawHeader("X-Probe", "yes");
        QNetworkReply* reply = m_network.post(request, body);
        QSignalSpy finished(reply, &QNetworkReply::finished);
        finished.wait(5000);
        return reply;
    }

    QNetworkAccessManager m_network;

private Q_SLOTS:
    void answersFromQueueThenHandlerThenDefaultAndRecords()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::json(429, {{QStringLiteral("error"), QStringLiteral("slow down")}}));
        server.setHandler([](const RecordedRequest& r) { return CannedResponse::text(201, r.body.toUpper()); });
        server.setDefaultResponse(CannedResponse::text(200, "fine"));

        const QList<std::tuple<QByteArray, int, QByteArray>> exchanges{
            {R"({"text":"héllo"})", 429, R"({"error":"slow down"})"}, {"shout", 201, "SHOUT"}, {"x", 200, "fine"}};
        for (const auto& [body, status, answer] : exchanges) {
            if (status == 200)
                server.setHandler({});
            QScopedPointer<QNetworkReply> reply(post(server, body));
            QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), status);
            QCOMPARE(reply->readAll(), answer);
        }
        QCOMPARE(server.requestCount(), 3);
        const RecordedRequest request = server.requests().first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/api/fix"));
        QCOMPARE(request.header("x-probe"), QByteArray("yes"));
        QCOMPARE(request.json().value(QStringLiteral("text")).toString(), QStringLiteral("héllo"));
    }

    void droppedConnectionIsATransportError()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        // Qt's network stack resends a request once when the connection closes before any answer,
        // so one failed attempt as the client sees it takes two drops.
        server.enqueue(CannedResponse::dropped());
        server.enqueue(CannedResponse::dropped());
        server.setDefaultResponse(CannedResponse::text(200, "too late"));
        QScopedPointer<QNetworkReply> reply(post(server, "{}"));
        QCOMPARE(reply->error(), QNetworkReply::RemoteHostClosedError);
        QVERIFY(!reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
    }

    void delayHoldsTheAnswerBack()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::text(200, "late", 300));
        QElapsedTimer timer;
        timer.start();
        QScopedPointer<QNetworkReply> reply(post(server, "{}"));
        QVERIFY(timer.elapsed() >= 290);
        QCOMPARE(reply->readAll(), QByteArray("late"));
    }
};

QTEST_GUILESS_MAIN(TestHttpServerTest)
#include "tst_testhttpserver.moc"
