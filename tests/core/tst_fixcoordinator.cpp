#include "FixTestBackends.h"

#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(FixError)

class TestFixCoordinator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unknownModeOnlyShowsAnError();
    void missingTrustPromptsAndCapturesNothing_data();
    void missingTrustPromptsAndCapturesNothing();
    void nothingCapturedIsEmptyInput_data();
    void nothingCapturedIsEmptyInput();
    void richFixRunsEveryStepInOrder();
    void clipboardWrittenNamesGoogleDocs_data();
    void clipboardWrittenNamesGoogleDocs();
    void plainTextWithoutHtmlIsSentAsIs();
    void wrappedPlainTextIsSentAsHtml();
    void noChangesStillWritesTheClipboard();
    void historyDisabledKeepsNoEntry();
    void completionReportsTheRecount();
    void completionLeavesOutAnUnnamedMode();
    void completionWithoutAnalytics();
    void engineUnavailable_data();
    void engineUnavailable();
    void engineErrors_data();
    void engineErrors();
    void engineThrowingEndsInTheErrorPhase();
    void sourceAppNameIsAbsentWhenUnknown();
};

void TestFixCoordinator::unknownModeOnlyShowsAnError()
{
    CoordinatorRig rig;
    QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);
    rig.coordinator->startFix(QStringLiteral("no-such-mode"));

    QCOMPARE(rig.panel.phases(), QStringList{"error"});
    QCOMPARE(rig.panel.shown[0].message, "Unknown mode. Check your settings.");
    QCOMPARE(processing.count(), 0);
    QVERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.selection.calls, 0);
    QVERIFY(!rig.coordinator->currentTrace());
    QVERIFY(!rig.coordinator->currentModePrompt());
    QVERIFY(!rig.coordinator->sourceAppName());
    QVERIFY(rig.analytics.failures.isEmpty());
}

void TestFixCoordinator::missingTrustPromptsAndCapturesNothing_data()
{
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("message");
    QTest::newRow("system settings") << QString() << "Accessibility permission needed. Check System Settings.";
    QTest::newRow("platform reason") << "Synthetic key input is not possible in a Wayland session."
                                     << "Accessibility permission needed. Synthetic key input is not possible in a "
                                        "Wayland session.";
}

void TestFixCoordinator::missingTrustPromptsAndCapturesNothing()
{
    QFETCH(QString, reason);
    QFETCH(QString, message);
    CoordinatorRig rig;
    rig.trust.trusted = false;
    rig.trust.reason = reason;
    rig.selection.answers = {richContent()};

    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.selection.calls, 0);
    QCOMPARE(rig.trust.prompts, 1);
    QCOMPARE(rig.panel.phases(), QStringList{"error"});
    QCOMPARE(rig.panel.shown[0].message, message);
    QCOMPARE(rig.traceLines(), (QStringList{"hotkey_pressed", "error: accessibility permission missing"}));
    QVERIFY(rig.analytics.failures.isEmpty());
    QVERIFY(rig.cloud.calls.isEmpty());
}

void TestFixCoordinator::nothingCapturedIsEmptyInput_data()
{
    QTest::addColumn<bool>("custom");
    QTest::addColumn<bool>("analytics");
    QTest::newRow("cloud") << false << true;
    QTest::newRow("custom") << true << true;
    QTest::newRow("analytics off") << false << false;
}

void TestFixCoordinator::nothingCapturedIsEmptyInput()
{
    QFETCH(bool, custom);
    QFETCH(bool, analytics);
    CoordinatorRig rig;
    rig.settings.custom = custom;
    rig.settings.analytics = analytics;

    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.selection.calls, 1);
    QCOMPARE(rig.panel.phases(), QStringList{"error"});
    QCOMPARE(rig.panel.shown[0].message, "No text selected. Select some text first.");
    QCOMPARE(rig.traceLines(), (QStringList{"hotkey_pressed", "error: no text selected"}));
    if (analytics)
        QCOMPARE(rig.analytics.failures, (QList<QPair<bool, int>>{{custom, 2}}));
    else
        QVERIFY(rig.analytics.failures.isEmpty());
    QVERIFY(!rig.coordinator->pendingContent());
    QVERIFY(rig.cloud.calls.isEmpty() && rig.custom.calls.isEmpty());
}

