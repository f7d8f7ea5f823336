#include "app/StatusMenu.h"
#include "app/AppIcons.h"
#include "core/Logging.h"

#include <QAction>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickWindow>

StatusMenu::StatusMenu(QObject* parent)
    : QObject(parent)
    , m_menu(std::make_unique<QMenu>())
    , m_tray(std::make_unique<QSystemTrayIcon>(icon()))
{
    m_checkForUpdates = m_menu->addAction(QStringLiteral("Check for Updates"));
    m_viewHistory = m_menu->addAction(QStringLiteral("View History"));
    m_viewHistory->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_H));
    m_settings = m_menu->addAction(QStringLiteral("Settings"));
    m_settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    m_menu->addSeparator();
    m_quit = m_menu->addAction(QStringLiteral("Quit"));
    m_quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    m_quit->setMenuRole(QAction::QuitRole);
    // Tembrel's windows take these actions too; the shortcuts then work wherever Tembrel has focus.
    for (QAction* action : actions())
        action->setShortcutContext(Qt::ApplicationShortcut);

    // Qt Quick windows never see a widget action's shortcut; their key presses are matched here.
    qGuiApp->installEventFilter(this);

    connect(m_checkForUpdates, &QAction::triggered, this, &StatusMenu::checkForUpdatesRequested);
    connect(m_viewHistory, &QAction::triggered, this, &StatusMenu::showHistoryRequested);
    connect(m_settings, &QAction::triggered, this, &StatusMenu::showSettingsRequested);
    connect(m_quit, &QAction::triggered, this, &StatusMenu::quitRequested);

    qCDebug(lcApp).noquote() << "Tray icon:" << (m_tray->icon().name().isEmpty() ? QStringLiteral("built in")
                                                                                : m_tray->icon().name());
    m_tray->setToolTip(QStringLiteral("Tembrel"));
    m_tray->setContextMenu(m_menu.get());
    // A left click opens the same menu, as the menu-bar item does on macOS. Trays that show the
    // context menu on their own never report Trigger.
    connect(m_tray.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            m_menu->popup(QCursor::pos());
    });
}

bool StatusMenu::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !qobject_cast<QQuickWindow*>(watched))
        return false;
    const QKeySequence pressed(static_cast<QKeyEvent*>(event)->keyCombination());
    for (QAction* action : actions()) {
        if (action->isEnabled() && !action->shortcut().isEmpty() && action->shortcut() == pressed) {
            action->trigger();
            return true;
        }
    }
    return false;
}

StatusMenu::~StatusMenu()
{
    // The tray icon refers to the menu; it goes first.
    m_tray.reset();
}

bool StatusMenu::show()
{
    const bool available = QSystemTrayIcon::isSystemTrayAvailable();
    if (!available)
        qCWarning(lcApp) << "No system tray on this desktop: Tembrel keeps running with its shortcuts;"
                            " open it again from the application menu to reach Settings";
    // Also without a tray: Qt shows the icon as soon as one appears.
    m_tray->show();
    return available;
}

QList<QAction*> StatusMenu::actions() const
{
    return {m_checkForUpdates, m_viewHistory, m_settings, m_quit};
}

QIcon StatusMenu::icon()
{
    return AppIcons::tray();
}
