// Whole runs whose engine talks HTTP to a real server on 127.0.0.1.
#include "FixTestBackends.h"
#include "support/TestHttpServer.h"

#include <QCoro/QCoroNetworkReply>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTest>

namespace {

/// The least engine that speaks HTTP: POSTs {"text", "prompt"} and reads {"fixedText", "editCount"}.
class HttpEngine final : public TextFixEngine
{
public:
    explicit HttpEngine(QUrl url) : m_url(std::move(url)) {}

    QCoro::Task<bool> isAvailable() override { co_return true; }

    QCoro::Task<FixOutcome> fix(QString text, QString prompt, TracePtr trace, CancellationToken) override
    {
        QNetworkRequest request(m_url);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        const QByteArray body =
            QJsonDocument(QJsonObject{{QStringLiteral("text"), text}, {QStringLiteral("prompt"), prompt}}).toJson();
        trace->record(QStringLiteral("request_started"), QStringLiteral("POST ") + m_url.path());
        QElapsedTimer timer;
        timer.start();
        QNetworkReply* reply = m_manager.post(request, body);
        co_await qCoro(reply).waitForFinished();
        reply->deleteLater();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->error() != QNetworkReply::NoError && status == 0) {
            const NetworkFailure failure = NetworkFailure::fromReplyError(reply->error(), reply->errorString());
            trace->record(QStringLiteral("request_failed"), failure.summary());
            co_return TextFixError::networkError(failure);
        }
        trace->record(QStringLiteral("response_received"),
                      QStringLiteral("HTTP %1 (%2 ms)").arg(status).arg(timer.elapsed()));
        if (status == 429)
            co_return TextFixError::rateLimited();
        const QJsonObject answer = QJsonDocument::fromJson(reply->readAll()).object();
        co_return FixResult{text, answer.value(QStringLiteral("fixedText")).toString(),
                            answer.value(QStringLiteral("editCount")).toInteger(), std::nullopt, std::nullopt,
                            std::nullopt};
    }

private:
    QUrl m_url;
    QNetworkAccessManager m_manager;
};

struct HttpRig
{
    CoordinatorRig rig;
    HttpEngine engine;
    std::unique_ptr<FixCoordinator> coordinator;

    explicit HttpRig(const QUrl& url) : engine(url)
    {
        coordinator = std::make_unique<FixCoordinator>(FixNeighbourhood{
            rig.modes, rig.selection, rig.clipboard, engine, rig.custom, rig.panel, rig.settings, rig.history,
            rig.usage, rig.analytics, rig.trust, rig.workspace, &rig.clock});
    }
    [[nodiscard]] QStringList traceNames() const
    {
        QStringList out;
        for (const TraceEvent& e : coordinator->currentTrace()->events())
            out << e.event;
        return out;
    }
};

} // namespace

class TestFixOverHttp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip();
    void rateLimitedAnswer();
    void unreachableServer();
};

void TestFixOverHttp::roundTrip()
{
    TestHttpServer server;
    QVERIFY(server.listen());
    server.enqueue(CannedResponse::json(200, {{QStringLiteral("fixedText"), QStringLiteral("<p>The cat sat.</p>")},
                                              {QStringLiteral("editCount"), 1}}, 30));
    HttpRig http(server.url(QStringLiteral("/api/fix")));
    http.rig.selection.answers = {CapturedContent{QStringLiteral("Teh cat sat."),
                                                  QStringLiteral("<p style=\"x\">Teh cat sat.</p>"), SourceFormat::html,
                                                  false}};

    http.coordinator->startFix(QStringLiteral("mode-fix"));
    QVERIFY(http.coordinator->isProcessing());
    QTRY_VERIFY_WITH_TIMEOUT(!http.coordinator->isProcessing(), 10000);

    QCOMPARE(server.requestCount(), 1);
    const QJsonObject sent = server.requests()[0].json();
    QCOMPARE(sent.value(QStringLiteral("text")).toString(), "<p>Teh cat sat.</p>");
    QCOMPARE(sent.value(QStringLiteral("prompt")).toString(), "Fix the spelling.");
    // The engine's events fall between the coordinator's, in order.
    QCOMPARE(http.traceNames(), (QStringList{"hotkey_pressed", "clipboard_read", "engine_selected", "request_started",
                                              "response_received", "result", "clipboard_written", "panel_shown"}));
    QCOMPARE(http.coordinator->currentTrace()->events()[3].detail, std::optional<QString>(QStringLiteral("POST /api/fix")));
    QCOMPARE(http.rig.panel.phases(), (QStringList{"loading", "success"}));
    QCOMPARE(http.rig.panel.shown.last().result->fixedText, "The cat sat.");
    QCOMPARE(http.rig.clipboard.writes[0].fixedText, "<p>The cat sat.</p>");
}

void TestFixOverHttp::rateLimitedAnswer()
{
    TestHttpServer server;
    QVERIFY(server.listen());
    server.enqueue(CannedResponse::json(429, {{QStringLiteral("error"), QStringLiteral("slow down")}}));
    HttpRig http(server.url(QStringLiteral("/api/fix")));
    http.rig.selection.answers = {plainContent(QStringLiteral("teh"))};

    http.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY_WITH_TIMEOUT(!http.coordinator->isProcessing(), 10000);
    QCOMPARE(http.rig.panel.shown.last().message, "Service is busy. Try again in a moment.");
    QCOMPARE(http.rig.analytics.failures, (QList<QPair<bool, int>>{{false, 1}}));
    QCOMPARE(http.traceNames().mid(3), (QStringList{"request_started", "response_received", "error", "panel_shown"}));
}

void TestFixOverHttp::unreachableServer()
{
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost));
    const QUrl url(QStringLiteral("http://127.0.0.1:%1/api/fix").arg(probe.serverPort()));
    probe.close();
    HttpRig http(url);
    http.rig.selection.answers = {plainContent(QStringLiteral("teh"))};

    http.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY_WITH_TIMEOUT(!http.coordinator->isProcessing(), 10000);
    QCOMPARE(http.rig.panel.shown.last().message, "No internet connection. Try again when online.");
    QCOMPARE(http.rig.analytics.failures, (QList<QPair<bool, int>>{{false, 0}}));
    const QList<TraceEvent> events = http.coordinator->currentTrace()->events();
    QCOMPARE(events[4].event, "request_failed");
    QCOMPARE(events[4].detail, std::optional<QString>(QStringLiteral("cannot connect to host")));
    QCOMPARE(events[5].detail, std::optional<QString>(QStringLiteral("No internet connection. Try again when online.")));
}

QTEST_GUILESS_MAIN(TestFixOverHttp)
#include "tst_fixoverhttp.moc"
