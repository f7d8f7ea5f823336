#include "app/TaskbarPolicy.h"
#include "core/Logging.h"

TaskbarPolicy::TaskbarPolicy(QObject* parent)
    : QObject(parent)
{
}

void TaskbarPolicy::setHidden(bool hidden)
{
    m_hidden = hidden;
    m_windows.removeAll(nullptr);
    for (const QPointer<QWindow>& window : std::as_const(m_windows))
        apply(window, hidden);
    qCInfo(lcApp) << (hidden ? "Windows stay out of the task bar" : "Windows show in the task bar");
    Q_EMIT hiddenChanged(hidden);
}

void TaskbarPolicy::manage(QWindow* window)
{
    if (!window || m_windows.contains(window))
        return;
    m_windows.append(window);
    apply(window, m_hidden);
}

void TaskbarPolicy::apply(QWindow* window, bool hidden)
{
    if (!window)
        return;
    // A utility window (Qt::Tool) is what task bars and Alt+Tab leave out; it keeps its frame.
    const Qt::WindowFlags flags = window->flags();
    const Qt::WindowFlags wanted = (flags & ~Qt::WindowType_Mask) | (hidden ? Qt::Tool : Qt::Window);
    if (wanted == flags)
        return;
    const bool visible = window->isVisible();
    window->setFlags(wanted);
    if (visible) {
        window->hide();
        window->show();
    }
}
