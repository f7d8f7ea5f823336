#pragma once
#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <memory>

class QAction;

/// Tembrel's presence on the desktop: the tray icon with its menu. Each item only announces what
/// the user chose; the app decides what happens.
class StatusMenu : public QObject
{
    Q_OBJECT
public:
    explicit StatusMenu(QObject* parent = nullptr);
    ~StatusMenu() override;

    /// Shows the icon when the desktop has a tray; otherwise says so once in the log. Answers
    /// whether a tray was there.
    bool show();

    [[nodiscard]] QMenu& menu() { return *m_menu; }
    [[nodiscard]] QSystemTrayIcon& trayIcon() { return *m_tray; }
    /// The four actions, in menu order, for windows that want the same shortcuts.
    [[nodiscard]] QList<QAction*> actions() const;

    /// Tembrel's own tray icon, drawn to read on light and dark panels.
    [[nodiscard]] static QIcon icon();

Q_SIGNALS:
    void checkForUpdatesRequested();
    void showHistoryRequested();
    void showSettingsRequested();
    void quitRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    QAction* m_checkForUpdates = nullptr;
    QAction* m_viewHistory = nullptr;
    QAction* m_settings = nullptr;
    QAction* m_quit = nullptr;
};
