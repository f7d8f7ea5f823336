#include "history/FixHistoryEntry.h"
#include "history/RelativeDate.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

using OptText = std::optional<QString>;
using OptFormat = std::optional<SourceFormat>;

class TestFixHistoryEntry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resultView_data()
    {
        QTest::addColumn<OptText>("originalHTML");
        QTest::addColumn<OptText>("fixedHTML");
        QTest::addColumn<OptText>("sourceFormat");
        QTest::addColumn<bool>("carriesHTML");
        QTest::addColumn<OptFormat>("format");

        const OptText a = QStringLiteral("<p>a</p>");
        const OptText b = QStringLiteral("<p>b</p>");
        QTest::newRow("both, html") << a << b << OptText(QStringLiteral("html")) << true << OptFormat(SourceFormat::html);
        QTest::newRow("both, rtf") << a << b << OptText(QStringLiteral("rtf")) << true << OptFormat(SourceFormat::rtf);
        QTest::newRow("both, plainText") << a << b << OptText(QStringLiteral("plainText")) << true
                                         << OptFormat(SourceFormat::plainText);
        QTest::newRow("both, no format reads as plain") << a << b << OptText() << true
                                                        << OptFormat(SourceFormat::plainText);
        QTest::newRow("both, unknown format") << a << b << OptText(QStringLiteral("HTML")) << true
                                              << OptFormat(SourceFormat::plainText);
        QTest::newRow("original only") << a << OptText() << OptText(QStringLiteral("html")) << false << OptFormat();
        QTest::newRow("fixed only") << OptText() << b << OptText(QStringLiteral("rtf")) << false << OptFormat();
        QTest::newRow("neither") << OptText() << OptText() << OptText(QStringLiteral("html")) << false << OptFormat();
        QTest::newRow("empty strings count as present") << OptText(QString()) << OptText(QString()) << OptText() << true
                                                        << OptFormat(SourceFormat::plainText);
    }

    void resultView()
    {
        QFETCH(OptText, originalHTML);
        QFETCH(OptText, fixedHTML);
        QFETCH(OptText, sourceFormat);
        QFETCH(bool, carriesHTML);
        FixHistoryEntry entry;
        entry.originalText = QStringLiteral("a");
        entry.fixedText = QStringLiteral("b");
        entry.editCount = 3;
        entry.originalHTML = originalHTML;
        entry.fixedHTML = fixedHTML;
        entry.sourceFormat = sourceFormat;
        const FixResult result = entry.result();
        QCOMPARE(result.originalText, QStringLiteral("a"));
        QCOMPARE(result.fixedText, QStringLiteral("b"));
        QCOMPARE(result.editCount, std::optional<qint64>(3));
        QCOMPARE(result.originalHTML, carriesHTML ? originalHTML : OptText());
        QCOMPARE(result.fixedHTML, carriesHTML ? fixedHTML : OptText());
        QTEST(result.sourceFormat, "format");
    }

    void sourceFormatNames()
    {
        QCOMPARE(FixHistoryEntry::sourceFormatName(SourceFormat::plainText), OptText(QStringLiteral("plainText")));
        QCOMPARE(FixHistoryEntry::sourceFormatName(SourceFormat::html), OptText(QStringLiteral("html")));
        QCOMPARE(FixHistoryEntry::sourceFormatName(SourceFormat::rtf), OptText(QStringLiteral("rtf")));
        QCOMPARE(FixHistoryEntry::sourceFormatName(std::nullopt), OptText());
    }

    void relativeDate_data()
    {
        QTest::addColumn<qint64>("secondsAgo");
        QTest::addColumn<QString>("text");
        const qint64 day = 86400;
        QTest::newRow("now") << qint64(0) << QStringLiteral("0 sec. ago");
        QTest::newRow("59 s") << qint64(59) << QStringLiteral("59 sec. ago");
        QTest::newRow("60 s") << qint64(60) << QStringLiteral("1 min. ago");
        QTest::newRow("just under an hour") << qint64(3599) << QStringLiteral("59 min. ago");
        QTest::newRow("an hour") << qint64(3600) << QStringLiteral("1 hr. ago");
        QTest::newRow("a day") << day << QStringLiteral("1 day ago");
        QTest::newRow("six days") << 6 * day + 3600 << QStringLiteral("6 days ago");
        QTest::newRow("a week") << 7 * day << QStringLiteral("1 wk. ago");
        QTest::newRow("29 days") << 29 * day << QStringLiteral("4 wk. ago");
        QTest::newRow("30 days") << 30 * day << QStringLiteral("1 mo. ago");
        QTest::newRow("a year") << 365 * day << QStringLiteral("1 yr. ago");
        QTest::newRow("three years") << 3 * 365 * day + 5 << QStringLiteral("3 yr. ago");
        QTest::newRow("future") << qint64(-300) << QStringLiteral("in 5 min.");
        QTest::newRow("future day") << -2 * day << QStringLiteral("in 2 days");
    }

    void relativeDate()
    {
        QFETCH(qint64, secondsAgo);
        const QDateTime now(QDate(2025, 3, 1), QTime(12, 0), QTimeZone::utc());
        QTEST(RelativeDate::abbreviated(now.addSecs(-secondsAgo), now), "text");
    }

    void subtitle()
    {
        const QDateTime now = QDateTime::currentDateTime();
        FixHistoryEntry entry;
        entry.timestamp = now.addSecs(-120);
        QCOMPARE(entry.subtitle(now), QStringLiteral("2 min. ago"));
        entry.sourceApp = QStringLiteral("Mail");
        QCOMPARE(entry.subtitle(now), QStringLiteral("Mail \u00B7 2 min. ago"));
        entry.sourceApp = QString();
        QCOMPARE(entry.subtitle(now), QStringLiteral(" \u00B7 2 min. ago"));
    }

    void matches_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<bool>("matches");
        QTest::newRow("in original") << QStringLiteral("teh") << true;
        QTest::newRow("capitals, only in fixed") << QStringLiteral("THE") << true;
        QTest::newRow("across words") << QStringLiteral("H CA") << true;
        QTest::newRow("only in app") << QStringLiteral("slack") << false;
        QTest::newRow("only in mode") << QStringLiteral("casual") << false;
        QTest::newRow("only in html") << QStringLiteral("<b>") << false;
        QTest::newRow("accented") << QStringLiteral("ÉTÉ") << true;
    }

    void matches()
    {
        QFETCH(QString, query);
        FixHistoryEntry entry;
        entry.originalText = QStringLiteral("teh cat in été");
        entry.fixedText = QStringLiteral("the cat");
        entry.sourceApp = QStringLiteral("Slack");
        entry.modeName = QStringLiteral("Casual");
        entry.originalHTML = QStringLiteral("<b>teh</b>");
        QTEST(entry.matches(query.toLower()), "matches");
    }

    void encodesOptionalKeysOnlyWhenPresent()
    {
        FixHistoryEntry entry{QUuid(QStringLiteral("7d444840-9dc0-11d1-b245-5ffdce74fad2")),
                              QDateTime(QDate(2001, 1, 1), QTime(0, 1), QTimeZone::utc()),
                              QStringLiteral("a"), QStringLiteral("b"), {}, {}, {}, {}, {}, {}, {}, {}};
        QJsonObject object = entry.toJson();
        QCOMPARE(object.keys(), (QStringList{QStringLiteral("fixedText"), QStringLiteral("id"),
                                             QStringLiteral("originalText"), QStringLiteral("timestamp")}));
        QCOMPARE(object.value(QStringLiteral("id")).toString(), QStringLiteral("7D444840-9DC0-11D1-B245-5FFDCE74FAD2"));
        QCOMPARE(object.value(QStringLiteral("timestamp")).toDouble(), 60.0);
        entry.editCount = 0;
        entry.trace = QList<TraceEvent>{};
        entry.sourceFormat = QString();
        object = entry.toJson();
        QCOMPARE(object.value(QStringLiteral("editCount")).toInteger(), 0);
        QVERIFY(object.value(QStringLiteral("trace")).isArray());
        QVERIFY(object.value(QStringLiteral("sourceFormat")).isString());
        QCOMPARE(object.size(), 7);
    }

    void decodeRejects_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("key");
        using K = HistoryDecodeError::Kind;
        const QByteArray base = R"({"id":"7D444840-9DC0-11D1-B245-5FFDCE74FAD2","timestamp":1.5,"originalText":"a","fixedText":"b")";
        QTest::newRow("no id") << QByteArray(R"({"timestamp":1,"originalText":"a","fixedText":"b"})") << int(K::missingKey)
                               << QStringLiteral("id");
        QTest::newRow("null fixed text") << QByteArray(QByteArray(base).replace(R"("fixedText":"b")", R"("fixedText":null)") + '}')
                                         << int(K::missingKey) << QStringLiteral("fixedText");
        QTest::newRow("id not a uuid") << QByteArray(QByteArray(base).replace("7D444840", "nope") + '}') << int(K::wrongType)
                                       << QStringLiteral("id");
        QTest::newRow("timestamp as text") << QByteArray(QByteArray(base).replace("1.5", "\"1.5\"") + '}') << int(K::wrongType)
                                           << QStringLiteral("timestamp");
        QTest::newRow("edit count as text") << QByteArray(base + R"(,"editCount":"3"})") << int(K::wrongType)
                                            << QStringLiteral("editCount");
        QTest::newRow("fractional edit count") << QByteArray(base + R"(,"editCount":2.5})") << int(K::wrongType)
                                               << QStringLiteral("editCount");
        QTest::newRow("trace not an array") << QByteArray(base + R"(,"trace":{}})") << int(K::wrongType) << QStringLiteral("trace");
        QTest::newRow("trace event without name") << QByteArray(base + R"(,"trace":[{"timestamp":1}]})") << int(K::wrongType)
                                                  << QStringLiteral("trace");
        QTest::newRow("source app a number") << QByteArray(base + R"(,"sourceApp":7})") << int(K::wrongType)
                                             << QStringLiteral("sourceApp");
        QTest::newRow("mode name a bool") << QByteArray(base + R"(,"modeName":false})") << int(K::wrongType)
                                          << QStringLiteral("modeName");
        QTest::newRow("not an object") << QByteArray("[]") << int(K::notObject) << QString();
    }

    void decodeRejects()
    {
        QFETCH(QByteArray, json);
        const QJsonDocument document = QJsonDocument::fromJson(json);
        QVERIFY(!document.isNull());
        const QJsonValue value = document.isObject() ? QJsonValue(document.object()) : QJsonValue(document.array());
        const auto decoded = HistoryJson::decodeEntry(value, 3);
        QVERIFY(std::holds_alternative<HistoryDecodeError>(decoded));
        const HistoryDecodeError error = std::get<HistoryDecodeError>(decoded);
        QTEST(int(error.kind), "kind");
        QTEST(error.key, "key");
        QCOMPARE(error.index, 3);
        QVERIFY(error.description().contains(QStringLiteral("entry 3")));
    }

    void decodeAcceptsLargeEditCountAndEmptyTrace()
    {
        const QByteArray json = R"({"id":"7D444840-9DC0-11D1-B245-5FFDCE74FAD2","timestamp":0,"originalText":"",)"
                                R"("fixedText":"","editCount":9007199254740993,"trace":[],"extra":1})";
        const auto decoded = HistoryJson::decodeEntry(QJsonDocument::fromJson(json).object(), 0);
        QVERIFY(std::holds_alternative<FixHistoryEntry>(decoded));
        const FixHistoryEntry entry = std::get<FixHistoryEntry>(decoded);
        QCOMPARE(entry.editCount, std::optional<qint64>(9007199254740993));
        QCOMPARE(entry.trace, std::optional<QList<TraceEvent>>(QList<TraceEvent>{}));
        QCOMPARE(entry.timestamp.toUTC(), QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc()));
    }
};

QTEST_GUILESS_MAIN(TestFixHistoryEntry)
#include "tst_fixhistoryentry.moc"
