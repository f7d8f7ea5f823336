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

// The countdown's state in words, ending with how many more ticks it takes to dismiss the panel.
QString describe(PanelViewModel& model)
{
    QStringList parts{QStringLiteral("progress %1").arg(model.countdownProgress(), 0, 'f', 2),
                      QStringLiteral("%1 s").arg(model.countdownDuration())};
    if (model.isCountingDown())
        parts << QStringLiteral("counting");
    if (model.isHovered())
        parts << QStringLiteral("hovered");
    if (model.countdownCancelled())
        parts << QStringLiteral("cancelled");
    parts << QStringLiteral("index %1").arg(model.currentEditIndex());
    // Only the countdown's timer ticks the model: a model that is not counting down is never dismissed.
    const int ticks = model.isCountingDown() ? ticksUntilDismissed(model) : -1;
    parts << (ticks < 0 ? QStringLiteral("never dismissed") : QStringLiteral("dismissed after %1").arg(ticks));
    return parts.join(QStringLiteral(", "));
}

} // namespace

class TestPanelViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void phaseEquality_data()
    {
        QTest::addColumn<PanelPhase>("a");
        QTest::addColumn<PanelPhase>("b");
        QTest::addColumn<bool>("equal");
        const FixResult one = resultWithEdits(1);
        FixResult otherCountAndHtml = resultWithEdits(7);
        otherCountAndHtml.fixedHTML = QStringLiteral("<p>the cat</p>");
        FixResult otherFixed = one;
        otherFixed.fixedText = QStringLiteral("the dog");
        FixResult otherOriginal = one;
        otherOriginal.originalText = QStringLiteral("teh dog");
        const auto success = [](const FixResult& result, double seconds) { return PanelPhase::success(result, seconds); };
        const auto error = [](const char* message) { return PanelPhase::error(QLatin1String(message)); };

        QTest::newRow("loading") << PanelPhase::loading() << PanelPhase::loading() << true;
        QTest::newRow("success: only texts and duration count") << success(one, 1.5) << success(otherCountAndHtml, 1.5) << true;
        QTest::newRow("success: other fixed text") << success(one, 1.5) << success(otherFixed, 1.5) << false;
        QTest::newRow("success: other original text") << success(one, 1.5) << success(otherOriginal, 1.5) << false;
        QTest::newRow("success: other duration") << success(one, 1.5) << success(one, 1.25) << false;
        QTest::newRow("no changes: same duration") << PanelPhase::noChanges(0.4) << PanelPhase::noChanges(0.4) << true;
        QTest::newRow("no changes: other duration") << PanelPhase::noChanges(0.4) << PanelPhase::noChanges(0.5) << false;
        QTest::newRow("error: same message") << error("x") << error("x") << true;
        QTest::newRow("error: other message") << error("x") << error("y") << false;
        QTest::newRow("different cases") << PanelPhase::noChanges(0.0) << PanelPhase::loading() << false;
        QTest::newRow("error and empty no changes") << error("") << PanelPhase::noChanges(0.0) << false;
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
        // Edit counts on both sides of every step.
        const QList<std::pair<int, double>> steps = {{0, 3}, {1, 5}, {5, 5}, {6, 7}, {15, 7}, {16, 9}, {30, 9}, {31, 10}, {500, 10}};
        for (const auto& [edits, seconds] : steps)
            QTest::addRow("%d edits", edits) << PanelPhase::success(resultWithEdits(edits), 1) << seconds;
        QTest::newRow("no changes") << PanelPhase::noChanges(0.3) << 3.0;
        QTest::newRow("error") << PanelPhase::error(QStringLiteral("Request timed out.")) << 5.0;
    }

    void countdownDurationByPhase()
    {
        QFETCH(PanelPhase, phase);
        QFETCH(double, seconds);
        PanelViewModel model;
        model.setPhase(phase);
        // One tick every 0.05 s: the panel goes after exactly seconds / 0.05 unhovered ticks.
        QCOMPARE(describe(model), QStringLiteral("progress 1.00, %1 s, counting, index 0, dismissed after %2")
                                      .arg(seconds).arg(qRound(seconds / PanelViewModel::tickInterval)));
        QCOMPARE(model.countdownProgress(), 0.0);
        QVERIFY(!model.isCountingDown());
    }

    // Steps: a phase ("loading", "error", "noChanges" of 3 s, "success20" of 9 s), "tick<n>",
    // "hover", "unhover", "cancel", "index<n>" and "reset".
    void countdown_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("state");
        QTest::newRow("a new model") << "" << "progress 1.00, 10 s, index 0, never dismissed";
        QTest::newRow("loading never counts down and keeps the duration before")
            << "error loading" << "progress 1.00, 5 s, index 0, never dismissed";
        QTest::newRow("hover pauses, the timer keeps running")
            << "noChanges tick20 hover tick1000" << "progress 0.67, 3 s, counting, hovered, index 0, never dismissed";
        QTest::newRow("leaving resumes where it paused")
            << "noChanges tick20 hover tick1000 unhover" << "progress 0.67, 3 s, counting, index 0, dismissed after 40";
        QTest::newRow("a new phase restarts the countdown and clears hover")
            << "error tick30 hover success20" << "progress 1.00, 9 s, counting, index 0, dismissed after 180";
        QTest::newRow("cancel stops it for good")
            << "noChanges tick1 cancel" << "progress 0.98, 3 s, cancelled, index 0, never dismissed";
        QTest::newRow("a new phase after cancel counts again")
            << "noChanges tick1 cancel error" << "progress 1.00, 5 s, counting, index 0, dismissed after 100";
        QTest::newRow("reset to loading keeps only the edit index")
            << "error tick1 hover cancel index3 reset" << "progress 1.00, 5 s, index 3, never dismissed";
        QTest::newRow("a new phase keeps the edit index") << "index2 success20" << "progress 1.00, 9 s, counting, index 2, dismissed after 180";
    }

    void countdown()
    {
        QFETCH(QString, steps);
        QFETCH(QString, state);
        PanelViewModel model;
        model.setTotalEdits(5);
        for (const QString& step : steps.split(u' ', Qt::SkipEmptyParts)) {
            if (step == u"loading")
                model.setPhase(PanelPhase::loading());
            else if (step == u"error")
                model.setPhase(PanelPhase::error(QStringLiteral("x")));
            else if (step == u"noChanges")
                model.setPhase(PanelPhase::noChanges(0.1));
            else if (step == u"success20")
                model.setPhase(PanelPhase::success(resultWithEdits(20), 2.0));
            else if (step.startsWith(u"tick"))
                for (int i = step.mid(4).toInt(); i > 0; --i)
                    model.tick();
            else if (step == u"hover" || step == u"unhover")
                model.setHovered(step == u"hover");
            else if (step == u"cancel")
                model.cancelCountdown();
            else if (step.startsWith(u"index"))
                model.setCurrentEditIndex(step.mid(5).toInt());
            else if (step == u"reset")
                model.resetToLoading();
            else
                QFAIL(qPrintable(step));
        }
        QCOMPARE(describe(model), state);
    }

    void timerDrivesTheCountdown()
    {
        PanelViewModel model;
        QSignalSpy progress(&model, &PanelViewModel::countdownProgressChanged);
        model.setPhase(PanelPhase::noChanges(0.1));
        QTRY_VERIFY(progress.count() >= 2);
        QVERIFY(model.countdownProgress() < 1.0);
        // Loading stops the timer itself, not only the counting.
        model.setPhase(PanelPhase::loading());
        const double stopped = model.countdownProgress();
        QTest::qWait(200);
        QCOMPARE(model.countdownProgress(), stopped);
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
        QTest::newRow("no edits stays") << 0 << 0 << 0 << 0;
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

    void editCountReportedOncePerPhase()
    {
        PanelViewModel model;
        QList<qint64> reported;
        model.onEditCount = [&](qint64 count) { reported.append(count); };
        QCOMPARE(model.editPosition(), QStringLiteral("0 of 0"));
        model.setPhase(PanelPhase::success(resultWithEdits(std::nullopt), 1.234));
        QCOMPARE(model.successHeader(), QStringLiteral("Copied! · 0 edits · 1.23s"));

        model.setCurrentEditIndex(2);
        model.reportEditCount(4);
        QCOMPARE(model.totalEdits(), 4);
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
        model.dismiss(); // nobody listening yet: nothing happens
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
