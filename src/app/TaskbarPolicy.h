#pragma once
#include <QList>
#include <QObject>
#include <QPointer>
#include <QWindow>

/// Whether Tembrel's windows appear in the task bar and the window switcher: the Linux form of
/// showing or hiding the Dock icon. Windows register once; the policy follows the setting.
class TaskbarPolicy : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool hidden READ isHidden NOTIFY hiddenChanged)
public:
    explicit TaskbarPolicy(QObject* parent = nullptr);

    [[nodiscard]] bool isHidden() const { return m_hidden; }
    /// Applies the policy to every registered window, now and whenever it changes.
    void setHidden(bool hidden);

    /// Registers a window (settings, history, onboarding) so the policy applies to it from now on.
    Q_INVOKABLE void manage(QWindow* window);
    /// Sets or clears the tool-window flag that keeps `window` out of the task bar. A visible
    /// window is shown again, since X11 window managers read the type only when a window maps.
    static void apply(QWindow* window, bool hidden);

Q_SIGNALS:
    void hiddenChanged(bool hidden);

private:
    bool m_hidden = false;
    QList<QPointer<QWindow>> m_windows;
};
