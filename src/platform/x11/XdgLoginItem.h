#pragma once
#include "platform/LoginItem.h"

/// Starting at login through the freedesktop autostart folder: an entry
/// $XDG_CONFIG_HOME/autostart/tembrel.desktop that every desktop honours. It starts the program
/// of the installed desktop entry, never the binary that happens to run (a build folder, say).
class XdgLoginItem : public LoginItem
{
public:
    /// `installedEntry` is the installed desktop entry whose program and icon the autostart entry
    /// takes; by default com.tembrel.Tembrel.desktop as found in the applications folders. An
    /// autostart entry whose program is gone is rewritten from it, or reported by status().
    explicit XdgLoginItem(QString installedEntry = {});

    /// `notFound` when the autostart entry's program is gone and it could not be repaired.
    [[nodiscard]] Status status() const override;
    bool setEnabled(bool enabled) override;
    [[nodiscard]] QString lastError() const override { return m_lastError; }

    [[nodiscard]] static QString entryPath();
    /// Quotes one argument of an Exec line as the desktop entry format asks.
    [[nodiscard]] static QString quotedExecArgument(const QString& argument);

private:
    bool write();
    void repairIfStale();

    QString m_installedEntry;
    QString m_lastError;
};
