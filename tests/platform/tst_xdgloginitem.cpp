#include "support/TestEnvironment.h"

#include "platform/x11/XdgLoginItem.h"

#include <QDir>
#include <QFile>
#include <QTest>

// The autostart entry is a file the desktop reads at login. It starts the program of the
// installed desktop entry, never the binary that happens to run; the user can switch it off in
// their desktop's settings, which leaves the file in place with a flag; and an entry whose program
// has gone (the app was moved or reinstalled elsewhere) is repaired or reported.
class XdgLoginItemTest : public QObject
{
    Q_OBJECT

private:
    static QString makeProgram(const QString& path)
    {
        QDir().mkpath(path.section(QLatin1Char('/'), 0, -2));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write("#!/bin/sh\n") < 0)
            return {};
        file.close();
        file.setPermissions(file.permissions() | QFile::ExeOwner);
        return path;
    }

    static QString makeInstalledEntry(const TestEnvironment& environment, const QString& exec)
    {
        const QString path = environment.dataHome() + QStringLiteral("/applications/com.tembrel.Tembrel.desktop");
        QDir().mkpath(environment.dataHome() + QStringLiteral("/applications"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return {};
        file.write("[Desktop Entry]\nType=Application\nName=Tembrel\nExec=" + exec.toUtf8()
                   + " --ignored\nIcon=com.tembrel.Tembrel\n\n[Desktop Action Settings]\nExec=other\n");
        return path;
    }

    static QByteArray autostartEntry()
    {
        QFile file(XdgLoginItem::entryPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void enableStartsTheInstalledProgram_data()
    {
        QTest::addColumn<QString>("program");     // below the test's root; empty: not installed
        QTest::addColumn<QString>("installedExec"); // %1: the program's full path
        QTest::addColumn<QByteArray>("writtenExec"); // %1 likewise; empty: enabling fails
        QTest::newRow("plain path") << "/usr/bin/tembrel" << "%1" << QByteArray("%1");
        QTest::newRow("path with a space") << "/opt/tembrel app/bin/tembrel" << "\"%1\""
                                           << QByteArray("\"%1\"");
        QTest::newRow("name on PATH") << "/bin/tembrel" << "tembrel" << QByteArray("%1");
        QTest::newRow("program gone") << "" << "/nowhere/tembrel" << QByteArray();
        QTest::newRow("not installed") << "" << "" << QByteArray();
    }

    void enableStartsTheInstalledProgram()
    {
        QFETCH(QString, program);
        QFETCH(QString, installedExec);
        QFETCH(QByteArray, writtenExec);
        TestEnvironment environment;
        const QString programPath = program.isEmpty() ? QString() : makeProgram(environment.root() + program);
        const QByteArray savedPath = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(environment.root() + QStringLiteral("/bin:")) + savedPath);
        const QString installed = installedExec.isEmpty()
            ? environment.root() + QStringLiteral("/missing.desktop")
            : makeInstalledEntry(environment, installedExec.arg(programPath));

        XdgLoginItem item(installed);
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
        const bool enabled = item.setEnabled(true);
        qputenv("PATH", savedPath);
        if (writtenExec.isEmpty()) {
            QVERIFY(!enabled);
            QVERIFY(!item.lastError().isEmpty());
            QCOMPARE(item.status(), LoginItem::Status::notRegistered);
            return;
        }
        QVERIFY2(enabled, qPrintable(item.lastError()));
        QCOMPARE(item.status(), LoginItem::Status::enabled);
        QVERIFY(XdgLoginItem::entryPath().startsWith(environment.configHome()));
        const QByteArray entry = autostartEntry();
        QVERIFY(entry.startsWith("[Desktop Entry]\n"));
        const QByteArray exec = "\nExec=" + QString::fromUtf8(writtenExec).arg(programPath).toUtf8() + '\n';
        QVERIFY2(entry.contains(exec), entry.constData());
        QVERIFY(entry.contains("\nIcon=com.tembrel.Tembrel\n"));

        QVERIFY(item.setEnabled(false));
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
        QVERIFY(!QFile::exists(XdgLoginItem::entryPath()));
        QVERIFY2(item.setEnabled(false), "disabling twice is not an error");
    }

    void quoting_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("quoted");
        QTest::newRow("plain") << "/usr/bin/tembrel" << "/usr/bin/tembrel";
        QTest::newRow("space") << "/a b/tembrel" << "\"/a b/tembrel\"";
        QTest::newRow("specials") << "/a$\"`\\/t" << "\"/a\\$\\\"\\`\\\\/t\"";
    }

    void quoting()
    {
        QFETCH(QString, argument);
        QFETCH(QString, quoted);
        QCOMPARE(XdgLoginItem::quotedExecArgument(argument), quoted);
    }

    void anEntryWhoseProgramIsGone_data()
    {
        QTest::addColumn<bool>("installed");
        QTest::newRow("repaired from the installed entry") << true;
        QTest::newRow("reported when nothing is installed") << false;
    }

    void anEntryWhoseProgramIsGone()
    {
        QFETCH(bool, installed);
        TestEnvironment environment;
        const QString program = makeProgram(environment.root() + QStringLiteral("/usr/bin/tembrel"));
        const QString entry = makeInstalledEntry(environment, program);
        const QString old = makeProgram(environment.root() + QStringLiteral("/old build/tembrel"));
        {
            XdgLoginItem item(makeInstalledEntry(environment, XdgLoginItem::quotedExecArgument(old)));
            QVERIFY(item.setEnabled(true));
        }
        QVERIFY(QFile::remove(old));
        if (installed)
            makeInstalledEntry(environment, program);
        else
            QVERIFY(QFile::remove(entry));

        XdgLoginItem item(entry);
        if (installed) {
            QCOMPARE(item.status(), LoginItem::Status::enabled);
            const QByteArray exec = "\nExec=" + program.toUtf8() + '\n';
            QVERIFY(autostartEntry().contains(exec));
        } else {
            QCOMPARE(item.status(), LoginItem::Status::notFound);
            QVERIFY2(item.lastError().contains(old), qPrintable(item.lastError()));
        }
    }

    void switchedOffByTheDesktop_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("hidden") << QByteArray("Hidden=true");
        QTest::newRow("gnome switch") << QByteArray("X-GNOME-Autostart-enabled=false");
    }

    void switchedOffByTheDesktop()
    {
        QFETCH(QByteArray, line);
        TestEnvironment environment;
        XdgLoginItem item(makeInstalledEntry(environment, makeProgram(environment.root() + QStringLiteral("/t"))));
        QVERIFY(item.setEnabled(true));
        QFile file(XdgLoginItem::entryPath());
        QVERIFY(file.open(QIODevice::Append));
        file.write(line + '\n');
        file.close();
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
    }

    void unwritableFolderIsAClearError()
    {
        TestEnvironment environment;
        // A file where the autostart folder should be.
        QFile blocker(environment.configHome() + QStringLiteral("/autostart"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        XdgLoginItem item(makeInstalledEntry(environment, makeProgram(environment.root() + QStringLiteral("/t"))));
        QVERIFY(!item.setEnabled(true));
        QVERIFY(!item.lastError().isEmpty());
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
    }
};

QTEST_GUILESS_MAIN(XdgLoginItemTest)
#include "tst_xdgloginitem.moc"
