#pragma once
#include "core/FixNeighbours.h"

class AnalyticsManager;
class ClipboardManager;
class HistoryManager;
class InlineDiffPanelController;
struct PanelPhase;
class ModeManager;
class SelectionManager;
class SettingsManager;
class UsageStatsManager;

// The fix coordinator's view of the real components. Each adapter only translates; behaviour
// lives in the component it wraps.

class ModeCatalogAdapter : public FixModes
{
public:
    explicit ModeCatalogAdapter(const ModeManager& modes) : m_modes(modes) {}
    [[nodiscard]] QList<ModeSummary> modes() const override;

private:
    const ModeManager& m_modes;
};

class SelectionAdapter : public FixSelection
{
public:
    explicit SelectionAdapter(SelectionManager& selection) : m_selection(selection) {}
    QCoro::Task<std::optional<CapturedContent>> captureSelection() override;

private:
    SelectionManager& m_selection;
};

class ClipboardAdapter : public FixClipboard
{
public:
    explicit ClipboardAdapter(ClipboardManager& clipboard) : m_clipboard(clipboard) {}
    [[nodiscard]] QString cleanHtmlForFix(const QString& html) const override;
    [[nodiscard]] QString htmlToPlainText(const QString& html) const override;
    void writeFixedContent(const QString& fixedText, const CapturedContent& captured) override;

private:
    ClipboardManager& m_clipboard;
};

class PanelAdapter : public FixPanel
{
public:
    explicit PanelAdapter(InlineDiffPanelController& panel) : m_panel(panel) {}
    void showLoading() override;
    void showError(const QString& message, const QString& detail) override;
    void showSuccess(const FixResult& result, double durationSeconds, EditCountCallback onEditCount) override;
    void showNoChanges(const FixResult& result, double durationSeconds, EditCountCallback onEditCount) override;

private:
    void showPhase(const PanelPhase& phase);

    InlineDiffPanelController& m_panel;
};

class SettingsAdapter : public FixSettings
{
public:
    SettingsAdapter(const SettingsManager& settings, const HistoryManager& history)
        : m_settings(settings), m_history(history)
    {
    }
    [[nodiscard]] bool isCustomEndpointConfigured() const override;
    [[nodiscard]] bool isHistoryEnabled() const override;
    [[nodiscard]] bool isAnalyticsEnabled() const override;

private:
    const SettingsManager& m_settings;
    const HistoryManager& m_history;
};

class HistoryAdapter : public FixHistory
{
public:
    explicit HistoryAdapter(HistoryManager& history) : m_history(history) {}
    std::optional<QString> addEntry(const HistoryRecord& record) override;
    void updateEditCount(const QString& id, qint64 editCount) override;

private:
    HistoryManager& m_history;
};

class UsageAdapter : public FixUsage
{
public:
    explicit UsageAdapter(UsageStatsManager& usage) : m_usage(usage) {}
    void recordFix(qint64 editCount, qint64 characterCount) override;

private:
    UsageStatsManager& m_usage;
};

class AnalyticsAdapter : public FixAnalytics
{
public:
    explicit AnalyticsAdapter(AnalyticsManager& analytics) : m_analytics(analytics) {}
    void capture(const QString& event, const QVariantMap& properties) override;
    [[nodiscard]] QString textLengthBucket(qint64 characterCount) const override;
    void trackFixFailed(bool customEndpointInUse, int categoryCode) override;

private:
    AnalyticsManager& m_analytics;
};
