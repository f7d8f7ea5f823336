#include "DiffFormat.h"
#include "ReferenceWordDiff.h"
#include "diff/DiffUtils.h"
#include "diff/Graphemes.h"
#include "diff/WhiteSpace.h"

#include "support/TestEnvironment.h"

#include <QTest>

// Hand-written cases of the word diff and its tokenisers. Each expectation is also checked
// against the full-table reference, so a row that disagrees with it is a broken row.
class TestWordDiff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void diff_data()
    {
        QTest::addColumn<QString>("original");
        QTest::addColumn<QString>("fixed");
        QTest::addColumn<QString>("expected");

        QTest::newRow("both empty") << QString() << QString() << "#0";
        QTest::newRow("both whitespace") << " \t\n" << "  \r\n " << "#0";
        QTest::newRow("whitespace only difference") << "a b" << "a  b\n" << "{=a|  }{=b|\\n}#0";
        QTest::newRow("leading spaces dropped") << "hello" << "   hello" << "{=hello|}#0";
        QTest::newRow("substitution") << "the cat sat" << "the dog sat"
                                      << "{=the| }{-cat| }{+dog| }{=sat|}#1";
        QTest::newRow("deletion") << "a b c" << "a c" << "{=a| }{-b| }{=c|}#1";
        QTest::newRow("insertion") << "a c" << "a b c" << "{=a| }{+b| }{=c|}#1";
        QTest::newRow("all added") << QString() << "x y" << "{+x| }{+y|}#2";
        QTest::newRow("all added keeps spacing") << "  " << "x\ty\n" << "{+x|\\t}{+y|\\n}#2";
        QTest::newRow("all removed, last bare") << "x y" << QString() << "{-x| }{-y|}#2";
        QTest::newRow("all removed by whitespace") << "x y z" << " \n" << "{-x| }{-y| }{-z|}#3";
        QTest::newRow("three for three counts three") << "a b c" << "x y z"
                                                       << "{-a| }{+x| }{-b| }{+y| }{-c| }{+z|}#3";
        QTest::newRow("two inserted count two") << "a d" << "a b c d" << "{=a| }{+b| }{+c| }{=d|}#2";
        QTest::newRow("punctuation is part of the word") << "word" << "word," << "{-word| }{+word,|}#1";
        QTest::newRow("case matters") << "Word" << "word" << "{-Word| }{+word|}#1";
        // Backtracking from the end matches the later copy of a repeated word.
        QTest::newRow("repeated word removed") << "the the" << "the" << "{-the| }{=the|}#1";
        QTest::newRow("repeated word added") << "the" << "the the" << "{+the| }{=the|}#1";
        // Substitutions pair up from the end; the extra word is inserted at the start.
        QTest::newRow("substitutions pair from the end") << "a b" << "c d e"
                                                         << "{+c| }{-a| }{+d| }{-b| }{+e|}#3";
        QTest::newRow("insertion wins ties") << "x a" << "a x" << "{-x| }{=a| }{+x|}#2";
        QTest::newRow("deletion when it keeps more") << "a b c" << "b c d" << "{-a| }{=b| }{=c| }{+d|}#2";
        QTest::newRow("unchanged keeps original spelling") << "caf\u00e9 ok" << "cafe\u0301 fine"
                                                           << "{=caf\u00e9| }{-ok| }{+fine|}#1";
        QTest::newRow("equivalent words show fixed spelling") << "caf\u00e9" << "cafe\u0301"
                                                              << "{=cafe\u0301|}#0";
        QTest::newRow("crlf is one whitespace run") << "a b" << "a\r\nb\r\n" << "{=a|\\r\\n}{=b|\\r\\n}#0";
        QTest::newRow("no-break space separates") << "a b" << "a\u00a0b" << "{=a|\u00a0}{=b|}#0";
        QTest::newRow("zero width space joins") << "a b" << "a\u200bb" << "{-a| }{-b| }{+a\u200bb|}#2";
        // A combining mark on a space: the fixed text reads one whitespace character, the original
        // splits before the mark and keeps it as a word.
        QTest::newRow("mark on a space") << "a \u0301b" << "a \u0301b"
                                         << "{=a| \u0301}{-\u0301b| }{+b|}#1";
        QTest::newRow("emoji sequence is one word") << "hi" << "hi \U0001F468\u200D\U0001F469\u200D\U0001F467"
                                                    << "{=hi| }{+\U0001F468\u200D\U0001F469\u200D\U0001F467|}#1";
        QTest::newRow("trailing whitespace kept on last token") << "end" << "end \n\n" << "{=end| \\n\\n}#0";
        QTest::newRow("line separator") << "a b" << "a\u2028b" << "{=a|\u2028}{=b|}#0";
    }

    void diff()
    {
        QFETCH(QString, original);
        QFETCH(QString, fixed);
        QFETCH(QString, expected);
        QCOMPARE(describe(DiffUtils::wordDiff(original, fixed)), expected);
        QCOMPARE(describe(ReferenceWordDiff::wordDiff(original, fixed)), expected);
    }

    void originalWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("words");
        QTest::newRow("empty") << QString() << QStringList();
        QTest::newRow("only whitespace") << " \t\r\n\u3000" << QStringList();
        QTest::newRow("runs and ends") << "  a \t b\n\nc  " << QStringList{"a", "b", "c"};
        QTest::newRow("unicode spaces") << "a\u2003b\u205fc\u0085d" << QStringList{"a", "b", "c", "d"};
        QTest::newRow("not White_Space") << "a\u200bb\ufeffc\u180ed" << QStringList{"a\u200bb\ufeffc\u180ed"};
        QTest::newRow("mark after space splits") << "a \u0301" << QStringList{"a", "\u0301"};
    }

    void originalWords()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, words);
        QCOMPARE(DiffUtils::originalWords(text), words);
    }

    void fixedTokens_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("flat"); // word, trailing, word, trailing, ...
        QTest::newRow("empty") << QString() << QStringList();
        QTest::newRow("only whitespace") << "  \n" << QStringList();
        QTest::newRow("leading dropped, trailing kept") << "  hi there \n"
                                                        << QStringList{"hi", " ", "there", " \n"};
        QTest::newRow("last word bare") << "a\tb" << QStringList{"a", "\t", "b", ""};
        QTest::newRow("mark on a space stays whitespace") << "a \u0301b" << QStringList{"a", " \u0301", "b", ""};
        QTest::newRow("flag is one character") << "\U0001F1E9\U0001F1EA ok" << QStringList{"\U0001F1E9\U0001F1EA", " ", "ok", ""};
        QTest::newRow("cr lf") << "a\r\n\r\nb" << QStringList{"a", "\r\n\r\n", "b", ""};
    }

    void fixedTokens()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, flat);
        QStringList actual;
        for (const WordToken &token : DiffUtils::fixedTokens(text))
            actual << token.word << token.trailingWhitespace;
        QCOMPARE(actual, flat);
    }

    void whiteSpaceProperty()
    {
        // White_Space from the Unicode character database; everything else must not count.
        const QList<char32_t> listed = {0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x20, 0x85, 0xa0, 0x1680, 0x2000,
                                        0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x2006, 0x2007, 0x2008,
                                        0x2009, 0x200a, 0x2028, 0x2029, 0x202f, 0x205f, 0x3000};
        int count = 0;
        for (char32_t c = 0; c < 0x110000; ++c) {
            if (isUnicodeWhiteSpace(c)) {
                QVERIFY2(listed.contains(c), qPrintable(QString::number(c, 16)));
                ++count;
            }
        }
        QCOMPARE(count, listed.size());
    }

    void graphemeCount_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("ascii") << "abc" << 3;
        QTest::newRow("cr lf is one") << "a\r\nb" << 3;
        QTest::newRow("lf cr is two") << "\n\r" << 2;
        QTest::newRow("cr cr lf") << "\r\r\n" << 2;
        QTest::newRow("latin-1 only") << "caf\u00e9\u00a0!" << 6;
        QTest::newRow("combining mark") << "e\u0301" << 1;
        QTest::newRow("flag") << "\U0001F1E9\U0001F1EA" << 1;
        QTest::newRow("family") << "\U0001F468\u200D\U0001F469\u200D\U0001F467" << 1;
        QTest::newRow("skin tone") << "\U0001F44D\U0001F3FD" << 1;
        QTest::newRow("hangul jamo") << "\u1100\u1161\u11a8" << 1;
        QTest::newRow("mixed with cr lf") << "\u00e9\r\n\u0915\u094d" << 3;
    }

    void graphemeCount()
    {
        QFETCH(QString, text);
        QFETCH(int, count);
        QCOMPARE(::graphemeCount(text), qsizetype(count));
    }

    void canonicalEquivalence()
    {
        // Decomposed and composed forms, and differently ordered marks, are the same word.
        const QString composed = QStringLiteral("\u1e69");           // s with dot below and dot above
        const QString decomposed = QStringLiteral("s\u0323\u0307");
        const QString reordered = QStringLiteral("s\u0307\u0323");
        QCOMPARE(DiffUtils::wordDiff(composed + u" x", decomposed + u" y").editCount, 1);
        QCOMPARE(DiffUtils::wordDiff(decomposed, reordered).editCount, 0);
        QCOMPARE(DiffUtils::wordDiff(QStringLiteral("\u212b"), QStringLiteral("\u00c5")).editCount, 0);
        // Compatibility forms are different words.
        QCOMPARE(DiffUtils::wordDiff(QStringLiteral("\ufb01"), QStringLiteral("fi")).editCount, 1);
    }

private:
    TestEnvironment m_environment; // no test touches real settings
};

QTEST_GUILESS_MAIN(TestWordDiff)
#include "tst_worddiff.moc"
