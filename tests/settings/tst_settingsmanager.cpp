#include "settings/SettingsManager.h"
#include "support/SettingsFile.h"

#include <QCoroTask>
#include <QSignalSpy>
#include <QTest>

class TestSettingsManager : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    SettingsFile m_settings{m_env, "settings"};

private Q_SLOTS:
    void init() { m_settings.fresh(); }

    void eachSettingIsStoredUnderItsName_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QVariant>("fresh");
        QTest::addColumn<QVariant>("changed");
        QTest::newRow("useCustomEndpoint") << QByteArray("useCustomEndpoint") << QVariant(false) << QVariant(true);
        QTest::newRow("customAPIURL, blanks kept") << QByteArray("customAPIURL") << QVariant(QString())
                                                   << QVariant(QStringLiteral(" http://127.0.0.1:9/v1 "));
        QTest::newRow("customModelID") << QByteArray("customModelID") << QVariant(QString()) << QVariant(QStringLiteral("m"));
        QTest::newRow("analytics on until refused") << QByteArray("analyticsEnabled") << QVariant(true) << QVariant(false);
        QTest::newRow("receiveBetaUpdates") << QByteArray("receiveBetaUpdates") << QVariant(false) << QVariant(true);
        QTest::newRow("hideDockIcon") << QByteArray("hideDockIcon") << QVariant(false) << QVariant(true);
    }

    void eachSettingIsStoredUnderItsName()
    {
        QFETCH(QByteArray, name);
        QFETCH(QVariant, fresh);
        QFETCH(QVariant, changed);
        SettingsManager settings(*m_settings);
        QCOMPARE(settings.property(name.constData()), fresh);
        QCOMPARE(settings.hotkey(), (Hotkey{1, 0x120000}));
        QVERIFY(!settings.isCustomEndpointConfigured());
        QVERIFY(m_settings->allKeys().isEmpty()); // reading writes nothing

        const QMetaObject* meta = settings.metaObject();
        QSignalSpy notified(&settings, meta->property(meta->indexOfProperty(name.constData())).notifySignal());
        // Every write is stored and announced, also one that repeats the value: consent is applied each time.
        QVERIFY(settings.setProperty(name.constData(), fresh));
        QVERIFY(settings.setProperty(name.constData(), changed));
        QCOMPARE(notified.count(), 2);
        QCOMPARE(notified.last().at(0), changed);
        QCOMPARE(SettingsManager(m_settings.reopen()).property(name.constData()), changed);
        QCOMPARE(m_settings->value(QString::fromLatin1(name)).toString(), changed.toString());
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
        QTEST(SettingsManager(m_settings.reopen()).analyticsEnabled(), "enabled");
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
        SettingsManager settings(m_settings.reopen());
        QTEST(settings.hotkey(), "expected");
        // Bad data is not cleaned up by reading.
        QCOMPARE(m_settings.reopen().value(QStringLiteral("hotkey")), stored);
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
        QCOMPARE(m_settings.reopen().value(QStringLiteral("hotkey")).typeId(), QMetaType::QByteArray);
        QCOMPARE(SettingsManager(*m_settings).hotkey(), hotkey);
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
        QTEST(SettingsManager(m_settings.reopen()).isCustomEndpointConfigured(), "configured");
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
        QVERIFY(!m_settings.reopen().allKeys().join(QLatin1Char(' ')).contains(QStringLiteral("apikey"), Qt::CaseInsensitive));
    }
};

QTEST_GUILESS_MAIN(TestSettingsManager)
#include "tst_settingsmanager.moc"
