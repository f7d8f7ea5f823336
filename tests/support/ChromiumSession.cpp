#include "ChromiumSession.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>

#include <unistd.h>

ChromiumSession::ChromiumSession()
{
    connect(&m_socket, &QWebSocket::textMessageReceived, this, [this](const QString& message) {
        const QJsonObject object = QJsonDocument::fromJson(message.toUtf8()).object();
        if (object.contains(QStringLiteral("id")))
            m_replies.insert(object.value(QStringLiteral("id")).toInt(), object);
    });
}

ChromiumSession::~ChromiumSession()
{
    m_socket.abort();
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        if (!m_process.waitForFinished(3000)) {
            m_process.kill();
            m_process.waitForFinished(3000);
        }
    }
}

bool ChromiumSession::start(const QString& pageFile)
{
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty()) {
        m_error = QStringLiteral("chromium is not installed");
        return false;
    }
    QStringList arguments{QStringLiteral("--user-data-dir=") + m_profile.path(),
                          QStringLiteral("--remote-debugging-port=0"),
                          QStringLiteral("--remote-allow-origins=*"),
                          QStringLiteral("--no-first-run"),
                          QStringLiteral("--no-default-browser-check"),
                          QStringLiteral("--disable-gpu"),
                          QStringLiteral("--password-store=basic"),
                          QStringLiteral("--disable-background-networking"),
                          QStringLiteral("--window-position=0,0"),
                          QStringLiteral("--window-size=1200,900"),
                          QUrl::fromLocalFile(pageFile).toString()};
    if (geteuid() == 0)
        arguments.prepend(QStringLiteral("--no-sandbox"));
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.start(chromium, arguments);
    if (!m_process.waitForStarted(10000)) {
        m_error = QStringLiteral("chromium did not start");
        return false;
    }

    // Chromium writes the port it chose into the profile once it listens.
    const QString portFile = m_profile.path() + QStringLiteral("/DevToolsActivePort");
    if (!QTest::qWaitFor([&] { return QFile(portFile).size() > 0; }, 60000)) {
        m_error = QStringLiteral("chromium did not open its debugging port");
        return false;
    }
    QFile file(portFile);
    file.open(QIODevice::ReadOnly);
    const QString port = QString::fromUtf8(file.readLine()).trimmed();

    QNetworkAccessManager network;
    QString socketUrl;
    const bool found = QTest::qWaitFor(
        [&] {
            std::unique_ptr<QNetworkReply> reply(
                network.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/json/list").arg(port)))));
            if (!QTest::qWaitFor([&] { return reply->isFinished(); }, 2000))
                return false;
            for (const QJsonValue& target : QJsonDocument::fromJson(reply->readAll()).array()) {
                const QJsonObject object = target.toObject();
                if (object.value(QStringLiteral("type")).toString() == QStringLiteral("page")
                    && object.value(QStringLiteral("url")).toString().startsWith(QStringLiteral("file:"))) {
                    socketUrl = object.value(QStringLiteral("webSocketDebuggerUrl")).toString();
                    return true;
                }
            }
            QTest::qWait(100);
            return false;
        },
        20000);
    if (!found) {
        m_error = QStringLiteral("the page never appeared in chromium");
        return false;
    }
    m_socket.open(QUrl(socketUrl));
    if (!QTest::qWaitFor([&] { return m_socket.state() == QAbstractSocket::ConnectedState; }, 10000)) {
        m_error = QStringLiteral("could not connect to chromium's debugging socket");
        return false;
    }
    // The page must have loaded before a test selects anything in it.
    return QTest::qWaitFor(
        [&] { return evaluate(QStringLiteral("document.readyState")).toString() == QStringLiteral("complete"); },
        10000);
}

QJsonObject ChromiumSession::call(const QString& method, const QJsonObject& params, int timeoutMs)
{
    const int id = m_nextId++;
    const QJsonObject message{{QStringLiteral("id"), id}, {QStringLiteral("method"), method},
                              {QStringLiteral("params"), params}};
    m_socket.sendTextMessage(QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
    if (!QTest::qWaitFor([&] { return m_replies.contains(id); }, timeoutMs))
        return {}; // no answer in time: callers see an empty result
    return m_replies.take(id);
}

QJsonValue ChromiumSession::evaluate(const QString& expression, int timeoutMs)
{
    const QJsonObject reply = call(QStringLiteral("Runtime.evaluate"),
                                   {{QStringLiteral("expression"), expression},
                                    {QStringLiteral("userGesture"), true},
                                    {QStringLiteral("returnByValue"), true},
                                    {QStringLiteral("awaitPromise"), true}},
                                   timeoutMs);
    return reply.value(QStringLiteral("result")).toObject().value(QStringLiteral("result")).toObject().value(
        QStringLiteral("value"));
}
