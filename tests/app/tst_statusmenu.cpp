#include "app/StatusMenu.h"

#include <QAction>
#include <QApplication>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

// The tray menu on a real X display: its items, their order and shortcuts, the icon, and the
// desktop without a tray.
class StatusMenuTest : public QObject
{
    Q_OBJECT

private:
    // The average brightness difference between the icon drawn over `background` and the plain
    // background, over the icon's area: how much of it stands out.
    static double contrastOver(const QIcon& icon, const QColor& background)
    {
        QImage image(22, 22, QImage::Format_ARGB32);
        image.fill(background);
        {
            QPainter painter(&image);
            icon.paint(&painter, image.rect());
        }
        double total = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                total += std::abs(qGray(image.pixel(x, y)) - qGray(background.rgb()));
        return total / (image.width() * image.height());
    }

private Q_SLOTS:
    void itemsInOrderWithTheirShortcuts()
    {
        StatusMenu status;
        const QList<QAction*> items = status.menu().actions();
        QCOMPARE(items.size(), 5);
        QStringList titles;
        QStringList shortcuts;
        for (QAction* item : items) {
            titles << (item->isSeparator() ? QStringLiteral("---") : item->text());
            shortcuts << item->shortcut().toString(QKeySequence::PortableText);
        }
        QCOMPARE(titles, (QStringList{"Check for Updates", "View History", "Settings", "---", "Quit"}));
        QCOMPARE(shortcuts, (QStringList{"", "Ctrl+Shift+H", "Ctrl+,", "", "Ctrl+Q"}));
        QCOMPARE(status.actions(), (QList<QAction*>{items.at(0), items.at(1), items.at(2), items.at(4)}));
    }

    void trayIconCarriesTheMenuAndToolTip()
    {
        StatusMenu status;
        QCOMPARE(status.trayIcon().toolTip(), QStringLiteral("Tembrel"));
        QCOMPARE(status.trayIcon().contextMenu(), &status.menu());
        QVERIFY(!status.trayIcon().icon().isNull());
    }

    void iconReadsOnLightAndDarkPanels_data()
    {
        QTest::addColumn<QColor>("panel");
        QTest::newRow("light") << QColor(Qt::white);
        QTest::newRow("light grey") << QColor(0xdd, 0xdd, 0xdd);
        QTest::newRow("dark") << QColor(Qt::black);
        QTest::newRow("dark grey") << QColor(0x33, 0x33, 0x33);
    }

    void iconReadsOnLightAndDarkPanels()
    {
        QFETCH(QColor, panel);
        QVERIFY(!StatusMenu::icon().isNull());
        const double contrast = contrastOver(StatusMenu::icon(), panel);
        QVERIFY2(contrast > 40, qPrintable(QString::number(contrast)));
    }

    void itemsAnnounceTheUsersChoice_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QByteArray>("signal");
        QTest::newRow("Check for Updates") << 0 << QByteArray(SIGNAL(checkForUpdatesRequested()));
        QTest::newRow("View History") << 1 << QByteArray(SIGNAL(showHistoryRequested()));
        QTest::newRow("Settings") << 2 << QByteArray(SIGNAL(showSettingsRequested()));
        QTest::newRow("Quit") << 4 << QByteArray(SIGNAL(quitRequested()));
    }

    void itemsAnnounceTheUsersChoice()
    {
        QFETCH(int, index);
        QFETCH(QByteArray, signal);
        StatusMenu status;
        QSignalSpy chosen(&status, signal.constData());
        QSignalSpy updates(&status, &StatusMenu::checkForUpdatesRequested);
        QSignalSpy quit(&status, &StatusMenu::quitRequested);
        status.menu().actions().at(index)->trigger();
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(updates.size() + quit.size(), index == 0 || index == 4 ? 1 : 0);
    }

    void shortcutsWorkInTembrelsWindows_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QByteArray>("signal");
        QTest::newRow("Ctrl+Shift+H") << int(Qt::Key_H) << int(Qt::ControlModifier | Qt::ShiftModifier)
                                      << QByteArray(SIGNAL(showHistoryRequested()));
        QTest::newRow("Ctrl+,") << int(Qt::Key_Comma) << int(Qt::ControlModifier)
                                << QByteArray(SIGNAL(showSettingsRequested()));
        QTest::newRow("Ctrl+Q") << int(Qt::Key_Q) << int(Qt::ControlModifier) << QByteArray(SIGNAL(quitRequested()));
    }

    void shortcutsWorkInTembrelsWindows()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QByteArray, signal);
        StatusMenu status;
        QSignalSpy chosen(&status, signal.constData());
        // Any of Tembrel's windows (here a bare one) carries the menu's actions, so their
        // shortcuts work wherever Tembrel has the keyboard.
        QWidget window;
        window.addActions(status.actions());
        window.resize(200, 100);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QTRY_COMPARE(chosen.size(), 1);
    }

    void withATrayTheIconShowsWithoutComplaint()
    {
        // A real XEmbed tray on this display, when the machine has one to start.
        const QString trayer = QStandardPaths::findExecutable(QStringLiteral("trayer"));
        if (trayer.isEmpty())
            QSKIP("trayer is not installed");
        QProcess tray;
        tray.start(trayer, {QStringLiteral("--edge"), QStringLiteral("top"), QStringLiteral("--SetDockType"),
                            QStringLiteral("true")});
        QVERIFY(tray.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(QSystemTrayIcon::isSystemTrayAvailable(), 10000);
        {
            StatusMenu status;
            QVERIFY(status.show());
            QTRY_VERIFY(status.trayIcon().geometry().isValid() && !status.trayIcon().geometry().isEmpty());
        }
        tray.terminate();
        tray.waitForFinished(3000);
        QTRY_VERIFY_WITH_TIMEOUT(!QSystemTrayIcon::isSystemTrayAvailable(), 10000);
    }

    void withoutATrayItSaysSoAndCarriesOn()
    {
        if (QSystemTrayIcon::isSystemTrayAvailable())
            QSKIP("this desktop has a tray");
        StatusMenu status;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No system tray on this desktop")));
        QVERIFY(!status.show());
        // The menu still works for whoever reaches it (the windows take its actions).
        QSignalSpy settings(&status, &StatusMenu::showSettingsRequested);
        status.actions().at(2)->trigger();
        QCOMPARE(settings.size(), 1);
    }
};

QTEST_MAIN(StatusMenuTest)
#include "tst_statusmenu.moc"
