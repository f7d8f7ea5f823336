#include "engines/ConnectionTester.h"

#include "core/Logging.h"
#include "engines/ChatCompletion.h"
#include "engines/HttpExchange.h"

namespace {

// The URL-loading code of a failed name lookup; the network layer reports it as a host not found.
constexpr int dnsLookupFailedCode = -1006;

std::optional<ConnectionTestError> verdictForStatus(int status)
{
    // A rate-limited endpoint is reachable and took the key, which is all the test asks.
    if (status == 200 || status == 429)
        return std::nullopt;
    if (status == 401 || status == 403)
        return ConnectionTestError{ConnectionTestError::Kind::authFailed};
    if (status == 404)
        return ConnectionTestError{ConnectionTestError::Kind::notFound};
    if (status >= 500 && status <= 599)
        return ConnectionTestError{ConnectionTestError::Kind::serverError};
    return ConnectionTestError{ConnectionTestError::Kind::unexpectedStatus, status};
}

} // namespace

QString ConnectionTestError::message() const
{
    switch (kind) {
    case Kind::unexpectedStatus: return QStringLiteral("Unexpected response (%1)").arg(status);
    case Kind::invalidURL: return QStringLiteral("Invalid URL");
    case Kind::authFailed: return QStringLiteral("Authentication failed");
    case Kind::notFound: return QStringLiteral("Endpoint not found");
    case Kind::serverError: return QStringLiteral("Server error");
    case Kind::invalidResponse: return QStringLiteral("Invalid response");
    }
    Q_UNREACHABLE();
    return QString();
}

QString ConnectionTester::messageFor(const NetworkFailure& failure)
{
    switch (failure.code) {
    case NetworkFailure::timedOutCode: return QStringLiteral("Connection timed out");
    case NetworkFailure::secureConnectionFailedCode: return QStringLiteral("SSL/TLS error");
    case NetworkFailure::notConnectedCode:
    case NetworkFailure::connectionLostCode: return QStringLiteral("No internet connection");
    case NetworkFailure::cannotFindHostCode:
    case dnsLookupFailedCode: return QStringLiteral("Couldn't reach that URL");
    default: return QStringLiteral("Connection failed");
    }
}

QCoro::Task<std::optional<QString>> ConnectionTester::run(QString baseUrl, QString apiKey, QString model,
                                                          QString systemPrompt, CancellationToken cancel)
{
    const std::optional<QUrl> url = ChatCompletion::endpointUrl(baseUrl);
    if (!url)
        co_return ConnectionTestError{ConnectionTestError::Kind::invalidURL}.message();

    QNetworkRequest request(*url);
    if (!apiKey.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + apiKey.toUtf8());
    const QByteArray body = ChatCompletion::requestBody(systemPrompt, sampleText, model);
    const HttpLimits limits{m_timeout, m_deadline, HttpLimits::answerLimitFor(body.size())};
    const HttpAnswer answer = co_await postJson(request, body, limits, cancel);

    switch (answer.kind) {
    case HttpAnswer::Kind::http:
        if (const auto error = verdictForStatus(answer.status)) {
            qCInfo(lcCustomEngine) << "connection test: HTTP" << answer.status;
            co_return error->message();
        }
        co_return std::nullopt;
    case HttpAnswer::Kind::notHttp:
    case HttpAnswer::Kind::tooLarge:
        co_return ConnectionTestError{ConnectionTestError::Kind::invalidResponse}.message();
    case HttpAnswer::Kind::redirectRefused:
        qCInfo(lcCustomEngine) << "connection test: redirect to another origin refused";
        co_return QStringLiteral("Redirected to %1; not followed, so the API key stays with this URL")
            .arg(answer.redirectTarget.toString(QUrl::RemovePath));
    case HttpAnswer::Kind::transportFailure:
    case HttpAnswer::Kind::cancelled:
        qCInfo(lcCustomEngine) << "connection test failed:" << answer.failure.summary();
        co_return messageFor(answer.failure);
    }
    Q_UNREACHABLE();
    co_return std::nullopt;
}
