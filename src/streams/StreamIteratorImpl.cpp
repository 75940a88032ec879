// What walks a storage: the part that both kinds share.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamIteratorImpl.h"

#include <stdexcept>

#include "core/HandleAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

StreamIteratorImpl::~StreamIteratorImpl() = default;

// The handle keeps its member; the copy of the kind points it at the element again, because the
// other's handle may own what it shows.
StreamIteratorImpl::StreamIteratorImpl(const StreamIteratorImpl& other) = default;

void StreamIteratorImpl::refuse() { throw std::out_of_range("Iterator not at a valid position"); }

void StreamIteratorImpl::pointAt(StreamImpl& storage, char* chunk) {
    if (fHandle && fHandle->usesStructure(storage.structure())) {
        HandleAccess::point(*fHandle, storage.layout(), chunk);
    } else {
        fHandle = HandleAccess::borrow(storage.structure(), storage.layout(), chunk);
    }
}

}  // namespace orbo::Data
