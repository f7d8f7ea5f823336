#include "settings/OnboardingSuccess.h"

#include <QTest>

// When the try-it page of onboarding believes the sample sentence was fixed: the two checks are
// deliberately unequal, so each row says what each of them makes of one text.
class OnboardingSuccessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rules_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("pasted");
        QTest::addColumn<bool>("clipboard");

        const QString sample = OnboardingSuccess::sampleSentence;
        const QString fixed = QStringLiteral("I have a meeting tomorrow, and there are going to be a lot of people.");
        QTest::newRow("the unfixed sample") << sample << false << false;
        QTest::newRow("the sample in capitals") << sample.toUpper() << false << false;
        QTest::newRow("the sample with a trailing newline") << sample + u'\n' << false << false;
        QTest::newRow("fully fixed") << fixed << true << true;
        QTest::newRow("fixed, other letter case") << fixed.toUpper() << true << true;
        QTest::newRow("tomorow fixed, alot kept")
            << QStringLiteral("I have a meeting tomorrow and there are going to be alot of people.") << false << true;
        QTest::newRow("alot fixed, tomorow kept")
            << QStringLiteral("I have a meeting tomorow and there will be a lot of people.") << false << false;
        QTest::newRow("no meeting any more") << QStringLiteral("See you tomorrow.") << false << false;
        QTest::newRow("blank") << QStringLiteral(" \n\t") << false << false;
        QTest::newRow("empty") << QString() << false << false;
    }

    void rules()
    {
        QFETCH(QString, text);
        QFETCH(bool, pasted);
        QFETCH(bool, clipboard);
        QCOMPARE(OnboardingSuccess::pastedTextIsFixed(text), pasted);
        QCOMPARE(OnboardingSuccess::clipboardTextIsFixed(text), clipboard);
    }
};

QTEST_GUILESS_MAIN(OnboardingSuccessTest)
#include "tst_onboardingsuccess.moc"
