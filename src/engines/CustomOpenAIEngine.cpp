#include "engines/CustomOpenAIEngine.h"

#include "core/Logging.h"
#include "core/TextFormat.h"
#include "diff/DiffUtils.h"
#include "engines/ChatCompletion.h"
#include "engines/HtmlChunker.h"
#include "engines/HttpExchange.h"
#include "engines/TextChunker.h"

#include <QElapsedTimer>
#include <vector>

namespace {

void record(const TracePtr& trace, const QString& event, const std::optional<QString>& detail = std::nullopt)
{
    if (trace)
        trace->record(event, detail);
}

FixError errorForStatus(int status)
{
    if (status == 401 || status == 403)
        return CustomEndpointError::authenticationFailed;
    if (status == 429)
        return TextFixError::rateLimited();
    if (status >= 500 && status <= 599)
        return CustomEndpointError::serverError;
    return TextFixError::processingFailed().withDetail(
        QStringLiteral("The endpoint refused the request (HTTP %1).").arg(status));
}

// "127.0.0.1:11434": where the endpoint was looked for, as the user would write it.
QString address(const QUrl& url)
{
    return url.host() + u':' + QString::number(url.port(url.scheme() == u"https" ? 443 : 80));
}

// What a failure on the way to the endpoint means for the user.
QString transportDetail(const QUrl& url, const NetworkFailure& failure)
{
    switch (failure.kind) {
    case NetworkFailure::Kind::cannotConnect:
        return QStringLiteral("Nothing answers at %1. Is the server running?").arg(address(url));
    case NetworkFailure::Kind::timeout:
        return QStringLiteral("%1 did not answer in time.").arg(address(url));
    case NetworkFailure::Kind::cannotFindHost:
        return QStringLiteral("No computer named %1 was found.").arg(url.host());
    case NetworkFailure::Kind::connectionLost:
        return QStringLiteral("%1 closed the connection before answering.").arg(address(url));
    default:
        return failure.description;
    }
}

} // namespace

CustomOpenAIEngine::CustomOpenAIEngine(CustomEndpointConfigProvider config, ApiKeyProvider apiKey,
                                       EditCounter editCount)
    : m_config(std::move(config))
    , m_apiKey(std::move(apiKey))
    , m_editCount(std::move(editCount))
{
}

qint64 CustomOpenAIEngine::wordDiffEditCount(const QString& original, const QString& fixed)
{
    return DiffUtils::wordDiff(original, fixed).editCount;
}

QCoro::Task<bool> CustomOpenAIEngine::isAvailable()
{
    co_return m_config().isConfigured;
}

QCoro::Task<FixOutcome> CustomOpenAIEngine::fix(QString text, QString systemPrompt, TracePtr trace,
                                                CancellationToken cancel)
{
    const CustomEndpointConfig config = m_config();
    if (!config.isConfigured)
        co_return TextFixError::engineUnavailable();
    if (text.trimmed().isEmpty())
        co_return TextFixError::emptyInput();
    const qsizetype length = TextFormat::characterCount(text);
    if (length > maxTotalLength)
        co_return TextFixError::inputTooLong(int(maxTotalLength));
    const std::optional<QUrl> url = ChatCompletion::endpointUrl(config.url);
    if (!url) {
        qCWarning(lcCustomEngine) << "the endpoint URL is not usable";
        co_return TextFixError::networkError().withDetail(
            QStringLiteral("\u201c%1\u201d is not a web address. Check the API URL in Settings.").arg(config.url.trimmed()));
    }

    // Kept out of a conditional expression: GCC 12 mishandles temporaries around a co_await there.
    std::optional<QString> apiKey;
    if (m_apiKey)
        apiKey = co_await m_apiKey();
    if (cancel.isCancelled())
        co_return TextFixError::networkError(HttpAnswer::cancellation());
    const Request request{*url, apiKey.value_or(QString()), config.model, systemPrompt, trace};

    Outcome<QString> answer = TextFixError::emptyResponse();
    if (length <= TextChunker::chunkSize) {
        answer = co_await send(request, text, QString(), cancel);
    } else {
        // HTML is cut between its blocks and put together again exactly; plain text at paragraphs,
        // lines, sentences or words, its answers a blank line apart.
        const bool html = HtmlChunker::isHtml(text);
        const QList<HtmlChunker::Chunk> htmlChunks = html ? HtmlChunker::split(text, TextChunker::chunkSize)
                                                          : QList<HtmlChunker::Chunk>();
        QStringList chunks;
        if (html) {
            for (const HtmlChunker::Chunk& chunk : htmlChunks)
                chunks.append(chunk.text);
        } else {
            chunks = TextChunker::split(text);
        }
        record(trace, QStringLiteral("chunking_started"),
               QString::number(chunks.size()) + (chunks.size() == 1 ? QStringLiteral(" chunk") : QStringLiteral(" chunks")));
        const Outcome<QStringList> answers = co_await sendChunks(request, chunks, cancel);
        if (!answers)
            answer = answers.error();
        else if (html)
            answer = HtmlChunker::join(htmlChunks, answers.value());
        else
            answer = answers.value().join(QStringLiteral("\n\n"));
    }
    if (!answer)
        co_return answer.error();
    const qint64 edits = m_editCount ? m_editCount(text, answer.value()) : 0;
    co_return FixResult{text, answer.value(), edits, {}, {}, {}};
}

