#include "analytics/InstallationState.h"

#include "core/Logging.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QUuid>

namespace {
const auto distinctIdFile = QStringLiteral("distinct_id");
const auto optedOutFile = QStringLiteral("opted_out");
} // namespace

InstallationState::InstallationState(QString directory)
    : m_directory(std::move(directory))
{
    QDir().mkpath(m_directory);
    m_distinctId = loadOrCreateDistinctId();
    m_optedOut = QFile::exists(QDir(m_directory).filePath(optedOutFile));
}

QString InstallationState::loadOrCreateDistinctId()
{
    const QString path = QDir(m_directory).filePath(distinctIdFile);
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const QUuid stored = QUuid::fromString(QString::fromLatin1(file.read(64)).trimmed());
        if (!stored.isNull())
            return stored.toString(QUuid::WithoutBraces);
        qCWarning(lcPostHog) << "The stored distinct id is damaged; making a new one";
    }

    const QString fresh = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(fresh.toLatin1() + '\n') < 0 || !out.commit())
        qCWarning(lcPostHog) << "Cannot store the distinct id; it lasts for this run only:" << out.errorString();
    return fresh;
}

void InstallationState::setOptedOut(bool optedOut)
{
    m_optedOut = optedOut;
    const QString path = QDir(m_directory).filePath(optedOutFile);
    if (optedOut) {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write("1\n") < 0)
            qCWarning(lcPostHog) << "Cannot store the opt-out; it holds for this run only:" << file.errorString();
    } else if (QFile::exists(path) && !QFile::remove(path)) {
        qCWarning(lcPostHog) << "Cannot remove the stored opt-out";
    }
}
