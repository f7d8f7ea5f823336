#include "core/TextFormat.h"
#include "core/TraceCollector.h"

#include <QJsonDocument>
#include <QTest>
#include <QThread>
#include <QTimeZone>
#include <QUuid>

class TestTraceCollector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QLocale::setDefault(QLocale::c()); }
    void eachCollectorHasAFreshUuid();
    void recordsInOrderWithAndWithoutDetail();
    void readingCopiesTheEvents();
    void keepsRecordingOrderAcrossThreads();
    void renderHeaders_data();
    void renderHeaders();
    void renderEventLines();
    void oneEventTotalsZero();
    void totalIsGroupedInTheUsersLocale_data();
    void totalIsGroupedInTheUsersLocale();
    void noEventsRenderNoTotal();
    void eventJsonRoundTrip();
    void eventJsonRejectsMalformed_data();
    void eventJsonRejectsMalformed();
    void textRules();
};

namespace {
QDateTime at(int h, int m, int s, int ms)
{
    return QDateTime(QDate(2024, 3, 5), QTime(h, m, s, ms));
}
} // namespace

void TestTraceCollector::eachCollectorHasAFreshUuid()
{
    TraceCollector a;
    TraceCollector b;
    QVERIFY(!QUuid::fromString(a.id()).isNull());
    QVERIFY(a.id() != b.id());
    QVERIFY(a.events().isEmpty());
    QCOMPARE(TraceCollector(QStringLiteral("given")).id(), "given");
}

void TestTraceCollector::recordsInOrderWithAndWithoutDetail()
{
    TraceCollector trace;
    const QDateTime before = QDateTime::currentDateTime();
    trace.record(QStringLiteral("hotkey_pressed"));
    trace.record(QStringLiteral("engine_selected"), QStringLiteral("cloud"));
    const QDateTime after = QDateTime::currentDateTime();

    const QList<TraceEvent> events = trace.events();
    QCOMPARE(events.size(), 2);
    QCOMPARE(events[0].event, "hotkey_pressed");
    QCOMPARE(events[0].detail, std::nullopt);
    QCOMPARE(events[1].event, "engine_selected");
    QCOMPARE(events[1].detail, std::optional<QString>(QStringLiteral("cloud")));
    QVERIFY(events[0].timestamp >= before && events[1].timestamp <= after);
    QVERIFY(events[0].timestamp <= events[1].timestamp);
}

void TestTraceCollector::readingCopiesTheEvents()
{
    TraceCollector trace;
    trace.record(QStringLiteral("a"));
    const QList<TraceEvent> copy = trace.events();
    trace.record(QStringLiteral("b"));
    QCOMPARE(copy.size(), 1);
    QCOMPARE(trace.events().size(), 2);
}

void TestTraceCollector::keepsRecordingOrderAcrossThreads()
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
        trace.record(QStringLiteral("main"), QString::number(i));
    for (QThread* w : workers) {
        QVERIFY(w->wait(30000));
        delete w;
    }

    const QList<TraceEvent> events = trace.events();
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

void TestTraceCollector::renderHeaders_data()
{
    QTest::addColumn<std::optional<QString>>("traceId");
    QTest::addColumn<std::optional<QString>>("clientId");
    QTest::addColumn<QString>("head");
    const std::optional<QString> none;
    QTest::newRow("both") << std::optional<QString>(QStringLiteral("T-1")) << std::optional<QString>(QStringLiteral("C-9"))
                          << "Trace ID: T-1\nClient ID: C-9\n\n[";
    QTest::newRow("trace only") << std::optional<QString>(QStringLiteral("T-1")) << none << "Trace ID: T-1\n\n[";
    QTest::newRow("client only") << none << std::optional<QString>(QStringLiteral("C-9")) << "Client ID: C-9\n\n[";
    QTest::newRow("neither: no header, no leading empty line") << none << none << "[";
}

void TestTraceCollector::renderHeaders()
{
    QFETCH(std::optional<QString>, traceId);
    QFETCH(std::optional<QString>, clientId);
    QFETCH(QString, head);
    const QList<TraceEvent> events{{at(9, 5, 1, 7), QStringLiteral("hotkey_pressed"), std::nullopt}};
    const QString text = TraceCollector::render(traceId, clientId, events);
    QVERIFY2(text.startsWith(head), qPrintable(text));
}

void TestTraceCollector::renderEventLines()
{
    const QList<TraceEvent> events{
        {at(9, 5, 1, 7), QStringLiteral("hotkey_pressed"), std::nullopt},
        {at(9, 5, 1, 130), QStringLiteral("clipboard_read"), QStringLiteral("12 chars (plain)")},
        {at(9, 5, 2, 9), QStringLiteral("panel_shown"), QStringLiteral("")},
    };
    QCOMPARE(TraceCollector::render(std::nullopt, std::nullopt, events),
             "[2024-03-05 09:05:01.007] hotkey_pressed\n"
             "[2024-03-05 09:05:01.130] clipboard_read: 12 chars (plain)\n"
             "[2024-03-05 09:05:02.009] panel_shown: \n"
             "\n"
             "Total: 1,002 ms");
}

