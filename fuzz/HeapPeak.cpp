// Counts what is allocated: by the hooks of the sanitizers, and without those in place of the C
// library's functions.
// SPDX-License-Identifier: Apache-2.0
#include "HeapPeak.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

#ifdef __has_feature
#define FUZZ_HAS(feature) __has_feature(feature)
#else
#define FUZZ_HAS(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    FUZZ_HAS(address_sanitizer) || FUZZ_HAS(thread_sanitizer)
#define FUZZ_HOOKS
// Not every compiler that has the sanitizers has their header.
extern "C" {
int __sanitizer_install_malloc_and_free_hooks(  // NOLINT
    void (*allocated)(const volatile void* block, std::size_t size),
    void (*freed)(const volatile void* block));
std::size_t __sanitizer_get_allocated_size(const volatile void* block);  // NOLINT
}
#endif

namespace {

std::atomic<std::ptrdiff_t> inUse{0};
std::atomic<std::ptrdiff_t> peak{0};

void add(std::ptrdiff_t size) {
    const std::ptrdiff_t now = inUse.fetch_add(size, std::memory_order_relaxed) + size;
    if (now > peak.load(std::memory_order_relaxed)) peak.store(now, std::memory_order_relaxed);
}

}  // namespace

#ifdef FUZZ_HOOKS

namespace {

void allocated(const volatile void*, std::size_t size) { add(static_cast<std::ptrdiff_t>(size)); }
void freed(const volatile void* block) {
    add(-static_cast<std::ptrdiff_t>(__sanitizer_get_allocated_size(block)));
}
// What was allocated before is freed for less than nothing, which no difference shows.
const int installed = __sanitizer_install_malloc_and_free_hooks(allocated, freed);

}  // namespace

#else

// NOLINTBEGIN: names of the C library, in whose place these stand.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

static void* counted(void* block) {
    add(static_cast<std::ptrdiff_t>(::malloc_usable_size(block)));
    return block;
}
static void uncount(void* block) { add(-static_cast<std::ptrdiff_t>(::malloc_usable_size(block))); }

void* malloc(std::size_t size) { return counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) { return counted(__libc_calloc(count, size)); }
void* realloc(void* block, std::size_t size) {
    const auto before = static_cast<std::ptrdiff_t>(::malloc_usable_size(block));
    void* const moved = __libc_realloc(block, size);
    if (!moved && size > 0) return nullptr;
    // Both may be there while one is copied.
    counted(moved);
    add(-before);
    return moved;
}
void free(void* block) {
    uncount(block);
    __libc_free(block);
}
void* memalign(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}
}
// NOLINTEND

#endif

namespace orbo::Fuzz {

std::size_t heapPeakOf(const std::function<void()>& work) {
    const std::ptrdiff_t before = inUse;
    peak = before;
    work();
    return static_cast<std::size_t>(peak - before);
}

}  // namespace orbo::Fuzz
