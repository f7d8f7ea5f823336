#pragma once
#include "core/Cancellation.h"
#include "core/TextFixError.h"

#include <QString>
#include <QCoro/QCoroTask>
#include <chrono>
#include <optional>

/// Why an endpoint failed the connection test, as far as its answer tells.
struct ConnectionTestError
{
    enum class Kind { unexpectedStatus, invalidURL, authFailed, notFound, serverError, invalidResponse };
    Kind kind = Kind::invalidResponse;
    int status = 0; // for unexpectedStatus

    bool operator==(const ConnectionTestError&) const = default;
    /// The one-line verdict the settings window shows.
    [[nodiscard]] QString message() const;
};

/// Sends one small chat-completions request to an endpoint as the user entered it, to tell them
/// whether fixes would get through. Lives on the UI thread.
class ConnectionTester
{
public:
    static constexpr std::chrono::milliseconds defaultTimeout{10000};
    static constexpr std::chrono::milliseconds defaultDeadline{20000};
    /// Deliberately faulty input, so the request looks like a real fix.
    static inline const QString sampleText = QStringLiteral("I has a meeting tomorow and their going to be late.");

    /// Time-out without progress of the request; tests shorten it.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }
    /// Longest the whole request may take, however busy; tests shorten it.
    void setDeadline(std::chrono::milliseconds deadline) { m_deadline = deadline; }

    /// Runs the test; nothing on success, else the message to show. `systemPrompt` is the default
    /// mode's prompt.
    QCoro::Task<std::optional<QString>> run(QString baseUrl, QString apiKey, QString model, QString systemPrompt,
                                            CancellationToken cancel = CancellationToken::none());

    /// The message for a request that never got an HTTP answer.
    [[nodiscard]] static QString messageFor(const NetworkFailure& failure);

private:
    std::chrono::milliseconds m_timeout = defaultTimeout;
    std::chrono::milliseconds m_deadline = defaultDeadline;
};
