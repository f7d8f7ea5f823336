#include "FixTestBackends.h"

#include <QSignalSpy>
#include <QTest>

using Answer = std::function<FixOutcome(const QString&)>;
using Failures = QList<QPair<bool, int>>;
Q_DECLARE_METATYPE(Answer)
Q_DECLARE_METATYPE(CapturedContent)

// One run of the coordinator from the press to the panel, against recording neighbours.
class TestFixCoordinator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unknownModeOnlyShowsAnError()
    {
        CoordinatorRig rig;
        QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);
        rig.coordinator->startFix("no-such-mode");
        QCOMPARE(rig.panel.phases(), QStringList{"error"});
        QCOMPARE(rig.panel.shown[0].message, "Unknown mode. Check your settings.");
        QCOMPARE(processing.count(), 0);
        QVERIFY(!rig.coordinator->isProcessing());
        QCOMPARE(rig.selection.calls, 0);
        QVERIFY(!rig.coordinator->currentTrace() && !rig.coordinator->currentModePrompt());
        QVERIFY(!rig.coordinator->sourceAppName());
        QVERIFY(rig.analytics.failures.isEmpty());
    }

    void beforeTheEngine_data()
    {
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<bool>("custom");
        QTest::addColumn<bool>("analytics");
        QTest::addColumn<QString>("message");
        QTest::addColumn<Failures>("failures");
        const QString noText = "No text selected. Select some text first.";
        QTest::newRow("not trusted") << false << QString() << false << true
                                     << "Accessibility permission needed. Check System Settings." << Failures{};
        QTest::newRow("not trusted, the platform says why")
            << false << "Synthetic key input is not possible in a Wayland session." << false << true
            << "Accessibility permission needed. Synthetic key input is not possible in a Wayland session."
            << Failures{};
        QTest::newRow("nothing captured, cloud") << true << QString() << false << true << noText << Failures{{false, 2}};
        QTest::newRow("nothing captured, custom") << true << QString() << true << true << noText << Failures{{true, 2}};
        QTest::newRow("nothing captured, analytics off") << true << QString() << false << false << noText << Failures{};
    }

    void beforeTheEngine()
    {
        QFETCH(bool, trusted);
        QFETCH(QString, reason);
        QFETCH(bool, custom);
        QFETCH(bool, analytics);
        QFETCH(QString, message);
        QFETCH(Failures, failures);
        CoordinatorRig rig;
        rig.trust.trusted = trusted;
        rig.trust.reason = reason;
        rig.settings.custom = custom;
        rig.settings.analytics = analytics;
        if (!trusted)
            rig.selection.answers = {richContent()};
        QVERIFY(rig.run());

        // Without trust nothing is captured and the system is asked to prompt the user.
        QCOMPARE(rig.selection.calls, trusted ? 1 : 0);
        QCOMPARE(rig.trust.trustRequests, trusted ? 0 : 1);
        QCOMPARE(rig.panel.phases(), QStringList{"error"});
        QCOMPARE(rig.panel.shown[0].message, message);
        QCOMPARE(rig.traceLines(), (QStringList{"hotkey_pressed", trusted ? "error: no text selected"
                                                                          : "error: accessibility permission missing"}));
        QCOMPARE(rig.analytics.failures, failures);
        QVERIFY(!rig.coordinator->pendingContent());
        QVERIFY(rig.cloud.calls.isEmpty() && rig.custom.calls.isEmpty());
    }

    // Which engine serves: the user's endpoint when configured; else the cloud service when the
    // build names one; else proofreading on this computer.
    void engineChoice_data()
    {
        QTest::addColumn<bool>("custom");
        QTest::addColumn<QString>("cloudUrl");
        QTest::addColumn<QString>("expected");
        QTest::newRow("nothing set up") << false << QString() << "offline";
        QTest::newRow("blank cloud address") << false << QStringLiteral("  ") << "offline";
        QTest::newRow("cloud built in") << false << QStringLiteral("http://127.0.0.1:9") << "cloud";
        QTest::newRow("custom, no cloud") << true << QString() << "custom";
        QTest::newRow("custom and cloud") << true << QStringLiteral("http://127.0.0.1:9") << "custom";
    }

    void engineChoice()
    {
        QFETCH(bool, custom);
        QFETCH(QString, cloudUrl);
        QFETCH(QString, expected);
        CoordinatorRig rig;
        TestEngine offline{&rig.clock};
        rig.coordinator = std::make_unique<FixCoordinator>(
            FixNeighbourhood{rig.modes, rig.selection, rig.clipboard, rig.cloud, rig.custom, rig.panel, rig.settings,
                             rig.history, rig.usage, rig.analytics, rig.trust, rig.workspace, &rig.clock, &offline,
                             cloudUrl});
        rig.settings.custom = custom;
        rig.selection.answers = {plainContent("Some text.")};
        QVERIFY(rig.run());
        QCOMPARE(rig.traceLines().value(2), "engine_selected: " + expected);
        QCOMPARE(offline.calls.size(), expected == "offline" ? 1 : 0);
        QCOMPARE(rig.cloud.calls.size(), expected == "cloud" ? 1 : 0);
        QCOMPARE(rig.custom.calls.size(), expected == "custom" ? 1 : 0);
        QCOMPARE(rig.panel.phases(), (QStringList{"loading", "noChanges"}));
    }

    void richFixRunsEveryStepInOrder()
    {
        CoordinatorRig rig;
        rig.selection.answers = {richContent()};
        rig.cloud.answer = fixTypo;
        QSignalSpy processing(rig.coordinator.get(), &FixCoordinator::isProcessingChanged);
        QVERIFY(rig.run());
        QCOMPARE(processing.count(), 2);
        QCOMPARE(rig.traceLines(), (QStringList{"hotkey_pressed", "clipboard_read: 1,234 chars (HTML)",
                                                 "engine_selected: cloud", "request_started: POST /test",
                                                 "result: 1375 ms total", "clipboard_written",
                                                 "panel_shown: success (1.4s)"}));
        // The engine ran under the mode's prompt, with the run's own trace.
        QCOMPARE(rig.cloud.calls.size(), 1);
        QCOMPARE(rig.cloud.calls[0].prompt, "Fix the spelling.");
        QCOMPARE(rig.cloud.calls[0].trace, rig.coordinator->currentTrace());
        QVERIFY(rig.custom.calls.isEmpty());
        QCOMPARE(rig.panel.phases(), (QStringList{"loading", "success"}));
        QCOMPARE(rig.panel.shown[1].duration, 1.375);
        const FixResult result = *rig.panel.shown[1].result;
        QCOMPARE(rig.coordinator->lastFixResult(), std::optional<FixResult>(result));

        // The history holds what the panel shows, with where, how and when it happened.
        QCOMPARE(rig.history.records.size(), 1);
        const HistoryRecord& record = rig.history.records[0];
        QCOMPARE((FixResult{record.originalText, record.fixedText, record.editCount, record.originalHTML,
                            record.fixedHTML, result.sourceFormat}),
                 result);
        QCOMPARE(record.sourceApp, std::optional<QString>("TextEdit"));
        QCOMPARE(record.modeName, std::optional<QString>("Fix"));
        QCOMPARE(record.traceId, rig.coordinator->currentTrace()->id());
        // The entry holds the trace as it stood when the entry was made, before the panel showed.
        QCOMPARE(record.trace, rig.coordinator->currentTrace()->events().mid(0, 6));
        QVERIFY(qAbs(record.timestamp.secsTo(QDateTime::currentDateTime())) < 60);
        QCOMPARE(rig.coordinator->pendingContent(), std::optional<CapturedContent>(richContent()));
        QCOMPARE(rig.coordinator->currentModeName(), std::optional<QString>("Fix"));
        // Nothing is counted until the panel reports its edit count.
        QVERIFY(rig.usage.fixes.isEmpty() && rig.analytics.events.isEmpty());
    }

    void contentShapes_data()
    {
        QTest::addColumn<CapturedContent>("content");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("readLine");
        QTest::addColumn<QString>("written");   // what reached the clipboard
        QTest::addColumn<QString>("fixedText"); // what the panel and the history show
        QTest::addColumn<QString>("writtenLine");
        QTest::addColumn<QString>("storedFormat");

        // Plain text without HTML goes as it is; its answer is not run through the HTML conversion,
        // which would fold its line breaks and drop its angle brackets.
        const QString lines = "the line\nsecond <b> line";
        QTest::newRow("plain text only")
            << CapturedContent{"teh line\nsecond <b> line", std::nullopt, SourceFormat::plainText, false}
            << "teh line\nsecond <b> line" << "clipboard_read: 24 chars (plain)" << lines << lines
            << "clipboard_written" << "plainText";
        // An HTML rendering of a plain selection is never what is sent: the user wrote plain text.
        QTest::newRow("plain text with an HTML rendering")
            << CapturedContent{"teh  cat", "<p>teh  cat</p>", SourceFormat::plainText, false} << "teh  cat"
            << "clipboard_read: 8 chars (plain)" << "the  cat" << "the  cat" << "clipboard_written" << "plainText";
        const QString fixedRich = QString(1230, u'a') + " the";
        // Rich text goes cleaned of its styles; the panel and the history get the answer's plain text.
        QTest::newRow("HTML") << richContent() << "<p>" + richContent().plainText + "</p>"
                              << "clipboard_read: 1,234 chars (HTML)" << "<p>" + fixedRich + "</p>" << fixedRich
                              << "clipboard_written" << "html";
        const QString docs = "<b id=\"docs-internal-guid-1\"><p>%1</p></b>";
        QTest::newRow("google docs") << richContent(true) << docs.arg(richContent().plainText)
                                     << "clipboard_read: 1,234 chars (HTML)" << docs.arg(fixedRich) << fixedRich
                                     << "clipboard_written: with Google Docs cache invalidation" << "html";
    }

    void contentShapes()
    {
        QFETCH(CapturedContent, content);
        QFETCH(QString, sent);
        QFETCH(QString, readLine);
        QFETCH(QString, written);
        QFETCH(QString, fixedText);
        QFETCH(QString, writtenLine);
        QFETCH(QString, storedFormat);
        CoordinatorRig rig;
        rig.selection.answers = {content};
        rig.cloud.answer = fixTypo;
        QVERIFY(rig.run());

        const bool rich = content.html && content.sourceFormat != SourceFormat::plainText;
        QCOMPARE(rig.clipboard.cleaned, rich ? QStringList{*content.html} : QStringList{});
        QCOMPARE(rig.cloud.calls[0].text, sent);
        QCOMPARE(rig.traceLines().value(1), readLine);
        QCOMPARE(rig.traceLines().value(5), writtenLine);
        QCOMPARE(rig.clipboard.writes.size(), 1);
        QCOMPARE(rig.clipboard.writes[0].fixedText, written);
        QCOMPARE(rig.clipboard.writes[0].captured, content);
        const FixResult& result = *rig.panel.shown.last().result;
        QCOMPARE(result.originalText, content.plainText);
        QCOMPARE(result.fixedText, fixedText);
        QCOMPARE(result.editCount, std::optional<qint64>(1));
        QCOMPARE(result.originalHTML, rich ? std::optional<QString>(sent) : std::nullopt);
        QCOMPARE(result.fixedHTML, rich ? std::optional<QString>(written) : std::nullopt);
        QCOMPARE(result.sourceFormat, std::optional<SourceFormat>(content.sourceFormat));
        QCOMPARE(rig.history.records[0].sourceFormat, storedFormat);
    }

    void completion_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("custom");
        QTest::addColumn<bool>("history");
        QTest::addColumn<bool>("analytics");
        QTest::addColumn<bool>("changes");
        QTest::newRow("changed") << "mode-fix" << false << true << true << true;
        // An unchanged text still goes to the clipboard and the history, and still counts.
        QTest::newRow("no changes") << "mode-fix" << false << true << true << false;
        QTest::newRow("unnamed mode, custom endpoint") << "mode-bare" << true << true << true << true;
        QTest::newRow("history off") << "mode-fix" << false << false << true << true;
        QTest::newRow("analytics off") << "mode-fix" << false << true << false << true;
    }

    void completion()
    {
        QFETCH(QString, mode);
        QFETCH(bool, custom);
        QFETCH(bool, history);
        QFETCH(bool, analytics);
        QFETCH(bool, changes);
        CoordinatorRig rig;
        rig.modes.list.append({"mode-bare", " ", "Just fix it."});
        rig.settings.custom = custom;
        rig.settings.history = history;
        rig.settings.analytics = analytics;
        rig.selection.answers = {richContent()};
        if (changes)
            (custom ? rig.custom : rig.cloud).answer = fixTypo;
        QVERIFY(rig.run(mode));

        const bool named = mode == u"mode-fix";
        QCOMPARE((custom ? rig.custom : rig.cloud).calls.value(0).prompt, named ? "Fix the spelling." : "Just fix it.");
        QCOMPARE(rig.panel.phases(), (QStringList{"loading", changes ? "success" : "noChanges"}));
        QCOMPARE(rig.traceLines().last(), changes ? "panel_shown: success (1.4s)" : "panel_shown: no_changes");
        QCOMPARE(rig.clipboard.writes.size(), 1);
        QCOMPARE(rig.history.records.size(), history ? 1 : 0);
        if (history)
            QCOMPARE(rig.history.records[0].modeName, named ? std::optional<QString>("Fix") : std::nullopt);
        // Nothing is counted until the panel has its own count, and then the panel's count is kept.
        QVERIFY(rig.usage.fixes.isEmpty() && rig.analytics.events.isEmpty() && rig.history.updates.isEmpty());
        rig.panel.shown.last().onEditCount(7);

        const QList<QPair<QString, qint64>> updates{{history ? rig.history.ids[0] : QString(), 7}};
        QCOMPARE(rig.history.updates, history ? updates : decltype(updates){});
        QCOMPARE(rig.usage.fixes, (QList<QPair<qint64, qint64>>{{7, 1234}}));
        QCOMPARE(rig.analytics.events.size(), analytics ? 1 : 0);
        if (!analytics)
            return;
        QVariantMap expected{{"endpoint_type", custom ? "custom" : "cloud"}, {"edit_count", qint64(7)},
                             {"text_length_bucket", "chars:1234"}, {"had_changes", changes},
                             {"duration_ms", qint64(1375)}};
        if (named)
            expected.insert("mode_name", "Fix");
        QCOMPARE(rig.analytics.events[0].first, "tembrel_completed");
        QCOMPARE(rig.analytics.events[0].second, expected);
        QCOMPARE(rig.analytics.events[0].second.value("edit_count").typeId(), QMetaType::LongLong);
        QCOMPARE(rig.analytics.events[0].second.value("had_changes").typeId(), QMetaType::Bool);
    }

    void failures_data()
    {
        QTest::addColumn<bool>("available");
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<bool>("custom");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("category");

        // One failure of each kind; which error gives which words is the error vocabulary's own test.
        const auto fails = [](FixError error) { return Answer([error](const QString&) { return FixOutcome(error); }); };
        const auto row = [](const char* name, bool available, Answer answer, bool custom, const QString& message,
                            const QString& reason, int category) {
            QTest::newRow(name) << available << answer << custom << message << reason << category;
        };
        const QString wentWrong = "Something went wrong. Try again?";
        const QString endpoint = "Couldn't connect to your API endpoint.";
        const QString busy = "Service is busy. Try again in a moment.";
        const QString auth = "API authentication failed. Check your API key.";
        row("unavailable, custom", false, {}, true, endpoint, "engine unavailable", 0);
        row("unavailable, cloud", false, {}, false, "Couldn't reach the server. Check your internet connection.",
            "engine unavailable", 0);
        row("unavailable raised by the custom engine", true, fails(TextFixError::engineUnavailable()), true, endpoint,
            endpoint, 0);
        row("rate limited", true, fails(TextFixError::rateLimited()), true, busy, busy, 1);
        row("authentication", true, fails(CustomEndpointError::authenticationFailed), true, auth, auth, 5);
        row("undecodable answer", true, fails(OtherError{"bad JSON"}), true, wentWrong, "unknown error", 5);
        row("engine throws", true, [](const QString&) -> FixOutcome { throw std::runtime_error("blew up"); }, false,
            wentWrong, "unknown error", 5);
    }

    void failures()
    {
        QFETCH(bool, available);
        QFETCH(Answer, answer);
        QFETCH(bool, custom);
        QFETCH(QString, message);
        QFETCH(QString, reason);
        QFETCH(int, category);
        CoordinatorRig rig;
        rig.settings.custom = custom;
        TestEngine& used = custom ? rig.custom : rig.cloud;
        used.available = available;
        used.answer = answer;
        rig.selection.answers = {richContent()};
        QVERIFY(rig.run());

        QCOMPARE(used.availabilityChecks, 1);
        QCOMPARE((custom ? rig.cloud : rig.custom).availabilityChecks, 0);
        QCOMPARE(used.calls.size(), available ? 1 : 0);
        QCOMPARE(rig.panel.phases(), (QStringList{"loading", "error"}));
        QCOMPARE(rig.panel.shown.last().message, message);
        const QString before = available ? "request_started: POST /test" : custom ? "engine_selected: custom"
                                                                                  : "engine_selected: cloud";
        QCOMPARE(tail(rig.traceLines(), 3), (QStringList{before, "error: " + reason, "panel_shown: error"}));
        QCOMPARE(rig.analytics.failures, (Failures{{custom, category}}));
        QVERIFY(rig.clipboard.writes.isEmpty() && rig.history.records.isEmpty());
        QVERIFY(!rig.coordinator->lastFixResult());
        // The content stays for a retry.
        QCOMPARE(rig.coordinator->pendingContent(), std::optional<CapturedContent>(richContent()));
    }

    void sourceAppNameIsAbsentWhenUnknown()
    {
        CoordinatorRig rig;
        rig.workspace.frontmostApplication.clear();
        rig.selection.answers = {plainContent("teh")};
        QVERIFY(rig.run());
        QCOMPARE(rig.coordinator->sourceAppName(), std::nullopt);
        QCOMPARE(rig.history.records[0].sourceApp, std::nullopt);
        rig.workspace.frontmostApplication = "Chromium";
        QVERIFY(rig.run());
        QCOMPARE(rig.history.records[0].sourceApp, std::optional<QString>("Chromium"));
    }
};

QTEST_GUILESS_MAIN(TestFixCoordinator)
#include "tst_fixcoordinator.moc"
