#pragma once
#include "diff/Change.h"

#include <QFuture>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <atomic>
#include <functional>

class QThread;

/// What the diff cache is keyed by: the texts' hashes and lengths, never the texts.
struct DiffCacheKey
{
    quint64 originalHash = 0;
    quint64 fixedHash = 0;
    qsizetype originalCount = 0;
    qsizetype fixedCount = 0;

    friend bool operator==(const DiffCacheKey &, const DiffCacheKey &) = default;
};

/// Feeds the four fields, in order, into one hash.
size_t qHash(const DiffCacheKey &key, size_t seed = 0) noexcept;

/// Computes word diffs on its own worker thread, one request after another, and keeps the last
/// eight results. Two pairs whose texts have equal hashes and equal character counts share an
/// entry, deliberately: the cache holds no text. Callable from any thread; the cache belongs to
/// the worker thread alone.
class DiffComputer
{
public:
    using TextHash = std::function<quint64(QStringView)>;

    static constexpr int maxEntries = 8;

    /// The process-wide instance, created on first use.
    static DiffComputer &shared();

    /// A separate computer (tests); `hash` replaces the process's string hash.
    explicit DiffComputer(TextHash hash = {});
    ~DiffComputer();
    DiffComputer(const DiffComputer &) = delete;
    DiffComputer &operator=(const DiffComputer &) = delete;

    /// The diff of a pair, from the cache or computed on the worker; never fails.
    [[nodiscard]] QFuture<DiffComputation> computation(const QString &original, const QString &fixed);

    /// How many diffs the worker has actually computed (cache misses) so far.
    [[nodiscard]] quint64 computedCount() const { return m_computed.load(); }

private:
    DiffComputation lookUpOrCompute(const QString &original, const QString &fixed);
    void store(const DiffCacheKey &key, const DiffComputation &computation);

    TextHash m_hash;
    QThread *m_thread = nullptr;
    QObject *m_worker = nullptr;
    std::atomic<quint64> m_computed{0};
    // Touched on the worker thread only.
    QHash<DiffCacheKey, DiffComputation> m_cache;
    QList<DiffCacheKey> m_order;
};
