// What the handles on shared parts do with their one reference.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/RefPtr.h>

namespace orbo::Data {

/// Gives `shared` up for `other`, which may be the same.
template <typename Parts>
void shareParts(Parts*& shared, Parts* other) {
    other->ref();
    shared->unref();
    shared = other;
}

/// Replaces `shared` by a deep copy when others refer to it. True when that copied anything that
/// was shared.
template <typename Parts>
bool makePartsUnique(Parts*& shared) {
    if (!shared->isShared()) return false;
    const RefPtr<Parts> copy(new Parts(*shared));
    const bool detached = copy->makeUnique();
    shareParts(shared, copy.get());
    return detached;
}

}  // namespace orbo::Data
