#include "diff/DiffComputer.h"

#include "core/Logging.h"
#include "diff/DiffUtils.h"
#include "diff/Graphemes.h"

#include <QHashFunctions>
#include <QPromise>
#include <QThread>

#include <memory>

size_t qHash(const DiffCacheKey &key, size_t seed) noexcept
{
    return qHashMulti(seed, key.originalHash, key.fixedHash, key.originalCount, key.fixedCount);
}

DiffComputer &DiffComputer::shared()
{
    static DiffComputer instance;
    return instance;
}

DiffComputer::DiffComputer(TextHash hash)
    : m_hash(std::move(hash))
    , m_thread(new QThread)
    , m_worker(new QObject)
{
    if (!m_hash) {
        // The process's own seeded hash: it may differ between launches, and the cache lives
        // in memory only. Widened so both halves of the key are 64-bit on every platform.
        m_hash = [](QStringView text) { return quint64(qHash(text, QHashSeed::globalSeed())); };
    }
    m_thread->setObjectName(QStringLiteral("DiffComputer"));
    m_worker->moveToThread(m_thread);
    QObject::connect(m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread->start();
}

DiffComputer::~DiffComputer()
{
    m_thread->quit();
    m_thread->wait();
    delete m_thread;
}

QFuture<DiffComputation> DiffComputer::computation(const QString &original, const QString &fixed)
{
    auto promise = std::make_shared<QPromise<DiffComputation>>();
    QFuture<DiffComputation> future = promise->future();
    promise->start();
    // Queued calls to one object on one thread run in the order they were posted: that queue is
    // the serial executor that owns the cache.
    QMetaObject::invokeMethod(
        m_worker,
        [this, promise, original, fixed] {
            promise->addResult(lookUpOrCompute(original, fixed));
            promise->finish();
        },
        Qt::QueuedConnection);
    return future;
}

DiffComputation DiffComputer::lookUpOrCompute(const QString &original, const QString &fixed)
{
    const DiffCacheKey key{m_hash(original), m_hash(fixed), graphemeCount(original), graphemeCount(fixed)};
    // A hit leaves the insertion order alone: eviction is first in, first out.
    const auto hit = m_cache.constFind(key);
    if (hit != m_cache.constEnd())
        return hit.value();
    DiffComputation computation = DiffUtils::wordDiff(original, fixed);
    ++m_computed;
    qCDebug(lcDiff) << "computed a diff of" << computation.changes.size() << "changes," << computation.editCount
                    << "edits";
    store(key, computation);
    return computation;
}

void DiffComputer::store(const DiffCacheKey &key, const DiffComputation &computation)
{
    m_cache.insert(key, computation);
    const bool wasFull = m_order.size() >= maxEntries;
    m_order.append(key);
    if (wasFull)
        m_cache.remove(m_order.takeFirst());
}
