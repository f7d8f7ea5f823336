#include <QProcess>
#include <QTest>

#include <csignal>

// The real binary on one desktop: its command line, a later launch handing its request to the
// running one, and the ways it ends (--quit, SIGTERM, SIGINT) as its Quit item does.
class SecondLaunchTest : public QObject
{
    Q_OBJECT

private:
    QProcess m_first;
    QByteArray m_firstLog;

    bool firstLogContains(const QByteArray& text)
    {
        m_firstLog += m_first.readAll();
        return m_firstLog.contains(text);
    }

    struct Launch
    {
        int exitCode = -1;
        QByteArray output;
    };

    static Launch launch(const QStringList& arguments)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral(TEMBREL_APP_PATH), arguments);
        if (!process.waitForFinished(15000)) {
            process.kill();
            process.waitForFinished(3000);
            return {-1, "did not finish"};
        }
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, process.readAll()};
    }

    bool startFirst()
    {
        m_firstLog.clear();
        m_first.setProcessChannelMode(QProcess::MergedChannels);
        m_first.start(QStringLiteral(TEMBREL_APP_PATH), {});
        return m_first.waitForStarted(10000)
            && QTest::qWaitFor([&] { return firstLogContains("Tembrel is running"); }, 30000);
    }

    void stopFirst()
    {
        if (m_first.state() != QProcess::NotRunning) {
            m_first.kill();
            m_first.waitForFinished(3000);
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("DISPLAY"), "run inside scripts/with-desktop.sh");
        QVERIFY2(startFirst(), m_firstLog.constData());
    }

    void cleanupTestCase() { stopFirst(); }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("output");   // what the launch itself prints
        QTest::addColumn<QByteArray>("firstLog"); // what the running Tembrel then logs; empty: nothing asked

        QTest::newRow("opened again: Settings") << QStringList{} << 0 << QByteArray("already running")
                                                << QByteArray("launched again; showing Settings");
        QTest::newRow("--settings") << QStringList{QStringLiteral("--settings")} << 0 << QByteArray("already running")
                                    << QByteArray("asked for settings");
        QTest::newRow("--history") << QStringList{QStringLiteral("--history")} << 0 << QByteArray("already running")
                                   << QByteArray("asked for history");
        QTest::newRow("--fix by name, any case")
            << QStringList{QStringLiteral("--fix"), QStringLiteral("tEMBREL")} << 0 << QByteArray("already running")
            << QByteArray("Panel phase"); // the fix ran as a shortcut's does: here, with nothing selected, to an error
        QTest::newRow("--fix by id")
            << QStringList{QStringLiteral("--fix=00000000-0000-0000-0000-000000000001")} << 0
            << QByteArray("already running") << QByteArray("Fixing the selection with the mode Tembrel");
        QTest::newRow("--fix by what a built-in mode does")
            << QStringList{QStringLiteral("--fix"), QStringLiteral("proofread")} << 0
            << QByteArray("already running") << QByteArray("Fixing the selection with the mode Tembrel");
        QTest::newRow("--fix of no mode") << QStringList{QStringLiteral("--fix"), QStringLiteral("Pirate")} << 1
                                          << QByteArray("There is no mode called 'Pirate'.") << QByteArray();
        QTest::newRow("--fix of a mode turned off") << QStringList{QStringLiteral("--fix"), QStringLiteral("Concise")}
                                                    << 1 << QByteArray("The mode 'Concise' is turned off")
                                                    << QByteArray();
        QTest::newRow("--fix without a mode") << QStringList{QStringLiteral("--fix")} << 2
                                              << QByteArray("Missing value after '--fix'.") << QByteArray();
        QTest::newRow("unknown option") << QStringList{QStringLiteral("--frobnicate")} << 2
                                        << QByteArray("Unknown option 'frobnicate'.") << QByteArray();
        QTest::newRow("two requests") << QStringList{QStringLiteral("--settings"), QStringLiteral("--quit")} << 2
                                      << QByteArray("Give one of") << QByteArray();
        QTest::newRow("--help") << QStringList{QStringLiteral("--help")} << 0 << QByteArray("--fix <MODE>")
                                << QByteArray();
        QTest::newRow("--version") << QStringList{QStringLiteral("--version")} << 0
                                   << QByteArray("Tembrel " TEMBREL_VERSION "\n") << QByteArray();
    }

    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, output);
        QFETCH(QByteArray, firstLog);
        const Launch later = launch(arguments);
        QVERIFY2(later.exitCode == exitCode, later.output.constData());
        QVERIFY2(later.output.contains(output), later.output.constData());
        // A later launch starts nothing of its own.
        QVERIFY2(!later.output.contains("mode hotkeys"), later.output.constData());
        if (!firstLog.isEmpty())
            QVERIFY2(QTest::qWaitFor([&] { return firstLogContains(firstLog); }, 5000), m_firstLog.constData());
        QCOMPARE(m_first.state(), QProcess::Running);
    }

    void endsAsQuitDoes_data()
    {
        QTest::addColumn<int>("signalNumber"); // 0: tembrel --quit
        QTest::newRow("--quit") << 0;
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
    }

    void endsAsQuitDoes()
    {
        QFETCH(int, signalNumber);
        if (m_first.state() == QProcess::NotRunning)
            QVERIFY2(startFirst(), m_firstLog.constData());
        if (signalNumber == 0) {
            const Launch quit = launch({QStringLiteral("--quit")});
            QVERIFY2(quit.exitCode == 0, quit.output.constData());
        } else {
            QVERIFY(::kill(pid_t(m_first.processId()), signalNumber) == 0);
        }
        QVERIFY(m_first.waitForFinished(10000));
        m_firstLog += m_first.readAll();
        QCOMPARE(m_first.exitStatus(), QProcess::NormalExit);
        QVERIFY2(m_first.exitCode() == 0, m_firstLog.constData());
        QVERIFY2(m_firstLog.contains("Quitting"), m_firstLog.constData());

        // Nothing runs now: --quit says so and succeeds.
        const Launch again = launch({QStringLiteral("--quit")});
        QCOMPARE(again.exitCode, 0);
        QVERIFY2(again.output.contains("not running"), again.output.constData());
    }
};

QTEST_GUILESS_MAIN(SecondLaunchTest)
#include "tst_secondlaunch.moc"
