#pragma once
#include "engines/TextFixEngine.h"

#include <QUrl>
#include <chrono>
#include <functional>

/// The product's own cloud fix service: one JSON POST to "<base>/api/fix", retried once after a
/// short pause when the transport fails. Lives on the UI thread.
class CloudEngine : public TextFixEngine
{
public:
    static constexpr qsizetype maxTextLength = 100000;
    static constexpr std::chrono::milliseconds defaultTimeout{30000};
    static constexpr std::chrono::milliseconds defaultDeadline{30000};
    static constexpr std::chrono::milliseconds retryDelay{500};
    static inline const QString endpoint = QStringLiteral("/api/fix");

    /// The analytics distinct identifier of this installation, sent with every request.
    using DistinctIdProvider = std::function<QString()>;

    /// `baseUrl` is the service's base URL, such as baseUrlFromEnvironment().
    CloudEngine(QString baseUrl, DistinctIdProvider distinctId);

    /// The build's cloud URL, or the TEMBREL_CLOUD_URL environment variable when it is set.
    [[nodiscard]] static QString baseUrlFromEnvironment();

    /// Time-out without progress of each attempt; tests shorten it.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }
    /// Longest each attempt may take, however busy; tests shorten it.
    void setDeadline(std::chrono::milliseconds deadline) { m_deadline = deadline; }

    /// Always true: the cloud service needs no set-up.
    QCoro::Task<bool> isAvailable() override;
    QCoro::Task<FixOutcome> fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel) override;

private:
    [[nodiscard]] std::optional<QUrl> requestUrl() const;
    [[nodiscard]] FixOutcome outcomeOf(int status, const QByteArray& body, const QString& text) const;

    QString m_baseUrl;
    DistinctIdProvider m_distinctId;
    std::chrono::milliseconds m_timeout = defaultTimeout;
    std::chrono::milliseconds m_deadline = defaultDeadline;
};
