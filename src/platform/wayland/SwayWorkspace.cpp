#include "platform/wayland/SwayWorkspace.h"

#include "core/Logging.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>
#include <cstring>

namespace {

constexpr QByteArrayView magic = "i3-ipc";
constexpr quint32 getTree = 4;
constexpr int answerTimeoutMs = 500;

// sway's IPC frames carry their length and type in the machine's own byte order.
QByteArray header(quint32 length, quint32 type)
{
    QByteArray bytes(magic.data(), magic.size());
    bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
    bytes.append(reinterpret_cast<const char*>(&type), sizeof type);
    return bytes;
}

QJsonObject findFocused(const QJsonObject& node)
{
    if (node.value(QLatin1String("focused")).toBool())
        return node;
    for (const char* children : {"nodes", "floating_nodes"}) {
        const QJsonArray list = node.value(QLatin1String(children)).toArray();
        for (const QJsonValue& child : list) {
            QJsonObject found = findFocused(child.toObject());
            if (!found.isEmpty())
                return found;
        }
    }
    return {};
}

} // namespace

QJsonObject SwayWorkspace::focusedWindow() const
{
    if (m_ipcSocket.isEmpty())
        return {};
    QLocalSocket socket;
    socket.connectToServer(m_ipcSocket);
    if (!socket.waitForConnected(answerTimeoutMs))
        return {};
    socket.write(header(0, getTree));
    const qsizetype headerSize = magic.size() + 8;
    QByteArray answer;
    quint32 length = 0;
    while (socket.waitForReadyRead(answerTimeoutMs)) {
        answer += socket.readAll();
        if (answer.size() >= headerSize)
            std::memcpy(&length, answer.constData() + magic.size(), sizeof length);
        if (answer.size() >= headerSize && answer.size() >= headerSize + qsizetype(length))
            break;
    }
    if (answer.size() < headerSize + qsizetype(length) || length == 0) {
        qCDebug(lcPlatform) << "sway did not tell which window has the focus";
        return {};
    }
    const QJsonObject tree = QJsonDocument::fromJson(answer.mid(headerSize, length)).object();
    const QJsonObject focused = findFocused(tree);
    // Outputs and workspaces can hold the focus too; only windows have a pid.
    return focused.contains(QLatin1String("pid")) ? focused : QJsonObject();
}

QString SwayWorkspace::frontmostApplicationName() const
{
    const QJsonObject window = focusedWindow();
    const QString appId = window.value(QLatin1String("app_id")).toString();
    if (!appId.isEmpty())
        return appId;
    return window.value(QLatin1String("window_properties")).toObject().value(QLatin1String("class")).toString();
}

QStringList SwayWorkspace::frontmostApplicationIds() const
{
    const QJsonObject window = focusedWindow();
    QStringList ids;
    if (const QString appId = window.value(QLatin1String("app_id")).toString(); !appId.isEmpty())
        ids << appId;
    const QJsonObject x11 = window.value(QLatin1String("window_properties")).toObject();
    for (const char* key : {"instance", "class"}) {
        if (const QString id = x11.value(QLatin1String(key)).toString(); !id.isEmpty())
            ids << id;
    }
    return ids;
}
