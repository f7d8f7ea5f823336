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
    void menuAndTrayIcon()
    {
        StatusMenu status;
        const QList<QAction*> items = status.menu().actions();
        QCOMPARE(items.size(), 5);
        QVERIFY(items.at(3)->isSeparator());
        QCOMPARE(status.actions(), (QList<QAction*>{items.at(0), items.at(1), items.at(2), items.at(4)}));
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

    // Each item carries its shortcut and announces exactly the user's choice and nothing else (the
    // shortcuts in Tembrel's windows are tried in tst_assembled).
    void items_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QKeySequence>("shortcut");
        QTest::addColumn<QString>("announces");
        QTest::newRow("Check for Updates") << 0 << "Check for Updates" << QKeySequence() << "checkForUpdatesRequested";
        QTest::newRow("View History") << 1 << "View History" << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_H)
                                      << "showHistoryRequested";
        QTest::newRow("Settings") << 2 << "Settings" << QKeySequence(Qt::CTRL | Qt::Key_Comma) << "showSettingsRequested";
        QTest::newRow("Quit") << 4 << "Quit" << QKeySequence(Qt::CTRL | Qt::Key_Q) << "quitRequested";
    }

    void items()
    {
        QFETCH(int, index);
        QFETCH(QString, title);
        QFETCH(QKeySequence, shortcut);
        QFETCH(QString, announces);
        StatusMenu status;
        QAction* item = status.menu().actions().at(index);
        QCOMPARE(item->text(), title);
        QCOMPARE(item->shortcut(), shortcut);

        QStringList heard;
        const QList<QPair<QString, void (StatusMenu::*)()>> choices{
            {"checkForUpdatesRequested", &StatusMenu::checkForUpdatesRequested},
            {"showHistoryRequested", &StatusMenu::showHistoryRequested},
            {"showSettingsRequested", &StatusMenu::showSettingsRequested},
            {"quitRequested", &StatusMenu::quitRequested}};
        for (const auto& [name, signal] : choices)
            connect(&status, signal, this, [&heard, name] { heard << name; });
        item->trigger();
        QCOMPARE(heard, QStringList{announces});
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
