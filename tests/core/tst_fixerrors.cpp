#include "core/TextFixError.h"
#include "support/TestHttpServer.h"

#include <QSignalSpy>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTest>

Q_DECLARE_METATYPE(TextFixError)
Q_DECLARE_METATYPE(FixError)
Q_DECLARE_METATYPE(FailureCategory)
Q_DECLARE_METATYPE(NetworkFailure::Kind)

class TestFixErrors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textFixErrorVocabulary_data();
    void textFixErrorVocabulary();
    void inputTooLongNamesItsMaximumWithoutGrouping();
    void underlyingFailureNeverChangesAMessage();
    void engineUnavailableDependsOnlyOnTheEndpointInUse();
    void customEndpointErrors_data();
    void customEndpointErrors();
    void otherErrors();
    void traceReasons_data();
    void traceReasons();
    void categoryTexts_data();
    void categoryTexts();
    void summaries_data();
    void summaries();
    void replyErrors_data();
    void replyErrors();
    void realConnectionRefusedSummarises();
    void realTransferTimeoutSummarises();
};

void TestFixErrors::textFixErrorVocabulary_data()
{
    QTest::addColumn<TextFixError>("error");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("message");
    QTest::addColumn<FailureCategory>("category");

    QTest::newRow("inputTooLong") << TextFixError::inputTooLong(100000)
                                  << "Text is too long. Maximum 100000 characters."
                                  << "That's a lot of text! Try a shorter selection." << FailureCategory::tooLong;
    QTest::newRow("processingFailed") << TextFixError::processingFailed() << "Processing failed."
                                      << "Couldn't process that text. Try again?" << FailureCategory::processing;
    QTest::newRow("networkError") << TextFixError::networkError() << "Network error. Check your connection."
                                  << "No internet connection. Try again when online." << FailureCategory::network;
    QTest::newRow("engineUnavailable") << TextFixError::engineUnavailable() << "Unable to connect to the server."
                                       << "Couldn't reach the server. Check your internet connection."
                                       << FailureCategory::network;
    QTest::newRow("emptyInput") << TextFixError::emptyInput() << "No text found to fix."
                                << "No text selected. Select some text first." << FailureCategory::emptyInput;
    QTest::newRow("emptyResponse is processing, not empty input")
        << TextFixError::emptyResponse() << "No response received." << "Something went wrong. Try again?"
        << FailureCategory::processing;
    QTest::newRow("rateLimited") << TextFixError::rateLimited() << "Too many requests. Try again in a moment."
                                 << "Service is busy. Try again in a moment." << FailureCategory::rateLimit;
}

void TestFixErrors::textFixErrorVocabulary()
{
    QFETCH(TextFixError, error);
    QFETCH(QString, description);
    QFETCH(QString, message);
    QFETCH(FailureCategory, category);

    QCOMPARE(error.errorDescription(), description);
    QCOMPARE(error.panelMessage(false), message);
    QCOMPARE(error.category(), category);
    // The same through the variant every engine returns.
    QCOMPARE(panelMessage(FixError(error), false), message);
    QCOMPARE(failureCategory(FixError(error)), category);
    QVERIFY(message != description);
}

void TestFixErrors::inputTooLongNamesItsMaximumWithoutGrouping()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    QCOMPARE(TextFixError::inputTooLong(1234567).errorDescription(), "Text is too long. Maximum 1234567 characters.");
    QVERIFY(!TextFixError::inputTooLong(1234567).panelMessage(true).contains(QLatin1String("1234567")));
    QLocale::setDefault(QLocale::c());
}

void TestFixErrors::underlyingFailureNeverChangesAMessage()
{
    const NetworkFailure failure = NetworkFailure::fromCode(NetworkFailure::timedOutCode, QStringLiteral("timed out"));
    for (const TextFixError& error : {TextFixError::networkError(failure), TextFixError::processingFailed(failure)}) {
        const TextFixError bare = error.kind() == TextFixError::Kind::networkError ? TextFixError::networkError()
                                                                                   : TextFixError::processingFailed();
        QCOMPARE(error.errorDescription(), bare.errorDescription());
        QCOMPARE(error.panelMessage(false), bare.panelMessage(false));
        QCOMPARE(error.category(), bare.category());
        QCOMPARE(error.underlying(), std::optional<NetworkFailure>(failure));
    }
}

