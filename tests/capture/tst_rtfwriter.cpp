#include "capture/RtfReader.h"
#include "capture/RtfWriter.h"

#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

namespace {

TextParagraph paragraph(QList<TextRun> runs, TextParagraph::List list = TextParagraph::List::none, int level = 0)
{
    TextParagraph p;
    for (const TextRun& run : runs)
        p.append(run);
    p.list = list;
    p.listLevel = level;
    return p;
}

RichText sample()
{
    RichText text;
    text.paragraphs = {
        paragraph({{.text = "Plain "}, {.text = "bold", .bold = true}, {.text = " "}, {.text = "it", .italic = true},
                   {.text = "u", .underline = true}, {.text = "s", .strike = true}}),
        paragraph({{.text = QStringLiteral("Braces {x} back\\slash, café — 😀 \uFFFD")}}),
        paragraph({{.text = "line\nbreak\ttab"}}),
        paragraph({{.text = "go", .link = "https://e.example/?a=1&b=\"2\""}, {.text = " there"}}),
        paragraph({{.text = "one"}}, TextParagraph::List::bullet),
        paragraph({{.text = "nested"}}, TextParagraph::List::ordered, 1),
        paragraph({{.text = "two"}}, TextParagraph::List::bullet),
        paragraph({}),
        paragraph({{.text = "end"}}),
    };
    return text;
}

} // namespace

class TestRtfWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesSevenBitRtfTheReaderReadsBack()
    {
        const QByteArray rtf = RtfWriter::write(sample());
        QVERIFY(std::all_of(rtf.begin(), rtf.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }));
        QVERIFY(rtf.startsWith("{\\rtf1\\ansi"));
        QVERIFY(rtf.endsWith('}'));
        QVERIFY(rtf.contains("\\u-10179\\'3f\\u-8704\\'3f"));

        RichText expected = sample();
        // Quotes cannot be part of a field instruction's argument; the writer drops them.
        expected.paragraphs[3].runs[0].link = "https://e.example/?a=1&b=2";
        const std::optional<RichText> read = RtfReader::read(rtf);
        QVERIFY(read);
        QCOMPARE(read->paragraphs.size(), expected.paragraphs.size());
        for (qsizetype i = 0; i < expected.paragraphs.size(); ++i)
            QCOMPARE(read->paragraphs[i], expected.paragraphs[i]);
    }

    void numbersRestartAfterInterruption()
    {
        RichText text;
        text.paragraphs = {paragraph({{.text = "a"}}, TextParagraph::List::ordered),
                           paragraph({{.text = "b"}}, TextParagraph::List::ordered),
                           paragraph({{.text = "c"}}),
                           paragraph({{.text = "d"}}, TextParagraph::List::ordered)};
        const QByteArray rtf = RtfWriter::write(text);
        QCOMPARE(rtf.count("{\\listtext 1.\\tab}"), 2);
        QCOMPARE(rtf.count("{\\listtext 2.\\tab}"), 1);
    }

    void pandocReadsIt()
    {
        const QString pandoc = QStandardPaths::findExecutable(QStringLiteral("pandoc"));
        if (pandoc.isEmpty())
            QSKIP("pandoc is not installed");
        QProcess process;
        process.start(pandoc, {"-f", "rtf", "-t", "html"});
        process.write(RtfWriter::write(sample()));
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished(30000));
        const QString html = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY2(html.contains("<strong>bold</strong>"), qPrintable(html));
        QVERIFY2(html.contains("<em>it</em>"), qPrintable(html));
        QVERIFY2(html.contains(QStringLiteral("Braces {x} back\\slash, café — ")), qPrintable(html));
        QVERIFY2(html.contains("href=\"https://e.example/?a=1&amp;b=2\""), qPrintable(html));
        QVERIFY2(html.contains("nested"), qPrintable(html));
    }
};

QTEST_APPLESS_MAIN(TestRtfWriter)
#include "tst_rtfwriter.moc"
