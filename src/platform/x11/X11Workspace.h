#pragma once
#include "platform/Workspace.h"

/// The desktop as X11 describes it: the focused window's application, the selection it owns
/// and the compositor.
class X11Workspace : public Workspace
{
public:
    [[nodiscard]] QString frontmostApplicationName() const override;
    [[nodiscard]] bool hasCompositor() const override;
    [[nodiscard]] QStringList frontmostApplicationIds() const override;
    [[nodiscard]] bool frontmostApplicationOwnsPrimarySelection() const override;
};