void TestFixErrors::engineUnavailableDependsOnlyOnTheEndpointInUse()
{
    const TextFixError error = TextFixError::engineUnavailable();
    QCOMPARE(error.panelMessage(true), "Couldn't connect to your API endpoint.");
    QCOMPARE(error.panelMessage(false), "Couldn't reach the server. Check your internet connection.");
    QCOMPARE(panelMessage(FixError(error), true), "Couldn't connect to your API endpoint.");
    QCOMPARE(error.category(), FailureCategory::network);
    // No other message notices the endpoint.
    for (const TextFixError& other : {TextFixError::inputTooLong(10), TextFixError::processingFailed(),
                                      TextFixError::networkError(), TextFixError::emptyInput(),
                                      TextFixError::emptyResponse(), TextFixError::rateLimited()})
        QCOMPARE(other.panelMessage(true), other.panelMessage(false));
}

void TestFixErrors::customEndpointErrors_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("description");
    QTest::newRow("authenticationFailed") << int(CustomEndpointError::authenticationFailed)
                                          << "API authentication failed. Check your API key.";
    QTest::newRow("serverError") << int(CustomEndpointError::serverError) << "Your API endpoint returned an error.";
    QTest::newRow("invalidResponse") << int(CustomEndpointError::invalidResponse)
                                     << "Invalid response from API endpoint.";
}

void TestFixErrors::customEndpointErrors()
{
    QFETCH(int, error);
    QFETCH(QString, description);
    const auto endpointError = CustomEndpointError(error);
    QCOMPARE(errorDescription(endpointError), description);
    QCOMPARE(panelMessage(FixError(endpointError), true), description);
    QCOMPARE(panelMessage(FixError(endpointError), false), description);
    QCOMPARE(failureCategory(FixError(endpointError)), FailureCategory::other);
}

void TestFixErrors::otherErrors()
{
    const FixError error = OtherError{QStringLiteral("The data couldn't be read because it isn't in the correct format.")};
    QCOMPARE(panelMessage(error, false), "Something went wrong. Try again?");
    QCOMPARE(panelMessage(error, true), "Something went wrong. Try again?");
    QCOMPARE(failureCategory(error), FailureCategory::other);
}

void TestFixErrors::traceReasons_data()
{
    QTest::addColumn<FixError>("error");
    QTest::addColumn<bool>("custom");
    QTest::addColumn<QString>("reason");
    QTest::newRow("fix error: its panel message") << FixError(TextFixError::rateLimited()) << false
                                                  << "Service is busy. Try again in a moment.";
    QTest::newRow("unavailable with custom endpoint") << FixError(TextFixError::engineUnavailable()) << true
                                                      << "Couldn't connect to your API endpoint.";
    QTest::newRow("endpoint error: its description") << FixError(CustomEndpointError::serverError) << true
                                                     << "Your API endpoint returned an error.";
    QTest::newRow("anything else") << FixError(OtherError{QStringLiteral("bad json")}) << false << "unknown error";
}

void TestFixErrors::traceReasons()
{
    QFETCH(FixError, error);
    QFETCH(bool, custom);
    QFETCH(QString, reason);
    QCOMPARE(traceReason(error, custom), reason);
}

void TestFixErrors::categoryTexts_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << "network";
    QTest::newRow("1") << 1 << "rate_limit";
    QTest::newRow("2") << 2 << "empty_input";
    QTest::newRow("3") << 3 << "too_long";
    QTest::newRow("4") << 4 << "processing";
    QTest::newRow("5") << 5 << "other";
    QTest::newRow("larger") << 17 << "other";
    QTest::newRow("negative") << -1 << "other";
}

void TestFixErrors::categoryTexts()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QCOMPARE(failureCategoryText(code), text);
    if (code >= 0 && code <= 5)
        QCOMPARE(failureCategoryText(FailureCategory(code)), text);
}

void TestFixErrors::summaries_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<NetworkFailure::Kind>("kind");
    QTest::addColumn<QString>("summary");
    QTest::newRow("-1009") << -1009 << NetworkFailure::Kind::noInternet << "no internet";
    QTest::newRow("-1005") << -1005 << NetworkFailure::Kind::connectionLost << "connection lost";
    QTest::newRow("-1004") << -1004 << NetworkFailure::Kind::cannotConnect << "cannot connect to host";
    QTest::newRow("-1003") << -1003 << NetworkFailure::Kind::cannotFindHost << "cannot find host";
    QTest::newRow("-1001") << -1001 << NetworkFailure::Kind::timeout << "timeout";
    QTest::newRow("-1200") << -1200 << NetworkFailure::Kind::other << "network error (-1200)";
    QTest::newRow("-1002 is not a named one") << -1002 << NetworkFailure::Kind::other << "network error (-1002)";
    QTest::newRow("-1") << -1 << NetworkFailure::Kind::other << "network error (-1)";
}