void TestFixCoordinator::richFixRunsEveryStepInOrder()
{
    CoordinatorRig rig;
    const CapturedContent content = richContent();
    rig.selection.answers = {content};
    rig.cloud.answer = fixTypo;
    QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);

    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(processing.count(), 2);

    QCOMPARE(rig.traceLines(), (QStringList{"hotkey_pressed", "clipboard_read: 1,234 chars (HTML)",
                                             "engine_selected: cloud", "request_started: POST /test",
                                             "result: 1375 ms total", "clipboard_written",
                                             "panel_shown: success (1.4s)"}));

    // The engine fixed the cleaned HTML under the mode's prompt, with the run's own trace.
    const QString cleanedHtml = QStringLiteral("<p>") + content.plainText + QStringLiteral("</p>");
    QCOMPARE(rig.clipboard.cleaned, QStringList{*content.html});
    QCOMPARE(rig.cloud.calls.size(), 1);
    QCOMPARE(rig.cloud.calls[0].text, cleanedHtml);
    QCOMPARE(rig.cloud.calls[0].prompt, "Fix the spelling.");
    QCOMPARE(rig.cloud.calls[0].trace, rig.coordinator->currentTrace());
    QVERIFY(rig.custom.calls.isEmpty());

    // The clipboard got the engine's HTML answer for the captured content.
    const QString fixedHtml = QStringLiteral("<p>") + QString(1230, QLatin1Char('a')) + QStringLiteral(" the</p>");
    QCOMPARE(rig.clipboard.writes.size(), 1);
    QCOMPARE(rig.clipboard.writes[0].fixedText, fixedHtml);
    QCOMPARE(rig.clipboard.writes[0].captured, content);

    // The panel and the history see plain texts, with both HTML forms beside them.
    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "success"}));
    const FixResult expected{content.plainText, QString(1230, QLatin1Char('a')) + QStringLiteral(" the"), 1,
                             cleanedHtml, fixedHtml, SourceFormat::html};
    QCOMPARE(*rig.panel.shown[1].result, expected);
    QCOMPARE(rig.panel.shown[1].duration, 1.375);
    QCOMPARE(rig.coordinator->lastFixResult(), std::optional<FixResult>(expected));

    QCOMPARE(rig.history.records.size(), 1);
    const HistoryRecord& record = rig.history.records[0];
    QVERIFY(!QUuid::fromString(record.id).isNull());
    QCOMPARE(record.originalText, expected.originalText);
    QCOMPARE(record.fixedText, expected.fixedText);
    QCOMPARE(record.editCount, std::optional<qint64>(1));
    QCOMPARE(record.originalHTML, expected.originalHTML);
    QCOMPARE(record.fixedHTML, expected.fixedHTML);
    QCOMPARE(record.sourceFormat, "html");
    QCOMPARE(record.sourceApp, std::optional<QString>(QStringLiteral("Text Editor")));
    QCOMPARE(record.modeName, std::optional<QString>(QStringLiteral("Fix")));
    QCOMPARE(record.traceId, rig.coordinator->currentTrace()->id());
    // The entry holds the trace as it stood when the entry was made, before the panel showed.
    QCOMPARE(record.trace, rig.coordinator->currentTrace()->events().mid(0, 6));
    QVERIFY(qAbs(record.timestamp.secsTo(QDateTime::currentDateTime())) < 60);

    QCOMPARE(rig.coordinator->pendingContent(), std::optional<CapturedContent>(content));
    QCOMPARE(rig.coordinator->currentModeName(), std::optional<QString>(QStringLiteral("Fix")));
    // Nothing is counted until the panel reports its edit count.
    QVERIFY(rig.usage.fixes.isEmpty());
    QVERIFY(rig.analytics.events.isEmpty());
}

void TestFixCoordinator::clipboardWrittenNamesGoogleDocs_data()
{
    QTest::addColumn<bool>("googleDocs");
    QTest::addColumn<QString>("line");
    QTest::newRow("google docs") << true << "clipboard_written: with Google Docs cache invalidation";
    QTest::newRow("other html") << false << "clipboard_written";
}

