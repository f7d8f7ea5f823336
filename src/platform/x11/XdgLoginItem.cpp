#include "platform/x11/XdgLoginItem.h"

#include "core/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const QString installedEntryName = QStringLiteral("com.tembrel.Tembrel.desktop");

// The keys of a desktop entry's main group, unescaped no further than Exec and Icon need.
QString entryValue(const QString& path, QStringView key)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    bool inMainGroup = false;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        const QString trimmed = line.trimmed();
        if (trimmed.startsWith(QLatin1Char('[')))
            inMainGroup = trimmed == u"[Desktop Entry]";
        else if (inMainGroup && trimmed.startsWith(key) && trimmed.mid(key.size()).trimmed().startsWith(QLatin1Char('=')))
            return trimmed.mid(trimmed.indexOf(QLatin1Char('=')) + 1).trimmed();
    }
    return {};
}

// The program an Exec value starts: its first argument with the format's quoting undone.
QString execProgram(const QString& exec)
{
    // The value's own escapes (a backslash written as two) come off first, then the quoting.
    QString value = exec;
    value.replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
    QString program;
    bool quoted = false;
    for (qsizetype k = 0; k < value.size(); ++k) {
        const QChar c = value.at(k);
        if (c == u'"') {
            quoted = !quoted;
        } else if (quoted && c == u'\\' && k + 1 < value.size()) {
            program += value.at(++k);
        } else if (!quoted && c.isSpace()) {
            if (!program.isEmpty())
                break;
        } else {
            program += c;
        }
    }
    return program;
}

// A bare name is looked up on PATH, as the desktop does at login.
QString resolvedProgram(const QString& program)
{
    if (program.isEmpty() || QFileInfo(program).isAbsolute())
        return program;
    return QStandardPaths::findExecutable(program);
}

bool isRunnable(const QString& program)
{
    const QFileInfo info(program);
    return info.isAbsolute() && info.isFile() && info.isExecutable();
}

} // namespace

XdgLoginItem::XdgLoginItem(QString installedEntry)
    : m_installedEntry(installedEntry.isEmpty()
                           ? QStandardPaths::locate(QStandardPaths::ApplicationsLocation, installedEntryName)
                           : std::move(installedEntry))
{
    repairIfStale();
}

QString XdgLoginItem::entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/autostart/tembrel.desktop");
}

QString XdgLoginItem::quotedExecArgument(const QString& argument)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    const bool needsQuotes = std::any_of(argument.begin(), argument.end(),
                                         [](QChar c) { return reserved.contains(c); });
    if (!needsQuotes)
        return argument;
    QString quoted = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += QLatin1Char('\\');
        quoted += c;
    }
    return quoted + QLatin1Char('"');
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
    if (!isRunnable(resolvedProgram(execProgram(entryValue(entryPath(), u"Exec")))))
        return Status::notFound;
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
    return write();
}

bool XdgLoginItem::write()
{
    if (m_installedEntry.isEmpty() || !QFile::exists(m_installedEntry)) {
        m_lastError = QStringLiteral("Tembrel isn't installed, so there is nothing to start at login. "
                                     "Install its package first.");
        return false;
    }
    const QString program = resolvedProgram(execProgram(entryValue(m_installedEntry, u"Exec")));
    if (!isRunnable(program)) {
        m_lastError = QStringLiteral("The program of %1 isn't there; reinstall Tembrel.")
                          .arg(QDir::toNativeSeparators(m_installedEntry));
        return false;
    }
    QString icon = entryValue(m_installedEntry, u"Icon");
    if (icon.isEmpty())
        icon = QStringLiteral("com.tembrel.Tembrel");

    const QString path = entryPath();
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        m_lastError = QStringLiteral("Couldn't create the autostart folder.");
        return false;
    }
    // The quoted argument's backslashes are escaped once more as the value of a string key.
    QString exec = quotedExecArgument(program);
    exec.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    const QString entry = QStringLiteral("[Desktop Entry]\nType=Application\nName=Tembrel\n"
                                         "Comment=Fix the text you selected, anywhere\nExec=%1\n"
                                         "Icon=%2\nTerminal=false\nX-GNOME-Autostart-enabled=true\n")
                              .arg(exec, icon);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(entry.toUtf8()) < 0 || !file.commit()) {
        m_lastError = QStringLiteral("Couldn't write %1.").arg(QDir::toNativeSeparators(path));
        qCWarning(lcPlatform) << "writing the autostart entry failed:" << file.errorString();
        return false;
    }
    return true;
}

void XdgLoginItem::repairIfStale()
{
    if (status() != Status::notFound)
        return;
    const QString gone = execProgram(entryValue(entryPath(), u"Exec"));
    if (write()) {
        qCInfo(lcPlatform) << "The autostart entry started" << gone << "which is gone; it now starts the installed Tembrel";
        return;
    }
    m_lastError = QStringLiteral("Launch at login starts %1, which is gone, and Tembrel couldn't repair it: %2")
                      .arg(QDir::toNativeSeparators(gone), m_lastError);
    qCWarning(lcPlatform).noquote() << m_lastError;
}
