#include "panel/PanelTexts.h"

#include <QTest>

class TestPanelTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void successHeader_data()
    {
        QTest::addColumn<qint64>("edits");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("header");
        QTest::newRow("one edit is singular") << qint64(1) << 1.234 << QStringLiteral("Copied! · 1 edit · 1.23s");
        QTest::newRow("zero edits are plural") << qint64(0) << 0.5 << QStringLiteral("Copied! · 0 edits · 0.50s");
        QTest::newRow("two edits") << qint64(2) << 2.0 << QStringLiteral("Copied! · 2 edits · 2.00s");
        QTest::newRow("rounds to two decimals") << qint64(12) << 0.996 << QStringLiteral("Copied! · 12 edits · 1.00s");
        QTest::newRow("large count") << qint64(10000000000) << 61.5 << QStringLiteral("Copied! · 10000000000 edits · 61.50s");
    }

    void successHeader()
    {
        QFETCH(qint64, edits);
        QFETCH(double, seconds);
        QFETCH(QString, header);
        QCOMPARE(PanelTexts::successHeader(edits, seconds), header);
    }

    void errorTitleAndSubtitle_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("subtitle");
        const QString reach = QStringLiteral("Couldn't reach the server");
        const QString api = QStringLiteral("Couldn't connect to your API");
        const QString wrong = QStringLiteral("Something went wrong");
        const QString checkInternet = QStringLiteral("Check your internet connection and try again.");
        const QString checkEndpoint = QStringLiteral("Check your custom endpoint settings and try again.");

        QTest::newRow("internet") << QStringLiteral("No internet connection.") << reach << checkInternet;
        QTest::newRow("server") << QStringLiteral("The server is busy.") << reach << checkInternet;
        QTest::newRow("connection only: raw message below")
            << QStringLiteral("The connection was lost.") << reach << QStringLiteral("The connection was lost.");
        QTest::newRow("API key") << QStringLiteral("The API key is invalid") << api << checkEndpoint;
        QTest::newRow("API endpoint") << QStringLiteral("Check the API endpoint URL.") << api << checkEndpoint;
        QTest::newRow("authentication") << QStringLiteral("authentication failed") << api << checkEndpoint;
        QTest::newRow("server wins over API key")
            << QStringLiteral("The server rejected the API key") << reach << checkInternet;
        QTest::newRow("connection title, API key subtitle")
            << QStringLiteral("connection refused for API key") << reach << checkEndpoint;
        QTest::newRow("case-sensitive: Server") << QStringLiteral("Server error 500") << wrong << QStringLiteral("Server error 500");
        QTest::newRow("case-sensitive: api key") << QStringLiteral("bad api key") << wrong << QStringLiteral("bad api key");
        QTest::newRow("none of the words")
            << QStringLiteral("No text selected. Select some text first.") << wrong
            << QStringLiteral("No text selected. Select some text first.");
    }

    void errorTitleAndSubtitle()
    {
        QFETCH(QString, message);
        QFETCH(QString, title);
        QFETCH(QString, subtitle);
        QCOMPARE(PanelTexts::errorTitle(message), title);
        QCOMPARE(PanelTexts::errorSubtitle(message), subtitle);
    }

    void editPosition_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("total");
        QTest::addColumn<QString>("text");
        QTest::newRow("first") << 0 << 3 << QStringLiteral("1 of 3");
        QTest::newRow("last") << 2 << 3 << QStringLiteral("3 of 3");
        QTest::newRow("none") << 0 << 0 << QStringLiteral("0 of 0");
    }

    void editPosition()
    {
        QFETCH(int, index);
        QFETCH(int, total);
        QFETCH(QString, text);
        QCOMPARE(PanelTexts::editPosition(index, total), text);
    }
};

QTEST_GUILESS_MAIN(TestPanelTexts)
#include "tst_paneltexts.moc"