void TestFixCoordinator::clipboardWrittenNamesGoogleDocs()
{
    QFETCH(bool, googleDocs);
    QFETCH(QString, line);
    CoordinatorRig rig;
    rig.selection.answers = {richContent(googleDocs)};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.traceLines().value(5), line);
    QCOMPARE(rig.clipboard.writes.size(), 1);
    QCOMPARE(rig.clipboard.writes[0].captured.isFromGoogleDocs, googleDocs);
}

void TestFixCoordinator::plainTextWithoutHtmlIsSentAsIs()
{
    CoordinatorRig rig;
    const CapturedContent content{QStringLiteral("teh line\nsecond <b> line"), std::nullopt, SourceFormat::plainText,
                                  false};
    rig.selection.answers = {content};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.cloud.calls[0].text, content.plainText);
    QVERIFY(rig.clipboard.cleaned.isEmpty());
    QCOMPARE(rig.traceLines().value(1), "clipboard_read: 24 chars (plain)");
    // A plain answer is the plain text already; it is not run through the HTML conversion.
    const FixResult& result = *rig.panel.shown.last().result;
    QCOMPARE(result.fixedText, "the line\nsecond <b> line");
    QCOMPARE(result.originalHTML, std::nullopt);
    QCOMPARE(result.fixedHTML, std::nullopt);
    QCOMPARE(result.sourceFormat, std::optional<SourceFormat>(SourceFormat::plainText));
    QCOMPARE(rig.history.records[0].sourceFormat, "plainText");
    QCOMPARE(rig.clipboard.writes[0].fixedText, "the line\nsecond <b> line");
}

void TestFixCoordinator::wrappedPlainTextIsSentAsHtml()
{
    CoordinatorRig rig;
    const CapturedContent content = plainContent(QStringLiteral("teh cat"));
    rig.selection.answers = {content};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.cloud.calls[0].text, "<p>teh cat</p>");
    QCOMPARE(rig.clipboard.writes[0].fixedText, "<p>the cat</p>");
    const FixResult& result = *rig.panel.shown.last().result;
    QCOMPARE(result.originalText, "teh cat");
    QCOMPARE(result.fixedText, "the cat");
    QCOMPARE(result.originalHTML, std::optional<QString>(QStringLiteral("<p>teh cat</p>")));
    QCOMPARE(result.sourceFormat, std::optional<SourceFormat>(SourceFormat::plainText));
    QCOMPARE(rig.traceLines().value(1), "clipboard_read: 7 chars (plain)");
}

void TestFixCoordinator::noChangesStillWritesTheClipboard()
{
    CoordinatorRig rig;
    const CapturedContent content = plainContent(QStringLiteral("All good here."));
    rig.selection.answers = {content};
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "noChanges"}));
    QCOMPARE(rig.traceLines().last(), "panel_shown: no_changes");
    QCOMPARE(rig.clipboard.writes.size(), 1);
    QCOMPARE(rig.history.records.size(), 1);
    QVERIFY(rig.panel.shown.last().onEditCount);

    rig.panel.shown.last().onEditCount(0);
    QCOMPARE(rig.analytics.events.size(), 1);
    QCOMPARE(rig.analytics.events[0].second.value(QStringLiteral("had_changes")), QVariant(false));
}

void TestFixCoordinator::historyDisabledKeepsNoEntry()
{
    CoordinatorRig rig;
    rig.settings.history = false;
    rig.selection.answers = {richContent()};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QVERIFY(rig.history.records.isEmpty());
    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "success"}));
    rig.panel.shown.last().onEditCount(2);
    QVERIFY(rig.history.updates.isEmpty());
    QCOMPARE(rig.usage.fixes, (QList<QPair<qint64, qint64>>{{2, 1234}}));
}

