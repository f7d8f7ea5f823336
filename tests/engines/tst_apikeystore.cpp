#include "engines/ApiKeyStore.h"
#include "engines/CustomOpenAIEngine.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QCoro/QCoroTask>

// Runs against the desktop's real Secret Service (gnome-keyring, unlocked, in a private session).
class ApiKeyStoreTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    ApiKeyStore m_store;

    // Through a store of its own, so the answer comes from the keyring, not from memory.
    static std::optional<QString> read()
    {
        ApiKeyStore fresh;
        return EngineTest::finish(fresh.readKey());
    }
    std::optional<ApiKeyStoreError> write(const QString& key) { return EngineTest::finish(m_store.setKey(key)); }

    // Every file a plaintext copy could land in: home, configuration and data folders.
    static QStringList filesContaining(const QByteArray& needle)
    {
        QStringList found;
        for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
            QDirIterator it(qEnvironmentVariable(variable), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (it.hasNext()) {
                QFile file(it.next());
                if (file.open(QIODevice::ReadOnly) && file.readAll().contains(needle))
                    found.append(file.fileName());
            }
        }
        return found;
    }

private Q_SLOTS:
    void init()
    {
        QCOMPARE(write(QString()), std::nullopt);
    }

    void savesReadsAndReplacesTheKey()
    {
        QCOMPARE(read(), std::nullopt);
        QCOMPARE(write("sk-made-up-first"), std::nullopt);
        QCOMPARE(read(), std::optional<QString>("sk-made-up-first"));
        QCOMPARE(write("sk-made-up-ünïcode-€"), std::nullopt);
        QCOMPARE(read(), std::optional<QString>("sk-made-up-ünïcode-€"));
    }

    void blankKeyDeletesTheItem_data()
    {
        QTest::addColumn<QString>("blank");
        QTest::newRow("empty") << QString();
        QTest::newRow("spaces and line breaks") << "  \n\t";
    }

    void blankKeyDeletesTheItem()
    {
        QFETCH(QString, blank);
        QCOMPARE(write("sk-made-up-to-delete"), std::nullopt);
        QCOMPARE(write(blank), std::nullopt);
        QCOMPARE(read(), std::nullopt);
        // Removing what is not there is no failure either.
        QCOMPARE(write(blank), std::nullopt);
    }

    void keyIsNeverWrittenToAFile()
    {
        const QByteArray key = "sk-made-up-plaintext-probe-4711";
        QCOMPARE(write(QString::fromLatin1(key)), std::nullopt);
        QCOMPARE(filesContaining(key), QStringList());
    }

    // The keyring is asked once: ahead of the first fix, and then never again while the key is
    // known; a key saved through the store replaces the kept one.
    void readsTheKeyringOnce()
    {
        QCOMPARE(write("sk-made-up-kept"), std::nullopt);
        ApiKeyStore store;
        store.prefetch();
        store.prefetch();
        QCOMPARE(EngineTest::finish(store.readKey()), std::optional<QString>("sk-made-up-kept"));
        QCOMPARE(EngineTest::finish(store.readKey()), std::optional<QString>("sk-made-up-kept"));
        QCOMPARE(store.keyringReads(), 1);
        QCOMPARE(EngineTest::finish(store.setKey("sk-made-up-replaced")), std::nullopt);
        QCOMPARE(EngineTest::finish(store.readKey()), std::optional<QString>("sk-made-up-replaced"));
        QCOMPARE(store.keyringReads(), 1);
        // Switched on again: the key may have changed outside, so it is read once more.
        store.refresh();
        QCOMPARE(EngineTest::finish(store.readKey()), std::optional<QString>("sk-made-up-replaced"));
        QCOMPARE(store.keyringReads(), 2);
    }

    void engineSendsTheStoredKey()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(CannedResponse::json(200, EngineTest::chatAnswer("Fixed.")));
        const CustomEndpointConfig config{server.url("/v1").toString(), QString(), true};
        CustomOpenAIEngine engine([config] { return config; }, [this] { return m_store.readKey(); },
                                  [](const QString&, const QString&) { return qint64(0); });

        QCOMPARE(write("sk-made-up-from-keyring"), std::nullopt);
        QVERIFY(EngineTest::finish(engine.fix("text", "p", nullptr, {})).hasValue());
        QCOMPARE(server.requests().last().header("authorization"), QByteArray("Bearer sk-made-up-from-keyring"));

        QCOMPARE(write(QString()), std::nullopt);
        QVERIFY(EngineTest::finish(engine.fix("text", "p", nullptr, {})).hasValue());
        QVERIFY(!server.requests().last().headers.contains("authorization"));
    }
};

QTEST_GUILESS_MAIN(ApiKeyStoreTest)
#include "tst_apikeystore.moc"
