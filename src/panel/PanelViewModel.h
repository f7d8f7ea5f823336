#pragma once
#include "panel/PanelPhase.h"

#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>
#include <functional>

/// The state behind the result panel's views: the phase, the countdown that closes the panel by
/// itself, hover, and which edit is highlighted. Lives on the UI thread.
class PanelViewModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The panel controller owns the panel's model.")
    Q_PROPERTY(PhaseKind phase READ phaseKind NOTIFY phaseChanged)
    Q_PROPERTY(double countdownProgress READ countdownProgress NOTIFY countdownProgressChanged)
    Q_PROPERTY(bool isHovered READ isHovered WRITE setHovered NOTIFY isHoveredChanged)
    Q_PROPERTY(bool countdownCancelled READ countdownCancelled NOTIFY countdownCancelledChanged)
    Q_PROPERTY(int currentEditIndex READ currentEditIndex WRITE setCurrentEditIndex NOTIFY currentEditIndexChanged)
    Q_PROPERTY(int totalEdits READ totalEdits WRITE setTotalEdits NOTIFY totalEditsChanged)
    // The phase's payload and its texts, for the views.
    Q_PROPERTY(QString originalText READ originalText NOTIFY phaseChanged)
    Q_PROPERTY(QString fixedText READ fixedText NOTIFY phaseChanged)
    Q_PROPERTY(bool hasHtmlDiff READ hasHtmlDiff NOTIFY phaseChanged)
    Q_PROPERTY(QString originalHTML READ originalHTML NOTIFY phaseChanged)
    Q_PROPERTY(QString fixedHTML READ fixedHTML NOTIFY phaseChanged)
    Q_PROPERTY(QString successHeader READ successHeader NOTIFY headerChanged)
    Q_PROPERTY(bool isSettled READ isSettled NOTIFY settledChanged)
    Q_PROPERTY(QString durationText READ durationText NOTIFY phaseChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY phaseChanged)
    Q_PROPERTY(QString errorTitle READ errorTitle NOTIFY phaseChanged)
    Q_PROPERTY(QString errorSubtitle READ errorSubtitle NOTIFY phaseChanged)
    Q_PROPERTY(bool offersSettings READ offersSettings NOTIFY phaseChanged)
    Q_PROPERTY(QString editPosition READ editPosition NOTIFY editPositionChanged)
    Q_PROPERTY(QString pasteKeyCap READ pasteKeyCap CONSTANT)
    Q_PROPERTY(QString dismissKeyCap READ dismissKeyCap CONSTANT)

public:
    /// The phase's case, as the views switch on it.
    enum class PhaseKind { Success, NoChanges, Error, Loading };
    Q_ENUM(PhaseKind)

    static constexpr double tickInterval = 0.05;
    /// How long a success waits at most for its diff view before it shows anyway.
    static constexpr int settleLimitMs = 2000;

    explicit PanelViewModel(QObject* parent = nullptr);

    /// Shows a phase: resets countdown, hover and cancellation, and starts the phase's countdown.
    void setPhase(const PanelPhase& phase);
    /// Stops the countdown for good; the panel is going away.
    void cancelCountdown();
    /// Back to the loading pill with a full countdown that does not run.
    void resetToLoading();

    /// One step of the countdown; the timer calls it every tick interval.
    void tick();

    [[nodiscard]] const PanelPhase& phase() const { return m_phase; }
    [[nodiscard]] PhaseKind phaseKind() const { return PhaseKind(int(m_phase.kind)); }
    [[nodiscard]] double countdownProgress() const { return m_countdownProgress; }
    [[nodiscard]] bool isHovered() const { return m_hovered; }
    void setHovered(bool hovered);
    [[nodiscard]] bool countdownCancelled() const { return m_countdownCancelled; }
    [[nodiscard]] int currentEditIndex() const { return m_currentEditIndex; }
    void setCurrentEditIndex(int index);
    [[nodiscard]] int totalEdits() const { return m_totalEdits; }
    void setTotalEdits(int total);
    /// Seconds the current countdown takes to empty while the pointer is away.
    [[nodiscard]] double countdownDuration() const { return m_countdownDuration; }
    [[nodiscard]] bool isCountingDown() const { return m_timer.isActive(); }

    [[nodiscard]] QString originalText() const { return m_phase.result.originalText; }
    [[nodiscard]] QString fixedText() const { return m_phase.result.fixedText; }
    [[nodiscard]] bool hasHtmlDiff() const;
    [[nodiscard]] QString originalHTML() const { return m_phase.result.originalHTML.value_or(QString()); }
    [[nodiscard]] QString fixedHTML() const { return m_phase.result.fixedHTML.value_or(QString()); }
    /// The edit count the diff view reported, else the result's own, else 0.
    [[nodiscard]] qint64 shownEditCount() const;
    [[nodiscard]] QString successHeader() const;
    /// Whether the phase can be shown as it will stay: a success only once its diff view has
    /// reported its count (and so its size), or after `settleLimitMs`; every other phase at once.
    [[nodiscard]] bool isSettled() const;
    [[nodiscard]] QString durationText() const;
    [[nodiscard]] QString errorMessage() const { return m_phase.message; }
    [[nodiscard]] QString errorTitle() const;
    [[nodiscard]] QString errorSubtitle() const;
    /// The error is fixed in Settings (a mode that needs a language model), not by trying again.
    [[nodiscard]] bool offersSettings() const;
    [[nodiscard]] QString editPosition() const;
    [[nodiscard]] QString pasteKeyCap() const;
    [[nodiscard]] QString dismissKeyCap() const;

    /// The diff view computed this many edits: sets the total and tells onEditCount, once per phase.
    Q_INVOKABLE void reportEditCount(int count);
    /// Highlights the previous edit, wrapping from the first to the last.
    Q_INVOKABLE void previousEdit();
    /// Highlights the next edit, wrapping from the last to the first.
    Q_INVOKABLE void nextEdit();
    /// The retry control of the error view.
    Q_INVOKABLE void retry();
    /// The dismiss controls.
    Q_INVOKABLE void dismiss();
    /// The error view's way to Settings.
    Q_INVOKABLE void openSettings();

    std::function<void()> onRetry;
    std::function<void()> onOpenSettings;
    std::function<void()> onDismiss;
    std::function<void(qint64 editCount)> onEditCount;

Q_SIGNALS:
    void phaseChanged();
    void countdownProgressChanged();
    void isHoveredChanged();
    void countdownCancelledChanged();
    void currentEditIndexChanged();
    void totalEditsChanged();
    void headerChanged();
    void editPositionChanged();
    void settledChanged();

private:
    void setCountdownProgress(double progress);
    void setCountdownCancelled(bool cancelled);

    PanelPhase m_phase;
    double m_countdownProgress = 1.0;
    bool m_hovered = false;
    bool m_countdownCancelled = false;
    int m_currentEditIndex = 0;
    int m_totalEdits = 0;
    double m_countdownDuration = 10.0;
    std::optional<qint64> m_reportedEditCount;
    bool m_settleLimitReached = false;
    QTimer m_timer;
    QTimer m_settleLimit;
};
