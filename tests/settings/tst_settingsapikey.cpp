#include "engines/ApiKeyStore.h"
#include "settings/SettingsManager.h"
#include "support/TestEnvironment.h"

#include <QCoroTask>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

// Runs in a private desktop whose keyring is unlocked: the key really goes through the keyring.
class TestSettingsApiKey : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;

private Q_SLOTS:
    void emptyOrNoKeyDeletesTheItem_data()
    {
        QTest::addColumn<std::optional<QString>>("removal");
        QTest::newRow("empty text") << std::optional<QString>(QString());
        QTest::newRow("no value") << std::optional<QString>();
    }

    void emptyOrNoKeyDeletesTheItem()
    {
        QFETCH(std::optional<QString>, removal);
        QSettings defaults(m_env.configHome() + QStringLiteral("/apikey.conf"), QSettings::IniFormat);
        ApiKeyStore store;
        SettingsManager settings(defaults, &store);
        QSignalSpy changed(&settings, &SettingsManager::apiKeyChanged);

        QCOMPARE(QCoro::waitFor(settings.setApiKey(QStringLiteral("sk-local-test"))), std::optional<ApiKeyStoreError>());
        QCOMPARE(QCoro::waitFor(settings.apiKey()), std::optional<QString>(QStringLiteral("sk-local-test")));
        QCOMPARE(changed.count(), 1);

        QCOMPARE(QCoro::waitFor(settings.setApiKey(removal)), std::optional<ApiKeyStoreError>());
        QCOMPARE(QCoro::waitFor(settings.apiKey()), std::optional<QString>());
        QCOMPARE(changed.count(), 2);

        // The key is the keyring's alone: nothing of it reaches the settings file.
        defaults.sync();
        QFile file(defaults.fileName());
        QVERIFY(!file.open(QIODevice::ReadOnly) || !file.readAll().contains("sk-local-test"));
    }
};

QTEST_GUILESS_MAIN(TestSettingsApiKey)
#include "tst_settingsapikey.moc"
