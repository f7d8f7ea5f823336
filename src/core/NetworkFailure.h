#pragma once
#include <QNetworkReply>
#include <QString>

/// A transport failure kept beside an error for diagnosis; it never changes a message. Codes are
/// the URL-loading codes the macOS build reports, so traces read the same on every platform.
struct NetworkFailure
{
    /// What went wrong on the wire; `other` keeps its code, `nonNetwork` is a failure from outside
    /// the network layer (a decoding error, say) described by its own text.
    enum class Kind { noInternet, connectionLost, cannotConnect, cannotFindHost, timeout, other, nonNetwork };

    /// URL-loading codes with a name of their own.
    enum Code : int {
        cancelledCode = -999,
        unknownCode = -1,
        timedOutCode = -1001,
        unsupportedURLCode = -1002,
        cannotFindHostCode = -1003,
        cannotConnectCode = -1004,
        connectionLostCode = -1005,
        tooManyRedirectsCode = -1007,
        notConnectedCode = -1009,
        secureConnectionFailedCode = -1200,
    };

    Kind kind = Kind::other;
    int code = unknownCode;
    QString description;

    bool operator==(const NetworkFailure&) const = default;

    /// A failure with a URL-loading code; the kind follows from the code.
    [[nodiscard]] static NetworkFailure fromCode(int code, QString description = {});
    /// The URL-loading failure that stands for a Qt network error.
    [[nodiscard]] static NetworkFailure fromReplyError(QNetworkReply::NetworkError error, QString description = {});
    /// A failure that did not come from the network layer.
    [[nodiscard]] static NetworkFailure nonNetwork(QString description);

    /// Short text for trace details: "timeout", "no internet", "network error (-1200)", or the
    /// description of a failure from outside the network layer.
    [[nodiscard]] QString summary() const;
};
