#include "core/FixCoordinator.h"

#include "analytics/AnalyticsVocabulary.h"
#include "core/Logging.h"
#include "core/TextFormat.h"
#include "engines/EngineChoice.h"
#include "engines/TextFixEngine.h"
#include "platform/AccessibilityTrust.h"
#include "platform/Workspace.h"

#include <QElapsedTimer>
#include <cmath>
#include <exception>

namespace {

class MonotonicClock final : public FixClock
{
public:
    MonotonicClock() { m_timer.start(); }
    double seconds() const override { return double(m_timer.nsecsElapsed()) / 1e9; }

private:
    QElapsedTimer m_timer;
};

} // namespace

/// One run: its identity, its cancellation and its trace. The run records into its own trace, never
/// into whatever `currentTrace` holds by then, so a replaced run cannot write into its successor's.
struct FixCoordinator::Run
{
    quint64 id = 0;
    CancellationToken cancel;
    TracePtr trace;
};

/// What the panel's edit-count callback needs to finish a run's bookkeeping.
struct FixCoordinator::Completion
{
    std::optional<QString> historyId;
    bool customInUse = false;
    qint64 durationMs = 0;
    QString originalText;
    bool hadChanges = false;
    std::optional<QString> modeName;
};

FixCoordinator::FixCoordinator(FixNeighbourhood neighbours, QObject* parent)
    : QObject(parent)
    , m_neighbours(neighbours)
{
    if (!m_neighbours.clock) {
        m_ownClock = std::make_unique<MonotonicClock>();
        m_neighbours.clock = m_ownClock.get();
    }
}

FixCoordinator::~FixCoordinator()
{
    // A suspended run resumes after we are gone; its cancelled token makes it stop without
    // touching us.
    if (m_currentCancel)
        m_currentCancel->cancel();
}

void FixCoordinator::startFix(const QString& modeId)
{
    const QList<ModeSummary> modes = m_neighbours.modes.modes();
    const auto mode = std::find_if(modes.cbegin(), modes.cend(), [&](const ModeSummary& m) { return m.id == modeId; });
    if (mode == modes.cend()) {
        qCWarning(lcCoordinator) << "No mode with id" << modeId;
        m_neighbours.panel.showError(QStringLiteral("Unknown mode. Check your settings."));
        return;
    }

    // A new press replaces the run in flight rather than being refused.
    Run run = beginRun();
    m_currentModePrompt = mode->prompt;
    // A mode without a name counts as unnamed, so analytics leaves "mode_name" out.
    m_currentModeName = TextFormat::isBlank(mode->name) ? std::nullopt : std::optional<QString>(mode->name);
    const QString appName = m_neighbours.workspace.frontmostApplicationName();
    m_sourceAppName = appName.isEmpty() ? std::nullopt : std::optional<QString>(appName);
    launch(std::move(run), std::nullopt);
}

void FixCoordinator::retry()
{
    if (!m_pendingContent || !m_currentModePrompt)
        return;
    Run run = beginRun();
    run.trace->record(QStringLiteral("retry_triggered"));
    run.trace->record(QStringLiteral("clipboard_read"),
                      TextFormat::groupedNumber(TextFormat::characterCount(m_pendingContent->plainText))
                          + QStringLiteral(" chars (from pending)"));
    launch(std::move(run), m_pendingContent);
}

void FixCoordinator::cancel()
{
    if (m_currentCancel)
        m_currentCancel->cancel();
}

FixCoordinator::Run FixCoordinator::beginRun()
{
    cancel();
    Run run;
    run.id = ++m_lastRunId;
    run.trace = std::make_shared<TraceCollector>();
    m_currentRunId = run.id;
    m_currentCancel = run.cancel;
    m_currentTrace = run.trace;
    setProcessing(true);
    return run;
}

void FixCoordinator::launch(Run run, std::optional<CapturedContent> pending)
{
    // The task starts at once and runs until its first suspension; dropping the handle leaves the
    // frame to free itself when the body ends.
    QCoro::Task<> task = runBody(std::move(run), std::move(pending));
    Q_UNUSED(task);
}

QCoro::Task<> FixCoordinator::runBody(Run run, std::optional<CapturedContent> pending)
{
    QPointer<FixCoordinator> self(this);
    const quint64 runId = run.id;
    try {
        if (pending)
            co_await process(run, std::move(*pending));
        else
            co_await captureAndProcess(run);
    } catch (const std::exception& e) {
        if (self && !run.cancel.isCancelled()) {
            qCWarning(lcCoordinator) << "Fix failed unexpectedly:" << e.what();
            finishWithError(run, OtherError{QString::fromUtf8(e.what())}, m_neighbours.settings.isCustomEndpointConfigured());
        }
    } catch (...) {
        if (self && !run.cancel.isCancelled()) {
            qCWarning(lcCoordinator) << "Fix failed with an unknown exception";
            finishWithError(run, OtherError{}, m_neighbours.settings.isCustomEndpointConfigured());
        }
    }
    if (self)
        self->endRun(runId);
}

