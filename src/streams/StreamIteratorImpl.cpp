// What walks a storage: the part that both kinds share.
// SPDX-License-Identifier: Apache-2.0

#include <data/StreamIteratorImpl.h>

#include <stdexcept>

#include "core/HandleAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

StreamIteratorImpl::~StreamIteratorImpl() = default;

// The handle keeps its member; the copy of the kind points it at the element again, because the
// other's handle may own what it shows.
StreamIteratorImpl::StreamIteratorImpl(const StreamIteratorImpl& other) = default;

void StreamIteratorImpl::refuse() { throw std::out_of_range("Iterator not at a valid position"); }

void StreamIteratorImpl::enter(const Stretch& stretch, const StreamImpl& storage) {
    fStretch = stretch;
    fChanges = &storage.changes();
    fChangesSeen = storage.changes();
    fPresentLayout = &Layout::presentOf(storage.structure());
    fLayout = &storage.layout();
    if (fHandle && fHandle->usesStructure(storage.structure())) {
        HandleAccess::point(*fHandle, storage.layout(), stretch.chunk);
    } else {
        fHandle = storage.handleOn(stretch.chunk);
    }
}

}  // namespace orbo::Data
