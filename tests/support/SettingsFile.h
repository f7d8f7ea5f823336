#pragma once
#include "support/TestEnvironment.h"

#include <QSettings>
#include <memory>

/// A settings file of its own for each test function, read back from disk on request as the next
/// launch would read it. Call fresh() from init().
class SettingsFile
{
public:
    SettingsFile(const TestEnvironment& env, const char* name)
        : m_env(env)
        , m_name(QString::fromLatin1(name))
    {
    }

    QSettings& fresh()
    {
        ++m_run;
        m_settings = std::make_unique<QSettings>(path(), QSettings::IniFormat);
        return *m_settings;
    }
    /// Writes what was set and opens the file anew: values come back as the INI text holds them.
    QSettings& reopen()
    {
        m_settings->sync();
        m_settings = std::make_unique<QSettings>(path(), QSettings::IniFormat);
        return *m_settings;
    }
    QSettings& operator*() const { return *m_settings; }
    QSettings* operator->() const { return m_settings.get(); }
    [[nodiscard]] QString path() const
    {
        return m_env.configHome() + QStringLiteral("/%1-%2.conf").arg(m_name).arg(m_run);
    }
    [[nodiscard]] int run() const { return m_run; }

private:
    const TestEnvironment& m_env;
    QString m_name;
    int m_run = 0;
    std::unique_ptr<QSettings> m_settings;
};
