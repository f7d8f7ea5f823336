#pragma once
// Recording backends for the fix coordinator's neighbour interfaces. Each one does the least its
// interface promises and remembers what it was asked, so a test can check what a run did.
#include "core/FixCoordinator.h"
#include "core/FixNeighbours.h"
#include "engines/TextFixEngine.h"
#include "platform/AccessibilityTrust.h"
#include "platform/Workspace.h"

#include <QCoro/QCoroSignal>
#include <QCoro/QCoroTimer>
#include <QObject>
#include <QRegularExpression>
#include <chrono>
#include <deque>
#include <functional>

/// Something a backend can be told to wait for.
class Gate : public QObject
{
    Q_OBJECT
public:
public Q_SLOTS:
    void open() { Q_EMIT opened(); }
Q_SIGNALS:
    void opened();
};

class TestModes final : public FixModes
{
public:
    QList<ModeSummary> list;
    QList<ModeSummary> modes() const override { return list; }
};

class TestSelection final : public FixSelection
{
public:
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
class TestClipboard final : public FixClipboard
{
public:
    struct Write
    {
        QString fixedText;
        CapturedContent captured;
    };
    QList<Write> writes;
    QStringList cleaned;

    QString cleanHtmlForFix(const QString& html) const override
    {
        const_cast<TestClipboard*>(this)->cleaned << html;
        return QString(html).remove(QRegularExpression(QStringLiteral(" style=\"[^\"]*\"")));
    }
    QString htmlToPlainText(const QString& html) const override
    {
        return QString(html).remove(QRegularExpression(QStringLiteral("<[^>]+>"))).trimmed();
    }
    void writeFixedContent(const QString& fixedText, const CapturedContent& captured) override
    {
        writes.append({fixedText, captured});
    }
};

class TestClock final : public FixClock
{
public:
    double now = 0.0;
    double seconds() const override { return now; }
};

/// An engine in the test process: answers from a function, optionally after a gate opens (or its
/// run is cancelled, which opens it early, as a real engine stops early).
class TestEngine final : public TextFixEngine
{
public:
    struct Call
    {
        QString text;
        QString prompt;
        TracePtr trace;
        CancellationToken cancel;
    };

    explicit TestEngine(TestClock* clock = nullptr) : m_clock(clock) {}

    bool available = true;
    double secondsTaken = 1.375;                                   // advances the test clock
    std::function<FixOutcome(const QString& text)> answer;         // default: the text unchanged
    Gate* gate = nullptr;                                          // when set, wait for it
    bool throwInstead = false;
    QList<Call> calls;
    int availabilityChecks = 0;

    QCoro::Task<bool> isAvailable() override
    {
        ++availabilityChecks;
        co_return available;
    }

    QCoro::Task<FixOutcome> fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel) override
    {
        calls.append({text, systemPrompt, trace, cancel});
        if (trace)
            trace->record(QStringLiteral("request_started"), QStringLiteral("POST /test"));
        if (gate && !cancel.isCancelled()) {
            // Wait for this call's own relay, so one run's cancellation releases only that run.
            Gate relay;
            QObject::connect(gate, &Gate::opened, &relay, &Gate::open);
            QObject::connect(static_cast<CancellationNotifier*>(cancel.notifier()), &CancellationNotifier::cancelled, &relay,
                             &Gate::open);
            co_await qCoro(&relay, &Gate::opened);
        }
        if (m_clock)
            m_clock->now += secondsTaken;
        if (throwInstead)
            throw std::runtime_error("engine blew up");
        if (answer)
            co_return answer(text);
        co_return FixResult{text, text, 0, std::nullopt, std::nullopt, std::nullopt};
    }

private:
    TestClock* m_clock;
};

class TestPanel final : public FixPanel
{
public:
    struct Shown
    {
        QString phase; // "loading", "error", "success", "noChanges"
        QString message;
        std::optional<FixResult> result;
        double duration = 0;
        EditCountCallback onEditCount;
    };
    QList<Shown> shown;

    void showLoading() override { shown.append({QStringLiteral("loading"), {}, {}, 0, {}}); }
    void showError(const QString& message) override { shown.append({QStringLiteral("error"), message, {}, 0, {}}); }
    void showSuccess(const FixResult& result, double duration, EditCountCallback cb) override
    {
        shown.append({QStringLiteral("success"), {}, result, duration, std::move(cb)});
    }
    void showNoChanges(const FixResult& result, double duration, EditCountCallback cb) override
    {
        shown.append({QStringLiteral("noChanges"), {}, result, duration, std::move(cb)});
    }
    [[nodiscard]] QStringList phases() const
    {
        QStringList out;
        for (const Shown& s : shown)
            out << s.phase;
        return out;
    }
};

