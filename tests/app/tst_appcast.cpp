#include "app/Appcast.h"
#include "support/TestData.h"

#include <QTest>

namespace {

QByteArray feed(const QByteArray& items)
{
    return QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                             "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\""
                             " xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n<channel>\n<title>Tembrel</title>\n")
           + items + QByteArrayLiteral("</channel>\n</rss>\n");
}

Appcast parsed(const QByteArray& xml)
{
    const auto result = Appcast::parse(xml);
    if (const auto* error = std::get_if<AppcastError>(&result))
        qWarning().noquote() << error->message();
    return std::get<Appcast>(result);
}

} // namespace

// Reading update feeds as they are written in the wild: versions in elements or on the enclosure,
// channels, release notes inline or linked, and feeds that are broken.
class AppcastTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAFullItemAndAChannelItem()
    {
        const Appcast appcast = parsed(testData("app/appcast.xml"));
        QCOMPARE(appcast.items.size(), 2);
        const AppcastItem& item = appcast.items.first();
        QCOMPARE(item.title, QStringLiteral("Version 1.1"));
        QCOMPARE(item.version, QStringLiteral("1.1"));
        QCOMPARE(item.displayVersion(), QStringLiteral("1.1.0"));
        QCOMPARE(item.channel, QString());
        QCOMPARE(item.releaseNotesUrl, QUrl(QStringLiteral("https://example.invalid/notes/1.1.html")));
        QCOMPARE(item.description, QStringLiteral("<h2>New</h2><ul><li>Steadier shortcuts</li></ul>"));
        QCOMPARE(item.downloadUrl, QUrl(QStringLiteral("https://example.invalid/tembrel-1.1.tar.gz")));
        QCOMPARE(item.publishedAt, QDateTime(QDate(2026, 11, 10), QTime(9, 30), Qt::UTC));
        QCOMPARE(appcast.items.last().channel, QStringLiteral("beta"));
        QCOMPARE(appcast.items.last().version, QStringLiteral("1.2b1"));
    }

    void readsItems_data()
    {
        QTest::addColumn<QByteArray>("items");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("download");
        QTest::addColumn<QString>("channel");

        QTest::newRow("versions on the enclosure of older feeds")
            << QByteArray("<item><title>Old style</title><enclosure url=\"https://example.invalid/t-0.9.zip\""
                          " sparkle:version=\"90\" sparkle:shortVersionString=\"0.9\"/></item>")
            << "90" << "0.9" << "https://example.invalid/t-0.9.zip" << "";
        QTest::newRow("element version wins over the enclosure")
            << QByteArray("<item><sparkle:version>200</sparkle:version>"
                          "<enclosure url=\"https://example.invalid/a\" sparkle:version=\"100\"/></item>")
            << "200" << "200" << "https://example.invalid/a" << "";
        QTest::newRow("the link is the download without an enclosure")
            << QByteArray("<item><sparkle:version>3</sparkle:version><link>https://example.invalid/download</link></item>")
            << "3" << "3" << "https://example.invalid/download" << "";
        QTest::newRow("items without a version left out")
            << QByteArray("<item><title>No version</title><enclosure url=\"https://example.invalid/x\"/></item>"
                          "<item><sparkle:version>5</sparkle:version></item>")
            << "5" << "5" << "" << "";
        QTest::newRow("unknown elements skipped")
            << QByteArray("<item><sparkle:minimumSystemVersion>10.15</sparkle:minimumSystemVersion><dc:creator>x</dc:creator>"
                          "<sparkle:version>7</sparkle:version><sparkle:channel>beta</sparkle:channel></item>")
            << "7" << "7" << "" << "beta";
    }

    void readsItems()
    {
        QFETCH(QByteArray, items);
        QFETCH(QString, version);
        QFETCH(QString, display);
        QFETCH(QString, download);
        QFETCH(QString, channel);
        const Appcast appcast = parsed(feed(items));
        QCOMPARE(appcast.items.size(), 1);
        const AppcastItem& item = appcast.items.first();
        QCOMPARE(item.version, version);
        QCOMPARE(item.displayVersion(), display);
        QCOMPARE(item.downloadUrl, QUrl(download));
        QCOMPARE(item.channel, channel);
    }

    void newestItem_data()
    {
        QTest::addColumn<QByteArray>("items");
        QTest::addColumn<QStringList>("channels");
        QTest::addColumn<QString>("expected"); // empty: none

        const QByteArray mixed = "\n"
        "<item><sparkle:version>1.1</sparkle:version></item>\n"
        "<item><sparkle:version>1.3b1</sparkle:version><sparkle:channel>beta</sparkle:channel></item>\n"
        "<item><sparkle:version>1.2</sparkle:version></item>\n"
        "<item><sparkle:version>2.0</sparkle:version><sparkle:channel>nightly</sparkle:channel></item>";
        QTest::newRow("default channel only") << mixed << QStringList() << "1.2";
        QTest::newRow("beta offered too") << mixed << QStringList{"beta"} << "1.3b1";
        QTest::newRow("another channel when asked for") << mixed << QStringList{"nightly"} << "2.0";
        QTest::newRow("feed order does not matter")
            << QByteArray("<item><sparkle:version>1.10</sparkle:version></item>"
                          "<item><sparkle:version>1.9</sparkle:version></item>")
            << QStringList() << "1.10";
        QTest::newRow("beta only, beta off")
            << QByteArray("<item><sparkle:version>5</sparkle:version><sparkle:channel>beta</sparkle:channel></item>")
            << QStringList() << "";
        QTest::newRow("other systems skipped")
            << QByteArray("<item><sparkle:version>9</sparkle:version><enclosure url=\"https://e.invalid/w\" sparkle:os=\"windows\"/></item>\n"
        "<item><sparkle:version>4</sparkle:version><enclosure url=\"https://e.invalid/l\" sparkle:os=\"linux\"/></item>")
            << QStringList() << "4";
        QTest::newRow("no items") << QByteArray() << QStringList{"beta"} << "";
    }

    void newestItem()
    {
        QFETCH(QByteArray, items);
        QFETCH(QStringList, channels);
        QFETCH(QString, expected);
        const auto newest = parsed(feed(items)).newestItem(QSet<QString>(channels.begin(), channels.end()));
        QCOMPARE(newest ? newest->version : QString(), expected);
    }

    void malformed_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("mentions");

        const int notXml = int(AppcastError::Kind::notXml);
        const int notAppcast = int(AppcastError::Kind::notAnAppcast);
        QTest::newRow("empty") << QByteArray() << notAppcast << "empty";
        QTest::newRow("html error page") << QByteArray("<html><body>502 Bad Gateway</body></html>") << notAppcast
                                         << "<html>";
        QTest::newRow("json") << QByteArray("{\"version\": \"1.2\"}") << notXml << "line 1";
        QTest::newRow("cut off in transit")
            << feed("<item><sparkle:version>2</sparkle:version></item>").left(200) << notXml << "line";
        QTest::newRow("undeclared sparkle prefix")
            << QByteArray("<rss><channel><item><sparkle:version>2</sparkle:version></item></channel></rss>") << notXml
            << "line 1";
        QTest::newRow("rss without a channel") << QByteArray("<rss version=\"2.0\"></rss>") << notAppcast << "channel";
    }

    void malformed()
    {
        QFETCH(QByteArray, xml);
        QFETCH(int, kind);
        QFETCH(QString, mentions);
        const auto result = Appcast::parse(xml);
        QVERIFY(std::holds_alternative<AppcastError>(result));
        const AppcastError& error = std::get<AppcastError>(result);
        QCOMPARE(int(error.kind), kind);
        QVERIFY2(error.message().contains(mentions), qPrintable(error.message()));
    }
};

QTEST_GUILESS_MAIN(AppcastTest)
#include "tst_appcast.moc"
