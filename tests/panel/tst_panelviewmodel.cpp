#include "panel/PanelViewModel.h"

#include <QSignalSpy>
#include <QTest>

namespace {

FixResult resultWithEdits(std::optional<qint64> edits)
{
    FixResult result;
    result.originalText = QStringLiteral("teh cat");
    result.fixedText = QStringLiteral("the cat");
    result.editCount = edits;
    return result;
}

// Ticks until the model asks to be dismissed; -1 when it has not after `limit` ticks.
int ticksUntilDismissed(PanelViewModel& model, int limit = 1000)
{
    bool dismissed = false;
    model.onDismiss = [&] { dismissed = true; };
    for (int tick = 1; tick <= limit; ++tick) {
        model.tick();
        if (dismissed)
            return tick;
    }
    return -1;
}

} // namespace

class TestPanelViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsAsLoading()
    {
        PanelViewModel model;
        QCOMPARE(model.phase(), PanelPhase::loading());
        QCOMPARE(model.countdownProgress(), 1.0);
        QCOMPARE(model.countdownDuration(), 10.0);
        QVERIFY(!model.isHovered());
        QVERIFY(!model.countdownCancelled());
        QCOMPARE(model.currentEditIndex(), 0);
        QCOMPARE(model.totalEdits(), 0);
        QVERIFY(!model.isCountingDown());
    }

    void phaseEquality_data()
    {
        QTest::addColumn<PanelPhase>("a");
        QTest::addColumn<PanelPhase>("b");
        QTest::addColumn<bool>("equal");

        FixResult one = resultWithEdits(1);
        FixResult sameTextsOtherCount = resultWithEdits(7);
        sameTextsOtherCount.fixedHTML = QStringLiteral("<p>the cat</p>");
        FixResult otherFixed = resultWithEdits(1);
        otherFixed.fixedText = QStringLiteral("the dog");
        FixResult otherOriginal = resultWithEdits(1);
        otherOriginal.originalText = QStringLiteral("teh dog");

        QTest::newRow("loading") << PanelPhase::loading() << PanelPhase::loading() << true;
        QTest::newRow("success, only texts and duration count")
            << PanelPhase::success(one, 1.5) << PanelPhase::success(sameTextsOtherCount, 1.5) << true;
        QTest::newRow("success, other fixed text") << PanelPhase::success(one, 1.5) << PanelPhase::success(otherFixed, 1.5) << false;
        QTest::newRow("success, other original text")
            << PanelPhase::success(one, 1.5) << PanelPhase::success(otherOriginal, 1.5) << false;
        QTest::newRow("success, other duration") << PanelPhase::success(one, 1.5) << PanelPhase::success(one, 1.25) << false;
        QTest::newRow("no changes, same duration") << PanelPhase::noChanges(0.4) << PanelPhase::noChanges(0.4) << true;
        QTest::newRow("no changes, other duration") << PanelPhase::noChanges(0.4) << PanelPhase::noChanges(0.5) << false;
        QTest::newRow("error, same message") << PanelPhase::error(QStringLiteral("x")) << PanelPhase::error(QStringLiteral("x")) << true;
        QTest::newRow("error, other message") << PanelPhase::error(QStringLiteral("x")) << PanelPhase::error(QStringLiteral("y")) << false;
        QTest::newRow("different cases") << PanelPhase::noChanges(0.0) << PanelPhase::loading() << false;
        QTest::newRow("error and empty no changes") << PanelPhase::error(QString()) << PanelPhase::noChanges(0.0) << false;
    }

    void phaseEquality()
    {
        QFETCH(PanelPhase, a);
        QFETCH(PanelPhase, b);
        QFETCH(bool, equal);
        QCOMPARE(a == b, equal);
        QCOMPARE(b == a, equal);
    }

    void countdownDurationByPhase_data()
    {
        QTest::addColumn<PanelPhase>("phase");
        QTest::addColumn<double>("seconds");

        QTest::newRow("success without a count") << PanelPhase::success(resultWithEdits(std::nullopt), 1) << 5.0;
        QTest::newRow("0 edits") << PanelPhase::success(resultWithEdits(0), 1) << 3.0;
        QTest::newRow("1 edit") << PanelPhase::success(resultWithEdits(1), 1) << 5.0;
        QTest::newRow("5 edits") << PanelPhase::success(resultWithEdits(5), 1) << 5.0;
        QTest::newRow("6 edits") << PanelPhase::success(resultWithEdits(6), 1) << 7.0;
        QTest::newRow("15 edits") << PanelPhase::success(resultWithEdits(15), 1) << 7.0;
        QTest::newRow("16 edits") << PanelPhase::success(resultWithEdits(16), 1) << 9.0;
        QTest::newRow("30 edits") << PanelPhase::success(resultWithEdits(30), 1) << 9.0;
        QTest::newRow("31 edits") << PanelPhase::success(resultWithEdits(31), 1) << 10.0;
        QTest::newRow("500 edits") << PanelPhase::success(resultWithEdits(500), 1) << 10.0;
        QTest::newRow("no changes") << PanelPhase::noChanges(0.3) << 3.0;
        QTest::newRow("error") << PanelPhase::error(QStringLiteral("Request timed out.")) << 5.0;
    }

    void countdownDurationByPhase()
    {
        QFETCH(PanelPhase, phase);
        QFETCH(double, seconds);
        PanelViewModel model;
        model.setPhase(phase);
        QCOMPARE(model.countdownDuration(), seconds);
        QVERIFY(model.isCountingDown());
        // One tick every 0.05 s: the panel goes after exactly seconds / 0.05 unhovered ticks.
        const int expectedTicks = qRound(seconds / PanelViewModel::tickInterval);
        QCOMPARE(ticksUntilDismissed(model), expectedTicks);
        QCOMPARE(model.countdownProgress(), 0.0);
        QVERIFY(!model.isCountingDown());
    }

    void loadingNeverCountsDown()
    {
        PanelViewModel model;
        model.setPhase(PanelPhase::error(QStringLiteral("x")));
        model.setPhase(PanelPhase::loading());
        QVERIFY(!model.isCountingDown());
        // The duration of the phase before stays: loading leaves it alone.
        QCOMPARE(model.countdownDuration(), 5.0);
        bool dismissed = false;
        model.onDismiss = [&] { dismissed = true; };
        QTest::qWait(200);
        QVERIFY(!dismissed);
        QCOMPARE(model.countdownProgress(), 1.0);
    }

    void timerDrivesTheCountdown()
    {
        PanelViewModel model;
        QSignalSpy progress(&model, &PanelViewModel::countdownProgressChanged);
        model.setPhase(PanelPhase::noChanges(0.1));
        const double before = model.countdownProgress();
        QTRY_VERIFY(model.countdownProgress() < before);
        QVERIFY(progress.count() >= 2);
    }

    void hoverPausesAndResumes()
    {
        PanelViewModel model;
        model.setPhase(PanelPhase::noChanges(0.1)); // 3 s = 60 ticks
        for (int i = 0; i < 20; ++i)
            model.tick();
        const double paused = model.countdownProgress();
        QVERIFY(qAbs(paused - 2.0 / 3.0) < 1e-9);

        model.setHovered(true);
        bool dismissed = false;
        model.onDismiss = [&] { dismissed = true; };
        for (int i = 0; i < 1000; ++i)
            model.tick();
        QVERIFY(!dismissed);
        QCOMPARE(model.countdownProgress(), paused);
        QVERIFY2(model.isCountingDown(), "the timer keeps running while hovered");

        model.setHovered(false);
        QCOMPARE(ticksUntilDismissed(model), 40);
    }

    void newPhaseRestartsRunningCountdown()
    {
        PanelViewModel model;
        model.setPhase(PanelPhase::error(QStringLiteral("x")));
        for (int i = 0; i < 30; ++i)
            model.tick();
        model.setHovered(true);
        QVERIFY(model.countdownProgress() < 1.0);

        model.setPhase(PanelPhase::success(resultWithEdits(20), 2.0));
        QCOMPARE(model.countdownProgress(), 1.0);
        QVERIFY2(!model.isHovered(), "a new phase clears hover");
        QCOMPARE(model.countdownDuration(), 9.0);
        QCOMPARE(ticksUntilDismissed(model), 180);
    }

    void cancelThenNewPhase()
    {
        PanelViewModel model;
        model.setPhase(PanelPhase::noChanges(0.2));
        model.tick();
        model.cancelCountdown();
        QVERIFY(model.countdownCancelled());
        QVERIFY(!model.isCountingDown());
        QCOMPARE(ticksUntilDismissed(model, 200), -1);

        model.setPhase(PanelPhase::error(QStringLiteral("Request timed out.")));
        QVERIFY(!model.countdownCancelled());
        QCOMPARE(model.countdownProgress(), 1.0);
        QVERIFY(model.isCountingDown());
        QCOMPARE(ticksUntilDismissed(model), 100);
    }

    void resetToLoading()
    {
        PanelViewModel model;
        model.setPhase(PanelPhase::error(QStringLiteral("x")));
        model.tick();
        model.setHovered(true);
        model.cancelCountdown();
        model.setCurrentEditIndex(3);
        model.resetToLoading();
        QCOMPARE(model.phase(), PanelPhase::loading());
        QCOMPARE(model.countdownProgress(), 1.0);
        QVERIFY(!model.countdownCancelled());
        QVERIFY(!model.isHovered());
        QVERIFY(!model.isCountingDown());
        QCOMPARE(model.currentEditIndex(), 3);
    }

    void setPhaseKeepsEditIndex()
    {
        PanelViewModel model;
        model.setTotalEdits(5);
        model.setCurrentEditIndex(2);
        model.setPhase(PanelPhase::success(resultWithEdits(5), 1));
        QCOMPARE(model.currentEditIndex(), 2);
        QCOMPARE(model.totalEdits(), 5);
    }

    void editNavigationWraps_data()
    {
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("previous");
        QTest::addColumn<int>("next");
        QTest::newRow("first of three") << 3 << 0 << 2 << 1;
        QTest::newRow("middle of three") << 3 << 1 << 0 << 2;
        QTest::newRow("last of three") << 3 << 2 << 1 << 0;
        QTest::newRow("only edit") << 1 << 0 << 0 << 0;
    }

    void editNavigationWraps()
    {
        QFETCH(int, total);
        QFETCH(int, index);
        QFETCH(int, previous);
        QFETCH(int, next);
        PanelViewModel model;
        model.setTotalEdits(total);
        model.setCurrentEditIndex(index);
        model.previousEdit();
        QCOMPARE(model.currentEditIndex(), previous);
        model.setCurrentEditIndex(index);
        model.nextEdit();
        QCOMPARE(model.currentEditIndex(), next);
    }

    void navigationWithoutEditsStays()
    {
        PanelViewModel model;
        model.previousEdit();
        model.nextEdit();
        QCOMPARE(model.currentEditIndex(), 0);
        QCOMPARE(model.editPosition(), QStringLiteral("0 of 0"));
    }

    void editCountReportedOncePerPhase()
    {
        PanelViewModel model;
        QList<qint64> reported;
        model.onEditCount = [&](qint64 count) { reported.append(count); };
        model.setPhase(PanelPhase::success(resultWithEdits(std::nullopt), 1.234));
        QCOMPARE(model.successHeader(), QStringLiteral("Copied! · 0 edits · 1.23s"));

        model.setCurrentEditIndex(2);
        model.reportEditCount(4);
        QCOMPARE(model.totalEdits(), 4);
        QCOMPARE(model.currentEditIndex(), 0);
        QCOMPARE(model.successHeader(), QStringLiteral("Copied! · 4 edits · 1.23s"));
        QCOMPARE(model.editPosition(), QStringLiteral("1 of 4"));
        model.reportEditCount(4);
        QCOMPARE(reported, QList<qint64>{4});

        model.setPhase(PanelPhase::success(resultWithEdits(1), 0.5));
        QCOMPARE(model.successHeader(), QStringLiteral("Copied! · 1 edit · 0.50s"));
        model.reportEditCount(1);
        QCOMPARE(reported, (QList<qint64>{4, 1}));
    }

    void retryAndDismissReachTheController()
    {
        PanelViewModel model;
        QStringList calls;
        model.dismiss();
        model.retry();
        model.onDismiss = [&] { calls << QStringLiteral("dismiss"); };
        model.onRetry = [&] { calls << QStringLiteral("retry"); };
        model.retry();
        model.dismiss();
        QCOMPARE(calls, (QStringList{QStringLiteral("retry"), QStringLiteral("dismiss")}));
    }

    void phaseKindForViews()
    {
        PanelViewModel model;
        QSignalSpy changed(&model, &PanelViewModel::phaseChanged);
        model.setPhase(PanelPhase::noChanges(1));
        QCOMPARE(model.phaseKind(), PanelViewModel::PhaseKind::NoChanges);
        model.setPhase(PanelPhase::noChanges(1));
        QCOMPARE(changed.count(), 2);
        model.setPhase(PanelPhase::error(QStringLiteral("x")));
        QCOMPARE(model.phaseKind(), PanelViewModel::PhaseKind::Error);
        FixResult rich = resultWithEdits(1);
        rich.originalHTML = QStringLiteral("<p>teh</p>");
        rich.fixedHTML = QStringLiteral("<p>the</p>");
        model.setPhase(PanelPhase::success(rich, 1));
        QCOMPARE(model.phaseKind(), PanelViewModel::PhaseKind::Success);
        QVERIFY(model.hasHtmlDiff());
        model.setPhase(PanelPhase::success(resultWithEdits(1), 1));
        QVERIFY(!model.hasHtmlDiff());
    }
};

QTEST_GUILESS_MAIN(TestPanelViewModel)
#include "tst_panelviewmodel.moc"
