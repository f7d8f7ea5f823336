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
        QTest::newRow("paragraph past half") << withBreakEndingAt(size, 12000, QStringLiteral("\n\n")) << qsizetype(12000);
        QTest::newRow("paragraph ending exactly at half is too early, line wins")
            << withBreakEndingAt(size, 8000, QStringLiteral("\n\n")).replace(9000, 1, u'\n')
            << qsizetype(9001);
        QTest::newRow("paragraph one past half") << withBreakEndingAt(size, 8001, QStringLiteral("\n\n")) << qsizetype(8001);
        QTest::newRow("later line break loses to an earlier paragraph")
            << withBreakEndingAt(size, 9000, QStringLiteral("\n\n")).replace(15000, 1, u'\n') << qsizetype(9000);
        QTest::newRow("sentence end when no line break") << withBreakEndingAt(size, 10000, QStringLiteral(". "))
                                                         << qsizetype(10000);
        QTest::newRow("latest of the three sentence ends")
            << withBreakEndingAt(size, 9000, QStringLiteral(". ")).replace(11998, 2, QStringLiteral("? "))
                   .replace(10998, 2, QStringLiteral("! "))
            << qsizetype(12000);
        QTest::newRow("sentence end at half is too early, the space in it counts")
            << withBreakEndingAt(size, 8000, QStringLiteral(". ")) << qsizetype(8000);
        QTest::newRow("space at 5334 is accepted") << withBreakEndingAt(size, 5334, QStringLiteral(" ")) << qsizetype(5334);
        QTest::newRow("space at 5333 is too early: hard cut")
            << withBreakEndingAt(size, 5333, QStringLiteral(" ")) << qsizetype(size);
        QTest::newRow("no space at all: hard cut") << filler(size) << qsizetype(size);
        QTest::newRow("paragraph too early falls through to a late space")
            << withBreakEndingAt(size, 3000, QStringLiteral("\n\n")).replace(14999, 1, u' ') << qsizetype(15000);
    }

    void splitPointPrefersParagraphsThenLinesThenSentencesThenWords()
    {
        QFETCH(QString, prefix);
        QFETCH(qsizetype, expected);
        QCOMPARE(prefix.size(), TextChunker::chunkSize);
        QCOMPARE(TextChunker::splitPoint(prefix), expected);
    }

    void textOfOneChunkSizeIsKeptWhole()
    {
        const QString text = QStringLiteral("  ") + filler(TextChunker::chunkSize - 2);
        QCOMPARE(TextChunker::split(text), QStringList{text});
    }

    void oneCharacterMoreIsSplit()
    {
        const QString text = filler(TextChunker::chunkSize + 1);
        const QStringList chunks = TextChunker::split(text);
        QCOMPARE(chunks.size(), 2);
        QCOMPARE(chunks.at(0).size(), TextChunker::chunkSize);
        QCOMPARE(chunks.at(1), QStringLiteral("a"));
    }

    void paragraphBreakSplitsAndBothPiecesAreTrimmed()
    {
        const QString first = filler(11998) + QStringLiteral("\n\n");
        const QString second = QStringLiteral("  ") + filler(7998, u'b') + QStringLiteral("\n");
        const QStringList chunks = TextChunker::split(first + second);
        QCOMPARE(chunks, (QStringList{filler(11998), filler(7998, u'b')}));
    }

    void longTextBecomesSeveralChunksInOrder()
    {
        QString text;
        QStringList paragraphs;
        for (int i = 0; i < 7; ++i) {
            paragraphs.append(filler(9000, QChar(u'a' + i)));
            text += paragraphs.last() + QStringLiteral("\n\n");
        }
        QCOMPARE(TextChunker::split(text), paragraphs);
    }

    void whiteSpaceOnlyRemainderIsDropped()
    {
        const QString text = filler(12000) + QStringLiteral("\n\n") + QString(4500, u' ');
        QCOMPARE(TextChunker::split(text), QStringList{filler(12000)});
    }

    void positionsCountCharactersNotCodeUnits()
    {
        // Each thumbs-up with a skin tone is one character of four UTF-16 code units.
        const QString thumb = QStringLiteral("\U0001F44D\U0001F3FD");
        QString prefix;
        for (int i = 0; i < 5000; ++i)
            prefix += thumb;
        prefix += u' ';
        prefix += filler(TextChunker::chunkSize - 5001);
        QCOMPARE(characterCount(prefix), TextChunker::chunkSize);
        // The space ends at character 5001: before 5334, so the cut is hard, at the last character.
        QCOMPARE(TextChunker::splitPoint(prefix), prefix.size());

        QString many;
        for (int i = 0; i < TextChunker::chunkSize; ++i)
            many += thumb;
        QCOMPARE(TextChunker::split(many), QStringList{many});
        const QStringList split = TextChunker::split(many + thumb);
        QCOMPARE(split.size(), 2);
        QCOMPARE(split.at(1), thumb);
    }

    void characterCountTreatsLineEndingsAndMarksAsOne_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("count");
        QTest::newRow("empty") << QString() << qsizetype(0);
        QTest::newRow("ascii") << QStringLiteral("abc") << qsizetype(3);
        QTest::newRow("crlf") << QStringLiteral("a\r\nb") << qsizetype(3);
        QTest::newRow("combining accent") << QStringLiteral("e\u0301t\u00e9") << qsizetype(3);
        QTest::newRow("family emoji") << QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467!") << qsizetype(2);
    }

    void characterCountTreatsLineEndingsAndMarksAsOne()
    {
        QFETCH(QString, text);
        QFETCH(qsizetype, count);
        QCOMPARE(characterCount(text), count);
    }
};

QTEST_GUILESS_MAIN(TextChunkerTest)
#include "tst_textchunker.moc"
