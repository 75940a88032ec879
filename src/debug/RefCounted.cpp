// Intrusive, thread-safe reference count.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <debug/RefCounted.h>

#include <string>

#include "debug/OneThread.h"

namespace orbo {

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
