#include "app/FixAdapters.h"

#include "analytics/AnalyticsManager.h"
#include "analytics/AnalyticsVocabulary.h"
#include "capture/ClipboardManager.h"
#include "capture/SelectionManager.h"
#include "diff/HtmlDiffWarmup.h"
#include "history/HistoryManager.h"
#include "modes/ModeManager.h"
#include "panel/InlineDiffPanelController.h"
#include "settings/SettingsManager.h"
#include "settings/UsageStatsManager.h"

#include <QJsonObject>

QList<ModeSummary> ModeCatalogAdapter::modes() const
{
    QList<ModeSummary> summaries;
    for (const Mode& mode : m_modes.modes())
        summaries.append({mode.idString(), mode.name, mode.prompt});
    return summaries;
}

QCoro::Task<std::optional<CapturedContent>> SelectionAdapter::captureSelection()
{
    const std::optional<ClipboardContent> content = co_await m_selection.captureSelection();
    if (!content)
        co_return std::nullopt;
    // A rich result is shown in the web view, which takes a while to start: start it now so it
    // gets ready while the language model works.
    if (content->sourceFormat != SourceFormat::plainText)
        HtmlDiffWarmup::begin();
    co_return content->toCaptured();
}

QString ClipboardAdapter::cleanHtmlForFix(const QString& html) const
{
    return ClipboardManager::cleanHTMLForFix(html);
}

QString ClipboardAdapter::htmlToPlainText(const QString& html) const
{
    return ClipboardManager::htmlToPlainText(html);
}

void ClipboardAdapter::writeFixedContent(const QString& fixedText, const CapturedContent& captured)
{
    m_clipboard.writeFixedContent(fixedText, captured);
}

void PanelAdapter::showLoading()
{
    m_panel.show(PanelPhase::loading());
}

void PanelAdapter::showError(const QString& message, const QString& detail)
{
    m_panel.viewModel().onEditCount = {};
    showPhase(PanelPhase::error(message, detail));
}

void PanelAdapter::showSuccess(const FixResult& result, double durationSeconds, EditCountCallback onEditCount)
{
    // The diff view reports the count it computed once it has rendered the result.
    m_panel.viewModel().onEditCount = std::move(onEditCount);
    showPhase(PanelPhase::success(result, durationSeconds));
}

void PanelAdapter::showNoChanges(const FixResult&, double durationSeconds, EditCountCallback onEditCount)
{
    // No diff is drawn for an unchanged text: its count is known to be 0.
    m_panel.viewModel().onEditCount = {};
    showPhase(PanelPhase::noChanges(durationSeconds));
    if (onEditCount)
        onEditCount(0);
}

void PanelAdapter::showPhase(const PanelPhase& phase)
{
    // The loading pill is up: the result takes its place without a second fade-in. A panel the
    // user dismissed meanwhile (or never shown, as for an error before capture) comes in anew.
    if (m_panel.isShowing())
        m_panel.viewModel().setPhase(phase);
    else
        m_panel.show(phase);
}

bool SettingsAdapter::isCustomEndpointConfigured() const
{
    return m_settings.isCustomEndpointConfigured();
}

bool SettingsAdapter::isHistoryEnabled() const
{
    return m_history.isEnabled();
}

bool SettingsAdapter::isAnalyticsEnabled() const
{
    return m_settings.analyticsEnabled();
}

std::optional<QString> HistoryAdapter::addEntry(const HistoryRecord& record)
{
    FixHistoryEntry entry;
    entry.timestamp = record.timestamp;
    entry.originalText = record.originalText;
    entry.fixedText = record.fixedText;
    entry.editCount = record.editCount;
    entry.sourceApp = record.sourceApp;
    entry.trace = record.trace;
    entry.traceId = record.traceId;
    entry.originalHTML = record.originalHTML;
    entry.fixedHTML = record.fixedHTML;
    entry.sourceFormat = record.sourceFormat;
    entry.modeName = record.modeName;
    const std::optional<QUuid> id = m_history.addEntry(std::move(entry));
    if (!id)
        return std::nullopt;
    return storedUuidString(*id);
}

void HistoryAdapter::updateEditCount(const QString& id, qint64 editCount)
{
    m_history.updateEditCount(QUuid::fromString(id), editCount);
}

void UsageAdapter::recordFix(qint64 editCount, qint64 characterCount)
{
    m_usage.recordFix(editCount, characterCount);
}

void AnalyticsAdapter::capture(const QString& event, const QVariantMap& properties)
{
    m_analytics.capture(event, QJsonObject::fromVariantMap(properties));
}

QString AnalyticsAdapter::textLengthBucket(qint64 characterCount) const
{
    return Analytics::textLengthBucket(characterCount);
}

void AnalyticsAdapter::trackFixFailed(bool customEndpointInUse, int categoryCode)
{
    m_analytics.trackFixFailed(customEndpointInUse, categoryCode);
}
