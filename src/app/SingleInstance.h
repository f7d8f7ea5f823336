#pragma once
#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>

class QLocalSocket;

/// Keeps one Tembrel per user: the first launch holds a lock and listens on a local socket; a
/// later launch finds the lock taken, hands its request (a line of text, "reopen" when it was
/// just opened again) to the first one, and quits.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    /// `socketPath` is a full path; the lock file lives beside it.
    explicit SingleInstance(QString socketPath, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Takes the lock and starts listening; false when another launch already holds it. A socket
    /// file left behind by a launch that crashed is replaced.
    bool claim();
    /// What the running launch made of a request.
    struct Reply
    {
        enum class Status { done, refused, noAnswer };
        Status status = Status::noAnswer;
        QString message; // why it was refused
    };

    /// Hands `request` (one line) to the running launch and waits up to `timeoutMs` for its answer.
    Reply sendRequest(const QString& request, int timeoutMs = 3000);
    /// Tells the running launch that the user opened Tembrel again; false when it did not answer.
    bool notifyRunningInstance(int timeoutMs = 3000)
    {
        return sendRequest(reopenRequest(), timeoutMs).status == Reply::Status::done;
    }

    /// Answers the requests of later launches other than "reopen": nullopt for a request it does
    /// not know (the connection is dropped), an empty text when done, else why it was refused.
    using RequestHandler = std::function<std::optional<QString>(const QString& request)>;
    void setRequestHandler(RequestHandler handler) { m_handler = std::move(handler); }

    [[nodiscard]] static QString reopenRequest() { return QStringLiteral("reopen"); }

    [[nodiscard]] bool isPrimary() const { return m_server != nullptr; }
    [[nodiscard]] QString socketPath() const { return m_socketPath; }

    /// The per-user socket path: in the session's runtime folder, else in the temporary folder
    /// with the user's id in the name.
    [[nodiscard]] static QString defaultSocketPath();

Q_SIGNALS:
    /// Another launch asked this one to show itself.
    void reopenRequested();

private:
    void onNewConnection();

    void answer(QLocalSocket* socket, const QString& request);

    QString m_socketPath;
    RequestHandler m_handler;
    QLockFile m_lock;
    std::unique_ptr<QLocalServer> m_server;
};
