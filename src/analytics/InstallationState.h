#pragma once
#include <QString>

/// What the analytics client remembers about this installation between runs: its distinct id
/// (a random UUID made once) and whether the user opted out. Both live as small files in the
/// client's storage folder.
class InstallationState
{
public:
    explicit InstallationState(QString directory);

    /// The installation's distinct id; made and stored on first use of the folder.
    [[nodiscard]] QString distinctId() const { return m_distinctId; }

    [[nodiscard]] bool isOptedOut() const { return m_optedOut; }
    /// Records the choice so that the next run starts with it.
    void setOptedOut(bool optedOut);

private:
    QString loadOrCreateDistinctId();

    QString m_directory;
    QString m_distinctId;
    bool m_optedOut = false;
};
