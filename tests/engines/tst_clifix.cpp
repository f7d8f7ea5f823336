#include "EngineTestSupport.h"
#include "core/TextFixError.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

// `tembrel-cli fix` end to end: the real command against real servers on 127.0.0.1, choosing its
// engine from a settings file and the cloud address as the app does.
class TestCliFix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(QFile::exists(QStringLiteral(TEMBREL_CLI_PATH)));
        m_server.setHandler([](const RecordedRequest& request) {
            if (request.path.endsWith("/api/fix"))
                return CannedResponse::json(200, {{QStringLiteral("fixedText"), QStringLiteral("From the cloud.")},
                                                  {QStringLiteral("editCount"), 2}});
            return CannedResponse::json(200, EngineTest::chatAnswer(QStringLiteral("From your endpoint.")));
        });
        QVERIFY(m_server.listen());
    }

    void fix_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("cloudBuiltIn");
        QTest::addColumn<bool>("customConfigured");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");

        const QString fixed = QStringLiteral("I receive the package tomorrow.\n");
        const QString unreachable = QStringLiteral("Couldn't connect to your API endpoint.\n");
        QTest::newRow("nothing set up: offline") << QStringList{} << false << false << 0 << fixed;
        QTest::newRow("cloud built in") << QStringList{} << true << false << 0 << QStringLiteral("From the cloud.");
        QTest::newRow("custom before cloud") << QStringList{} << true << true << 0 << QStringLiteral("From your endpoint.");
        QTest::newRow("custom before offline") << QStringList{} << false << true << 0 << QStringLiteral("From your endpoint.");
        QTest::newRow("offline asked for") << QStringList{QStringLiteral("--engine"), QStringLiteral("offline")} << true
                                           << true << 0 << fixed;
        QTest::newRow("custom asked for, none set up") << QStringList{QStringLiteral("--engine"), QStringLiteral("custom")}
                                                       << false << false << 1 << unreachable;
        QTest::newRow("mode needing a model") << QStringList{QStringLiteral("--mode"), QStringLiteral("professional")}
                                              << false << false << 1 << TextFixError::needsLanguageModelMessage() + u'\n';
        QTest::newRow("unknown mode") << QStringList{QStringLiteral("--mode"), QStringLiteral("nonesuch")} << false << false
                                      << 2 << QString();
        QTest::newRow("unknown engine") << QStringList{QStringLiteral("--engine"), QStringLiteral("magic")} << false
                                        << false << 2 << QString();
    }

    void fix()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, cloudBuiltIn);
        QFETCH(bool, customConfigured);
        QFETCH(int, exitCode);
        QFETCH(QString, output);

        TestEnvironment env;
        if (customConfigured) {
            QSettings settings(env.configHome() + QStringLiteral("/Tembrel/Tembrel.conf"), QSettings::IniFormat);
            settings.setValue(QStringLiteral("useCustomEndpoint"), true);
            settings.setValue(QStringLiteral("customAPIURL"), m_server.url(QStringLiteral("/v1")).toString());
            settings.setValue(QStringLiteral("customModelID"), QStringLiteral("test-model"));
        }
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), env.configHome());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), env.dataHome());
        // No session bus: the key store fails at once instead of starting a bus of its own.
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
        environment.insert(QStringLiteral("TEMBREL_CLOUD_URL"), cloudBuiltIn ? m_server.url().toString() : QString());

        const QString result = run(arguments, environment, QStringLiteral("I recieve teh package tomorow.\n"), exitCode);
        if (!output.isEmpty())
            QCOMPARE(result, output);
    }

    void json()
    {
        TestEnvironment env;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), env.configHome());
        environment.insert(QStringLiteral("TEMBREL_CLOUD_URL"), QString());
        const QString out = run({QStringLiteral("--json"), QStringLiteral("-")}, environment,
                                QStringLiteral("I recieve teh package tomorow."), 0);
        const QJsonObject answer = QJsonDocument::fromJson(out.toUtf8()).object();
        QCOMPARE(answer.value(QStringLiteral("fixedText")).toString(), QStringLiteral("I receive the package tomorrow."));
        QCOMPARE(answer.value(QStringLiteral("editCount")).toInt(), 3);
        QStringList added;
        for (const QJsonValue& change : answer.value(QStringLiteral("changes")).toArray()) {
            if (change.toObject().value(QStringLiteral("added")).toBool())
                added.append(change.toObject().value(QStringLiteral("value")).toString());
        }
        QCOMPARE(added, (QStringList{QStringLiteral("receive"), QStringLiteral("the"), QStringLiteral("tomorrow.")}));
    }

private:
    // Runs the command with `input` on standard input while the event loop keeps serving requests.
    QString run(const QStringList& arguments, const QProcessEnvironment& environment, const QString& input,
                int expectedExit)
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TEMBREL_CLI_PATH), QStringList{QStringLiteral("fix")} + arguments);
        if (!process.waitForStarted())
            return QStringLiteral("<did not start>");
        process.write(input.toUtf8());
        process.closeWriteChannel();
        QSignalSpy finished(&process, &QProcess::finished);
        if (!finished.wait(30000))
            return QStringLiteral("<did not finish>");
        const QString out = QString::fromUtf8(process.readAllStandardOutput());
        const QString err = QString::fromUtf8(process.readAllStandardError());
        [&] { QVERIFY2(process.exitCode() == expectedExit, qPrintable(err)); }();
        return expectedExit == 0 ? out : err;
    }

    TestHttpServer m_server;
};

QTEST_GUILESS_MAIN(TestCliFix)
#include "tst_clifix.moc"
