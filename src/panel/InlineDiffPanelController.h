#pragma once
#include "panel/PanelPhase.h"
#include "panel/PanelViewModel.h"

#include <QObject>
#include <QPointer>
#include <QRectF>
#include <functional>
#include <memory>

class KeyMonitor;
class PanelKeyFilter;
class QPropertyAnimation;
class QQuickView;
class Workspace;

/// Owns the floating result panel and its model: shows a phase near the top centre of the screen
/// without taking the keyboard from the application the user is writing in, fades it in and out,
/// and dismisses it on Escape or paste anywhere. One per process, UI thread only.
class InlineDiffPanelController : public QObject
{
    Q_OBJECT

public:
    static constexpr int width = 400;
    static constexpr int height = 350;
    static constexpr int topMargin = 40;
    static constexpr int fadeMilliseconds = 150;

    /// `keyMonitor` watches other applications' keys; without one only Tembrel's own windows are watched.
    explicit InlineDiffPanelController(Workspace& workspace, KeyMonitor* keyMonitor = nullptr, QObject* parent = nullptr);
    ~InlineDiffPanelController() override;

    /// Sets the phase and brings the panel in (again), fading from transparent.
    void show(const PanelPhase& phase);
    /// Fades the panel out; dismissing the loading pill cancels the fix in flight.
    void dismiss();

    /// Shown and not fading out.
    [[nodiscard]] bool isShowing() const;
    /// The window is mapped (also while it fades out).
    [[nodiscard]] bool isVisible() const;
    [[nodiscard]] PanelViewModel& viewModel() { return m_viewModel; }
    /// The window, once it has been shown; for tests and screenshots.
    [[nodiscard]] QQuickView* window() const { return m_window.get(); }
    /// Where the panel goes on a screen whose available area is `area`.
    [[nodiscard]] static QRect geometryOn(const QRect& area);

    /// Runs the last fix again; set by the fix coordinator.
    std::function<void()> retryAction;
    /// Opens the settings window; set by the app.
    std::function<void()> settingsAction;
    /// Cancels the fix in flight; set by the fix coordinator.
    std::function<void()> cancelAction;

Q_SIGNALS:
    /// The fade-out finished and the window is hidden.
    void hidden();

private Q_SLOTS:
    void updateMask();

private:
    void ensureWindow();
    void applyAppearance();
    void installMonitors();
    void removeMonitors();
    void onKey(bool paste);
    void finishHiding();

    Workspace& m_workspace;
    KeyMonitor* m_keyMonitor;
    PanelViewModel m_viewModel;
    std::unique_ptr<QQuickView> m_window;
    std::unique_ptr<PanelKeyFilter> m_localMonitor;
    QPointer<QPropertyAnimation> m_fade;
    bool m_dismissing = false;
    bool m_translucent = true;
};
