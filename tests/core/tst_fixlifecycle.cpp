#include "FixTestBackends.h"

#include <QSignalSpy>
#include <QTest>

class TestFixLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endpointIsAskedAtBothMoments();
    void twoQuickPressesShowOnlyTheSecondRun();
    void pressDuringTheRequestDropsTheFirstRun();
    void cancelWhileLoadingShowsNothingMore();
    void retryWithoutPendingContentDoesNothing();
    void retryRunsThePendingContentAgain();
    void completionAfterANewerRunBelongsToItsOwnRun();
    void coordinatorGoneBeforeTheEngineAnswers();
    void completionAfterTheCoordinatorIsGone();
};

void TestFixLifecycle::endpointIsAskedAtBothMoments()
{
    // Nothing captured: the failure reports the endpoint as it was when the press came in.
    {
        CoordinatorRig rig;
        rig.settings.custom = true;
        rig.selection.delayMs = 30;
        rig.coordinator->startFix(QStringLiteral("mode-fix"));
        rig.settings.custom = false;
        QTRY_VERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.analytics.failures, (QList<QPair<bool, int>>{{true, 2}}));
    }
    // Content captured: the engine is the one configured when processing begins.
    {
        CoordinatorRig rig;
        rig.selection.answers = {plainContent(QStringLiteral("teh"))};
        rig.selection.delayMs = 30;
        rig.custom.answer = fixTypo;
        rig.coordinator->startFix(QStringLiteral("mode-fix"));
        rig.settings.custom = true;
        QTRY_VERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.custom.calls.size(), 1);
        QVERIFY(rig.cloud.calls.isEmpty());
        QVERIFY(rig.traceLines().contains(QStringLiteral("engine_selected: custom")));
        rig.panel.shown.last().onEditCount(1);
        QCOMPARE(rig.analytics.events[0].second.value(QStringLiteral("endpoint_type")), QVariant(QStringLiteral("custom")));
    }
}

void TestFixLifecycle::twoQuickPressesShowOnlyTheSecondRun()
{
    CoordinatorRig rig;
    rig.selection.answers = {plainContent(QStringLiteral("first teh")), plainContent(QStringLiteral("second teh"))};
    rig.selection.delayMs = 40;
    rig.cloud.answer = fixTypo;
    QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);

    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    const TracePtr firstTrace = rig.coordinator->currentTrace();
    rig.coordinator->startFix(QStringLiteral("mode-pro"));
    const TracePtr secondTrace = rig.coordinator->currentTrace();
    QVERIFY(firstTrace != secondTrace);
    QVERIFY(rig.coordinator->isProcessing());
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    // One continuous run as far as anyone watching can tell.
    QCOMPARE(processing.count(), 2);
    QCOMPARE(rig.selection.calls, 2);
    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "success"}));
    QCOMPARE(rig.panel.shown.last().result->originalText, "second teh");
    QCOMPARE(rig.cloud.calls.size(), 1);
    QCOMPARE(rig.cloud.calls[0].prompt, "Sound professional.");
    QCOMPARE(rig.clipboard.writes.size(), 1);
    QCOMPARE(rig.history.records.size(), 1);
    QCOMPARE(rig.history.records[0].modeName, std::optional<QString>(QStringLiteral("Professional")));
    QVERIFY(rig.analytics.failures.isEmpty());
    // The replaced run recorded nothing after it was replaced, and nothing into its successor's trace.
    QCOMPARE(firstTrace->events().size(), 1);
    QCOMPARE(rig.traceNames().count(QStringLiteral("hotkey_pressed")), 1);
    QCOMPARE(rig.traceNames().count(QStringLiteral("clipboard_read")), 1);
    QCOMPARE(rig.coordinator->pendingContent()->plainText, "second teh");
}

void TestFixLifecycle::pressDuringTheRequestDropsTheFirstRun()
{
    CoordinatorRig rig;
    Gate gate;
    rig.cloud.gate = &gate;
    rig.cloud.answer = fixTypo;
    rig.selection.answers = {plainContent(QStringLiteral("first teh")), plainContent(QStringLiteral("second teh"))};

    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    const TracePtr firstTrace = rig.coordinator->currentTrace();
    QCOMPARE(rig.cloud.calls.size(), 1);
    rig.coordinator->startFix(QStringLiteral("mode-pro"));

    // The first request saw its cancellation and came back, but its run stayed silent.
    QVERIFY(rig.cloud.calls[0].cancel.isCancelled());
    QVERIFY(!rig.cloud.calls[1].cancel.isCancelled());
    QTest::qWait(20);
    QVERIFY(rig.coordinator->isProcessing());
    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "loading"}));
    QCOMPARE(firstTrace->events().last().event, "request_started");

    gate.open();
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "loading", "success"}));
    QCOMPARE(rig.panel.shown.last().result->fixedText, "second the");
    QCOMPARE(firstTrace->events().last().event, "request_started");
    QCOMPARE(rig.clipboard.writes.size(), 1);
    QCOMPARE(rig.history.records.size(), 1);
}

