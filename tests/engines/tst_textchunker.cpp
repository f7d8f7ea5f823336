#include "core/TextFormat.h"
#include "engines/HtmlChunker.h"
#include "engines/TextChunker.h"

#include <QTest>

namespace {

QString filler(qsizetype length, QChar c = u'a')
{
    return QString(length, c);
}

// A text of `length` characters that is all one word except for `breakText` placed to end at
// character `breakEnd`.
QString withBreakEndingAt(qsizetype length, qsizetype breakEnd, const QString& breakText)
{
    QString text = filler(length);
    text.replace(breakEnd - breakText.size(), breakText.size(), breakText);
    return text;
}

// Each thumbs-up with a skin tone is one character of four UTF-16 code units.
const QString thumb = "\U0001F44D\U0001F3FD";

QString thumbs(int count)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += thumb;
    return text;
}

} // namespace

class TextChunkerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void splitPointPrefersParagraphsThenLinesThenSentencesThenWords_data()
    {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<qsizetype>("expected");

        const qsizetype size = TextChunker::chunkSize;
        QTest::newRow("paragraph past half") << withBreakEndingAt(size, 12000, "\n\n") << qsizetype(12000);
        QTest::newRow("paragraph ending exactly at half is too early, line wins")
            << withBreakEndingAt(size, 8000, "\n\n").replace(9000, 1, u'\n')
            << qsizetype(9001);
        QTest::newRow("paragraph one past half") << withBreakEndingAt(size, 8001, "\n\n") << qsizetype(8001);
        QTest::newRow("later line break loses to an earlier paragraph")
            << withBreakEndingAt(size, 9000, "\n\n").replace(15000, 1, u'\n') << qsizetype(9000);
        QTest::newRow("sentence end when no line break") << withBreakEndingAt(size, 10000, ". ")
                                                         << qsizetype(10000);
        QTest::newRow("latest of the three sentence ends")
            << withBreakEndingAt(size, 9000, ". ").replace(11998, 2, "? ")
                   .replace(10998, 2, "! ")
            << qsizetype(12000);
        QTest::newRow("sentence end at half is too early, the space in it counts")
            << withBreakEndingAt(size, 8000, ". ") << qsizetype(8000);
        QTest::newRow("space at 5334 is accepted") << withBreakEndingAt(size, 5334, " ") << qsizetype(5334);
        QTest::newRow("space at 5333 is too early: hard cut")
            << withBreakEndingAt(size, 5333, " ") << qsizetype(size);
        QTest::newRow("no space at all: hard cut") << filler(size) << qsizetype(size);
        QTest::newRow("paragraph too early falls through to a late space")
            << withBreakEndingAt(size, 3000, "\n\n").replace(14999, 1, u' ') << qsizetype(15000);
        // Positions count characters: the space ends at character 5001, too early, so the cut is
        // hard, at the last code unit.
        const QString wide = thumbs(5000) + u' ' + filler(size - 5001);
        QTest::newRow("characters, not code units") << wide << wide.size();
    }

    void splitPointPrefersParagraphsThenLinesThenSentencesThenWords()
    {
        QFETCH(QString, prefix);
        QFETCH(qsizetype, expected);
        QCOMPARE(TextFormat::characterCount(prefix), TextChunker::chunkSize);
        QCOMPARE(TextChunker::splitPoint(prefix), expected);
    }

    void split_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("chunks");
        const qsizetype size = TextChunker::chunkSize;
        const QString whole = "  " + filler(size - 2);
        QTest::newRow("one chunk's worth is kept whole, untrimmed") << whole << QStringList{whole};
        QTest::newRow("one character more is cut") << filler(size + 1) << QStringList{filler(size), "a"};
        QTest::newRow("paragraph break; both pieces trimmed")
            << filler(11998) + "\n\n  " + filler(7998, u'b') + u'\n'
            << QStringList{filler(11998), filler(7998, u'b')};
        QStringList paragraphs;
        for (int i = 0; i < 7; ++i)
            paragraphs.append(filler(9000, QChar(u'a' + i)));
        QTest::newRow("several chunks in order") << paragraphs.join("\n\n") + "\n\n"
                                                 << paragraphs;
        QTest::newRow("white-space remainder dropped") << filler(12000) + "\n\n" + QString(4500, u' ')
                                                       << QStringList{filler(12000)};
        QTest::newRow("a chunk's worth of wide characters") << thumbs(size) << QStringList{thumbs(size)};
        QTest::newRow("one wide character more") << thumbs(size + 1) << QStringList{thumbs(size), thumb};
    }

    void split()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, chunks);
        QCOMPARE(TextChunker::split(text), chunks);
    }

    void characterCountTreatsLineEndingsAndMarksAsOne_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("count");
        QTest::newRow("empty") << QString() << qsizetype(0);
        QTest::newRow("ascii") << "abc" << qsizetype(3);
        QTest::newRow("crlf") << "a\r\nb" << qsizetype(3);
        QTest::newRow("lone carriage returns") << "a\rb\r" << qsizetype(4);
        QTest::newRow("latin letters below the marks") << "\u00e9\u02ff" << qsizetype(2);
        QTest::newRow("combining accent") << "e\u0301t\u00e9" << qsizetype(3);
        QTest::newRow("emoji with a skin tone") << QString("e\u0301👍🏽ab") << qsizetype(4);
        QTest::newRow("family emoji") << "\U0001F468\u200D\U0001F469\u200D\U0001F467!" << qsizetype(2);
    }

    void characterCountTreatsLineEndingsAndMarksAsOne()
    {
        QFETCH(QString, text);
        QFETCH(qsizetype, count);
        QCOMPARE(TextFormat::characterCount(text), count);
    }

    // HTML is cut where no markup is: each chunk balanced, the join exactly the original, even when
    // the service drops the white space around its answer or the tags a chunk repeats.
    void htmlChunksAreWholeAndJoinExactly_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("answers"); // "echo", "trimmed" or "without repeated tags"
        QString paragraphs;
        for (int i = 0; i < 12; ++i)
            paragraphs += QStringLiteral("<p dir=\"ltr\"><span style=\"a:b\">Line %1 says a &amp; b. Then more. </span></p>").arg(i);
        const QString docs = "<meta charset=\"utf-8\"><b style=\"font-weight:normal;\" id=\"docs-internal-guid-1\">"
            + paragraphs + "</b><br>";
        QString sentences;
        for (int i = 0; i < 40; ++i)
            sentences += QStringLiteral("Sentence %1 is here &amp; there. ").arg(i);
        const QString longParagraph = "<h2>Title</h2><p class=\"x\">" + sentences + "<b>end</b></p><p>After.</p>";
        const QString spanned = "<p dir=\"ltr\"><span style=\"a:b\">" + sentences + "</span></p>";
        for (const char* answers : {"echo", "trimmed", "without repeated tags"}) {
            QTest::addRow("a paragraph's text all in one span, %s", answers) << spanned << 300 << QString(answers);
            QTest::addRow("blocks inside one inline wrapper, %s", answers) << docs << 400 << QString(answers);
            QTest::addRow("one paragraph longer than a chunk, %s", answers) << longParagraph << 300 << QString(answers);
        }
    }

    void htmlChunksAreWholeAndJoinExactly()
    {
        QFETCH(QString, html);
        QFETCH(int, limit);
        QFETCH(QString, answers);
        QVERIFY(HtmlChunker::isHtml(html));
        const QList<HtmlChunker::Chunk> chunks = HtmlChunker::split(html, limit);
        QVERIFY(chunks.size() > 2);
        QString withoutRepeats;
        QStringList replies;
        for (const HtmlChunker::Chunk& chunk : chunks) {
            QVERIFY2(chunk.text.size() <= limit, qPrintable(chunk.text));
            QVERIFY2(chunk.text.startsWith(u'<') || chunk.text.front().isLetter(), qPrintable(chunk.text));
            QCOMPARE(chunk.text.count(u'<'), chunk.text.count(u'>'));
            QVERIFY(!chunk.text.endsWith(QStringLiteral("&amp")));
            const QString bare = chunk.text.mid(chunk.opening.size(), chunk.text.size() - chunk.opening.size() - chunk.closing.size());
            withoutRepeats += bare;
            replies << (answers == u"echo" ? chunk.text : answers == u"trimmed" ? chunk.text.trimmed() : bare);
        }
        QCOMPARE(withoutRepeats, html);
        QCOMPARE(HtmlChunker::join(chunks, replies), html);
    }
};

QTEST_GUILESS_MAIN(TextChunkerTest)
#include "tst_textchunker.moc"
