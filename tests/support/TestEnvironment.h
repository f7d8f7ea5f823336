#pragma once
#include <QString>
#include <QTemporaryDir>

/// Points HOME and the XDG configuration, data and cache folders at a fresh temporary folder, so
/// that a test never touches the developer's settings, history or keyring. Create it before the
/// first QSettings or QStandardPaths call of the process.
class TestEnvironment
{
public:
    TestEnvironment();
    ~TestEnvironment();

    [[nodiscard]] QString root() const { return m_dir.path(); }
    [[nodiscard]] QString configHome() const { return m_dir.path() + QStringLiteral("/config"); }
    [[nodiscard]] QString dataHome() const { return m_dir.path() + QStringLiteral("/data"); }

    /// Names the application as Tembrel does, so that QSettings() reads and writes its domain.
    static void nameApplication();

private:
    QTemporaryDir m_dir;
};
