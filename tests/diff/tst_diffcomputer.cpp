#include "DiffFormat.h"
#include "diff/DiffComputer.h"
#include "diff/DiffUtils.h"

#include "support/TestEnvironment.h"

#include <QMutex>
#include <QSet>
#include <QTest>
#include <QThread>

#include <thread>
#include <vector>

// The diff computer's serial worker and its eight-entry first-in-first-out cache.
class TestDiffComputer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void resultIsTheWordDiff()
    {
        DiffComputer computer;
        const QString original = QStringLiteral("the cat sat on  the mat");
        const QString fixed = QStringLiteral("The cat sat on the mat.\n");
        QCOMPARE(describe(await(computer.computation(original, fixed))), describe(DiffUtils::wordDiff(original, fixed)));
    }

    // Steps: "<k>" or "<a>-<b>" ask for pairs (k = 0: both texts empty), "=<n>" checks how many
    // pairs have been computed so far.
    void cacheKeepsTheLastEight_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::newRow("the ninth pair evicts the first") << "1-9 =9 2-9 =9 1 =10";
        QTest::newRow("a hit on the oldest does not save it") << "1-8 1 =8 9 2 =9 1 =10";
        QTest::newRow("the empty pair is cached") << "0 0 =1";
    }

    void cacheKeepsTheLastEight()
    {
        QFETCH(QString, steps);
        DiffComputer computer;
        for (const QString& step : steps.split(u' ')) {
            if (step.startsWith(u'=')) {
                QVERIFY2(computer.computedCount() == step.mid(1).toULongLong(), qPrintable(step));
                continue;
            }
            const QStringList range = step.split(u'-');
            for (int k = range.first().toInt(); k <= range.last().toInt(); ++k) {
                const QString original = k == 0 ? QString() : pair(k);
                (void)await(computer.computation(original, k == 0 ? QString() : original + u'!'));
            }
        }
    }

    void collidingKeysShareAnEntry_data()
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

    void collidingKeysShareAnEntry()
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

    void runsOnOneWorkerThread()
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

    void samePairBackToBackComputesOnce()
    {
        DiffComputer computer;
        QList<QFuture<DiffComputation>> futures;
        for (int k = 0; k < 10; ++k)
            futures.append(computer.computation(QStringLiteral("a b c"), QStringLiteral("a x c")));
        for (auto &future : futures)
            QCOMPARE(await(future).editCount, 1);
        QCOMPARE(computer.computedCount(), quint64(1));
    }

    void callersOnManyThreads()
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

    void sharedInstanceIsOne()
    {
        QCOMPARE(&DiffComputer::shared(), &DiffComputer::shared());
        QCOMPARE(await(DiffComputer::shared().computation(QStringLiteral("a"), QStringLiteral("b"))).editCount, 1);
    }

private:
    TestEnvironment m_environment; // no test touches real settings
    static QString pair(int k) { return QStringLiteral("word%1 common text").arg(k); }
    static DiffComputation await(QFuture<DiffComputation> future)
    {
        future.waitForFinished();
        return future.result();
    }
};

QTEST_GUILESS_MAIN(TestDiffComputer)
#include "tst_diffcomputer.moc"
