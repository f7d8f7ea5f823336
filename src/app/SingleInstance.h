#pragma once
#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <memory>

/// Keeps one Tembrel per user: the first launch holds a lock and listens on a local socket; a
/// later launch finds the lock taken, tells the first one that it was launched again, and quits.
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
    /// Tells the running launch that the user opened Tembrel again; false when it did not answer
    /// within `timeoutMs`.
    bool notifyRunningInstance(int timeoutMs = 3000);

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

    QString m_socketPath;
    QLockFile m_lock;
    std::unique_ptr<QLocalServer> m_server;
};
