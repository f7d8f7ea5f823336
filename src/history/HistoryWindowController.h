#pragma once
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>

class HistoryManager;
class HistoryWindowModel;
class ModeManager;
class QQuickView;
class TaskbarPolicy;

/// Opens the history window: builds it on first show, centres it, fades it in and activates it;
/// forgets it once it is closed, so the next show builds a fresh one from the store. UI thread only.
class HistoryWindowController : public QObject
{
    Q_OBJECT

public:
    static constexpr int width = 900;
    static constexpr int height = 650;
    static constexpr int minimumWidth = 750;
    static constexpr int minimumHeight = 550;
    static constexpr int fadeMilliseconds = 200;

    /// The stores must outlive the controller. `clientId` gives the analytics distinct id shown in
    /// traces; `taskbar`, when given, decides whether the window shows in the task bar.
    HistoryWindowController(HistoryManager& history, ModeManager& modes, std::function<QString()> clientId,
                            TaskbarPolicy* taskbar = nullptr, QObject* parent = nullptr);
    ~HistoryWindowController() override;

    /// The open window, or null; for tests and screenshots.
    [[nodiscard]] QQuickView* window() const;
    /// The open window's state, or null.
    [[nodiscard]] HistoryWindowModel* model() const;
    /// Replaces the clock of the window's dates (tests); applies to windows built from now on.
    void setClock(std::function<QDateTime()> now);

public Q_SLOTS:
    /// Brings the window up, building it when it is not open.
    void show();

Q_SIGNALS:
    /// The window was closed and forgotten.
    void closed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build();
    void forget();

    HistoryManager& m_history;
    ModeManager& m_modes;
    std::function<QString()> m_clientId;
    QPointer<TaskbarPolicy> m_taskbar;
    std::function<QDateTime()> m_now;
    std::unique_ptr<HistoryWindowModel> m_model;
    std::unique_ptr<QQuickView> m_window;
};
