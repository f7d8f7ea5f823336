#include "core/NetworkFailure.h"

NetworkFailure NetworkFailure::fromCode(int code, QString description)
{
    NetworkFailure failure;
    failure.code = code;
    failure.description = std::move(description);
    switch (code) {
    case notConnectedCode: failure.kind = Kind::noInternet; break;
    case connectionLostCode: failure.kind = Kind::connectionLost; break;
    case cannotConnectCode: failure.kind = Kind::cannotConnect; break;
    case cannotFindHostCode: failure.kind = Kind::cannotFindHost; break;
    case timedOutCode: failure.kind = Kind::timeout; break;
    default: failure.kind = Kind::other; break;
    }
    return failure;
}

NetworkFailure NetworkFailure::fromReplyError(QNetworkReply::NetworkError error, QString description)
{
    int code = unknownCode;
    switch (error) {
    // Qt ends a request whose transfer timeout ran out by aborting it, so the time-out arrives as a
    // cancellation. A run that was really cancelled never shows its failure, which leaves time-out
    // as the only cancellation anyone sees.
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError: code = timedOutCode; break;
    case QNetworkReply::HostNotFoundError: code = cannotFindHostCode; break;
    case QNetworkReply::ConnectionRefusedError: code = cannotConnectCode; break;
    case QNetworkReply::RemoteHostClosedError:
    // Qt wanted to send the request again after the connection closed, and was not let.
    case QNetworkReply::ContentReSendError: code = connectionLostCode; break;
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::BackgroundRequestNotAllowedError: code = notConnectedCode; break;
    case QNetworkReply::SslHandshakeFailedError: code = secureConnectionFailedCode; break;
    case QNetworkReply::TooManyRedirectsError:
    case QNetworkReply::InsecureRedirectError: code = tooManyRedirectsCode; break;
    case QNetworkReply::ProtocolUnknownError: code = unsupportedURLCode; break;
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyNotFoundError: code = cannotConnectCode; break;
    case QNetworkReply::ProxyConnectionClosedError: code = connectionLostCode; break;
    case QNetworkReply::ProxyTimeoutError: code = timedOutCode; break;
    default: code = unknownCode; break;
    }
    return fromCode(code, std::move(description));
}

NetworkFailure NetworkFailure::nonNetwork(QString description)
{
    NetworkFailure failure;
    failure.kind = Kind::nonNetwork;
    failure.code = 0;
    failure.description = std::move(description);
    return failure;
}

QString NetworkFailure::summary() const
{
    switch (kind) {
    case Kind::noInternet: return QStringLiteral("no internet");
    case Kind::connectionLost: return QStringLiteral("connection lost");
    case Kind::cannotConnect: return QStringLiteral("cannot connect to host");
    case Kind::cannotFindHost: return QStringLiteral("cannot find host");
    case Kind::timeout: return QStringLiteral("timeout");
    case Kind::nonNetwork: return description;
    case Kind::other: break;
    }
    return QStringLiteral("network error (") + QString::number(code) + QLatin1Char(')');
}
