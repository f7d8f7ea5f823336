#pragma once
#include "platform/LoginItem.h"

/// Starting at login through the freedesktop autostart folder: an entry
/// $XDG_CONFIG_HOME/autostart/tembrel.desktop that every desktop honours.
class XdgLoginItem : public LoginItem
{
public:
    /// `executable` is what the entry starts; the running binary by default.
    explicit XdgLoginItem(QString executable = {});

    [[nodiscard]] Status status() const override;
    bool setEnabled(bool enabled) override;
    [[nodiscard]] QString lastError() const override { return m_lastError; }

    [[nodiscard]] static QString entryPath();

private:
    QString m_executable;
    QString m_lastError;
};