void TestFixCoordinator::completionReportsTheRecount()
{
    CoordinatorRig rig;
    rig.selection.answers = {richContent()};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    // The panel's diff counts differently from the engine; its count is the one kept.
    rig.panel.shown.last().onEditCount(7);
    QCOMPARE(rig.history.updates, (QList<QPair<QString, qint64>>{{rig.history.records[0].id, 7}}));
    QCOMPARE(rig.usage.fixes, (QList<QPair<qint64, qint64>>{{7, 1234}}));
    QCOMPARE(rig.analytics.events.size(), 1);
    QCOMPARE(rig.analytics.events[0].first, "tembrel_completed");
    const QVariantMap expected{{QStringLiteral("endpoint_type"), QStringLiteral("cloud")},
                               {QStringLiteral("edit_count"), qint64(7)},
                               {QStringLiteral("text_length_bucket"), QStringLiteral("chars:1234")},
                               {QStringLiteral("had_changes"), true},
                               {QStringLiteral("duration_ms"), qint64(1375)},
                               {QStringLiteral("mode_name"), QStringLiteral("Fix")}};
    QCOMPARE(rig.analytics.events[0].second, expected);
    QCOMPARE(rig.analytics.events[0].second.value(QStringLiteral("edit_count")).typeId(), QMetaType::LongLong);
    QCOMPARE(rig.analytics.events[0].second.value(QStringLiteral("had_changes")).typeId(), QMetaType::Bool);
}

void TestFixCoordinator::completionLeavesOutAnUnnamedMode()
{
    CoordinatorRig rig;
    rig.modes.list.append({QStringLiteral("mode-bare"), QString(), QStringLiteral("Just fix it.")});
    rig.settings.custom = true;
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.custom.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-bare"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.history.records[0].modeName, std::nullopt);
    rig.panel.shown.last().onEditCount(1);
    const QVariantMap properties = rig.analytics.events.value(0).second;
    QVERIFY(!properties.contains(QStringLiteral("mode_name")));
    QCOMPARE(properties.value(QStringLiteral("endpoint_type")), QVariant(QStringLiteral("custom")));
    QCOMPARE(rig.custom.calls[0].prompt, "Just fix it.");
}

void TestFixCoordinator::completionWithoutAnalytics()
{
    CoordinatorRig rig;
    rig.settings.analytics = false;
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.cloud.answer = fixTypo;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    rig.panel.shown.last().onEditCount(1);
    QVERIFY(rig.analytics.events.isEmpty());
    QCOMPARE(rig.usage.fixes.size(), 1);
    QCOMPARE(rig.history.updates.size(), 1);
}

void TestFixCoordinator::engineUnavailable_data()
{
    QTest::addColumn<bool>("custom");
    QTest::addColumn<QString>("message");
    QTest::newRow("custom endpoint") << true << "Couldn't connect to your API endpoint.";
    QTest::newRow("cloud") << false << "Couldn't reach the server. Check your internet connection.";
}

void TestFixCoordinator::engineUnavailable()
{
    QFETCH(bool, custom);
    QFETCH(QString, message);
    CoordinatorRig rig;
    rig.settings.custom = custom;
    rig.cloud.available = false;
    rig.custom.available = false;
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    TestEngine& used = custom ? rig.custom : rig.cloud;
    TestEngine& unused = custom ? rig.cloud : rig.custom;
    QCOMPARE(used.availabilityChecks, 1);
    QCOMPARE(unused.availabilityChecks, 0);
    QVERIFY(used.calls.isEmpty());
    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "error"}));
    QCOMPARE(rig.panel.shown.last().message, message);
    QCOMPARE(tail(rig.traceLines(), 3),
             (QStringList{QStringLiteral("engine_selected: ") + (custom ? "custom" : "cloud"),
                          "error: engine unavailable", "panel_shown: error"}));
    QCOMPARE(rig.analytics.failures, (QList<QPair<bool, int>>{{custom, 0}}));
    QVERIFY(rig.clipboard.writes.isEmpty());
    QVERIFY(rig.history.records.isEmpty());
}

