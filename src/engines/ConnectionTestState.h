#pragma once
#include "engines/ConnectionTester.h"

#include <QObject>
#include <functional>

/// What the settings window's test button shows: idle, testing, success, or failed with a message.
class ConnectionTestState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Status status READ status NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(bool testing READ isTesting NOTIFY changed)

public:
    enum class Status { Idle, Testing, Success, Failed };
    Q_ENUM(Status)

    /// Gives the prompt of the mode catalogue's default mode at the moment a test starts.
    using PromptProvider = std::function<QString()>;

    explicit ConnectionTestState(PromptProvider defaultPrompt, QObject* parent = nullptr);
    ~ConnectionTestState() override;

    [[nodiscard]] Status status() const { return m_status; }
    /// The verdict of a failed test; empty otherwise.
    [[nodiscard]] QString message() const { return m_message; }
    [[nodiscard]] bool isTesting() const { return m_status == Status::Testing; }

    /// Tests the endpoint as entered; a test already running is abandoned for this one.
    Q_INVOKABLE void test(const QString& baseUrl, const QString& apiKey, const QString& model);
    /// Back to idle, abandoning a running test (after the user edits a field, say).
    Q_INVOKABLE void reset();

    /// The tester doing the work, for its time-out.
    [[nodiscard]] ConnectionTester& tester() { return m_tester; }

Q_SIGNALS:
    void changed();

private:
    void setState(Status status, const QString& message = QString());
    void abandonRunning();

    PromptProvider m_defaultPrompt;
    ConnectionTester m_tester;
    Status m_status = Status::Idle;
    QString m_message;
    std::optional<CancellationToken> m_running;
};
