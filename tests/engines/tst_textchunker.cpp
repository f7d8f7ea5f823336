#include "core/TextFormat.h"
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
};

QTEST_GUILESS_MAIN(TextChunkerTest)
#include "tst_textchunker.moc"