void TestFixCoordinator::engineErrors_data()
{
    QTest::addColumn<FixError>("error");
    QTest::addColumn<bool>("custom");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<int>("category");

    auto row = [](const char* name, FixError error, bool custom, const QString& message, const QString& reason,
                  int category) { QTest::newRow(name) << error << custom << message << reason << category; };
    const QString wentWrong = QStringLiteral("Something went wrong. Try again?");
    row("too long", TextFixError::inputTooLong(100000), false,
        QStringLiteral("That's a lot of text! Try a shorter selection."),
        QStringLiteral("That's a lot of text! Try a shorter selection."), 3);
    row("processing", TextFixError::processingFailed(), false, QStringLiteral("Couldn't process that text. Try again?"),
        QStringLiteral("Couldn't process that text. Try again?"), 4);
    row("network", TextFixError::networkError(NetworkFailure::fromCode(-1001)), false,
        QStringLiteral("No internet connection. Try again when online."),
        QStringLiteral("No internet connection. Try again when online."), 0);
    row("unavailable raised by the custom engine", TextFixError::engineUnavailable(), true,
        QStringLiteral("Couldn't connect to your API endpoint."), QStringLiteral("Couldn't connect to your API endpoint."),
        0);
    row("empty input", TextFixError::emptyInput(), false, QStringLiteral("No text selected. Select some text first."),
        QStringLiteral("No text selected. Select some text first."), 2);
    row("empty response", TextFixError::emptyResponse(), true, wentWrong, wentWrong, 4);
    row("rate limited", TextFixError::rateLimited(), true, QStringLiteral("Service is busy. Try again in a moment."),
        QStringLiteral("Service is busy. Try again in a moment."), 1);
    row("authentication", CustomEndpointError::authenticationFailed, true,
        QStringLiteral("API authentication failed. Check your API key."),
        QStringLiteral("API authentication failed. Check your API key."), 5);
    row("server error", CustomEndpointError::serverError, true, QStringLiteral("Your API endpoint returned an error."),
        QStringLiteral("Your API endpoint returned an error."), 5);
    row("undecodable answer", OtherError{QStringLiteral("bad JSON")}, true, wentWrong, QStringLiteral("unknown error"), 5);
}

void TestFixCoordinator::engineErrors()
{
    QFETCH(FixError, error);
    QFETCH(bool, custom);
    QFETCH(QString, message);
    QFETCH(QString, reason);
    QFETCH(int, category);
    CoordinatorRig rig;
    rig.settings.custom = custom;
    rig.selection.answers = {richContent()};
    (custom ? rig.custom : rig.cloud).answer = [error](const QString&) { return FixOutcome(error); };
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "error"}));
    QCOMPARE(rig.panel.shown.last().message, message);
    QCOMPARE(tail(rig.traceLines(), 3),
             (QStringList{"request_started: POST /test", QStringLiteral("error: ") + reason, "panel_shown: error"}));
    QCOMPARE(rig.analytics.failures, (QList<QPair<bool, int>>{{custom, category}}));
    QVERIFY(rig.clipboard.writes.isEmpty());
    QVERIFY(rig.history.records.isEmpty());
    QVERIFY(!rig.coordinator->lastFixResult());
    // The content stays for a retry.
    QCOMPARE(rig.coordinator->pendingContent(), std::optional<CapturedContent>(richContent()));
}

void TestFixCoordinator::engineThrowingEndsInTheErrorPhase()
{
    CoordinatorRig rig;
    rig.selection.answers = {richContent()};
    rig.cloud.throwInstead = true;
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());

    QCOMPARE(rig.panel.phases(), (QStringList{"loading", "error"}));
    QCOMPARE(rig.panel.shown.last().message, "Something went wrong. Try again?");
    QCOMPARE(tail(rig.traceLines(), 2), (QStringList{"error: unknown error", "panel_shown: error"}));
    QCOMPARE(rig.analytics.failures, (QList<QPair<bool, int>>{{false, 5}}));
}

void TestFixCoordinator::sourceAppNameIsAbsentWhenUnknown()
{
    CoordinatorRig rig;
    rig.workspace.frontmost.clear();
    rig.selection.answers = {plainContent(QStringLiteral("teh"))};
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.coordinator->sourceAppName(), std::nullopt);
    QCOMPARE(rig.history.records[0].sourceApp, std::nullopt);

    rig.workspace.frontmost = QStringLiteral("Chromium");
    rig.coordinator->startFix(QStringLiteral("mode-fix"));
    QTRY_VERIFY(!rig.coordinator->isProcessing());
    QCOMPARE(rig.history.records[0].sourceApp, std::optional<QString>(QStringLiteral("Chromium")));
}

QTEST_GUILESS_MAIN(TestFixCoordinator)
#include "tst_fixcoordinator.moc"
