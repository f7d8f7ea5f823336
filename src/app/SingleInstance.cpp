#include "app/SingleInstance.h"
#include "core/Logging.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <unistd.h>

namespace {

const QByteArray reopenMessage = QByteArrayLiteral("reopen\n");
const QByteArray acknowledgement = QByteArrayLiteral("ok\n");

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

bool SingleInstance::notifyRunningInstance(int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    // The running launch may hold the lock but not listen yet: it is still starting.
    while (!deadline.hasExpired()) {
        QLocalSocket socket;
        socket.connectToServer(m_socketPath);
        if (socket.waitForConnected(int(std::max<qint64>(deadline.remainingTime(), 1)))) {
            socket.write(reopenMessage);
            if (!socket.waitForBytesWritten(int(std::max<qint64>(deadline.remainingTime(), 1))))
                return false;
            QByteArray answer;
            while (!answer.contains('\n') && socket.waitForReadyRead(int(std::max<qint64>(deadline.remainingTime(), 1))))
                answer += socket.readAll();
            return answer == acknowledgement;
        }
        QThread::msleep(50);
    }
    return false;
}

void SingleInstance::onNewConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            const QByteArray line = socket->readLine();
            if (line != reopenMessage) {
                qCWarning(lcApp) << "Ignored an unknown message on the instance socket";
                socket->disconnectFromServer();
                return;
            }
            socket->write(acknowledgement);
            socket->flush();
            qCInfo(lcApp) << "Tembrel was launched again; showing Settings";
            Q_EMIT reopenRequested();
        });
    }
}
