#pragma once
#include <QString>
#include <QStringList>

/// Facts about the desktop around Tembrel.
class Workspace
{
public:
    virtual ~Workspace() = default;
    /// Human-readable name of the application that has the keyboard focus; empty when unknown.
    [[nodiscard]] virtual QString frontmostApplicationName() const = 0;
    /// Whether a compositing manager runs, so translucent windows blend instead of showing black.
    [[nodiscard]] virtual bool hasCompositor() const = 0;
    /// The names the window system gives the focused application (on X11 the instance and class of
    /// WM_CLASS), to recognise what kind of application it is; empty when unknown.
    [[nodiscard]] virtual QStringList frontmostApplicationIds() const { return {}; }
    /// Whether the focused application holds the primary selection, i.e. has text selected that
    /// can be read without a copy shortcut. False where the system has no primary selection.
    [[nodiscard]] virtual bool frontmostApplicationOwnsPrimarySelection() const { return false; }
};