class TestSettings final : public FixSettings
{
public:
    bool custom = false;
    bool history = true;
    bool analytics = true;
    int customChecks = 0;
    bool isCustomEndpointConfigured() const override
    {
        ++const_cast<TestSettings*>(this)->customChecks;
        return custom;
    }
    bool isHistoryEnabled() const override { return history; }
    bool isAnalyticsEnabled() const override { return analytics; }
};

class TestHistory final : public FixHistory
{
public:
    QList<HistoryRecord> records;
    QList<QPair<QString, qint64>> updates;
    void addEntry(const HistoryRecord& record) override { records.prepend(record); }
    void updateEditCount(const QString& id, qint64 count) override { updates.append({id, count}); }
};

class TestUsage final : public FixUsage
{
public:
    QList<QPair<qint64, qint64>> fixes; // (edits, characters)
    void recordFix(qint64 edits, qint64 characters) override { fixes.append({edits, characters}); }
};

/// The bucket names the count it was given, so a test sees which count the coordinator passed.
class TestAnalytics final : public FixAnalytics
{
public:
    QList<QPair<QString, QVariantMap>> events;
    QList<QPair<bool, int>> failures; // (custom endpoint in use, category code)
    void capture(const QString& event, const QVariantMap& properties) override { events.append({event, properties}); }
    QString textLengthBucket(qint64 count) const override { return QStringLiteral("chars:") + QString::number(count); }
    void trackFixFailed(bool custom, int category) override { failures.append({custom, category}); }
};

class TestTrust final : public AccessibilityTrust
{
public:
    bool trusted = true;
    QString reason;
    int prompts = 0;
    bool isTrusted() const override { return trusted; }
    void requestTrust() override { ++prompts; }
    QString untrustedReason() const override { return trusted ? QString() : reason; }
};

class TestWorkspace final : public Workspace
{
public:
    QString frontmost = QStringLiteral("Text Editor");
    QString frontmostApplicationName() const override { return frontmost; }
    bool hasCompositor() const override { return false; }
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
    TestTrust trust;
    TestWorkspace workspace;
    std::unique_ptr<FixCoordinator> coordinator;

    CoordinatorRig()
    {
        modes.list = {{QStringLiteral("mode-fix"), QStringLiteral("Fix"), QStringLiteral("Fix the spelling.")},
                      {QStringLiteral("mode-pro"), QStringLiteral("Professional"), QStringLiteral("Sound professional.")}};
        coordinator = std::make_unique<FixCoordinator>(FixNeighbourhood{
            modes, selection, clipboard, cloud, custom, panel, settings, history, usage, analytics, trust, workspace,
            &clock});
    }

    [[nodiscard]] QStringList traceNames() const
    {
        QStringList out;
        for (const TraceEvent& e : coordinator->currentTrace()->events())
            out << e.event;
        return out;
    }
    [[nodiscard]] QStringList traceLines() const
    {
        QStringList out;
        for (const TraceEvent& e : coordinator->currentTrace()->events())
            out << (e.detail ? e.event + QStringLiteral(": ") + *e.detail : e.event);
        return out;
    }
};

inline CapturedContent plainContent(const QString& text)
{
    QString html = text.toHtmlEscaped();
    return CapturedContent{text, QStringLiteral("<p>") + html + QStringLiteral("</p>"), SourceFormat::plainText, false};
}

/// 1,234 characters of rich text with one typo and an inline style the cleaning removes.
inline CapturedContent richContent(bool googleDocs = false)
{
    const QString plain = QString(1230, QLatin1Char('a')) + QStringLiteral(" teh");
    QString html = QStringLiteral("<p style=\"color: red\">") + plain + QStringLiteral("</p>");
    if (googleDocs)
        html = QStringLiteral("<b id=\"docs-internal-guid-1\">") + html + QStringLiteral("</b>");
    return CapturedContent{plain, html, SourceFormat::html, googleDocs};
}

/// Fixes "teh" and counts one edit, the way an engine answers.
inline FixOutcome fixTypo(const QString& text)
{
    QString fixed = text;
    fixed.replace(QStringLiteral("teh"), QStringLiteral("the"));
    return FixResult{text, fixed, fixed == text ? 0 : 1, std::nullopt, std::nullopt, std::nullopt};
}

inline QStringList tail(const QStringList& list, int n)
{
    return list.mid(list.size() - n);
}

