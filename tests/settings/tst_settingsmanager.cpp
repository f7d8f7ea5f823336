#include "settings/SettingsManager.h"
#include "support/TestEnvironment.h"

#include <QCoroTask>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <memory>

class TestSettingsManager : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    int m_run = 0;
    std::unique_ptr<QSettings> m_settings;

    QString path() const { return m_env.configHome() + QStringLiteral("/settings-%1.conf").arg(m_run); }

    QSettings& reopen()
    {
        m_settings->sync();
        m_settings = std::make_unique<QSettings>(path(), QSettings::IniFormat);
        return *m_settings;
    }

private Q_SLOTS:
    void init()
    {
        ++m_run;
        m_settings = std::make_unique<QSettings>(path(), QSettings::IniFormat);
    }

    void freshInstall()
    {
        SettingsManager settings(*m_settings);
        QCOMPARE(settings.useCustomEndpoint(), false);
        QCOMPARE(settings.customAPIURL(), QString());
        QCOMPARE(settings.customModelID(), QString());
        QCOMPARE(settings.hotkey(), (Hotkey{1, 0x120000}));
        QCOMPARE(settings.analyticsEnabled(), true);
        QCOMPARE(settings.receiveBetaUpdates(), false);
        QCOMPARE(settings.hideDockIcon(), false);
        QCOMPARE(settings.isCustomEndpointConfigured(), false);
        // Reading writes nothing.
        QVERIFY(m_settings->allKeys().isEmpty());
    }

    void analyticsConsent_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("absent") << QVariant() << true;
        QTest::newRow("explicit false") << QVariant(false) << false;
        QTest::newRow("explicit true") << QVariant(true) << true;
        QTest::newRow("text") << QVariant(QStringLiteral("off")) << true;
        QTest::newRow("number zero") << QVariant(0) << true;
        QTest::newRow("number one") << QVariant(1) << true;
        QTest::newRow("data") << QVariant(QByteArray("false")) << true;
    }

    void analyticsConsent()
    {
        QFETCH(QVariant, stored);
        if (stored.isValid())
            m_settings->setValue(QStringLiteral("analyticsEnabled"), stored);
        QTEST(SettingsManager(*m_settings).analyticsEnabled(), "enabled");
        QTEST(SettingsManager(reopen()).analyticsEnabled(), "enabled");
    }

    void storedHotkey_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<Hotkey>("expected");
        const Hotkey fallback{1, 0x120000};
        QTest::newRow("stored form") << QVariant(QByteArray(R"({"keyCode":35,"modifierFlagsRawValue":1572864})"))
                                     << Hotkey{35, 1572864};
        QTest::newRow("not JSON") << QVariant(QByteArray("\x01not json")) << fallback;
        QTest::newRow("no modifiers") << QVariant(QByteArray(R"({"keyCode":35})")) << fallback;
        QTest::newRow("array") << QVariant(QByteArray("[35,1572864]")) << fallback;
        QTest::newRow("text, not data") << QVariant(QStringLiteral(R"({"keyCode":35,"modifierFlagsRawValue":0})"))
                                        << fallback;
    }

    void storedHotkey()
    {
        QFETCH(QVariant, stored);
        m_settings->setValue(QStringLiteral("hotkey"), stored);
        SettingsManager settings(reopen());
        QTEST(settings.hotkey(), "expected");
        // Bad data is not cleaned up by reading.
        QCOMPARE(reopen().value(QStringLiteral("hotkey")), stored);
    }

    void writingHotkeyStoresDataAndCallsBack()
    {
        m_settings->setValue(QStringLiteral("hotkey"), QByteArray("garbage"));
        SettingsManager settings(*m_settings);
        QList<Hotkey> heard;
        settings.setOnHotkeyChanged([&](const Hotkey& hotkey) { heard.append(hotkey); });
        QSignalSpy changed(&settings, &SettingsManager::hotkeyChanged);
        const Hotkey hotkey{49, 0x1E0000};
        settings.setHotkey(hotkey);
        QCOMPARE(heard, QList<Hotkey>{hotkey});
        QCOMPARE(changed.count(), 1);
        QCOMPARE(reopen().value(QStringLiteral("hotkey")).typeId(), QMetaType::QByteArray);
        QCOMPARE(SettingsManager(*m_settings).hotkey(), hotkey);
    }

    void valuesSurviveARestart()
    {
        {
            SettingsManager settings(*m_settings);
            settings.setUseCustomEndpoint(true);
            settings.setCustomAPIURL(QStringLiteral(" http://127.0.0.1:9/v1 "));
            settings.setCustomModelID(QStringLiteral("local-model"));
            settings.setAnalyticsEnabled(false);
            settings.setReceiveBetaUpdates(true);
            settings.setHideDockIcon(true);
        }
        SettingsManager settings(reopen());
        QCOMPARE(settings.useCustomEndpoint(), true);
        QCOMPARE(settings.customAPIURL(), QStringLiteral(" http://127.0.0.1:9/v1 "));
        QCOMPARE(settings.customModelID(), QStringLiteral("local-model"));
        QCOMPARE(settings.analyticsEnabled(), false);
        QCOMPARE(settings.receiveBetaUpdates(), true);
        QCOMPARE(settings.hideDockIcon(), true);
        QCOMPARE(settings.isCustomEndpointConfigured(), true);
    }

    void everyWriteNotifies()
    {
        SettingsManager settings(*m_settings);
        QSignalSpy analytics(&settings, &SettingsManager::analyticsEnabledChanged);
        QSignalSpy dock(&settings, &SettingsManager::hideDockIconChanged);
        // Consent is applied on every write, including one that repeats the current value.
        settings.setAnalyticsEnabled(true);
        settings.setAnalyticsEnabled(false);
        settings.setHideDockIcon(true);
        settings.setHideDockIcon(false);
        QCOMPARE(analytics.count(), 2);
        QCOMPARE(analytics.at(0).at(0).toBool(), true);
        QCOMPARE(analytics.at(1).at(0).toBool(), false);
        QCOMPARE(dock.count(), 2);
        QCOMPARE(dock.at(0).at(0).toBool(), true);
        QCOMPARE(m_settings->value(QStringLiteral("analyticsEnabled")).toBool(), false);
    }

    void customEndpointConfigured_data()
    {
        QTest::addColumn<bool>("use");
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("configured");
        QTest::newRow("off with URL") << false << QStringLiteral("http://127.0.0.1:9") << false;
        QTest::newRow("on, empty") << true << QString() << false;
        QTest::newRow("on, blanks and line breaks") << true << QStringLiteral("  \n\t\r\n ") << false;
        QTest::newRow("on, URL with blanks") << true << QStringLiteral("\n http://127.0.0.1:9 ") << true;
        QTest::newRow("on, any text") << true << QStringLiteral("x") << true;
    }

    void customEndpointConfigured()
    {
        QFETCH(bool, use);
        QFETCH(QString, url);
        SettingsManager settings(*m_settings);
        QSignalSpy changed(&settings, &SettingsManager::customEndpointConfiguredChanged);
        settings.setCustomAPIURL(url);
        settings.setUseCustomEndpoint(use);
        QCOMPARE(changed.count(), 2);
        QTEST(settings.isCustomEndpointConfigured(), "configured");
        QTEST(SettingsManager(reopen()).isCustomEndpointConfigured(), "configured");
    }

    void apiKeyWithoutKeyring()
    {
        SettingsManager settings(*m_settings);
        QSignalSpy changed(&settings, &SettingsManager::apiKeyChanged);
        QCOMPARE(QCoro::waitFor(settings.apiKey()), std::optional<QString>());
        QCoro::waitFor(settings.setApiKey(QStringLiteral("sk-test")));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(QCoro::waitFor(settings.apiKey()), std::optional<QString>());
        // The key never lands in the settings file.
        QVERIFY(!reopen().allKeys().join(QLatin1Char(' ')).contains(QStringLiteral("apikey"), Qt::CaseInsensitive));
    }
};

QTEST_GUILESS_MAIN(TestSettingsManager)
#include "tst_settingsmanager.moc"
