#pragma once
// Recording backends for the fix coordinator's neighbour interfaces. Each one does the least its
// interface promises and remembers what it was asked, so a test can check what a run did. The
// operating system is the platform's own fake.
#include "core/FixCoordinator.h"
#include "core/FixNeighbours.h"
#include "engines/TextFixEngine.h"
#include "platform/fake/FakePlatform.h"

#include <QCoro/QCoroSignal>
#include <QCoro/QCoroTimer>
#include <QObject>
#include <QRegularExpression>
#include <QTest>
#include <chrono>
#include <deque>
#include <functional>

/// Something a backend can be told to wait for.
class Gate : public QObject
{
    Q_OBJECT
public Q_SLOTS:
    void open() { Q_EMIT opened(); }
Q_SIGNALS:
    void opened();
};

struct TestModes final : FixModes
{
    QList<ModeSummary> list{{"mode-fix", "Fix", "Fix the spelling."}, {"mode-pro", "Professional", "Sound professional."}};
    QList<ModeSummary> modes() const override { return list; }
};

struct TestSelection final : FixSelection
{
    std::deque<std::optional<CapturedContent>> answers; // taken in order; the last one repeats
    int delayMs = 0;                                     // a real pause, like the copy delay
    int calls = 0;

    QCoro::Task<std::optional<CapturedContent>> captureSelection() override
    {
        ++calls;
        std::optional<CapturedContent> answer = answers.empty() ? std::nullopt : answers.front();
        if (answers.size() > 1)
            answers.pop_front();
        if (delayMs > 0)
            co_await QCoro::sleepFor(std::chrono::milliseconds(delayMs));
        co_return answer;
    }
};

/// Cleaning drops style attributes; the plain text of HTML is the HTML without its tags.
struct TestClipboard final : FixClipboard
{
    struct Write
    {
        QString fixedText;
        CapturedContent captured;
    };
    QList<Write> writes;
    mutable QStringList cleaned;

    QString cleanHtmlForFix(const QString& html) const override
    {
        cleaned << html;
        return QString(html).remove(QRegularExpression(" style=\"[^\"]*\""));
    }
    QString htmlToPlainText(const QString& html) const override
    {
        return QString(html).remove(QRegularExpression("<[^>]+>")).trimmed();
    }
    void writeFixedContent(const QString& fixedText, const CapturedContent& captured) override
    {
        writes.append({fixedText, captured});
    }
};

struct TestClock final : FixClock
{
    double now = 0.0;
    double seconds() const override { return now; }
};

/// An engine in the test process: answers from a function, optionally after a gate opens (or its
/// run is cancelled, which opens it early, as a real engine stops early).
struct TestEngine final : TextFixEngine
{
    struct Call
    {
        QString text;
        QString prompt;
        TracePtr trace;
        CancellationToken cancel;
    };

    explicit TestEngine(TestClock* clock) : m_clock(clock) {}

    bool available = true;
    std::function<FixOutcome(const QString& text)> answer; // default: the text unchanged; may throw
    Gate* gate = nullptr;                                   // when set, wait for it
    QList<Call> calls;
    int availabilityChecks = 0;
    int finished = 0; // calls that came back

    QCoro::Task<bool> isAvailable() override
    {
        ++availabilityChecks;
        co_return available;
    }

    QCoro::Task<FixOutcome> fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel) override
    {
        calls.append({text, systemPrompt, trace, cancel});
        trace->record("request_started", QStringLiteral("POST /test"));
        if (gate && !cancel.isCancelled()) {
            // Wait for this call's own relay, so one run's cancellation releases only that run.
            Gate relay;
            QObject::connect(gate, &Gate::opened, &relay, &Gate::open);
            QObject::connect(static_cast<CancellationNotifier*>(cancel.notifier()), &CancellationNotifier::cancelled,
                             &relay, &Gate::open);
            co_await qCoro(&relay, &Gate::opened);
        }
        m_clock->now += 1.375;
        ++finished;
        if (answer)
            co_return answer(text);
        co_return FixResult{text, text, 0, std::nullopt, std::nullopt, std::nullopt};
    }

private:
    TestClock* m_clock;
};

struct TestPanel final : FixPanel
{
    struct Shown
    {
        QString phase; // "loading", "error", "success", "noChanges"
        QString message;
        std::optional<FixResult> result;
        double duration = 0;
        EditCountCallback onEditCount;
    };
    QList<Shown> shown;

