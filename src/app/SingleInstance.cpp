#include "app/SingleInstance.h"
#include "core/Logging.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <unistd.h>

namespace {

// One line each way: the request, then "ok" or "error <why>".
const QByteArray acknowledgement = QByteArrayLiteral("ok");
const QByteArray refusal = QByteArrayLiteral("error ");

} // namespace

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent)
    , m_socketPath(std::move(socketPath))
    , m_lock(m_socketPath + QStringLiteral(".lock"))
{
    // A lock whose owner is gone is taken over at once; a live owner never goes stale.
    m_lock.setStaleLockTime(0);
}

SingleInstance::~SingleInstance()
{
    if (m_server)
        m_server->close();
}

QString SingleInstance::defaultSocketPath()
{
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (!runtime.isEmpty() && QDir(runtime).exists())
        return runtime + QStringLiteral("/tembrel.socket");
    return QDir::tempPath() + QStringLiteral("/tembrel-%1.socket").arg(::getuid());
}

bool SingleInstance::claim()
{
    if (!m_lock.tryLock(0)) {
        if (m_lock.error() == QLockFile::LockFailedError)
            return false;
        qCWarning(lcApp) << "Cannot create the lock file beside" << m_socketPath << "; running without it";
    }
    // Holding the lock means nobody listens on the socket: whatever file is there is left over.
    QLocalServer::removeServer(m_socketPath);
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_socketPath)) {
        qCWarning(lcApp) << "Cannot listen on" << m_socketPath << ":" << m_server->errorString()
                         << "; launching Tembrel again will not reach this one";
        return true;
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, &SingleInstance::onNewConnection);
    return true;
}

SingleInstance::Reply SingleInstance::sendRequest(const QString& request, int timeoutMs)
{
    Reply reply;
    if (request.contains(QLatin1Char('\n'))) {
        reply.status = Reply::Status::refused;
        reply.message = QStringLiteral("A request is one line.");
        return reply;
    }
    QDeadlineTimer deadline(timeoutMs);
    const auto remaining = [&deadline] { return int(std::max<qint64>(deadline.remainingTime(), 1)); };
    // The running launch may hold the lock but not listen yet: it is still starting.
    while (!deadline.hasExpired()) {
        QLocalSocket socket;
        socket.connectToServer(m_socketPath);
        if (socket.waitForConnected(remaining())) {
            socket.write(request.toUtf8() + '\n');
            if (!socket.waitForBytesWritten(remaining()))
                return reply;
            QByteArray answer;
            while (!answer.contains('\n') && socket.waitForReadyRead(remaining()))
                answer += socket.readAll();
            if (!answer.endsWith('\n'))
                return reply;
            answer.chop(1);
            if (answer == acknowledgement) {
                reply.status = Reply::Status::done;
            } else if (answer.startsWith(refusal)) {
                reply.status = Reply::Status::refused;
                reply.message = QString::fromUtf8(answer.mid(refusal.size()));
            }
            return reply;
        }
        QThread::msleep(50);
    }
    return reply;
}

void SingleInstance::onNewConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            QByteArray line = socket->readLine();
            line.chop(1);
            answer(socket, QString::fromUtf8(line));
        });
    }
}

void SingleInstance::answer(QLocalSocket* socket, const QString& request)
{
    std::optional<QString> outcome;
    if (request == reopenRequest())
        outcome = QString();
    else if (m_handler)
        outcome = m_handler(request);
    if (!outcome) {
        qCWarning(lcApp) << "Ignored an unknown message on the instance socket";
        socket->disconnectFromServer();
        return;
    }
    QByteArray reply = outcome->isEmpty() ? acknowledgement : refusal + outcome->simplified().toUtf8();
    socket->write(reply + '\n');
    socket->flush();
    if (request == reopenRequest()) {
        qCInfo(lcApp) << "Tembrel was launched again; showing Settings";
        Q_EMIT reopenRequested();
    }
}
