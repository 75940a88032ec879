// What containers and formats may do with a stream that its users may not.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamAccess.h"

#include <atomic>
#include <utility>

#include "streams/NameChanges.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

std::atomic<std::uint64_t> nameChangeCount{0};

}  // namespace

void NameChanges::note() noexcept { nameChangeCount.fetch_add(1, std::memory_order_relaxed); }

std::uint64_t NameChanges::count() noexcept {
    return nameChangeCount.load(std::memory_order_relaxed);
}

Stream StreamAccess::unnamed() { return Stream(); }

bool StreamAccess::adoptElement(Stream& stream, Index&& index, Handle&& handle) {
    return stream.impl().adoptElement(std::move(index), std::move(handle));
}

StreamImpl* StreamAccess::placesOf(Stream& stream, const Layout& layout) {
    StreamImpl& storage = stream.impl();
    storage.sync();
    return &storage.layout() == &layout ? &storage : nullptr;
}

const Layout& StreamAccess::layoutOf(const Stream& stream) {
    stream.impl().sync();
    return stream.impl().layout();
}

void StreamAccess::visitElements(const Stream& stream, ElementVisitor& visitor) {
    stream.impl().visit(visitor);
}

void StreamAccess::setName(Stream& stream, const std::string& name) {
    stream.impl().setName(name);
    // Nobody else can have storage that is not shared.
    if (stream.impl().isShared()) NameChanges::note();
}

std::uint64_t StreamAccess::nameChanges() noexcept { return NameChanges::count(); }

}  // namespace orbo::Data
