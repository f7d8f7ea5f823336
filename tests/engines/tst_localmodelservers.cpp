#include "engines/LocalModelServers.h"
#include "support/TestHttpServer.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QtTest>

namespace {

CannedResponse modelList(const QStringList& ids)
{
    QJsonArray data;
    for (const QString& id : ids)
        data.append(QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("object"), QStringLiteral("model")}});
    return CannedResponse::json(200, {{QStringLiteral("object"), QStringLiteral("list")}, {QStringLiteral("data"), data}});
}

} // namespace

// Discovery of model servers on this computer, against real servers on 127.0.0.1: two that speak
// the protocol, one web server that does not, one port where nothing listens and one that never answers.
class TestLocalModelServers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheServersThatAnswer()
    {
        TestHttpServer ollama;
        ollama.setHandler([](const RecordedRequest& request) {
            return request.path == "/v1/models" ? modelList({QStringLiteral("llama3.2"), QStringLiteral("qwen2.5")})
                                                : CannedResponse::text(404, "not found");
        });
        TestHttpServer studio;
        studio.setDefaultResponse(modelList({QStringLiteral("mistral-7b")}));
        TestHttpServer website;
        website.setDefaultResponse(CannedResponse::text(200, "<html>hello</html>"));
        TestHttpServer silent;
        silent.setDefaultResponse(CannedResponse::dropped(5000));
        TestHttpServer gone;
        for (TestHttpServer* server : {&ollama, &studio, &website, &silent, &gone})
            QVERIFY(server->listen());
        const QUrl refused = gone.url(QStringLiteral("/v1"));
        gone.close();

        LocalModelServers servers;
        servers.setTimeout(std::chrono::milliseconds(600));
        servers.setCandidates({{QStringLiteral("Ollama"), ollama.url(QStringLiteral("/v1"))},
                               {QStringLiteral("Website"), website.url(QStringLiteral("/v1"))},
                               {QStringLiteral("Silent"), silent.url(QStringLiteral("/v1"))},
                               {QStringLiteral("Gone"), refused},
                               {QStringLiteral("LM Studio"), studio.url(QStringLiteral("/v1/"))}});
        servers.scan();
        // The scan runs while the event loop keeps going: the caller is never blocked.
        QVERIFY(servers.isScanning());
        QTRY_VERIFY_WITH_TIMEOUT(!servers.isScanning(), 5000);

        QMap<QString, QStringList> found;
        for (const QVariant& server : servers.servers()) {
            const QVariantMap map = server.toMap();
            found.insert(map.value(QStringLiteral("name")).toString(), map.value(QStringLiteral("models")).toStringList());
            QVERIFY(map.value(QStringLiteral("url")).toString().startsWith(QStringLiteral("http://127.0.0.1:")));
        }
        QCOMPARE(found.keys(), (QStringList{QStringLiteral("LM Studio"), QStringLiteral("Ollama")}));
        QCOMPARE(found.value(QStringLiteral("Ollama")), (QStringList{QStringLiteral("llama3.2"), QStringLiteral("qwen2.5")}));
        QCOMPARE(ollama.requests().first().path, QByteArray("/v1/models"));
        QCOMPARE(studio.requests().first().path, QByteArray("/v1/models"));
    }

    void listsAnEndpointsModels()
    {
        TestHttpServer endpoint;
        endpoint.setDefaultResponse(modelList({QStringLiteral("gpt-local")}));
        QVERIFY(endpoint.listen());
        LocalModelServers servers;
        QSignalSpy changed(&servers, &LocalModelServers::modelsChanged);
        servers.listModels(endpoint.url(QStringLiteral("/api/v1")).toString(), QStringLiteral("sk-test"));
        QVERIFY(changed.wait(5000));
        QCOMPARE(servers.models(), QStringList{QStringLiteral("gpt-local")});
        QCOMPARE(endpoint.requests().first().path, QByteArray("/api/v1/models"));
        QCOMPARE(endpoint.requests().first().header("authorization"), QByteArray("Bearer sk-test"));

        servers.listModels(QStringLiteral("not a url"));
        QCOMPARE(servers.models(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestLocalModelServers)
#include "tst_localmodelservers.moc"
