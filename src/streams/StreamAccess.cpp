// Gives containers and formats access to parts of a stream that users do not see.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamAccess.h"

#include <atomic>
#include <utility>

#include "streams/StreamImpl.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

namespace {

std::atomic<std::uint64_t> sharedRenameCount{0};

}  // namespace

Stream StreamAccess::unnamed() { return Stream(); }

bool StreamAccess::adoptElement(Stream& stream, Index&& index, Handle&& handle) {
    return stream.impl().adoptElement(std::move(index), std::move(handle));
}

StreamImpl* StreamAccess::placesOf(Stream& stream, const Layout& layout) {
    StreamImpl& storage = stream.impl();
    storage.sync();
    return &storage.layout() == &layout ? &storage : nullptr;
}

StreamImplMapped* StreamAccess::mappedPlacesOf(Stream& stream, const Layout& layout) {
    StreamImpl* const places = placesOf(stream, layout);
    return places && !places->isDense() ? static_cast<StreamImplMapped*>(places) : nullptr;
}

const Layout& StreamAccess::layoutOf(const Stream& stream) {
    stream.impl().syncToRead();
    return stream.impl().layout();
}

void StreamAccess::visitElements(const Stream& stream, ElementVisitor& visitor) {
    stream.impl().visit(visitor);
}

bool StreamAccess::setIndexType(Stream& stream, const std::string& typeName) {
    if (!stream.empty()) return false;
    if (typeName != stream.indexType() && stream.impl().isDense()) {
        stream.setImpl(new StreamImplMapped(stream.impl()));
    }
    return stream.impl().setIndexType(typeName);
}

void StreamAccess::setName(Stream& stream, const std::string& name) {
    stream.impl().setName(name);
    // Storage that is not shared belongs to this stream only.
    if (stream.impl().isShared()) sharedRenameCount.fetch_add(1, std::memory_order_relaxed);
}

void StreamAccess::setRenameCount(Stream& stream, std::uint64_t& count) {
    stream.fRenameCount = &count;
}

std::uint64_t StreamAccess::sharedRenames() noexcept {
    return sharedRenameCount.load(std::memory_order_relaxed);
}

}  // namespace orbo::Data
