#include "platform/x11/XdgLoginItem.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

XdgLoginItem::XdgLoginItem(QString executable)
    : m_executable(executable.isEmpty() ? QCoreApplication::applicationFilePath() : std::move(executable))
{
}

QString XdgLoginItem::entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/autostart/tembrel.desktop");
}

LoginItem::Status XdgLoginItem::status() const
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return Status::notRegistered;
    // An entry the user switched off in their desktop's settings stays on disk with one of these.
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed == "Hidden=true" || trimmed == "X-GNOME-Autostart-enabled=false")
            return Status::notRegistered;
    }
    return Status::enabled;
}

bool XdgLoginItem::setEnabled(bool enabled)
{
    m_lastError.clear();
    const QString path = entryPath();
    if (!enabled) {
        if (QFile::exists(path) && !QFile::remove(path)) {
            m_lastError = QStringLiteral("Couldn't remove %1.").arg(QDir::toNativeSeparators(path));
            return false;
        }
        return true;
    }
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        m_lastError = QStringLiteral("Couldn't create the autostart folder.");
        return false;
    }
    QString exec = m_executable;
    if (exec.contains(QLatin1Char(' ')))
        exec = QLatin1Char('"') + exec + QLatin1Char('"');
    const QString entry = QStringLiteral("[Desktop Entry]\nType=Application\nName=Tembrel\n"
                                         "Comment=Fix the text you selected, anywhere\nExec=%1\n"
                                         "Icon=tembrel\nTerminal=false\nX-GNOME-Autostart-enabled=true\n")
                              .arg(exec);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(entry.toUtf8()) < 0 || !file.commit()) {
        m_lastError = QStringLiteral("Couldn't write %1.").arg(QDir::toNativeSeparators(path));
        qCWarning(lcPlatform) << "writing the autostart entry failed:" << file.errorString();
        return false;
    }
    return true;
}