QCoro::Task<Outcome<QStringList>> CustomOpenAIEngine::sendChunks(Request request, QStringList chunks,
                                                             CancellationToken cancel)
{
    // The chunks share one token so that the first failure can stop the others; a cancelled run
    // stops them through the same token.
    CancellationToken group;
    auto* runNotifier = qobject_cast<CancellationNotifier*>(cancel.notifier());
    const QMetaObject::Connection forward
        = QObject::connect(runNotifier, &CancellationNotifier::cancelled, runNotifier, [group] { group.cancel(); });
    if (cancel.isCancelled())
        group.cancel();

    std::optional<FixError> firstFailure;
    const auto sendChunk = [&](qsizetype index) -> QCoro::Task<Outcome<QString>> {
        const QString label = QStringLiteral(" (chunk %1)").arg(index + 1);
        Outcome<QString> outcome = co_await send(request, chunks.at(index), label, group);
        if (!outcome && !firstFailure && !group.isCancelled()) {
            firstFailure = outcome.error();
            group.cancel();
        }
        co_return outcome;
    };

    // Every request is on the wire before the first answer is awaited.
    std::vector<QCoro::Task<Outcome<QString>>> pending;
    pending.reserve(chunks.size());
    for (qsizetype i = 0; i < chunks.size(); ++i)
        pending.push_back(sendChunk(i));

    QStringList answers;
    std::optional<FixError> anyFailure;
    for (auto& task : pending) {
        Outcome<QString> outcome = co_await task;
        if (outcome)
            answers.append(outcome.value());
        else if (!anyFailure)
            anyFailure = outcome.error();
    }
    QObject::disconnect(forward);

    if (firstFailure)
        co_return *firstFailure;
    if (anyFailure)
        co_return *anyFailure;
    co_return answers;
}

QCoro::Task<Outcome<QString>> CustomOpenAIEngine::send(Request request, QString text, QString label,
                                                       CancellationToken cancel)
{
    QNetworkRequest networkRequest(request.url);
    if (!request.apiKey.isEmpty())
        networkRequest.setRawHeader("Authorization", "Bearer " + request.apiKey.toUtf8());
    const QByteArray body = ChatCompletion::requestBody(request.systemPrompt, text, request.model);

    record(request.trace, QStringLiteral("request_started"), QStringLiteral("POST /chat/completions") + label);
    QElapsedTimer elapsed;
    elapsed.start();
    // Each request has a connection of its own, so the chunks are all in flight together.
    const HttpLimits limits{m_timeout, m_deadline, HttpLimits::answerLimitFor(body.size())};
    const HttpAnswer answer = co_await postJson(networkRequest, body, limits, cancel);

    switch (answer.kind) {
    case HttpAnswer::Kind::cancelled:
        co_return TextFixError::networkError(answer.failure);
    case HttpAnswer::Kind::notHttp:
        qCWarning(lcCustomEngine) << "the answer was not an HTTP response";
        record(request.trace, QStringLiteral("request_failed"), QStringLiteral("invalid response type"));
        co_return TextFixError::networkError().withDetail(
            QStringLiteral("%1 answered, but not over HTTP.").arg(address(request.url)));
    case HttpAnswer::Kind::transportFailure:
        qCWarning(lcCustomEngine) << "request failed:" << answer.failure.summary();
        record(request.trace, QStringLiteral("request_failed"), answer.failure.summary());
        co_return OtherError{answer.failure.description, transportDetail(request.url, answer.failure)};
    case HttpAnswer::Kind::redirectRefused:
        qCWarning(lcCustomEngine) << "the endpoint redirected to another origin; not followed";
        record(request.trace, QStringLiteral("request_failed"), QStringLiteral("redirect to another origin refused"));
        co_return CustomEndpointError::redirectRefused;
    case HttpAnswer::Kind::tooLarge:
        qCWarning(lcCustomEngine) << "the answer passed" << limits.maxAnswerBytes << "bytes; not read further";
        record(request.trace, QStringLiteral("request_failed"), QStringLiteral("answer too large"));
        co_return CustomEndpointError::answerTooLarge;
    case HttpAnswer::Kind::http:
        break;
    }

    record(request.trace, QStringLiteral("response_received"),
           QStringLiteral("HTTP %1 (%2 ms)").arg(answer.status).arg(elapsed.elapsed()));
    if (answer.status != 200) {
        qCWarning(lcCustomEngine) << "HTTP" << answer.status;
        co_return errorForStatus(answer.status);
    }
    Outcome<QString> decoded = ChatCompletion::decodeAnswer(answer.body);
    if (!decoded)
        qCWarning(lcCustomEngine) << "HTTP 200 without a usable answer";
    co_return decoded;
}