QCoro::Task<> FixCoordinator::captureAndProcess(Run run)
{
    const bool customAtStart = m_neighbours.settings.isCustomEndpointConfigured();
    run.trace->record(QStringLiteral("hotkey_pressed"));

    if (!m_neighbours.trust.isTrusted()) {
        run.trace->record(QStringLiteral("error"), QStringLiteral("accessibility permission missing"));
        m_neighbours.panel.showError(trustMessage());
        m_neighbours.trust.requestTrust();
        co_return;
    }

    const std::optional<CapturedContent> captured = co_await m_neighbours.selection.captureSelection();
    // Capture has no cancellation of its own; a run replaced while it waited must not go on to show
    // its loading pill over the new run.
    if (run.cancel.isCancelled())
        co_return;
    if (!captured) {
        run.trace->record(QStringLiteral("error"), QStringLiteral("no text selected"));
        m_neighbours.panel.showError(TextFixError::emptyInput().panelMessage(customAtStart));
        reportFailure(customAtStart, FailureCategory::emptyInput);
        co_return;
    }

    run.trace->record(QStringLiteral("clipboard_read"),
                      TextFormat::groupedNumber(TextFormat::characterCount(captured->plainText))
                          + QStringLiteral(" chars (") + formatTraceWord(captured->sourceFormat) + QLatin1Char(')'));
    m_pendingContent = *captured;
    co_await process(run, *captured);
}

void FixCoordinator::setProcessing(bool processing)
{
    if (m_isProcessing == processing)
        return;
    m_isProcessing = processing;
    Q_EMIT isProcessingChanged(processing);
}

void FixCoordinator::endRun(quint64 runId)
{
    // Only the run in flight owns the flag: a replaced run ending late leaves its successor's alone.
    if (m_currentRunId != runId)
        return;
    m_currentRunId.reset();
    m_currentCancel.reset();
    setProcessing(false);
}

double FixCoordinator::now() const
{
    return m_neighbours.clock->seconds();
}

QString FixCoordinator::trustMessage() const
{
    // The macOS text sends the user to System Settings; elsewhere the platform says what is missing.
    const QString reason = m_neighbours.trust.untrustedReason();
    if (reason.trimmed().isEmpty())
        return QStringLiteral("Accessibility permission needed. Check System Settings.");
    return QStringLiteral("Accessibility permission needed. ") + reason;
}

void FixCoordinator::reportFailure(bool customInUse, FailureCategory category)
{
    if (!m_neighbours.settings.isAnalyticsEnabled())
        return;
    m_neighbours.analytics.trackFixFailed(customInUse, int(category));
}

void FixCoordinator::finishWithError(const Run& run, const FixError& error, bool customInUse)
{
    run.trace->record(QStringLiteral("error"), traceReason(error, customInUse));
    run.trace->record(QStringLiteral("panel_shown"), QStringLiteral("error"));
    m_neighbours.panel.showError(panelMessage(error, customInUse), failureDetail(error));
    reportFailure(customInUse, failureCategory(error));
}

