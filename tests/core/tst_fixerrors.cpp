#include "core/TextFixError.h"

#include <QTest>

Q_DECLARE_METATYPE(FixError)
Q_DECLARE_METATYPE(FailureCategory)
Q_DECLARE_METATYPE(NetworkFailure)

class TestFixErrors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Numbers in messages must not follow the user's grouping.
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    void cleanupTestCase() { QLocale::setDefault(QLocale::c()); }
    void vocabulary_data()
    {
        QTest::addColumn<FixError>("error");
        QTest::addColumn<QString>("description"); // of a TextFixError or an endpoint error
        QTest::addColumn<QString>("cloudMessage");
        QTest::addColumn<QString>("customMessage");
        QTest::addColumn<QString>("traceReason");
        QTest::addColumn<FailureCategory>("category");

        const QString tooLong = "That's a lot of text! Try a shorter selection.";
        const QString processing = "Couldn't process that text. Try again?";
        const QString offline = "No internet connection. Try again when online.";
        const QString wentWrong = "Something went wrong. Try again?";
        const QString busy = "Service is busy. Try again in a moment.";
        const QString noText = "No text selected. Select some text first.";
        const NetworkFailure timeout = NetworkFailure::fromCode(NetworkFailure::timedOutCode, "timed out");
        auto row = [](const char* name, FixError error, const QString& description, const QString& cloud,
                      const QString& custom, const QString& trace, FailureCategory category) {
            QTest::newRow(name) << error << description << cloud << custom << trace << category;
        };

        row("too long", TextFixError::inputTooLong(100000), "Text is too long. Maximum 100000 characters.", tooLong, tooLong,
            tooLong, FailureCategory::tooLong);
        row("too long, maximum not grouped", TextFixError::inputTooLong(1234567),
            "Text is too long. Maximum 1234567 characters.", tooLong, tooLong, tooLong, FailureCategory::tooLong);
        row("processing", TextFixError::processingFailed(), "Processing failed.", processing, processing, processing,
            FailureCategory::processing);
        row("processing, cause kept aside", TextFixError::processingFailed(timeout), "Processing failed.", processing,
            processing, processing, FailureCategory::processing);
        row("network", TextFixError::networkError(), "Network error. Check your connection.", offline, offline, offline,
            FailureCategory::network);
        row("network, cause kept aside", TextFixError::networkError(timeout), "Network error. Check your connection.",
            offline, offline, offline, FailureCategory::network);
        row("unavailable: the only message that depends on the endpoint", TextFixError::engineUnavailable(),
            "Unable to connect to the server.", "Couldn't reach the server. Check your internet connection.",
            "Couldn't connect to your API endpoint.", "Couldn't connect to your API endpoint.", FailureCategory::network);
        row("empty input", TextFixError::emptyInput(), "No text found to fix.", noText, noText, noText,
            FailureCategory::emptyInput);
        row("empty response is processing, not empty input", TextFixError::emptyResponse(), "No response received.",
            wentWrong, wentWrong, wentWrong, FailureCategory::processing);
        row("rate limited", TextFixError::rateLimited(), "Too many requests. Try again in a moment.", busy, busy, busy,
            FailureCategory::rateLimit);
        for (const auto& [error, text] :
             {std::pair{CustomEndpointError::authenticationFailed, "API authentication failed. Check your API key."},
              std::pair{CustomEndpointError::serverError, "Your API endpoint returned an error."},
              std::pair{CustomEndpointError::invalidResponse, "Invalid response from API endpoint."}})
            row(text, error, text, text, text, text, FailureCategory::other);
        // What an undecodable answer said stays in the log; the panel and the trace get fixed words.
        row("anything else", OtherError{"The data couldn't be read."}, QString(), wentWrong, wentWrong,
            "unknown error", FailureCategory::other);
    }

    void vocabulary()
    {
        QFETCH(FixError, error);
        QFETCH(QString, description);
        QFETCH(QString, cloudMessage);
        QFETCH(QString, customMessage);
        QFETCH(QString, traceReason);
        QFETCH(FailureCategory, category);

        QCOMPARE(panelMessage(error, false), cloudMessage);
        QCOMPARE(panelMessage(error, true), customMessage);
        QCOMPARE(::traceReason(error, true), traceReason);
        QCOMPARE(failureCategory(error), category);
        if (const auto* fixError = std::get_if<TextFixError>(&error)) {
            QCOMPARE(fixError->errorDescription(), description);
            QVERIFY(fixError->errorDescription() != fixError->panelMessage(false));
            QCOMPARE(fixError->category(), category);
        } else if (const auto* endpointError = std::get_if<CustomEndpointError>(&error)) {
            QCOMPARE(errorDescription(*endpointError), description);
        }
    }

    void categoryTexts_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        const QStringList words{"network", "rate_limit", "empty_input", "too_long", "processing", "other"};
        for (int code = 0; code <= 5; ++code)
            QTest::addRow("%d", code) << code << words[code];
        QTest::newRow("larger") << 17 << "other";
        QTest::newRow("negative") << -1 << "other";
    }

    void categoryTexts()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        QCOMPARE(failureCategoryText(code), text);
        if (code >= 0 && code <= 5)
            QCOMPARE(failureCategoryText(FailureCategory(code)), text);
    }

    void networkFailures_data()
    {
        QTest::addColumn<NetworkFailure>("failure");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("summary"); // the trace's words; a kind with a name has its own
        const auto code = [](int c) { return NetworkFailure::fromCode(c, "whatever the system says"); };
        const auto qt = [](QNetworkReply::NetworkError e) { return NetworkFailure::fromReplyError(e, "Qt"); };
        for (const auto& [c, summary] : QList<QPair<int, const char*>>{
                 {-1009, "no internet"}, {-1005, "connection lost"}, {-1004, "cannot connect to host"},
                 {-1003, "cannot find host"}, {-1001, "timeout"}, {-1200, "network error (-1200)"},
                 {-1002, "network error (-1002)"}, {-1, "network error (-1)"}})
            QTest::addRow("%d", c) << code(c) << c << QString(summary);
        QTest::newRow("not from the network speaks for itself")
            << NetworkFailure::nonNetwork("The data is not valid JSON.") << 0 << "The data is not valid JSON.";

        QTest::newRow("Qt timeout") << qt(QNetworkReply::TimeoutError) << -1001 << "timeout";
        QTest::newRow("Qt transfer time-out aborts") << qt(QNetworkReply::OperationCanceledError) << -1001 << "timeout";
        QTest::newRow("Qt host not found") << qt(QNetworkReply::HostNotFoundError) << -1003 << "cannot find host";
        QTest::newRow("Qt refused") << qt(QNetworkReply::ConnectionRefusedError) << -1004 << "cannot connect to host";
        QTest::newRow("Qt closed") << qt(QNetworkReply::RemoteHostClosedError) << -1005 << "connection lost";
        QTest::newRow("Qt no network") << qt(QNetworkReply::NetworkSessionFailedError) << -1009 << "no internet";
        QTest::newRow("Qt network dropped") << qt(QNetworkReply::TemporaryNetworkFailureError) << -1009 << "no internet";
        QTest::newRow("Qt TLS") << qt(QNetworkReply::SslHandshakeFailedError) << -1200 << "network error (-1200)";
        QTest::newRow("Qt redirects") << qt(QNetworkReply::TooManyRedirectsError) << -1007 << "network error (-1007)";
        QTest::newRow("Qt unknown") << qt(QNetworkReply::UnknownNetworkError) << -1 << "network error (-1)";
    }

    void networkFailures()
    {
        QFETCH(NetworkFailure, failure);
        QFETCH(int, code);
        QFETCH(QString, summary);
        QCOMPARE(failure.code, code);
        QCOMPARE(failure.summary(), summary);
        QVERIFY(!failure.description.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFixErrors)
#include "tst_fixerrors.moc"
