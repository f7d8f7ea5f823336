#pragma once
#include <QString>

/// Facts about the desktop around Tembrel.
class Workspace
{
public:
    virtual ~Workspace() = default;
    /// Human-readable name of the application that has the keyboard focus; empty when unknown.
    [[nodiscard]] virtual QString frontmostApplicationName() const = 0;
    /// Whether a compositing manager runs, so translucent windows blend instead of showing black.
    [[nodiscard]] virtual bool hasCompositor() const = 0;
};