    void showLoading() override { shown.append({"loading", {}, {}, 0, {}}); }
    void showError(const QString& message, const QString&) override { shown.append({"error", message, {}, 0, {}}); }
    void showSuccess(const FixResult& result, double duration, EditCountCallback cb) override
    {
        shown.append({"success", {}, result, duration, std::move(cb)});
    }
    void showNoChanges(const FixResult& result, double duration, EditCountCallback cb) override
    {
        shown.append({"noChanges", {}, result, duration, std::move(cb)});
    }
    [[nodiscard]] QStringList phases() const
    {
        QStringList out;
        for (const Shown& s : shown)
            out << s.phase;
        return out;
    }
};

struct TestSettings final : FixSettings
{
    bool custom = false;
    bool history = true;
    bool analytics = true;
    bool isCustomEndpointConfigured() const override { return custom; }
    bool isHistoryEnabled() const override { return history; }
    bool isAnalyticsEnabled() const override { return analytics; }
};

struct TestHistory final : FixHistory
{
    QList<HistoryRecord> records;
    QStringList ids; // the id handed back for each record, same order
    QList<QPair<QString, qint64>> updates;
    std::optional<QString> addEntry(const HistoryRecord& record) override
    {
        records.prepend(record);
        ids.prepend(QUuid::createUuid().toString(QUuid::WithoutBraces));
        return ids.first();
    }
    void updateEditCount(const QString& id, qint64 count) override { updates.append({id, count}); }
};

struct TestUsage final : FixUsage
{
    QList<QPair<qint64, qint64>> fixes; // (edits, characters)
    void recordFix(qint64 edits, qint64 characters) override { fixes.append({edits, characters}); }
};

/// The bucket names the count it was given, so a test sees which count the coordinator passed.
struct TestAnalytics final : FixAnalytics
{
    QList<QPair<QString, QVariantMap>> events;
    QList<QPair<bool, int>> failures; // (custom endpoint in use, category code)
    void capture(const QString& event, const QVariantMap& properties) override { events.append({event, properties}); }
    QString textLengthBucket(qint64 count) const override { return "chars:" + QString::number(count); }
    void trackFixFailed(bool custom, int category) override { failures.append({custom, category}); }
};

/// A coordinator wired to a full set of recording backends.
struct CoordinatorRig
{
    TestModes modes;
    TestSelection selection;
    TestClipboard clipboard;
    TestClock clock;
    TestEngine cloud{&clock};
    TestEngine custom{&clock};
    TestPanel panel;
    TestSettings settings;
    TestHistory history;
    TestUsage usage;
    TestAnalytics analytics;
    FakeAccessibilityTrust trust;
    FakeWorkspace workspace;
    std::unique_ptr<FixCoordinator> coordinator = std::make_unique<FixCoordinator>(FixNeighbourhood{
        modes, selection, clipboard, cloud, custom, panel, settings, history, usage, analytics, trust, workspace, &clock});

    /// Starts a fix and lets the event loop run until it has ended.
    [[nodiscard]] bool run(const QString& modeId = "mode-fix")
    {
        coordinator->startFix(modeId);
        return QTest::qWaitFor([this] { return !coordinator->isProcessing(); });
    }
    [[nodiscard]] QStringList traceLines() const
    {
        QStringList out;
        for (const TraceEvent& e : coordinator->currentTrace()->events())
            out << (e.detail ? e.event + ": " + *e.detail : e.event);
        return out;
    }
};

inline CapturedContent plainContent(const QString& text)
{
    return CapturedContent{text, std::nullopt, SourceFormat::plainText, false};
}

/// 1,234 characters of rich text with one typo and an inline style the cleaning removes.
inline CapturedContent richContent(bool googleDocs = false)
{
    const QString plain = QString(1230, u'a') + " teh";
    QString html = "<p style=\"color: red\">" + plain + "</p>";
    if (googleDocs)
        html = "<b id=\"docs-internal-guid-1\">" + html + "</b>";
    return CapturedContent{plain, html, SourceFormat::html, googleDocs};
}

/// Fixes "teh" and counts one edit, the way an engine answers.
inline FixOutcome fixTypo(const QString& text)
{
    const QString fixed = QString(text).replace("teh", "the");
    return FixResult{text, fixed, fixed == text ? 0 : 1, std::nullopt, std::nullopt, std::nullopt};
}

inline QStringList tail(const QStringList& list, int n)
{
    return list.mid(list.size() - n);
}
