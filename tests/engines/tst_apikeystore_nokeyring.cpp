#include "engines/ApiKeyStore.h"

#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QProcess>
#include <QSettings>
#include <QTest>
#include <QCoro/QCoroTask>

// A desktop without any Secret Service: the test starts its own session bus on which nothing can
// be activated, and points the process at it before anything talks to D-Bus.
class ApiKeyStoreWithoutKeyringTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    QProcess m_bus;
    ApiKeyStore m_store;

private Q_SLOTS:
    void initTestCase()
    {
        m_bus.start("dbus-daemon",
                    {"--nofork", "--print-address",
                     QStringLiteral("--config-file=" TEMBREL_TEST_DATA_DIR "/engines/no-secrets-bus.conf"),
                     "--address=unix:path=" + m_environment.root() + "/runtime/bus"});
        QVERIFY2(m_bus.waitForStarted(), "dbus-daemon is needed for this test");
        QTRY_VERIFY(m_bus.canReadLine());
        const QByteArray address = m_bus.readLine().trimmed();
        QVERIFY(!address.isEmpty());
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    }

    void cleanupTestCase()
    {
        m_bus.terminate();
        m_bus.waitForFinished(5000);
    }

    void readingMeansNoKey()
    {
        QCOMPARE(QCoro::waitFor(m_store.readKey()), std::nullopt);
    }

    void savingReportsAClearErrorAndWritesNothing()
    {
        const QByteArray key = "sk-made-up-nowhere-to-go-0815";
        const std::optional<ApiKeyStoreError> error = QCoro::waitFor(m_store.setKey(QString::fromLatin1(key)));
        QVERIFY(error);
        QCOMPARE(error->operation, ApiKeyStoreError::Operation::save);
        QCOMPARE(error->kind, ApiKeyStoreError::Kind::noKeyring);
        QVERIFY(error->message().startsWith("No keyring is available"));
        QVERIFY(error->message().contains("gnome-keyring"));
        QVERIFY(!error->message().contains(QString::fromLatin1(key)));

        // No plaintext fallback anywhere: not in a file, and not readable back.
        QDirIterator it(m_environment.root(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            if (file.open(QIODevice::ReadOnly))
                QVERIFY2(!file.readAll().contains(key), qPrintable(file.fileName()));
        }
        QCOMPARE(QCoro::waitFor(m_store.readKey()), std::nullopt);
    }

    void removingReportsAnError()
    {
        const std::optional<ApiKeyStoreError> error = QCoro::waitFor(m_store.setKey(QString()));
        QVERIFY(error);
        QCOMPARE(error->operation, ApiKeyStoreError::Operation::remove);
        QVERIFY(!error->message().isEmpty());
    }
};

QTEST_GUILESS_MAIN(ApiKeyStoreWithoutKeyringTest)
#include "tst_apikeystore_nokeyring.moc"
