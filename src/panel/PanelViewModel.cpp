#include "panel/PanelViewModel.h"

#include "core/TextFixError.h"
#include "diff/EditNavigation.h"
#include "panel/PanelTexts.h"

PanelViewModel::PanelViewModel(QObject* parent)
    : QObject(parent)
{
    m_timer.setInterval(int(tickInterval * 1000));
    m_timer.setTimerType(Qt::PreciseTimer);
    // The timer is a child of the model: no tick can outlive it.
    connect(&m_timer, &QTimer::timeout, this, &PanelViewModel::tick);
    m_settleLimit.setSingleShot(true);
    m_settleLimit.setInterval(settleLimitMs);
    connect(&m_settleLimit, &QTimer::timeout, this, [this] {
        m_settleLimitReached = true;
        Q_EMIT settledChanged();
    });
}

bool PanelViewModel::isSettled() const
{
    return m_phase.kind != PanelPhase::Kind::success || m_reportedEditCount.has_value() || m_settleLimitReached;
}

void PanelViewModel::setPhase(const PanelPhase& phase)
{
    m_phase = phase;
    m_reportedEditCount.reset();
    m_settleLimitReached = false;
    if (phase.kind == PanelPhase::Kind::success)
        m_settleLimit.start();
    else
        m_settleLimit.stop();
    Q_EMIT phaseChanged();
    Q_EMIT headerChanged();
    Q_EMIT settledChanged();
    setCountdownProgress(1.0);
    setCountdownCancelled(false);
    setHovered(false);
    m_timer.stop();

    const std::optional<double> duration = phase.countdownDuration();
    if (!duration)
        return;
    m_countdownDuration = *duration;
    m_timer.start();
}

void PanelViewModel::cancelCountdown()
{
    m_timer.stop();
    setCountdownCancelled(true);
}

void PanelViewModel::resetToLoading()
{
    m_timer.stop();
    m_phase = PanelPhase::loading();
    m_reportedEditCount.reset();
    m_settleLimit.stop();
    Q_EMIT phaseChanged();
    Q_EMIT settledChanged();
    Q_EMIT headerChanged();
    setCountdownProgress(1.0);
    setCountdownCancelled(false);
    setHovered(false);
}

void PanelViewModel::tick()
{
    if (m_countdownCancelled) {
        m_timer.stop();
        return;
    }
    // Hovering pauses the countdown; the timer keeps running so it resumes where it stood.
    if (m_hovered)
        return;
    const double progress = m_countdownProgress - tickInterval / m_countdownDuration;
    // A hair of tolerance: 20 steps of 0.05 land on 1e-16, not on 0.
    if (progress <= 1e-9) {
        setCountdownProgress(0.0);
        m_timer.stop();
        if (onDismiss)
            onDismiss();
        return;
    }
    setCountdownProgress(progress);
}

void PanelViewModel::setHovered(bool hovered)
{
    m_hovered = hovered;
    Q_EMIT isHoveredChanged();
}

void PanelViewModel::setCurrentEditIndex(int index)
{
    m_currentEditIndex = index;
    Q_EMIT currentEditIndexChanged();
    Q_EMIT editPositionChanged();
}

void PanelViewModel::setTotalEdits(int total)
{
    m_totalEdits = total;
    Q_EMIT totalEditsChanged();
    Q_EMIT editPositionChanged();
}

bool PanelViewModel::hasHtmlDiff() const
{
    return m_phase.result.originalHTML.has_value() && m_phase.result.fixedHTML.has_value();
}

qint64 PanelViewModel::shownEditCount() const
{
    return m_reportedEditCount.value_or(m_phase.result.editCount.value_or(0));
}

QString PanelViewModel::successHeader() const
{
    return PanelTexts::successHeader(shownEditCount(), m_phase.duration);
}

QString PanelViewModel::durationText() const
{
    return PanelTexts::durationText(m_phase.duration);
}

QString PanelViewModel::errorTitle() const
{
    return PanelTexts::errorTitle(m_phase.message);
}

QString PanelViewModel::errorSubtitle() const
{
    return PanelTexts::errorSubtitle(m_phase.message, m_phase.detail);
}

QString PanelViewModel::editPosition() const
{
    return PanelTexts::editPosition(m_currentEditIndex, m_totalEdits);
}

QString PanelViewModel::pasteKeyCap() const
{
    return PanelTexts::pasteKeyCap();
}

QString PanelViewModel::dismissKeyCap() const
{
    return PanelTexts::dismissKeyCap();
}

void PanelViewModel::reportEditCount(int count)
{
    // A view may report again (a reloaded page); the fix is counted once.
    const bool first = !m_reportedEditCount.has_value();
    m_reportedEditCount = count;
    setTotalEdits(count);
    // A fresh diff starts at its first edit, as the HTML page scrolls to it by itself.
    setCurrentEditIndex(0);
    Q_EMIT headerChanged();
    if (first) {
        m_settleLimit.stop();
        Q_EMIT settledChanged();
    }
    if (first && onEditCount)
        onEditCount(count);
}

void PanelViewModel::previousEdit()
{
    if (m_totalEdits > 0)
        setCurrentEditIndex(::previousEditIndex(m_currentEditIndex, m_totalEdits));
}

void PanelViewModel::nextEdit()
{
    if (m_totalEdits > 0)
        setCurrentEditIndex(::nextEditIndex(m_currentEditIndex, m_totalEdits));
}

void PanelViewModel::retry()
{
    if (onRetry)
        onRetry();
}

bool PanelViewModel::offersSettings() const
{
    return m_phase.kind == PanelPhase::Kind::error && m_phase.message == TextFixError::needsLanguageModelMessage();
}

void PanelViewModel::openSettings()
{
    if (onOpenSettings)
        onOpenSettings();
}

void PanelViewModel::dismiss()
{
    if (onDismiss)
        onDismiss();
}

void PanelViewModel::setCountdownProgress(double progress)
{
    m_countdownProgress = progress;
    Q_EMIT countdownProgressChanged();
}

void PanelViewModel::setCountdownCancelled(bool cancelled)
{
    m_countdownCancelled = cancelled;
    Q_EMIT countdownCancelledChanged();
}
