#include "settings/UserDefaults.h"
#include "support/SettingsFile.h"

#include <QSettings>
#include <QTest>

// Each value is checked twice: as set (typed, before a sync) and as read back from the INI file
// (text), because the stores see both.
class TestUserDefaults : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    SettingsFile m_settings{m_env, "defaults"};

    template<typename Check>
    void bothWays(const QVariant& stored, Check check)
    {
        QSettings& settings = m_settings.fresh();
        if (stored.isValid())
            settings.setValue(QStringLiteral("k"), stored);
        check(settings);
        check(m_settings.reopen());
    }

private Q_SLOTS:
    void boolValue_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("expected");
        QTest::newRow("absent") << QVariant() << false;
        QTest::newRow("true") << QVariant(true) << true;
        QTest::newRow("false") << QVariant(false) << false;
        QTest::newRow("one") << QVariant(1) << true;
        QTest::newRow("zero") << QVariant(0) << false;
        QTest::newRow("text yes") << QVariant(QStringLiteral("YES")) << true;
        QTest::newRow("text garbage") << QVariant(QStringLiteral("maybe")) << false;
        QTest::newRow("data") << QVariant(QByteArray("true")) << false;
    }

    void boolValue()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, expected);
        bothWays(stored, [&](const QSettings& s) { QCOMPARE(UserDefaults::boolValue(s, QStringLiteral("k")), expected); });
    }

    void strictBool_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("expected"); // -1: not a boolean
        QTest::newRow("absent") << QVariant() << -1;
        QTest::newRow("true") << QVariant(true) << 1;
        QTest::newRow("false") << QVariant(false) << 0;
        QTest::newRow("zero") << QVariant(0) << -1;
        QTest::newRow("text no") << QVariant(QStringLiteral("no")) << -1;
        QTest::newRow("text FALSE") << QVariant(QStringLiteral("FALSE")) << -1;
        QTest::newRow("double") << QVariant(0.0) << -1;
    }

    void strictBool()
    {
        QFETCH(QVariant, stored);
        QFETCH(int, expected);
        bothWays(stored, [&](const QSettings& s) {
            const std::optional<bool> value = UserDefaults::strictBool(s, QStringLiteral("k"));
            QCOMPARE(value ? int(*value) : -1, expected);
        });
    }

    void integerValue_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("absent") << QVariant() << qint64(0);
        QTest::newRow("int") << QVariant(42) << qint64(42);
        QTest::newRow("beyond 32 bits") << QVariant(qint64(1) << 40) << (qint64(1) << 40);
        QTest::newRow("largest") << QVariant(std::numeric_limits<qint64>::max()) << std::numeric_limits<qint64>::max();
        QTest::newRow("negative") << QVariant(qint64(-7)) << qint64(-7);
        QTest::newRow("text") << QVariant(QStringLiteral("oops")) << qint64(0);
        QTest::newRow("data") << QVariant(QByteArray("5")) << qint64(0);
    }

    void integerValue()
    {
        QFETCH(QVariant, stored);
        QFETCH(qint64, expected);
        bothWays(stored, [&](const QSettings& s) { QCOMPARE(UserDefaults::integerValue(s, QStringLiteral("k")), expected); });
    }

    void doubleValue_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("present");
        QTest::addColumn<double>("expected");
        QTest::newRow("absent") << QVariant() << false << 0.0;
        QTest::newRow("seconds") << QVariant(1700000000.25) << true << 1700000000.25;
        QTest::newRow("integer") << QVariant(12) << true << 12.0;
        QTest::newRow("text") << QVariant(QStringLiteral("yesterday")) << false << 0.0;
        QTest::newRow("bool") << QVariant(true) << false << 0.0;
        QTest::newRow("data") << QVariant(QByteArray("1.5")) << false << 0.0;
    }

    void doubleValue()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, present);
        QFETCH(double, expected);
        bothWays(stored, [&](const QSettings& s) {
            const std::optional<double> value = UserDefaults::doubleValue(s, QStringLiteral("k"));
            QCOMPARE(value.has_value(), present);
            if (value)
                QCOMPARE(*value, expected);
        });
    }

    void textAndData_data()
    {
        // Expected values: an invalid QVariant where the reader finds none.
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QVariant>("string");
        QTest::addColumn<QVariant>("data");
        const QByteArray bytes("{\"a\":\"\xc3\xa9\"}\n\x00\x01", 13);
        const QString url = QStringLiteral("  https://example.test/v1 ");
        QTest::newRow("absent") << QVariant() << QVariant() << QVariant();
        QTest::newRow("text keeps its blanks") << QVariant(url) << QVariant(url) << QVariant();
        QTest::newRow("data keeps every byte") << QVariant(bytes) << QVariant() << QVariant(bytes);
    }

    void textAndData()
    {
        QFETCH(QVariant, stored);
        QFETCH(QVariant, string);
        QFETCH(QVariant, data);
        bothWays(stored, [&](const QSettings& s) {
            const auto text = UserDefaults::stringValue(s, QStringLiteral("k"));
            QCOMPARE(text ? QVariant(*text) : QVariant(), string);
            const auto bytes = UserDefaults::dataValue(s, QStringLiteral("k"));
            QCOMPARE(bytes ? QVariant(*bytes) : QVariant(), data);
        });
    }
};

QTEST_GUILESS_MAIN(TestUserDefaults)
#include "tst_userdefaults.moc"
