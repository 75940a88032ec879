// Watches, and fails, the allocations of the library's sources and of this program.
// SPDX-License-Identifier: Apache-2.0
#include "laws/Allocations.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace orbo::Allocations {

unsigned long untilFailure = 0;
bool failForGood = false;
bool haveFailed = false;

namespace {

std::size_t bytesInUse = 0;
std::size_t mostInUse = 0;

bool fails() {
    if (untilFailure == 0) return false;
    if (untilFailure > 1) return --untilFailure, false;
    if (!failForGood) untilFailure = 0;
    return haveFailed = true;
}

template <typename T>
T* counted(T* block) {
    if (block) bytesInUse += ::malloc_usable_size(block);
    mostInUse = std::max(mostInUse, bytesInUse);
    return block;
}

// What something that is not watched has allocated may be freed here.
void uncount(void* block) {
    if (block) bytesInUse -= std::min(bytesInUse, ::malloc_usable_size(block));
}

}  // namespace

std::size_t inUse() { return bytesInUse; }
std::size_t peak() { return mostInUse; }
void startPeak() { mostInUse = bytesInUse; }

}  // namespace orbo::Allocations

using namespace orbo::Allocations;

// The linker sends the library's calls here (see CMakeLists.txt).
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
char* __real_strdup(const char* text);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size) { return fails() ? nullptr : counted(__real_malloc(size)); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : counted(__real_calloc(count, size));
}
void* __wrap_realloc(void* block, std::size_t size) {
    if (fails()) return nullptr;
    uncount(block);
    return counted(__real_realloc(block, size));
}
char* __wrap_strdup(const char* text) { return fails() ? nullptr : counted(__real_strdup(text)); }
void __wrap_free(void* block) {
    uncount(block);
    __real_free(block);
}
}

#if defined(__GNUC__) && !defined(__clang__)
// Both ends of the pair are replaced here; the compiler sees only one at a time.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new(std::size_t size) {
    if (void* block = fails() ? nullptr : counted(__real_malloc(size))) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return fails() ? nullptr : counted(__real_malloc(size));
}
void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete(void* block, std::size_t) noexcept { __wrap_free(block); }
