#include "core/TextFormat.h"
#include "core/TraceCollector.h"

#include <QJsonDocument>
#include <QTest>
#include <QThread>
#include <QTimeZone>
#include <QUuid>

using Events = QList<TraceEvent>;
Q_DECLARE_METATYPE(Events)

namespace {
QDateTime at(int h, int m, int s, int ms)
{
    return QDateTime(QDate(2024, 3, 5), QTime(h, m, s, ms));
}
} // namespace

// The steps of one fix, their text form for the history window, and the shared text rules.
class TestTraceCollector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QLocale::setDefault(QLocale::c()); }
    void recordsInOrderUnderAFreshUuid()
    {
        TraceCollector trace;
        QVERIFY(!QUuid::fromString(trace.id()).isNull());
        QVERIFY(trace.id() != TraceCollector().id());
        QCOMPARE(TraceCollector("given").id(), "given");
        QVERIFY(trace.events().isEmpty());

        const QDateTime before = QDateTime::currentDateTime();
        trace.record("hotkey_pressed");
        const Events copy = trace.events();
        trace.record("engine_selected", "cloud");
        const QDateTime after = QDateTime::currentDateTime();

        const Events events = trace.events();
        QCOMPARE(copy.size(), 1); // a reader holds a copy, not the live list
        QCOMPARE(events.size(), 2);
        QCOMPARE(events[0].event, "hotkey_pressed");
        QCOMPARE(events[0].detail, std::nullopt);
        QCOMPARE(events[1].event, "engine_selected");
        QCOMPARE(events[1].detail, std::optional<QString>("cloud"));
        QVERIFY(events[0].timestamp >= before && events[1].timestamp <= after);
        QVERIFY(events[0].timestamp <= events[1].timestamp);
    }

    void keepsRecordingOrderAcrossThreads()
    {
        // Each thread records a numbered sequence; the shared list must hold every event once, keep
        // each thread's own order, and never let a timestamp run backwards.
        TraceCollector trace;
        constexpr int threads = 4;
        constexpr int perThread = 500;
        QList<QThread*> workers;
        for (int t = 0; t < threads; ++t) {
            workers << QThread::create([&trace, t] {
                for (int i = 0; i < perThread; ++i)
                    trace.record(QStringLiteral("t%1").arg(t), QString::number(i));
            });
        }
        for (QThread* w : workers)
            w->start();
        for (int i = 0; i < perThread; ++i)
            trace.record("main", QString::number(i));
        for (QThread* w : workers) {
            QVERIFY(w->wait(30000));
            delete w;
        }

        const Events events = trace.events();
        QCOMPARE(events.size(), (threads + 1) * perThread);
        QHash<QString, int> next;
        for (int i = 0; i < events.size(); ++i) {
            const TraceEvent& e = events[i];
            QCOMPARE(e.detail->toInt(), next.value(e.event));
            next[e.event] = e.detail->toInt() + 1;
            if (i > 0)
                QVERIFY(events[i - 1].timestamp <= e.timestamp);
        }
        QCOMPARE(next.size(), threads + 1);
    }

    void render_data()
    {
        QTest::addColumn<std::optional<QString>>("traceId");
        QTest::addColumn<std::optional<QString>>("clientId");
        QTest::addColumn<Events>("events");
        QTest::addColumn<QString>("text");
        const std::optional<QString> none;
        const std::optional<QString> trace("T-1");
        const std::optional<QString> client("C-9");
        const Events one{{at(23, 59, 59, 999), "hotkey_pressed", std::nullopt}};
        const QString oneText = "[2024-03-05 23:59:59.999] hotkey_pressed\n\nTotal: 0 ms";

        QTest::newRow("both ids") << trace << client << one << "Trace ID: T-1\nClient ID: C-9\n\n" + oneText;
        QTest::newRow("trace id only") << trace << none << one << "Trace ID: T-1\n\n" + oneText;
        QTest::newRow("client id only") << none << client << one << "Client ID: C-9\n\n" + oneText;
        QTest::newRow("no ids: no header, no leading empty line") << none << none << one << oneText;
        QTest::newRow("details, empty detail, milliseconds padded")
            << none << none
            << Events{{at(9, 5, 1, 7), "hotkey_pressed", std::nullopt},
                      {at(9, 5, 1, 130), "clipboard_read", "12 chars (plain)"},
                      {at(9, 5, 2, 9), "panel_shown", ""}}
            << "[2024-03-05 09:05:01.007] hotkey_pressed\n"
               "[2024-03-05 09:05:01.130] clipboard_read: 12 chars (plain)\n"
               "[2024-03-05 09:05:02.009] panel_shown: \n"
               "\n"
               "Total: 1,002 ms";
        QTest::newRow("no events: no total") << none << none << Events{} << QString();
        QTest::newRow("no events with an id") << trace << none << Events{} << "Trace ID: T-1\n";
    }

    void render()
    {
        QFETCH(std::optional<QString>, traceId);
        QFETCH(std::optional<QString>, clientId);
        QFETCH(Events, events);
        QFETCH(QString, text);
        QCOMPARE(TraceCollector::render(traceId, clientId, events), text);
    }

    void totalIsGroupedInTheUsersLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("total");
        QTest::newRow("no locale set reads as English") << QLocale::c() << "Total: 1,234,567 ms";
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedStates) << "Total: 1,234,567 ms";
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany) << "Total: 1.234.567 ms";
    }

    void totalIsGroupedInTheUsersLocale()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, total);
        QLocale::setDefault(locale);
        const QDateTime start = at(8, 0, 0, 0);
        const Events events{{start, "a", std::nullopt},
                            {start.addMSecs(1234567), "b", std::nullopt}};
        QVERIFY(TraceCollector::render(std::nullopt, std::nullopt, events).endsWith(QLatin1String("\n\n") + total));
    }

    void eventJsonRoundTrip()
    {
        const QDateTime when(QDate(2001, 1, 1), QTime(0, 0, 10, 500), QTimeZone::utc());
        const TraceEvent event{when, "result", "812 ms total"};
        const QJsonObject json = event.toJson();
        QCOMPARE(json, (QJsonObject{{"timestamp", 10.5}, {"event", "result"}, {"detail", "812 ms total"}}));
        const auto back = TraceEvent::fromJson(json);
        QVERIFY(back);
        QCOMPARE(back->timestamp.toMSecsSinceEpoch(), when.toMSecsSinceEpoch());
        QCOMPARE(back->detail, event.detail);

        const TraceEvent bare{when, "hotkey_pressed", std::nullopt};
        QVERIFY(!bare.toJson().contains("detail"));
        QCOMPARE(TraceEvent::fromJson(bare.toJson())->detail, std::nullopt);
    }

    void eventJsonRejectsMalformed_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("no timestamp") << QByteArray(R"({"event":"a"})");
        QTest::newRow("timestamp as text") << QByteArray(R"({"timestamp":"1","event":"a"})");
        QTest::newRow("no event") << QByteArray(R"({"timestamp":1})");
        QTest::newRow("detail not text") << QByteArray(R"({"timestamp":1,"event":"a","detail":3})");
    }

    void eventJsonRejectsMalformed()
    {
        QFETCH(QByteArray, json);
        QVERIFY(!TraceEvent::fromJson(QJsonDocument::fromJson(json).object()));
    }

    void textRules()
    {
        QCOMPARE(TextFormat::groupedNumber(999), "999");
        QCOMPARE(TextFormat::groupedNumber(1234), "1,234");
        QVERIFY(TextFormat::isBlank(" \n\t "));
        QVERIFY(!TextFormat::isBlank(" x "));
        QCOMPARE(TextFormat::escapeHtml("<a href=\"x\">Tom's &amp;</a>"),
                 "&lt;a href=&quot;x&quot;&gt;Tom&#39;s &amp;amp;&lt;/a&gt;");
        QCOMPARE(TextFormat::plural(1, "edit"), "1 edit");
        QCOMPARE(TextFormat::plural(0, "edit"), "0 edits");
    }
};

QTEST_GUILESS_MAIN(TestTraceCollector)
#include "tst_tracecollector.moc"
