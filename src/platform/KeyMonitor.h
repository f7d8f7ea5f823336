#pragma once
#include <functional>

/// Watches for Escape and the paste shortcut pressed in any application, without taking the keys
/// away from it: the application the user types in still receives them.
class KeyMonitor
{
public:
    enum class Key { escape, paste };

    virtual ~KeyMonitor() = default;
    /// Starts reporting presses on the UI thread; false when the system offers no way to watch.
    virtual bool start(std::function<void(Key key)> handler) = 0;
    /// Stops reporting; nothing more is delivered after it returns.
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isActive() const = 0;
};
