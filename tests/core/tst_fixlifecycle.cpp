#include "FixTestBackends.h"

#include <QSignalSpy>
#include <QTest>

// Runs that overlap, are cancelled, retried, or outlive their coordinator.
class TestFixLifecycle : public QObject
{
    Q_OBJECT

    static int count(const TracePtr& trace, const QString& event)
    {
        const QList<TraceEvent> events = trace->events();
        return int(std::count_if(events.begin(), events.end(), [&](const TraceEvent& e) { return e.event == event; }));
    }

private Q_SLOTS:
    void endpointIsAskedAtBothMoments()
    {
        // Nothing captured: the failure reports the endpoint as it was when the press came in.
        CoordinatorRig empty;
        empty.settings.custom = true;
        empty.selection.delayMs = 30;
        empty.coordinator->startFix("mode-fix");
        empty.settings.custom = false;
        QTRY_VERIFY(!empty.coordinator->isProcessing());
        QCOMPARE(empty.analytics.failures, (QList<QPair<bool, int>>{{true, 2}}));

        // Content captured: the engine is the one configured when processing begins.
        CoordinatorRig rig;
        rig.selection.answers = {plainContent("teh")};
        rig.selection.delayMs = 30;
        rig.custom.answer = fixTypo;
        rig.coordinator->startFix("mode-fix");
        rig.settings.custom = true;
        QTRY_VERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.custom.calls.size(), 1);
        QVERIFY(rig.cloud.calls.isEmpty());
        QVERIFY(rig.traceLines().contains("engine_selected: custom"));
        rig.panel.shown.last().onEditCount(1);
        QCOMPARE(rig.analytics.events[0].second.value("endpoint_type"), QVariant("custom"));
    }

    void aSecondPressReplacesTheRunInFlight_data()
    {
        QTest::addColumn<bool>("duringRequest");
        QTest::addColumn<QStringList>("phases");
        QTest::addColumn<QString>("firstRunsLastStep");
        QTest::newRow("while capturing") << false << QStringList{"loading", "success"} << "hotkey_pressed";
        QTest::newRow("while the engine works") << true << QStringList{"loading", "loading", "success"}
                                                << "request_started";
    }

    void aSecondPressReplacesTheRunInFlight()
    {
        QFETCH(bool, duringRequest);
        QFETCH(QStringList, phases);
        QFETCH(QString, firstRunsLastStep);
        CoordinatorRig rig;
        Gate gate;
        rig.selection.answers = {plainContent("first teh"), plainContent("second teh")};
        rig.cloud.answer = fixTypo;
        if (duringRequest)
            rig.cloud.gate = &gate;
        else
            rig.selection.delayMs = 40;
        QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);
        rig.coordinator->startFix("mode-fix");
        const TracePtr firstTrace = rig.coordinator->currentTrace();
        rig.coordinator->startFix("mode-pro");
        QVERIFY(rig.coordinator->currentTrace() != firstTrace);
        if (duringRequest) {
            // The first request saw its cancellation and came back, but its run stayed silent.
            QVERIFY(rig.cloud.calls[0].cancel.isCancelled() && !rig.cloud.calls[1].cancel.isCancelled());
            QTRY_COMPARE(rig.cloud.finished, 1);
            QVERIFY(rig.coordinator->isProcessing());
            gate.open();
        }
        QTRY_VERIFY(!rig.coordinator->isProcessing());

        // One continuous run as far as anyone watching can tell.
        QCOMPARE(processing.count(), 2);
        QCOMPARE(rig.selection.calls, 2);
        QCOMPARE(rig.panel.phases(), phases);
        QCOMPARE(rig.panel.shown.last().result->fixedText, "second the");
        QCOMPARE(rig.cloud.calls.last().prompt, "Sound professional.");
        QCOMPARE(rig.clipboard.writes.size(), 1);
        QCOMPARE(rig.history.records.size(), 1);
        QCOMPARE(rig.history.records[0].modeName, std::optional<QString>("Professional"));
        QVERIFY(rig.analytics.failures.isEmpty());
        // The replaced run recorded nothing after it was replaced, and nothing into its successor's trace.
        QCOMPARE(firstTrace->events().last().event, firstRunsLastStep);
        QCOMPARE(count(rig.coordinator->currentTrace(), "hotkey_pressed"), 1);
        QCOMPARE(count(rig.coordinator->currentTrace(), "clipboard_read"), 1);
        QCOMPARE(rig.coordinator->pendingContent()->plainText, "second teh");
    }

    void cancelWhileLoadingShowsNothingMore()
    {
        CoordinatorRig rig;
        Gate gate;
        rig.cloud.gate = &gate;
        rig.selection.answers = {plainContent("teh")};
        rig.coordinator->startFix("mode-fix");
        QVERIFY(rig.coordinator->isProcessing());
        rig.coordinator->cancel();
        QTRY_VERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.panel.phases(), QStringList{"loading"});
        QCOMPARE(rig.traceLines().last(), "request_started: POST /test");
        QVERIFY(rig.clipboard.writes.isEmpty() && rig.analytics.failures.isEmpty());
        QVERIFY(rig.coordinator->pendingContent());
    }

    void retryWithoutPendingContentDoesNothing()
    {
        CoordinatorRig rig;
        QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);
        rig.coordinator->retry();
        QCOMPARE(processing.count(), 0);
        QVERIFY(rig.panel.shown.isEmpty());
        QVERIFY(!rig.coordinator->currentTrace());

        // A run that captured nothing leaves nothing to retry either.
        QVERIFY(rig.run());
        const TracePtr trace = rig.coordinator->currentTrace();
        rig.coordinator->retry();
        QCOMPARE(rig.coordinator->currentTrace(), trace);
        QCOMPARE(rig.panel.phases(), QStringList{"error"});
    }

    void retryRunsThePendingContentAgain()
    {
        CoordinatorRig rig;
        rig.selection.answers = {richContent()};
        rig.cloud.answer = [](const QString&) { return FixOutcome(TextFixError::rateLimited()); };
        QVERIFY(rig.run("mode-pro"));
        const QString firstTraceId = rig.coordinator->currentTrace()->id();

        // A retry needs neither trust nor a new capture.
        rig.trust.trusted = false;
        rig.cloud.answer = fixTypo;
        rig.coordinator->retry();
        QTRY_VERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.selection.calls, 1);
        QCOMPARE(rig.trust.trustRequests, 0);
        QVERIFY(rig.coordinator->currentTrace()->id() != firstTraceId);
        QCOMPARE(rig.traceLines(), (QStringList{"retry_triggered", "clipboard_read: 1,234 chars (from pending)",
                                                 "engine_selected: cloud", "request_started: POST /test",
                                                 "result: 1375 ms total", "clipboard_written",
                                                 "panel_shown: success (1.4s)"}));
        QCOMPARE(rig.cloud.calls.size(), 2);
        QCOMPARE(rig.cloud.calls[1].prompt, "Sound professional.");
        QCOMPARE(rig.cloud.calls[1].text, rig.cloud.calls[0].text);
        QCOMPARE(rig.panel.phases(), (QStringList{"loading", "error", "loading", "success"}));
        QCOMPARE(rig.history.records.size(), 1);
        QCOMPARE(rig.history.records[0].traceId, rig.coordinator->currentTrace()->id());
        QCOMPARE(rig.history.records[0].modeName, std::optional<QString>("Professional"));
    }

    void completionAfterANewerRunBelongsToItsOwnRun()
    {
        CoordinatorRig rig;
        rig.selection.answers = {plainContent("first teh"), plainContent("second teh")};
        rig.cloud.answer = fixTypo;
        QVERIFY(rig.run());
        const EditCountCallback firstCompletion = rig.panel.shown.last().onEditCount;
        const QString firstEntry = rig.history.ids[0];

        Gate gate;
        rig.custom.gate = &gate;
        rig.settings.custom = true;
        rig.coordinator->startFix("mode-pro");
        QVERIFY(rig.coordinator->isProcessing());
        firstCompletion(3);
        QCOMPARE(rig.history.updates, (QList<QPair<QString, qint64>>{{firstEntry, 3}}));
        QCOMPARE(rig.usage.fixes, (QList<QPair<qint64, qint64>>{{3, 9}}));
        const QVariantMap properties = rig.analytics.events.value(0).second;
        QCOMPARE(properties.value("endpoint_type"), QVariant("cloud"));
        QCOMPARE(properties.value("mode_name"), QVariant("Fix"));
        QVERIFY(rig.coordinator->isProcessing());
        gate.open();
        QTRY_VERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.history.records.size(), 2);
    }

    void coordinatorGoneBeforeTheEngineAnswers()
    {
        CoordinatorRig rig;
        Gate gate;
        rig.cloud.gate = &gate;
        rig.selection.answers = {plainContent("teh")};
        rig.coordinator->startFix("mode-fix");
        QCOMPARE(rig.cloud.calls.size(), 1);
        rig.coordinator.reset();
        QVERIFY(rig.cloud.calls[0].cancel.isCancelled());
        gate.open();
        QTRY_COMPARE(rig.cloud.finished, 1);
        QCOMPARE(rig.panel.phases(), QStringList{"loading"});
        QVERIFY(rig.clipboard.writes.isEmpty());
    }

    void completionAfterTheCoordinatorIsGone()
    {
        CoordinatorRig rig;
        rig.selection.answers = {plainContent("teh")};
        rig.cloud.answer = fixTypo;
        QVERIFY(rig.run());
        const EditCountCallback completion = rig.panel.shown.last().onEditCount;
        rig.coordinator.reset();
        completion(1);
        QVERIFY(rig.history.updates.isEmpty() && rig.usage.fixes.isEmpty() && rig.analytics.events.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFixLifecycle)
#include "tst_fixlifecycle.moc"
