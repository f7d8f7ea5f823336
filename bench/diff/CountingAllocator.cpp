#include "CountingAllocator.h"

#include <atomic>
#include <cerrno>
#include <malloc.h>

// Interposes glibc's allocator: the executable's definitions win over libc's for every library
// in the process, and forward to glibc's own entry points.
extern "C" {
void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);
void *__libc_realloc(void *, std::size_t);
void *__libc_memalign(std::size_t, std::size_t);
void __libc_free(void *);
}

namespace {

std::atomic<std::size_t> g_current{0};
std::atomic<std::size_t> g_peak{0};
std::atomic<std::size_t> g_base{0};

void added(void *p)
{
    if (!p)
        return;
    const std::size_t now = g_current.fetch_add(malloc_usable_size(p), std::memory_order_relaxed)
        + malloc_usable_size(p);
    std::size_t peak = g_peak.load(std::memory_order_relaxed);
    while (now > peak && !g_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
}

void removed(void *p)
{
    if (p)
        g_current.fetch_sub(malloc_usable_size(p), std::memory_order_relaxed);
}

} // namespace

extern "C" {

void *malloc(std::size_t size)
{
    void *p = __libc_malloc(size);
    added(p);
    return p;
}

void *calloc(std::size_t count, std::size_t size)
{
    void *p = __libc_calloc(count, size);
    added(p);
    return p;
}

void *realloc(void *old, std::size_t size)
{
    const std::size_t before = old ? malloc_usable_size(old) : 0;
    void *p = __libc_realloc(old, size);
    if (p) {
        g_current.fetch_sub(before, std::memory_order_relaxed);
        added(p);
    } else if (size == 0 && old) {
        g_current.fetch_sub(before, std::memory_order_relaxed);
    }
    return p;
}

void free(void *p)
{
    removed(p);
    __libc_free(p);
}

void *memalign(std::size_t alignment, std::size_t size)
{
    void *p = __libc_memalign(alignment, size);
    added(p);
    return p;
}

void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **out, std::size_t alignment, std::size_t size)
{
    void *p = memalign(alignment, size);
    if (!p)
        return ENOMEM;
    *out = p;
    return 0;
}

void *valloc(std::size_t size)
{
    return memalign(4096, size);
}

void *pvalloc(std::size_t size)
{
    return memalign(4096, (size + 4095) & ~std::size_t(4095));
}

} // extern "C"

std::size_t CountingAllocator::current()
{
    return g_current.load();
}

void CountingAllocator::resetPeak()
{
    g_base = g_current.load();
    g_peak = g_base.load();
}

std::size_t CountingAllocator::peakSinceReset()
{
    return g_peak.load() - g_base.load();
}
