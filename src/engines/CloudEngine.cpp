#include "engines/CloudEngine.h"

#include "app/BuildConfig.h"
#include "core/Logging.h"
#include "core/TextFormat.h"
#include "engines/HttpExchange.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

void record(const TracePtr& trace, const QString& event, const std::optional<QString>& detail = std::nullopt)
{
    if (trace)
        trace->record(event, detail);
}

FixOutcome cancelledOutcome(const NetworkFailure& failure)
{
    return TextFixError::networkError(failure);
}

// The service answers a 400 with {"error": "...", "code": "..."}; proxies in front of it may nest
// the same fields under "error".
QString errorCode(const QByteArray& body)
{
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QJsonValue code = object.value(QStringLiteral("code"));
    if (code.isString())
        return code.toString();
    return object.value(QStringLiteral("error")).toObject().value(QStringLiteral("code")).toString();
}

} // namespace

CloudEngine::CloudEngine(QString baseUrl, DistinctIdProvider distinctId)
    : m_baseUrl(std::move(baseUrl))
    , m_distinctId(std::move(distinctId))
{
}

QString CloudEngine::baseUrlFromEnvironment()
{
    const QString overridden = qEnvironmentVariable("TEMBREL_CLOUD_URL");
    return overridden.trimmed().isEmpty() ? QString::fromUtf8(BuildConfig::cloudUrl) : overridden.trimmed();
}

QCoro::Task<bool> CloudEngine::isAvailable()
{
    co_return true;
}

std::optional<QUrl> CloudEngine::requestUrl() const
{
    QString base = m_baseUrl.trimmed();
    while (base.endsWith(u'/'))
        base.chop(1);
    const QUrl url(base + endpoint, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http" && scheme != u"https") || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QCoro::Task<FixOutcome> CloudEngine::fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel)
{
    if (text.trimmed().isEmpty())
        co_return TextFixError::emptyInput();
    if (TextFormat::characterCount(text) > maxTextLength)
        co_return TextFixError::inputTooLong(int(maxTextLength));
    const std::optional<QUrl> url = requestUrl();
    if (!url) {
        qCWarning(lcCloudEngine) << "the cloud service URL is not usable";
        co_return TextFixError::networkError();
    }

    QNetworkRequest request(*url);
    const QString distinctId = m_distinctId ? m_distinctId() : QString();
    if (!distinctId.isEmpty())
        request.setRawHeader("X-PostHog-Distinct-Id", distinctId.toUtf8());
    QJsonObject fixRequest{{QStringLiteral("text"), text}, {QStringLiteral("systemPrompt"), systemPrompt}};
    if (trace)
        fixRequest.insert(QStringLiteral("requestId"), trace->id());
    const QByteArray body = QJsonDocument(fixRequest).toJson(QJsonDocument::Compact);

    record(trace, QStringLiteral("request_started"), QStringLiteral("POST ") + endpoint);
    QElapsedTimer elapsed;
    elapsed.start();

    const HttpLimits limits{m_timeout, m_deadline, HttpLimits::answerLimitFor(body.size())};
    HttpAnswer answer = co_await postJson(request, body, limits, cancel);
    if (answer.kind == HttpAnswer::Kind::transportFailure) {
        // Only a failed transport is worth a second attempt; a status is the service's verdict.
        qCInfo(lcCloudEngine) << "first attempt failed:" << answer.failure.summary();
        record(trace, QStringLiteral("request_failed"), answer.failure.summary());
        record(trace, QStringLiteral("retry_started"), QStringLiteral("attempt 2 after 500ms delay"));
        if (!co_await cancellablePause(retryDelay, cancel))
            co_return cancelledOutcome(HttpAnswer::cancellation());
        answer = co_await postJson(request, body, limits, cancel);
        if (answer.kind == HttpAnswer::Kind::transportFailure) {
            qCWarning(lcCloudEngine) << "second attempt failed:" << answer.failure.summary();
            record(trace, QStringLiteral("retry_failed"), answer.failure.summary());
            co_return TextFixError::networkError(answer.failure);
        }
    }
    if (answer.kind == HttpAnswer::Kind::cancelled)
        co_return cancelledOutcome(answer.failure);
    if (answer.kind == HttpAnswer::Kind::redirectRefused) {
        qCWarning(lcCloudEngine) << "the service redirected to another origin; not followed";
        record(trace, QStringLiteral("request_failed"), QStringLiteral("redirect to another origin refused"));
        co_return TextFixError::processingFailed();
    }
    if (answer.kind == HttpAnswer::Kind::tooLarge) {
        qCWarning(lcCloudEngine) << "the answer passed" << limits.maxAnswerBytes << "bytes; not read further";
        record(trace, QStringLiteral("request_failed"), QStringLiteral("answer too large"));
        co_return TextFixError::processingFailed();
    }
    if (answer.kind == HttpAnswer::Kind::notHttp) {
        qCWarning(lcCloudEngine) << "the answer was not an HTTP response";
        record(trace, QStringLiteral("request_failed"), QStringLiteral("invalid response type"));
        co_return TextFixError::networkError();
    }

    record(trace, QStringLiteral("response_received"),
           QStringLiteral("HTTP %1 (%2 ms)").arg(answer.status).arg(elapsed.elapsed()));
    co_return outcomeOf(answer.status, answer.body, text);
}

FixOutcome CloudEngine::outcomeOf(int status, const QByteArray& body, const QString& text) const
{
    if (status == 200) {
        QJsonParseError parseError;
        const QJsonObject response = QJsonDocument::fromJson(body, &parseError).object();
        const QJsonValue fixedText = response.value(QStringLiteral("fixedText"));
        const QJsonValue editCount = response.value(QStringLiteral("editCount"));
        constexpr qint64 notInteger = std::numeric_limits<qint64>::min();
        if (parseError.error != QJsonParseError::NoError || !fixedText.isString()
            || editCount.toInteger(notInteger) == notInteger) {
            qCWarning(lcCloudEngine) << "HTTP 200 with an answer that does not decode";
            return OtherError{QStringLiteral("The service's answer could not be read.")};
        }
        return FixResult{text, fixedText.toString(), editCount.toInteger(), {}, {}, {}};
    }
    qCWarning(lcCloudEngine) << "HTTP" << status;
    if (status == 400)
        // The text was there (an empty one never leaves this computer): the service refused the
        // request itself, which is no reason to tell the user to select something.
        return errorCode(body) == u"INPUT_TOO_LONG"
            ? TextFixError::inputTooLong(int(maxTextLength))
            : TextFixError::processingFailed().withDetail(QStringLiteral("The service refused the request (HTTP 400)."));
    if (status == 429)
        return TextFixError::rateLimited();
    return TextFixError::processingFailed();
}
