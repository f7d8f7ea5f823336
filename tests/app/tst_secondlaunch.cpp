#include <QProcess>
#include <QTest>

// The real binary launched twice on one desktop: the second launch reaches the first, which shows
// Settings, and exits without starting anything of its own.
class SecondLaunchTest : public QObject
{
    Q_OBJECT

private:
    QProcess m_first;
    QByteArray m_firstLog;

    bool firstLogContains(const char* text)
    {
        m_firstLog += m_first.readAll();
        return m_firstLog.contains(text);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("DISPLAY"), "run inside scripts/with-desktop.sh");
        m_first.setProcessChannelMode(QProcess::MergedChannels);
        m_first.start(QStringLiteral(TEMBREL_APP_PATH), {});
        QVERIFY(m_first.waitForStarted(10000));
        QVERIFY2(QTest::qWaitFor([&] { return firstLogContains("mode hotkeys"); }, 30000), m_firstLog.constData());
    }

    void cleanupTestCase()
    {
        if (m_first.state() != QProcess::NotRunning) {
            m_first.terminate();
            if (!m_first.waitForFinished(5000))
                m_first.kill();
            m_first.waitForFinished(3000);
        }
    }

    void secondLaunchShowsTheFirstsSettingsAndExits()
    {
        QProcess second;
        second.setProcessChannelMode(QProcess::MergedChannels);
        second.start(QStringLiteral(TEMBREL_APP_PATH), {});
        QVERIFY(second.waitForFinished(15000));
        const QByteArray secondLog = second.readAll();
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QVERIFY2(second.exitCode() == 0, secondLog.constData());
        QVERIFY2(secondLog.contains("already running"), secondLog.constData());
        // It registered no shortcut of its own.
        QVERIFY2(!secondLog.contains("mode hotkeys"), secondLog.constData());
        QVERIFY2(QTest::qWaitFor([&] { return firstLogContains("launched again"); }, 5000), m_firstLog.constData());
        QCOMPARE(m_first.state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(SecondLaunchTest)
#include "tst_secondlaunch.moc"
