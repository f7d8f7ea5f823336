#include "capture/HtmlText.h"

#include <QStringEncoder>
#include <QtTest>

class TestHtmlText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodes_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("text");
        const QString sample = QStringLiteral("<p>café — 日本</p>");
        QTest::newRow("utf-8") << sample.toUtf8() << sample;
        QTest::newRow("utf-8 with mark") << QByteArray("\xEF\xBB\xBF") + sample.toUtf8() << sample;
        QTest::newRow("chromium meta") << QByteArray("<meta charset='utf-8'>") + sample.toUtf8()
                                       << QStringLiteral("<meta charset='utf-8'>") + sample;
        QStringEncoder le(QStringConverter::Utf16LE);
        QStringEncoder be(QStringConverter::Utf16BE);
        QTest::newRow("utf-16le with mark") << QByteArray("\xFF\xFE") + QByteArray(le.encode(sample)) << sample;
        QTest::newRow("utf-16be with mark") << QByteArray("\xFE\xFF") + QByteArray(be.encode(sample)) << sample;
        QTest::newRow("utf-16le without mark") << QByteArray(le.encode(sample)) << sample;
        QTest::newRow("latin-1 declared")
            << QByteArray("<meta charset=\"iso-8859-1\"><p>caf\xE9</p>") << QStringLiteral("<meta charset=\"iso-8859-1\"><p>café</p>");
        QTest::newRow("empty") << QByteArray() << QString();
    }

    void decodes()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, text);
        QCOMPARE(HtmlText::decode(data), text);
    }

    void stripsTags_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        QTest::newRow("simple") << "<p>a <b>b</b></p>" << "a b";
        QTest::newRow("empty tag kept") << "a<>b" << "a<>b";
        QTest::newRow("nested lt") << "a<<b>c" << "ac";
        QTest::newRow("unclosed") << "a<b" << "a<b";
        QTest::newRow("attribute with gt") << "<a title=\"x\">y</a>" << "y";
        QTest::newRow("trimmed") << "\n <p> x </p>\n" << "x";
    }

    void stripsTags()
    {
        QFETCH(QString, html);
        QFETCH(QString, text);
        QCOMPARE(HtmlText::stripTags(html), text);
    }

    // Tailwind's custom properties mark HTML whose inline styles would drown the text.
    void cleansForFix_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("cleaned");
        const auto tailwind = [](int occurrences) -> QString {
            QString style;
            for (int i = 0; i < occurrences; ++i)
                style += QStringLiteral("--tw-v%1:0;").arg(i);
            return QStringLiteral("<style>\n.a{color:red}\n</style><p style=\"") + style
                + QStringLiteral("\" class=\"x\">Hi</p><stylesheet>y</style>z");
        };
        const QString cleaned = QStringLiteral("<p class=\"x\">Hi</p>z");
        QTest::newRow("49 markers: untouched") << tailwind(49) << tailwind(49);
        QTest::newRow("50 markers: cleaned") << tailwind(50) << cleaned;
        QTest::newRow("51 markers: cleaned") << tailwind(51) << cleaned;
        // "--tw--tw-" splits into two pieces, so it is one occurrence.
        const QString overlapping = QStringLiteral("<p style=\"--tw--tw-\">x</p>").repeated(30);
        QTest::newRow("overlapping markers count once") << overlapping << overlapping;
        const QString markers = QStringLiteral("--tw-").repeated(50);
        QTest::newRow("stops at an unclosed attribute")
            << markers + QStringLiteral("<p style=\"a\">b <i style=\"c>d") << markers + QStringLiteral("<p>b <i style=\"c>d");
    }

    void cleansForFix()
    {
        QFETCH(QString, html);
        QFETCH(QString, cleaned);
        QCOMPARE(HtmlText::cleanForFix(html), cleaned);
    }

    void stripsGoogleDocsIds()
    {
        const QString html = QStringLiteral(
            "<meta charset=\"utf-8\"><b style=\"font-weight:normal;\" id=\"docs-internal-guid-1a2b-3c\"><p id=\"keep\">x</p></b>");
        QCOMPARE(HtmlText::stripGoogleDocsIds(html),
                 QStringLiteral("<meta charset=\"utf-8\"><b style=\"font-weight:normal;\"><p id=\"keep\">x</p></b>"));
        QVERIFY(HtmlText::isFromGoogleDocs(html));
        QVERIFY(!HtmlText::isFromGoogleDocs(HtmlText::stripGoogleDocsIds(html)));
    }

    void normalisesNewlines()
    {
        QCOMPARE(HtmlText::normaliseNewlines(QStringLiteral(" \r\na\rb\u2028c\u2029d\r\n\r\n")), QStringLiteral("a\nb\nc\nd"));
    }

    void hostileInputStaysLinear()
    {
        // Patterns that make a backtracking regular expression retry from every opener.
        const QString lts(2'000'000, QLatin1Char('<'));
        QCOMPARE(HtmlText::stripTags(lts), lts);
        const QString styles = QString(QStringLiteral("--tw-")).repeated(50) + QString(QStringLiteral(" style=\"")).repeated(300'001);
        // Pairs of openers close each other; the last one has no closing quote and stays.
        QCOMPARE(HtmlText::cleanForFix(styles), QString(QStringLiteral("--tw-")).repeated(50) + QStringLiteral(" style=\""));
        const QString elements = QString(QStringLiteral("--tw-")).repeated(50) + QString(QStringLiteral("<style>")).repeated(300'000);
        QCOMPARE(HtmlText::cleanForFix(elements), elements);
    }
};

QTEST_APPLESS_MAIN(TestHtmlText)
#include "tst_htmltext.moc"
