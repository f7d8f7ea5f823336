#pragma once
#include "core/Cancellation.h"
#include "core/CapturedContent.h"
#include "core/FixNeighbours.h"
#include "core/FixResult.h"
#include "core/TextFixError.h"
#include "core/TraceCollector.h"

#include <QObject>
#include <QPointer>
#include <optional>

class TextFixEngine;
class AccessibilityTrust;
class Workspace;

/// The components a coordinator works with. They must outlive it.
struct FixNeighbourhood
{
    FixModes& modes;
    FixSelection& selection;
    FixClipboard& clipboard;
    TextFixEngine& cloudEngine;
    TextFixEngine& customEngine;
    FixPanel& panel;
    FixSettings& settings;
    FixHistory& history;
    FixUsage& usage;
    FixAnalytics& analytics;
    AccessibilityTrust& trust;
    Workspace& workspace;
    /// Measures durations; a monotonic clock when null.
    FixClock* clock = nullptr;
    /// Proofreads on this computer when neither the user's endpoint nor a cloud service is set up;
    /// when null the cloud engine serves in its place.
    TextFixEngine* offlineEngine = nullptr;
    /// The cloud service's base URL; empty when this build has none.
    QString cloudBaseUrl;
};

/// Runs one fix at a time from a shortcut press to the fixed text on the clipboard, and keeps
/// what a retry needs. Lives on the UI thread for the whole life of the app.
class FixCoordinator : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)

public:
    explicit FixCoordinator(FixNeighbourhood neighbours, QObject* parent = nullptr);
    ~FixCoordinator() override;

    /// Starts a fix under the mode with this id, replacing any fix in flight.
    void startFix(const QString& modeId);
    /// Runs the last mode again on the content captured last, without a new capture.
    void retry();
    /// Cancels the fix in flight; it then shows and records nothing more.
    void cancel();

    /// True from the start of a run until its body ends.
    [[nodiscard]] bool isProcessing() const { return m_isProcessing; }
    /// The last successful result.
    [[nodiscard]] const std::optional<FixResult>& lastFixResult() const { return m_lastFixResult; }
    /// Name of the application that had the focus when the run started.
    [[nodiscard]] const std::optional<QString>& sourceAppName() const { return m_sourceAppName; }
    /// The content captured by the last run, kept for a retry.
    [[nodiscard]] const std::optional<CapturedContent>& pendingContent() const { return m_pendingContent; }
    /// The trace of the run in flight (or of the last one).
    [[nodiscard]] TracePtr currentTrace() const { return m_currentTrace; }
    /// The prompt of the mode of the last run started; a retry uses it again.
    [[nodiscard]] const std::optional<QString>& currentModePrompt() const { return m_currentModePrompt; }
    /// The name of that mode; absent for a mode without a name.
    [[nodiscard]] const std::optional<QString>& currentModeName() const { return m_currentModeName; }

Q_SIGNALS:
    /// A run started with nothing in flight, or the run in flight ended.
    void isProcessingChanged(bool isProcessing);

private:
    struct Run;
    struct Completion;

    Run beginRun();
    void launch(Run run, std::optional<CapturedContent> pending);
    QCoro::Task<> runBody(Run run, std::optional<CapturedContent> pending);
    QCoro::Task<> captureAndProcess(Run run);
    QCoro::Task<> process(Run run, CapturedContent content);
    void finishWithError(const Run& run, const FixError& error, bool customInUse);
    void reportFailure(bool customInUse, FailureCategory category);
    void complete(const Completion& completion, qint64 editCount);
    void endRun(quint64 runId);
    void setProcessing(bool processing);
    [[nodiscard]] double now() const;
    [[nodiscard]] QString trustMessage() const;

    FixNeighbourhood m_neighbours;
    std::unique_ptr<FixClock> m_ownClock;

    bool m_isProcessing = false;
    quint64 m_lastRunId = 0;
    std::optional<quint64> m_currentRunId;
    std::optional<CancellationToken> m_currentCancel;
    std::optional<FixResult> m_lastFixResult;
    std::optional<QString> m_sourceAppName;
    std::optional<CapturedContent> m_pendingContent;
    TracePtr m_currentTrace;
    std::optional<QString> m_currentModePrompt;
    std::optional<QString> m_currentModeName;
};