void TestTraceCollector::oneEventTotalsZero()
{
    const QList<TraceEvent> events{{at(23, 59, 59, 999), QStringLiteral("hotkey_pressed"), std::nullopt}};
    QCOMPARE(TraceCollector::render(QStringLiteral("X"), std::nullopt, events),
             "Trace ID: X\n\n[2024-03-05 23:59:59.999] hotkey_pressed\n\nTotal: 0 ms");
}

void TestTraceCollector::totalIsGroupedInTheUsersLocale_data()
{
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("total");
    QTest::newRow("no locale set reads as English") << QLocale::c() << "Total: 1,234,567 ms";
    QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedStates) << "Total: 1,234,567 ms";
    QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany) << "Total: 1.234.567 ms";
}

void TestTraceCollector::totalIsGroupedInTheUsersLocale()
{
    QFETCH(QLocale, locale);
    QFETCH(QString, total);
    QLocale::setDefault(locale);
    const QDateTime start = at(8, 0, 0, 0);
    const QList<TraceEvent> events{{start, QStringLiteral("a"), std::nullopt},
                                   {start.addMSecs(1234567), QStringLiteral("b"), std::nullopt}};
    QVERIFY(TraceCollector::render(std::nullopt, std::nullopt, events).endsWith(QLatin1String("\n\n") + total));
}

void TestTraceCollector::noEventsRenderNoTotal()
{
    QCOMPARE(TraceCollector::render(std::nullopt, std::nullopt, {}), QString());
    QCOMPARE(TraceCollector::render(QStringLiteral("T"), std::nullopt, {}), "Trace ID: T\n");
}

void TestTraceCollector::eventJsonRoundTrip()
{
    const QDateTime when(QDate(2001, 1, 1), QTime(0, 0, 10, 500), QTimeZone::utc());
    const TraceEvent event{when, QStringLiteral("result"), QStringLiteral("812 ms total")};
    const QJsonObject json = event.toJson();
    QCOMPARE(json.value(QStringLiteral("timestamp")).toDouble(), 10.5);
    QCOMPARE(json.value(QStringLiteral("event")).toString(), "result");
    QCOMPARE(json.value(QStringLiteral("detail")).toString(), "812 ms total");
    const auto back = TraceEvent::fromJson(json);
    QVERIFY(back);
    QCOMPARE(back->timestamp.toMSecsSinceEpoch(), when.toMSecsSinceEpoch());
    QCOMPARE(back->detail, event.detail);

    const TraceEvent bare{when, QStringLiteral("hotkey_pressed"), std::nullopt};
    QVERIFY(!bare.toJson().contains(QStringLiteral("detail")));
    QCOMPARE(TraceEvent::fromJson(bare.toJson())->detail, std::nullopt);
}

void TestTraceCollector::eventJsonRejectsMalformed_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("no timestamp") << QByteArray(R"({"event":"a"})");
    QTest::newRow("timestamp as text") << QByteArray(R"({"timestamp":"1","event":"a"})");
    QTest::newRow("no event") << QByteArray(R"({"timestamp":1})");
    QTest::newRow("detail not text") << QByteArray(R"({"timestamp":1,"event":"a","detail":3})");
}

void TestTraceCollector::eventJsonRejectsMalformed()
{
    QFETCH(QByteArray, json);
    QVERIFY(!TraceEvent::fromJson(QJsonDocument::fromJson(json).object()));
}

void TestTraceCollector::textRules()
{
    QCOMPARE(TextFormat::groupedNumber(999), "999");
    QCOMPARE(TextFormat::groupedNumber(1234), "1,234");
    QCOMPARE(TextFormat::characterCount(QStringLiteral("e\u0301👍🏽ab")), 4);
    QVERIFY(TextFormat::isBlank(QStringLiteral(" \n\t ")));
    QVERIFY(!TextFormat::isBlank(QStringLiteral(" x ")));
    QCOMPARE(TextFormat::escapeHtml(QStringLiteral("<a href=\"x\">Tom's &amp;</a>")),
             "&lt;a href=&quot;x&quot;&gt;Tom&#39;s &amp;amp;&lt;/a&gt;");
    QCOMPARE(TextFormat::plural(1, QStringLiteral("edit")), "1 edit");
    QCOMPARE(TextFormat::plural(0, QStringLiteral("edit")), "0 edits");
}

QTEST_GUILESS_MAIN(TestTraceCollector)
#include "tst_tracecollector.moc"
