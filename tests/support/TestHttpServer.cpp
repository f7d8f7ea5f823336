#include "support/TestHttpServer.h"

#include <QJsonDocument>
#include <QPointer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

QJsonObject RecordedRequest::json() const
{
    return QJsonDocument::fromJson(body).object();
}

CannedResponse CannedResponse::json(int status, const QJsonObject& body, int delayMs)
{
    return {.status = status, .body = QJsonDocument(body).toJson(QJsonDocument::Compact), .delayMs = delayMs};
}

CannedResponse CannedResponse::text(int status, const QByteArray& body, int delayMs)
{
    return {.status = status, .body = body, .contentType = "text/plain", .delayMs = delayMs};
}

CannedResponse CannedResponse::dropped(int delayMs)
{
    return {.delayMs = delayMs, .drop = true};
}

TestHttpServer::TestHttpServer(QObject* parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &TestHttpServer::onNewConnection);
}

QUrl TestHttpServer::url(const QString& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(port()).arg(path));
}

bool TestHttpServer::waitForRequests(int count, int timeoutMs)
{
    return QTest::qWaitFor([&] { return m_requests.size() >= count; }, timeoutMs);
}

namespace {

// Parses one complete request from the front of `buffer`; false while more bytes are needed.
bool takeRequest(QByteArray& buffer, RecordedRequest& request)
{
    const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return false;
    const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    RecordedRequest parsed;
    parsed.method = requestLine.value(0);
    parsed.path = requestLine.value(1);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon > 0)
            parsed.headers.insert(lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed());
    }
    const qsizetype length = parsed.headers.value("content-length", "0").toLongLong();
    if (buffer.size() < headerEnd + 4 + length)
        return false;
    parsed.body = buffer.mid(headerEnd + 4, length);
    buffer.remove(0, headerEnd + 4 + length);
    request = parsed;
    return true;
}

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{
        {200, "OK"}, {400, "Bad Request"}, {401, "Unauthorized"}, {403, "Forbidden"}, {404, "Not Found"},
        {429, "Too Many Requests"}, {500, "Internal Server Error"}, {502, "Bad Gateway"}, {503, "Service Unavailable"}};
    return phrases.value(status, "Status");
}

} // namespace

void TestHttpServer::onNewConnection()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
            buffer->append(socket->readAll());
            RecordedRequest request;
            while (takeRequest(*buffer, request)) {
                m_requests.append(request);
                Q_EMIT requestReceived(request);
                answer(socket, request);
            }
        });
    }
}

void TestHttpServer::answer(QTcpSocket* socket, const RecordedRequest& request)
{
    CannedResponse response = m_default;
    if (!m_queue.isEmpty())
        response = m_queue.takeFirst();
    else if (m_handler)
        response = m_handler(request);

    QPointer<QTcpSocket> guarded(socket);
    auto send = [guarded, response] {
        if (!guarded)
            return;
        if (response.drop) {
            guarded->abort();
            return;
        }
        if (response.garbage) {
            guarded->write("this is not http\r\n\r\n");
            guarded->disconnectFromHost();
            return;
        }
        QByteArray out = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reasonPhrase(response.status)
            + "\r\nContent-Type: " + response.contentType
            + "\r\nContent-Length: " + QByteArray::number(response.body.size()) + "\r\nConnection: close\r\n";
        for (const auto& [name, value] : response.headers)
            out += name + ": " + value + "\r\n";
        out += "\r\n" + response.body;
        guarded->write(out);
        guarded->disconnectFromHost();
    };
    if (response.delayMs > 0)
        QTimer::singleShot(response.delayMs, this, send);
    else
        send();
}
