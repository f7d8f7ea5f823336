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
        const OptFormat plain = SourceFormat::plainText;
        QTest::newRow("both, html") << a << b << OptText(QStringLiteral("html")) << true << OptFormat(SourceFormat::html);
        QTest::newRow("both, rtf") << a << b << OptText(QStringLiteral("rtf")) << true << OptFormat(SourceFormat::rtf);
        QTest::newRow("both, plainText") << a << b << OptText(QStringLiteral("plainText")) << true << plain;
        QTest::newRow("both, no format reads as plain") << a << b << OptText() << true << plain;
        QTest::newRow("both, unknown format") << a << b << OptText(QStringLiteral("HTML")) << true << plain;
        QTest::newRow("original only") << a << OptText() << OptText(QStringLiteral("html")) << false << OptFormat();
        QTest::newRow("fixed only") << OptText() << b << OptText(QStringLiteral("rtf")) << false << OptFormat();
        QTest::newRow("neither") << OptText() << OptText() << OptText(QStringLiteral("html")) << false << OptFormat();
        QTest::newRow("empty strings count as present") << OptText(QString()) << OptText(QString()) << OptText() << true << plain;
    }

    void resultView()
    {
        QFETCH(OptText, originalHTML);
        QFETCH(OptText, fixedHTML);
        QFETCH(OptText, sourceFormat);
        QFETCH(bool, carriesHTML);
        const FixHistoryEntry entry{{}, {}, QStringLiteral("a"), QStringLiteral("b"), 3, {}, {}, {}, originalHTML, fixedHTML,
                                    sourceFormat};
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
        const FixHistoryEntry entry{{}, {}, QStringLiteral("teh cat in été"), QStringLiteral("the cat"), {},
                                    QStringLiteral("Slack"), {}, {}, QStringLiteral("<b>teh</b>"), {}, {}, QStringLiteral("Casual")};
        QTEST(entry.matches(query.toLower()), "matches");
    }

    void encodesOptionalKeysOnlyWhenPresent()
    {
        FixHistoryEntry entry{QUuid(QStringLiteral("7d444840-9dc0-11d1-b245-5ffdce74fad2")),
                              QDateTime(QDate(2001, 1, 1), QTime(0, 1), QTimeZone::utc()), QStringLiteral("a"),
                              QStringLiteral("b")};
        const auto compact = [&] { return QJsonDocument(entry.toJson()).toJson(QJsonDocument::Compact); };
        // The id upper-case, the time in seconds since 2001.
        QCOMPARE(compact(), QByteArray(R"({"fixedText":"b","id":"7D444840-9DC0-11D1-B245-5FFDCE74FAD2","originalText":"a",)"
                                       R"("timestamp":60})"));
        entry.editCount = 0;
        entry.trace = QList<TraceEvent>{};
        entry.sourceFormat = QString();
        QCOMPARE(compact(), QByteArray(R"({"editCount":0,"fixedText":"b","id":"7D444840-9DC0-11D1-B245-5FFDCE74FAD2",)"
                                       R"("originalText":"a","sourceFormat":"","timestamp":60,"trace":[]})"));
    }

    void decodeRejects_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("error");
        const QByteArray base = R"({"id":"7D444840-9DC0-11D1-B245-5FFDCE74FAD2","timestamp":1.5,"originalText":"a","fixedText":"b")";
        const auto with = [&](const char* from, const char* to) -> QByteArray {
            return QByteArray(base).replace(from, to) + '}';
        };
        const QString none = QStringLiteral("The entry 3 has no value for key \"%1\"");
        const QString wrong = QStringLiteral("The entry 3 has a value of the wrong type for key \"%1\"");
        QTest::newRow("no id") << QByteArray(R"({"timestamp":1,"originalText":"a","fixedText":"b"})") << none.arg("id");
        QTest::newRow("null fixed text") << with(R"("fixedText":"b")", R"("fixedText":null)") << none.arg("fixedText");
        QTest::newRow("id not a uuid") << with("7D444840", "nope") << wrong.arg("id");
        QTest::newRow("timestamp as text") << with("1.5", "\"1.5\"") << wrong.arg("timestamp");
        QTest::newRow("edit count as text") << QByteArray(base + R"(,"editCount":"3"})") << wrong.arg("editCount");
        QTest::newRow("fractional edit count") << QByteArray(base + R"(,"editCount":2.5})") << wrong.arg("editCount");
        QTest::newRow("trace not an array") << QByteArray(base + R"(,"trace":{}})") << wrong.arg("trace");
        QTest::newRow("trace event without name") << QByteArray(base + R"(,"trace":[{"timestamp":1}]})") << wrong.arg("trace");
        QTest::newRow("source app a number") << QByteArray(base + R"(,"sourceApp":7})") << wrong.arg("sourceApp");
        QTest::newRow("mode name a bool") << QByteArray(base + R"(,"modeName":false})") << wrong.arg("modeName");
        QTest::newRow("not an object") << QByteArray("[]") << "The entry 3 is not a JSON object";
    }

    void decodeRejects()
    {
        QFETCH(QByteArray, json);
        const QJsonDocument document = QJsonDocument::fromJson(json);
        QVERIFY(!document.isNull());
        const QJsonValue value = document.isObject() ? QJsonValue(document.object()) : QJsonValue(document.array());
        const auto decoded = HistoryJson::decodeEntry(value, 3);
        QVERIFY(std::holds_alternative<HistoryDecodeError>(decoded));
        QCOMPARE(std::get<HistoryDecodeError>(decoded).index, 3);
        QTEST(std::get<HistoryDecodeError>(decoded).description(), "error");
    }

    void decodeAcceptsLargeEditCountAndEmptyTrace()
    {
        // The all-zero id is a UUID like any other.
        const QByteArray json = R"({"id":"00000000-0000-0000-0000-000000000000","timestamp":0,"originalText":"",)"
                                R"("fixedText":"","editCount":9007199254740993,"trace":[],"extra":1})";
        const auto decoded = HistoryJson::decodeEntry(QJsonDocument::fromJson(json).object(), 0);
        QVERIFY(std::holds_alternative<FixHistoryEntry>(decoded));
        const FixHistoryEntry entry = std::get<FixHistoryEntry>(decoded);
        QVERIFY(entry.id.isNull());
        QCOMPARE(entry.editCount, std::optional<qint64>(9007199254740993));
        QCOMPARE(entry.trace, std::optional<QList<TraceEvent>>(QList<TraceEvent>{}));
        QCOMPARE(entry.timestamp.toUTC(), QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc()));
    }
};

QTEST_GUILESS_MAIN(TestFixHistoryEntry)
#include "tst_fixhistoryentry.moc"
