#pragma once
#include <QString>

/// Starting Tembrel when the user logs in.
class LoginItem
{
public:
    enum class Status { enabled, notRegistered, notFound, requiresApproval };

    virtual ~LoginItem() = default;
    [[nodiscard]] virtual Status status() const = 0;
    /// Registers or unregisters; false with `lastError()` set when the system refused.
    virtual bool setEnabled(bool enabled) = 0;
    [[nodiscard]] virtual QString lastError() const = 0;
};
