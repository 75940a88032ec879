// Intrusive, thread-safe reference count.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <debug/RefCounted.h>

#include <ostream>
#include <string>

#include "debug/OneThread.h"

namespace orbo {

namespace {

// Adds and returns what was there, without a locked instruction while there is one thread.
int fetchAdd(int& count, int more) noexcept {
    if (!hasOneThread()) return __atomic_fetch_add(&count, more, __ATOMIC_SEQ_CST);
    const int before = __atomic_load_n(&count, __ATOMIC_RELAXED);
    __atomic_store_n(&count, before + more, __ATOMIC_RELAXED);
    return before;
}

}  // namespace

RefCounted::~RefCounted() = default;

void RefCounted::ref() const { fetchAdd(fRefCount, 1); }

void RefCounted::unref() const {
    if (fetchAdd(fRefCount, -1) == 1) delete this;
}

bool RefCounted::Debug(const RefCounted* object, Debug::Footprint& footprint) {
    if (object) footprint.addObject(object, sizeof(RefCounted));
    return true;
}

bool RefCounted::Debug(const RefCounted* object, Debug::Print& print) {
    if (object) print << "RefCount : " << std::to_string(object->refCount()) << '\n';
    return true;
}

}  // namespace orbo
