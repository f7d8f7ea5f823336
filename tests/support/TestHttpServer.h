#pragma once
#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QUrl>
#include <functional>

/// One request as the server read it off the wire.
struct RecordedRequest
{
    QByteArray method;
    QByteArray path;
    QHash<QByteArray, QByteArray> headers; // names in lower case
    QByteArray body;

    [[nodiscard]] QByteArray header(const QByteArray& name) const { return headers.value(name.toLower()); }
    [[nodiscard]] QJsonObject json() const;
};

/// What the server answers to one request.
struct CannedResponse
{
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";
    QList<QPair<QByteArray, QByteArray>> headers;
    int delayMs = 0;       // wait this long before answering (or dropping)
    bool drop = false;     // close the connection without any answer; Qt's client resends once
                           // on such a close, so one failed attempt takes two drops
    bool garbage = false;  // answer bytes that are not HTTP at all

    static CannedResponse json(int status, const QJsonObject& body, int delayMs = 0);
    static CannedResponse text(int status, const QByteArray& body, int delayMs = 0);
    static CannedResponse dropped(int delayMs = 0);
};

/// A real HTTP/1.1 server on 127.0.0.1 with an ephemeral port, for tests. Answers are taken from
/// the queue in order, then from the handler if one is set, then the default answer. Every request
/// is recorded.
class TestHttpServer : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<CannedResponse(const RecordedRequest&)>;

    explicit TestHttpServer(QObject* parent = nullptr);

    bool listen() { return m_server.listen(QHostAddress::LocalHost, 0); }
    void close() { m_server.close(); }
    [[nodiscard]] quint16 port() const { return m_server.serverPort(); }
    [[nodiscard]] QUrl url(const QString& path = {}) const;

    void setDefaultResponse(const CannedResponse& response) { m_default = response; }
    void enqueue(const CannedResponse& response) { m_queue.append(response); }
    void setHandler(Handler handler) { m_handler = std::move(handler); }

    [[nodiscard]] QList<RecordedRequest> requests() const { return m_requests; }
    [[nodiscard]] int requestCount() const { return int(m_requests.size()); }
    void clearRequests() { m_requests.clear(); }
    /// Spins the event loop until `count` requests have arrived or the time is up.
    bool waitForRequests(int count, int timeoutMs = 5000);

Q_SIGNALS:
    void requestReceived(const RecordedRequest& request);

private:
    void onNewConnection();
    void answer(class QTcpSocket* socket, const RecordedRequest& request);

    QTcpServer m_server;
    QList<CannedResponse> m_queue;
    Handler m_handler;
    CannedResponse m_default = CannedResponse::json(200, {});
    QList<RecordedRequest> m_requests;
};
