#pragma once
#include <QJsonValue>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QWebSocket>
#include <memory>

/// A real Chromium window showing one local page, driven through its remote debugging protocol
/// on 127.0.0.1. Stopped by its process id when the session ends.
class ChromiumSession : public QObject
{
    Q_OBJECT
public:
    ChromiumSession();
    ~ChromiumSession() override;

    /// Starts Chromium on `pageFile` and connects to the page; false with `error()` set on failure.
    bool start(const QString& pageFile);
    [[nodiscard]] QString error() const { return m_error; }
    [[nodiscard]] qint64 processId() const { return m_process.processId(); }

    /// Evaluates a JavaScript expression in the page, as if the user had just acted there (so the
    /// page may copy), and returns its value, awaiting promises.
    QJsonValue evaluate(const QString& expression, int timeoutMs = 5000);
    /// Sends one protocol command and returns Chromium's reply; empty when none came in time.
    QJsonObject call(const QString& method, const QJsonObject& params, int timeoutMs = 5000);

private:
    QProcess m_process;
    QTemporaryDir m_profile;
    QWebSocket m_socket;
    QString m_error;
    int m_nextId = 1;
    QHash<int, QJsonObject> m_replies;
};