QCoro::Task<> FixCoordinator::process(Run run, CapturedContent content)
{
    const double startTime = now();
    m_neighbours.panel.showLoading();

    const bool customInUse = m_neighbours.settings.isCustomEndpointConfigured();
    const EngineKind engineKind = m_neighbours.offlineEngine
                                      ? chooseEngine(customInUse, m_neighbours.cloudBaseUrl)
                                      : (customInUse ? EngineKind::custom : EngineKind::cloud);
    run.trace->record(QStringLiteral("engine_selected"), engineKind == EngineKind::offline
                                                             ? engineKindName(engineKind)
                                                             : Analytics::endpointType(customInUse));
    TextFixEngine& engine = engineKind == EngineKind::custom    ? m_neighbours.customEngine
                            : engineKind == EngineKind::offline ? *m_neighbours.offlineEngine
                                                                : m_neighbours.cloudEngine;

    const bool available = co_await engine.isAvailable();
    if (run.cancel.isCancelled())
        co_return;
    if (!available) {
        run.trace->record(QStringLiteral("error"), QStringLiteral("engine unavailable"));
        run.trace->record(QStringLiteral("panel_shown"), QStringLiteral("error"));
        m_neighbours.panel.showError(TextFixError::engineUnavailable().panelMessage(customInUse));
        reportFailure(customInUse, FailureCategory::network);
        co_return;
    }

    // Plain text goes out as it was selected, every space and line break with it; only a rich
    // selection is sent, answered and written back as HTML.
    const bool rich = content.html && content.sourceFormat != SourceFormat::plainText;
    const QString sentText = rich ? m_neighbours.clipboard.cleanHtmlForFix(*content.html) : content.plainText;
    const QString prompt = m_currentModePrompt.value_or(QString());
    const std::optional<QString> modeName = m_currentModeName;
    const FixOutcome outcome = co_await engine.fix(sentText, prompt, run.trace, run.cancel);
    if (run.cancel.isCancelled())
        co_return;
    if (!outcome) {
        finishWithError(run, outcome.error(), customInUse);
        co_return;
    }

    const double duration = now() - startTime;
    const qint64 durationMs = qint64(std::trunc(duration * 1000.0));
    run.trace->record(QStringLiteral("result"), QString::number(durationMs) + QStringLiteral(" ms total"));
    if (run.cancel.isCancelled())
        co_return;

    const FixResult& answer = outcome.value();
    m_neighbours.clipboard.writeFixedContent(answer.fixedText, content);
    run.trace->record(QStringLiteral("clipboard_written"),
                      content.isFromGoogleDocs ? std::optional<QString>(QStringLiteral("with Google Docs cache invalidation"))
                                               : std::nullopt);

    FixResult result;
    result.originalText = content.plainText;
    // Only an answer to HTML needs converting; converting plain text would fold its line breaks.
    result.fixedText = rich ? m_neighbours.clipboard.htmlToPlainText(answer.fixedText) : answer.fixedText;
    result.editCount = answer.editCount;
    if (rich) {
        result.originalHTML = sentText;
        result.fixedHTML = answer.fixedText;
    }
    result.sourceFormat = content.sourceFormat;
    m_lastFixResult = result;

    std::optional<QString> historyId;
    if (m_neighbours.settings.isHistoryEnabled()) {
        HistoryRecord record;
        record.timestamp = QDateTime::currentDateTime();
        record.originalText = result.originalText;
        record.fixedText = result.fixedText;
        record.editCount = result.editCount;
        record.sourceApp = m_sourceAppName;
        record.trace = run.trace->events();
        record.traceId = run.trace->id();
        record.originalHTML = result.originalHTML;
        record.fixedHTML = result.fixedHTML;
        record.sourceFormat = formatStoredWord(content.sourceFormat);
        record.modeName = modeName;
        historyId = m_neighbours.history.addEntry(record);
    }

    const bool changed = result.fixedText != result.originalText;
    run.trace->record(QStringLiteral("panel_shown"),
                      changed ? QStringLiteral("success (") + QString::asprintf("%.1f", duration) + QStringLiteral("s)")
                              : QStringLiteral("no_changes"));

    const Completion completion{historyId, customInUse, durationMs, result.originalText, changed, modeName};
    EditCountCallback onEditCount = [self = QPointer<FixCoordinator>(this), completion](qint64 editCount) {
        if (self)
            self->complete(completion, editCount);
    };
    if (changed)
        m_neighbours.panel.showSuccess(result, duration, std::move(onEditCount));
    else
        m_neighbours.panel.showNoChanges(result, duration, std::move(onEditCount));
}

void FixCoordinator::complete(const Completion& completion, qint64 editCount)
{
    if (completion.historyId)
        m_neighbours.history.updateEditCount(*completion.historyId, editCount);
    const qint64 characters = TextFormat::characterCount(completion.originalText);
    m_neighbours.usage.recordFix(editCount, characters);
    if (!m_neighbours.settings.isAnalyticsEnabled())
        return;
    // Counts and flags only: the texts never reach analytics, only the original's length bucket.
    QVariantMap properties{
        {QString::fromLatin1(Analytics::keyEndpointType), Analytics::endpointType(completion.customInUse)},
        {QString::fromLatin1(Analytics::keyEditCount), editCount},
        {QString::fromLatin1(Analytics::keyTextLengthBucket), m_neighbours.analytics.textLengthBucket(characters)},
        {QString::fromLatin1(Analytics::keyHadChanges), completion.hadChanges},
        {QString::fromLatin1(Analytics::keyDurationMs), completion.durationMs},
    };
    if (completion.modeName)
        properties.insert(QString::fromLatin1(Analytics::keyModeName), *completion.modeName);
    m_neighbours.analytics.capture(QString::fromLatin1(Analytics::eventFixCompleted), properties);
}
