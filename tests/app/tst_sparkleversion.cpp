#include "app/SparkleVersion.h"

#include <QTest>

// Version strings as real feeds and bundles carry them, ordered the way the macOS updater orders
// them, so one feed gives the same answer on both builds.
class SparkleVersionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void compare_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("order"); // -1: a is older than b; 0: the same version

        QTest::newRow("patch release") << "1.0" << "1.0.1" << -1;
        QTest::newRow("release beats its beta") << "1.0b1" << "1.0" << -1;
        QTest::newRow("release beats its alpha") << "2.3a4" << "2.3" << -1;
        QTest::newRow("beta beats alpha") << "1.0a9" << "1.0b1" << -1;
        QTest::newRow("release candidate beats beta") << "1.0b5" << "1.0rc1" << -1;
        QTest::newRow("numbers are numeric, not text") << "1.0b2" << "1.0b10" << -1;
        QTest::newRow("two-digit minor") << "1.9" << "1.10" << -1;
        QTest::newRow("two-digit major") << "9.9.9" << "10.0" << -1;
        QTest::newRow("number beats a letter run") << "1.0b1" << "1.0.1" << -1;
        QTest::newRow("number beats a letter run later on") << "1.0.b1" << "1.0.1" << -1;
        QTest::newRow("trailing zero part counts") << "1.0" << "1.0.0" << -1;
        QTest::newRow("build numbers") << "1234" << "1235" << -1;
        QTest::newRow("build numbers of different length") << "999" << "1000" << -1;
        QTest::newRow("calendar versions") << "2023.9.30" << "2023.10.1" << -1;
        QTest::newRow("long digit runs do not overflow") << "1.99999999999999999998" << "1.99999999999999999999" << -1;
        QTest::newRow("a number beats a separator") << "1..2" << "1.2" << -1;
        QTest::newRow("letters compare as text") << "1.0beta" << "1.0gamma" << -1;
        QTest::newRow("upper case sorts before lower case") << "1.0B" << "1.0a" << -1;
        QTest::newRow("shorter letter tail is newer") << "1.0a" << "1.0" << -1;
        QTest::newRow("empty is older than any number") << "" << "0.1" << -1;

        QTest::newRow("identical") << "1.5.5" << "1.5.5" << 0;
        QTest::newRow("leading zeros") << "1.05" << "1.5" << 0;
        QTest::newRow("zero padded parts") << "1.00.0" << "1.0.0" << 0;
        QTest::newRow("surrounding white space") << " 2.0 " << "2.0" << 0;
        QTest::newRow("everything after a dash is ignored") << "0.7.0-beta.8" << "0.7.0-beta.9" << 0;
        QTest::newRow("a dash suffix equals the plain version") << "3.0.0-alpha" << "3.0.0" << 0;
        QTest::newRow("space and dot both separate") << "1 5" << "1.5" << 0;
        QTest::newRow("both empty") << "" << "" << 0;
    }

    void compare()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, order);
        const auto sign = [](int n) { return (n > 0) - (n < 0); };
        QCOMPARE(sign(SparkleVersion::compare(a, b)), order);
        QCOMPARE(sign(SparkleVersion::compare(b, a)), -order);
    }
};

QTEST_GUILESS_MAIN(SparkleVersionTest)
#include "tst_sparkleversion.moc"
