#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>

TestEnvironment::TestEnvironment()
{
    const QString base = m_dir.path();
    for (const char* sub : {"config", "data", "cache", "runtime"})
        QDir(base).mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(base + QStringLiteral("/runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_CONFIG_HOME", (base + QStringLiteral("/config")).toUtf8());
    qputenv("XDG_DATA_HOME", (base + QStringLiteral("/data")).toUtf8());
    qputenv("XDG_CACHE_HOME", (base + QStringLiteral("/cache")).toUtf8());
}

TestEnvironment::~TestEnvironment() = default;

void TestEnvironment::nameApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Tembrel"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("tembrel.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Tembrel"));
}
