#pragma once
#include "engines/CustomEndpointConfig.h"
#include "engines/TextFixEngine.h"

#include <QUrl>
#include <chrono>

/// Any service that speaks the chat-completions protocol at the user's base URL, model and key.
/// Texts longer than one chunk are split and the chunks fixed all at once. Lives on the UI thread.
class CustomOpenAIEngine : public TextFixEngine
{
public:
    static constexpr qsizetype maxTotalLength = 100000;
    static constexpr std::chrono::milliseconds defaultTimeout{15000};
    static constexpr std::chrono::milliseconds defaultDeadline{60000};

    /// `config` is read at every call; `apiKey` once per fix.
    CustomOpenAIEngine(CustomEndpointConfigProvider config, ApiKeyProvider apiKey,
                       EditCounter editCount = wordDiffEditCount);

    /// The word diff's edit count between an original and a fixed text.
    [[nodiscard]] static qint64 wordDiffEditCount(const QString& original, const QString& fixed);

    /// Time-out without progress of each request; tests shorten it.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }
    /// Longest each request may take, however busy; tests shorten it.
    void setDeadline(std::chrono::milliseconds deadline) { m_deadline = deadline; }

    /// Whether the settings have the custom endpoint switched on with a URL, right now.
    QCoro::Task<bool> isAvailable() override;
    QCoro::Task<FixOutcome> fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel) override;

private:
    struct Request
    {
        QUrl url;
        QString apiKey;
        QString model;
        QString systemPrompt;
        TracePtr trace;
    };

    QCoro::Task<Outcome<QString>> send(Request request, QString text, QString label, CancellationToken cancel);
    QCoro::Task<Outcome<QStringList>> sendChunks(Request request, QStringList chunks, CancellationToken cancel);

    CustomEndpointConfigProvider m_config;
    ApiKeyProvider m_apiKey;
    EditCounter m_editCount;
    std::chrono::milliseconds m_timeout = defaultTimeout;
    std::chrono::milliseconds m_deadline = defaultDeadline;
};
