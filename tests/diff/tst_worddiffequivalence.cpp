#include "DiffFormat.h"
#include "ReferenceWordDiff.h"
#include "TextGenerator.h"
#include "diff/DiffUtils.h"
#include "diff/WordLcs.h"

#include "support/TestEnvironment.h"

#include <QTest>

// The word diff against the full-table reference on thousands of generated pairs. Seeds are
// fixed so a failure reproduces; the failing pair is printed escaped.
class TestWordDiffEquivalence : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void generatedPairs_data()
    {
        QTest::addColumn<int>("seed");
        QTest::addColumn<int>("pairs");
        QTest::addColumn<int>("maxWords");
        QTest::addColumn<double>("rate");
        QTest::addColumn<bool>("tricky");
        QTest::addColumn<bool>("unrelated");

        QTest::newRow("short, light edits") << 1 << 2000 << 12 << 0.15 << true << false;
        QTest::newRow("short, heavy edits") << 2 << 1500 << 12 << 0.6 << true << false;
        QTest::newRow("short, unrelated") << 3 << 1000 << 10 << 0.0 << true << true;
        QTest::newRow("tiny alphabet repeats") << 4 << 1500 << 20 << 0.3 << false << false;
        QTest::newRow("paragraphs across machine words") << 5 << 300 << 200 << 0.1 << true << false;
        QTest::newRow("paragraphs, unrelated") << 6 << 100 << 150 << 0.0 << false << true;
        QTest::newRow("whitespace only changes") << 7 << 500 << 30 << 0.0 << false << false;
    }

    void generatedPairs()
    {
        QFETCH(int, seed);
        QFETCH(int, pairs);
        QFETCH(int, maxWords);
        QFETCH(double, rate);
        QFETCH(bool, tricky);
        QFETCH(bool, unrelated);

        TextGenerator gen{quint32(seed)};
        gen.setMarkedSpaces(rate > 0 || unrelated);
        const QStringList vocabulary = tricky ? TextGenerator::trickyVocabulary()
                                              : QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                                                            QStringLiteral("caf\u00e9"), QStringLiteral("cafe\u0301")};
        int nonTrivial = 0;
        for (int k = 0; k < pairs; ++k) {
            const QStringList originalWords = gen.words(gen.random().bounded(maxWords + 1), vocabulary, 4);
            const QStringList fixedWords = unrelated ? gen.words(gen.random().bounded(maxWords + 1), vocabulary, 4)
                                                     : gen.edit(originalWords, rate, vocabulary);
            const QString original = gen.join(originalWords);
            const QString fixed = gen.join(fixedWords);
            const DiffComputation expected = ReferenceWordDiff::wordDiff(original, fixed);
            const DiffComputation actual = DiffUtils::wordDiff(original, fixed);
            if (expected.editCount > 0)
                ++nonTrivial;
            if (actual != expected) {
                qWarning().noquote() << "original:" << escaped(original) << "\nfixed:" << escaped(fixed);
                QCOMPARE(describe(actual), describe(expected));
            }
        }
        // The generator must produce real differences unless it is asked not to.
        if (rate > 0 || unrelated)
            QVERIFY(nonTrivial > pairs / 3);
        else
            QCOMPARE(nonTrivial, 0);
    }

    void largePair()
    {
        // Thousands of words each: many machine words per row, long runs, frequent words.
        TextGenerator gen(42);
        const QStringList vocabulary = gen.plainVocabulary(400);
        const QStringList originalWords = gen.words(2500, vocabulary, 20);
        const QString original = gen.join(originalWords);
        const QString fixed = gen.join(gen.edit(originalWords, 0.08, vocabulary));
        QCOMPARE(describe(DiffUtils::wordDiff(original, fixed)), describe(ReferenceWordDiff::wordDiff(original, fixed)));
        const QString other = gen.join(gen.words(2000, vocabulary, 20));
        QCOMPARE(describe(DiffUtils::wordDiff(original, other)), describe(ReferenceWordDiff::wordDiff(original, other)));
    }

    void blockedRowsMatchWholeRows()
    {
        // Rows recomputed block by block from checkpoints must walk the same path as rows kept whole.
        QRandomGenerator random(7);
        for (int k = 0; k < 400; ++k) {
            const auto sequence = [&](int alphabet) {
                std::vector<int> ids(std::size_t(random.bounded(0, 300)));
                for (int &id : ids)
                    id = random.bounded(alphabet) - (alphabet > 4 ? 1 : 0); // -1: a word only one side has
                return ids;
            };
            const int alphabet = random.bounded(2, 40);
            std::vector<int> a = sequence(alphabet);
            for (int &id : a)
                id = std::max(id, 0);
            const std::vector<int> b = sequence(alphabet);
            const auto whole = lcsBacktrack(a, b, qsizetype(1) << 40);
            for (qsizetype budget : {qsizetype(0), qsizetype(64), qsizetype(1000)})
                QVERIFY2(lcsBacktrack(a, b, budget) == whole, qPrintable(QStringLiteral("pair %1, budget %2").arg(k).arg(budget)));
        }
    }

private:
    TestEnvironment m_environment; // no test touches real settings
    static QString escaped(const QString &text)
    {
        QString out;
        for (QChar c : text)
            out += c.unicode() < 0x7f && c.unicode() >= 0x20 ? QString(c) : QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QChar(u'0'));
        return out;
    }
};

QTEST_GUILESS_MAIN(TestWordDiffEquivalence)
#include "tst_worddiffequivalence.moc"
