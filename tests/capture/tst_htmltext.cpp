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

    void plainTextBecomesParagraph()
    {
        QCOMPARE(HtmlText::plainTextToHtml(QStringLiteral("a<b & \"c\"\nd's")),
                 QStringLiteral("<p>a&lt;b &amp; &quot;c&quot;<br>d&#39;s</p>"));
        QCOMPARE(HtmlText::plainTextToHtml(QStringLiteral("&amp;")), QStringLiteral("<p>&amp;amp;</p>"));
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

    void cleansTailwindOnlyFromFifty_data()
    {
        QTest::addColumn<int>("occurrences");
        QTest::addColumn<bool>("cleaned");
        QTest::newRow("49") << 49 << false;
        QTest::newRow("50") << 50 << true;
        QTest::newRow("51") << 51 << true;
    }

    void cleansTailwindOnlyFromFifty()
    {
        QFETCH(int, occurrences);
        QFETCH(bool, cleaned);
        QString style;
        for (int i = 0; i < occurrences; ++i)
            style += QStringLiteral("--tw-v%1:0;").arg(i);
        const QString html = QStringLiteral("<style>\n.a{color:red}\n</style><p style=\"") + style
            + QStringLiteral("\" class=\"x\">Hi</p><stylesheet>y</style>z");
        const QString result = HtmlText::cleanForFix(html);
        if (cleaned)
            QCOMPARE(result, QStringLiteral("<p class=\"x\">Hi</p>z"));
        else
            QCOMPARE(result, html);
    }

    void overlappingMarkersCountOnce()
    {
        // "--tw--tw-" splits into two pieces, so it is one occurrence.
        QString html;
        for (int i = 0; i < 30; ++i)
            html += QStringLiteral("<p style=\"--tw--tw-\">x</p>");
        QCOMPARE(HtmlText::cleanForFix(html), html);
    }

    void cleaningStopsAtUnclosedAttribute()
    {
        const QString html = QString(QStringLiteral("--tw-")).repeated(50) + QStringLiteral("<p style=\"a\">b <i style=\"c>d");
        QCOMPARE(HtmlText::cleanForFix(html), QString(QStringLiteral("--tw-")).repeated(50) + QStringLiteral("<p>b <i style=\"c>d"));
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
