#include "DiffFormat.h"
#include "diff/DiffComputer.h"
#include "diff/DiffUtils.h"

#include <QMutex>
#include <QSet>
#include "support/TestEnvironment.h"

#include <QTest>
#include <QThread>

#include <thread>
#include <vector>

// The diff computer's serial worker and its eight-entry first-in-first-out cache.
class TestDiffComputer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resultIsTheWordDiff();
    void ninthPairEvictsTheFirst();
    void hitOnOldestDoesNotSaveIt();
    void emptyPairIsCached();
    void collidingKeysShareAnEntry_data();
    void collidingKeysShareAnEntry();
    void runsOnOneWorkerThread();
    void samePairBackToBackComputesOnce();
    void callersOnManyThreads();
    void sharedInstanceIsOne();

private:
    TestEnvironment m_environment; // no test touches real settings
    static QString pair(int k) { return QStringLiteral("word%1 common text").arg(k); }
    static DiffComputation await(QFuture<DiffComputation> future)
    {
        future.waitForFinished();
        return future.result();
    }
};

void TestDiffComputer::resultIsTheWordDiff()
{
    DiffComputer computer;
    const QString original = QStringLiteral("the cat sat on  the mat");
    const QString fixed = QStringLiteral("The cat sat on the mat.\n");
    QCOMPARE(describe(await(computer.computation(original, fixed))), describe(DiffUtils::wordDiff(original, fixed)));
}

void TestDiffComputer::ninthPairEvictsTheFirst()
{
    DiffComputer computer;
    for (int k = 1; k <= 9; ++k)
        (void)await(computer.computation(pair(k), pair(k) + u'!'));
    QCOMPARE(computer.computedCount(), quint64(9));
    for (int k = 2; k <= 9; ++k)
        (void)await(computer.computation(pair(k), pair(k) + u'!'));
    QCOMPARE(computer.computedCount(), quint64(9)); // pairs two to nine are hits
    (void)await(computer.computation(pair(1), pair(1) + u'!'));
    QCOMPARE(computer.computedCount(), quint64(10)); // the first was evicted
}

void TestDiffComputer::hitOnOldestDoesNotSaveIt()
{
    DiffComputer computer;
    for (int k = 1; k <= 8; ++k)
        (void)await(computer.computation(pair(k), QString()));
    (void)await(computer.computation(pair(1), QString()));
    QCOMPARE(computer.computedCount(), quint64(8)); // a hit
    (void)await(computer.computation(pair(9), QString()));
    (void)await(computer.computation(pair(2), QString()));
    QCOMPARE(computer.computedCount(), quint64(9)); // pair two survived
    (void)await(computer.computation(pair(1), QString()));
    QCOMPARE(computer.computedCount(), quint64(10)); // pair one did not, despite its recent hit
}

void TestDiffComputer::emptyPairIsCached()
{
    DiffComputer computer;
    const DiffComputation first = await(computer.computation(QString(), QString()));
    QVERIFY(first.changes.isEmpty());
    QCOMPARE(first.editCount, 0);
    QCOMPARE(await(computer.computation(QString(), QString())), first);
    QCOMPARE(computer.computedCount(), quint64(1));
}

void TestDiffComputer::collidingKeysShareAnEntry_data()
{
    QTest::addColumn<QString>("firstOriginal");
    QTest::addColumn<QString>("firstFixed");
    QTest::addColumn<QString>("secondOriginal");
    QTest::addColumn<QString>("secondFixed");
    QTest::addColumn<bool>("shared");
    QTest::newRow("equal lengths collide") << "cat" << "dog" << "bat" << "hog" << true;
    QTest::newRow("characters, not code units") << "e\u0301" << "x" << "y" << "z" << true;
    QTest::newRow("emoji is one character") << "\U0001F44D" << "ab" << "q" << "cd" << true;
    QTest::newRow("original length differs") << "cats" << "dog" << "bat" << "hog" << false;
    QTest::newRow("fixed length differs") << "cat" << "dogs" << "bat" << "hog" << false;
    QTest::newRow("lengths swapped") << "ab" << "c" << "d" << "ef" << false;
}

void TestDiffComputer::collidingKeysShareAnEntry()
{
    QFETCH(QString, firstOriginal);
    QFETCH(QString, firstFixed);
    QFETCH(QString, secondOriginal);
    QFETCH(QString, secondFixed);
    QFETCH(bool, shared);
    // Every text hashes alike, so only the character counts tell pairs apart.
    DiffComputer computer([](QStringView) { return quint64(7); });
    const DiffComputation first = await(computer.computation(firstOriginal, firstFixed));
    const DiffComputation second = await(computer.computation(secondOriginal, secondFixed));
    if (shared) {
        QCOMPARE(describe(second), describe(first));
        QCOMPARE(computer.computedCount(), quint64(1));
    } else {
        QCOMPARE(describe(second), describe(DiffUtils::wordDiff(secondOriginal, secondFixed)));
        QCOMPARE(computer.computedCount(), quint64(2));
    }
}

void TestDiffComputer::runsOnOneWorkerThread()
{
    QMutex mutex;
    QSet<QThread *> threads;
    DiffComputer computer([&](QStringView text) {
        QMutexLocker lock(&mutex);
        threads.insert(QThread::currentThread());
        return quint64(qHash(text));
    });
    for (int k = 0; k < 5; ++k)
        (void)await(computer.computation(pair(k), pair(k + 1)));
    QCOMPARE(threads.size(), 1);
    QVERIFY(!threads.contains(QThread::currentThread()));
}

void TestDiffComputer::samePairBackToBackComputesOnce()
{
    DiffComputer computer;
    QList<QFuture<DiffComputation>> futures;
    for (int k = 0; k < 10; ++k)
        futures.append(computer.computation(QStringLiteral("a b c"), QStringLiteral("a x c")));
    for (auto &future : futures)
        QCOMPARE(await(future).editCount, 1);
    QCOMPARE(computer.computedCount(), quint64(1));
}

void TestDiffComputer::callersOnManyThreads()
{
    DiffComputer computer;
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < 4; ++t) {
        callers.emplace_back([&, t] {
            for (int k = 0; k < 60; ++k) {
                const int p = (k + t) % 3;
                const DiffComputation result = await(computer.computation(pair(p), pair(p + 10)));
                if (result != DiffUtils::wordDiff(pair(p), pair(p + 10)))
                    ++wrong;
            }
        });
    }
    for (auto &caller : callers)
        caller.join();
    QCOMPARE(wrong.load(), 0);
    // One serial executor: three distinct pairs are each computed exactly once.
    QCOMPARE(computer.computedCount(), quint64(3));
}

void TestDiffComputer::sharedInstanceIsOne()
{
    QCOMPARE(&DiffComputer::shared(), &DiffComputer::shared());
    QCOMPARE(await(DiffComputer::shared().computation(QStringLiteral("a"), QStringLiteral("b"))).editCount, 1);
}

QTEST_GUILESS_MAIN(TestDiffComputer)
#include "tst_diffcomputer.moc"