void TestFixErrors::summaries()
{
    QFETCH(int, code);
    QFETCH(NetworkFailure::Kind, kind);
    QFETCH(QString, summary);
    const NetworkFailure failure = NetworkFailure::fromCode(code, QStringLiteral("whatever the system says"));
    QCOMPARE(failure.kind, kind);
    QCOMPARE(failure.code, code);
    QCOMPARE(failure.summary(), summary);
    // A failure from outside the network layer speaks for itself.
    QCOMPARE(NetworkFailure::nonNetwork(QStringLiteral("The data is not valid JSON.")).summary(),
             "The data is not valid JSON.");
}

void TestFixErrors::replyErrors_data()
{
    QTest::addColumn<int>("replyError");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("summary");
    QTest::newRow("timeout") << int(QNetworkReply::TimeoutError) << -1001 << "timeout";
    QTest::newRow("transfer timeout abort") << int(QNetworkReply::OperationCanceledError) << -1001 << "timeout";
    QTest::newRow("host not found") << int(QNetworkReply::HostNotFoundError) << -1003 << "cannot find host";
    QTest::newRow("refused") << int(QNetworkReply::ConnectionRefusedError) << -1004 << "cannot connect to host";
    QTest::newRow("closed") << int(QNetworkReply::RemoteHostClosedError) << -1005 << "connection lost";
    QTest::newRow("no network") << int(QNetworkReply::NetworkSessionFailedError) << -1009 << "no internet";
    QTest::newRow("network dropped") << int(QNetworkReply::TemporaryNetworkFailureError) << -1009 << "no internet";
    QTest::newRow("tls") << int(QNetworkReply::SslHandshakeFailedError) << -1200 << "network error (-1200)";
    QTest::newRow("redirects") << int(QNetworkReply::TooManyRedirectsError) << -1007 << "network error (-1007)";
    QTest::newRow("unknown") << int(QNetworkReply::UnknownNetworkError) << -1 << "network error (-1)";
}

void TestFixErrors::replyErrors()
{
    QFETCH(int, replyError);
    QFETCH(int, code);
    QFETCH(QString, summary);
    const NetworkFailure failure =
        NetworkFailure::fromReplyError(QNetworkReply::NetworkError(replyError), QStringLiteral("from Qt"));
    QCOMPARE(failure.code, code);
    QCOMPARE(failure.summary(), summary);
    QCOMPARE(failure.description, "from Qt");
}

namespace {
QNetworkReply::NetworkError errorOf(QNetworkAccessManager& manager, QNetworkRequest request)
{
    QNetworkReply* reply = manager.post(request, QByteArrayLiteral("{}"));
    QSignalSpy finished(reply, &QNetworkReply::finished);
    finished.wait(10000);
    const QNetworkReply::NetworkError error = reply->error();
    reply->deleteLater();
    return error;
}
} // namespace

void TestFixErrors::realConnectionRefusedSummarises()
{
    // A port that was just free: nothing listens there any more.
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost));
    const quint16 port = probe.serverPort();
    probe.close();

    QNetworkAccessManager manager;
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/api/fix").arg(port)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    const auto error = errorOf(manager, request);
    QCOMPARE(NetworkFailure::fromReplyError(error).summary(), "cannot connect to host");
}

void TestFixErrors::realTransferTimeoutSummarises()
{
    TestHttpServer server;
    QVERIFY(server.listen());
    server.setDefaultResponse(CannedResponse::json(200, {}, 3000));

    QNetworkAccessManager manager;
    QNetworkRequest request(server.url(QStringLiteral("/api/fix")));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(200);
    const auto error = errorOf(manager, request);
    QVERIFY(error != QNetworkReply::NoError);
    QCOMPARE(NetworkFailure::fromReplyError(error).summary(), "timeout");
}

QTEST_GUILESS_MAIN(TestFixErrors)
#include "tst_fixerrors.moc"
