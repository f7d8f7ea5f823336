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
    void recordsRequestAndAnswersInQueueOrder()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::json(429, {{QStringLiteral("error"), QStringLiteral("slow down")}}));
        server.setDefaultResponse(CannedResponse::text(200, "fine"));

        QScopedPointer<QNetworkReply> first(post(server, R"({"text":"héllo"})"));
        QCOMPARE(first->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 429);
        QCOMPARE(first->readAll(), QByteArray(R"({"error":"slow down"})"));

        QScopedPointer<QNetworkReply> second(post(server, "x"));
        QCOMPARE(second->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
        QCOMPARE(second->readAll(), QByteArray("fine"));

        QCOMPARE(server.requestCount(), 2);
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

    void handlerSeesTheRequest()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setHandler([](const RecordedRequest& r) { return CannedResponse::text(201, r.body.toUpper()); });
        QScopedPointer<QNetworkReply> reply(post(server, "shout"));
        QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 201);
        QCOMPARE(reply->readAll(), QByteArray("SHOUT"));
    }
};

QTEST_GUILESS_MAIN(TestHttpServerTest)
#include "tst_testhttpserver.moc"
