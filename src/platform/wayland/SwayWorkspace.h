#pragma once
#include "platform/Workspace.h"

#include <QJsonObject>

/// What a Wayland client may know of the desktop: every compositor composites. sway also answers
/// on its IPC socket which window has the focus, so terminals are recognised as on X11; elsewhere
/// the focused application stays unknown.
class SwayWorkspace : public Workspace
{
public:
    /// `ipcSocket` is sway's (SWAYSOCK); empty where the compositor is not sway.
    explicit SwayWorkspace(QString ipcSocket) : m_ipcSocket(std::move(ipcSocket)) {}

    [[nodiscard]] QString frontmostApplicationName() const override;
    [[nodiscard]] bool hasCompositor() const override { return true; }
    /// The focused window's app_id, or the instance and class of an X11 window under XWayland.
    [[nodiscard]] QStringList frontmostApplicationIds() const override;

private:
    [[nodiscard]] QJsonObject focusedWindow() const;

    QString m_ipcSocket;
};