void TestFixLifecycle::cancelWhileLoadingShowsNothingMore()
{
    CoordinatorRig rig;
    Gate gate;
    rig.cloud.gate = &gate;
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QVERIFY(rig.coordinator->isProcessing());

    rig.coordinator->cancel();
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.panel.phases(), QStringList{"loading"});
    QCOMPARE(rig.traceNames().last(), "request_started");
    QVERIFY(rig.clipboard.writes.isEmpty());
    QVERIFY(rig.analytics.failures.isEmpty());
    QVERIFY(rig.coordinator->pendingContent());
}

void TestFixLifecycle::retryWithoutPendingContentDoesNothing()
{
    CoordinatorRig rig;
    QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);
    rig.coordinator->retry();
    QCOMPARE(processing.count(), 0);
    QVERIFY(rig.panel.shown.isEmpty());
    QVERIFY(!rig.coordinator->currentTrace());

    // A run that captured nothing leaves nothing to retry either.
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    const TracePtr trace = rig.coordinator->currentTrace();
    rig.coordinator->retry();
    QCOMPARE(rig.coordinator->currentTrace(), trace);
    QCOMPARE(rig.panel.phases(), QStringList{"error"});
}

void TestFixLifecycle::retryRunsThePendingContentAgain()
{
    CoordinatorRig rig;
    const CapturedContent content = richContent();
    rig.selection.answers = {content};
    rig.cloud.answer = [](const QString&) { return FixOutcome(TextFixError::rateLimited()); };
    rig.coordinator->startFix(QStringLiteral("mode-pro"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    const QString firstTraceId = rig.coordinator->currentTrace()->id();

    // A retry needs neither trust nor a new capture.
    rig.trust.trusted = false;
    rig.cloud.answer = fixTypo;
    rig.coordinator->retry();
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.selection.calls, 1);
    QCOMPARE(rig.trust.prompts, 0);
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
    QCOMPARE(rig.history.records[0].modeName, std::optional<QString>(QStringLiteral("Professional")));
}

void TestFixLifecycle::completionAfterANewerRunBelongsToItsOwnRun()
{
    CoordinatorRig rig;
    rig.selection.answers = {plainContent(QStringLiteral("first teh")), plainContent(QStringLiteral("second teh"))};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    const EditCountCallback firstCompletion = rig.panel.shown.last().onEditCount;
    const QString firstEntry = rig.history.records[0].id;

    Gate gate;
    rig.custom.gate = &gate;
    rig.settings.custom = true;
    rig.coordinator->startFix(QStringLiteral("mode-pro"));
    QVERIFY(rig.coordinator->isProcessing());

    firstCompletion(3);
    QCOMPARE(rig.history.updates, (QList<QPair<QString, qint64>>{{firstEntry, 3}}));
    QCOMPARE(rig.usage.fixes, (QList<QPair<qint64, qint64>>{{3, 9}}));
    const QVariantMap properties = rig.analytics.events.value(0).second;
    QCOMPARE(properties.value(QStringLiteral("endpoint_type")), QVariant(QStringLiteral("cloud")));
    QCOMPARE(properties.value(QStringLiteral("mode_name")), QVariant(QStringLiteral("Fix")));
    QVERIFY(rig.coordinator->isProcessing());

    gate.open();
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.history.records.size(), 2);
}

void TestFixLifecycle::coordinatorGoneBeforeTheEngineAnswers()
{
    CoordinatorRig rig;
    Gate gate;
    rig.cloud.gate = &gate;
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QCOMPARE(rig.cloud.calls.size(), 1);

    rig.coordinator.reset();
    QVERIFY(rig.cloud.calls[0].cancel.isCancelled());
    gate.open();
    QTest::qWait(20);
    QCOMPARE(rig.panel.phases(), QStringList{"loading"});
    QVERIFY(rig.clipboard.writes.isEmpty());
}

void TestFixLifecycle::completionAfterTheCoordinatorIsGone()
{
    CoordinatorRig rig;
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    const EditCountCallback completion = rig.panel.shown.last().onEditCount;

    rig.coordinator.reset();
    completion(1);
    QVERIFY(rig.history.updates.isEmpty());
    QVERIFY(rig.usage.fixes.isEmpty());
    QVERIFY(rig.analytics.events.isEmpty());
}
QTEST_GUILESS_MAIN(TestFixLifecycle)
#include "tst_fixlifecycle.moc"
