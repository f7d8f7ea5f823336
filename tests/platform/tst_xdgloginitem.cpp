#include "support/TestEnvironment.h"

#include "platform/x11/XdgLoginItem.h"

#include <QFile>
#include <QTest>

// The autostart entry is a file the desktop reads at login; the user can also switch it off in
// their desktop's settings, which leaves the file in place with a flag.
class XdgLoginItemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enableWritesAnEntryThatStartsTheApp()
    {
        TestEnvironment environment;
        XdgLoginItem item(QStringLiteral("/opt/tembrel app/bin/tembrel"));
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
        QVERIFY(item.setEnabled(true));
        QCOMPARE(item.status(), LoginItem::Status::enabled);
        QVERIFY(XdgLoginItem::entryPath().startsWith(environment.configHome()));

        QFile file(XdgLoginItem::entryPath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray entry = file.readAll();
        QVERIFY(entry.startsWith("[Desktop Entry]\n"));
        QVERIFY(entry.contains("\nExec=\"/opt/tembrel app/bin/tembrel\"\n"));
        QVERIFY(entry.contains("\nType=Application\n"));

        QVERIFY(item.setEnabled(false));
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
        QVERIFY(!QFile::exists(XdgLoginItem::entryPath()));
        QVERIFY2(item.setEnabled(false), "disabling twice is not an error");
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
        XdgLoginItem item(QStringLiteral("/usr/bin/tembrel"));
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
        XdgLoginItem item(QStringLiteral("/usr/bin/tembrel"));
        QVERIFY(!item.setEnabled(true));
        QVERIFY(!item.lastError().isEmpty());
        QCOMPARE(item.status(), LoginItem::Status::notRegistered);
    }
};

QTEST_GUILESS_MAIN(XdgLoginItemTest)
#include "tst_xdgloginitem.moc"
