// The elements of a stream, each with its index, for a loop over all of them.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamElements.h>
#include <data/StreamIteratorImpl.h>

#include "core/HandleAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

ElementWalk::ElementWalk(const StreamImpl& storage) : fStorage(storage) { fStorage.ref(); }

ElementWalk::~ElementWalk() {
    delete fPlace;
    fStorage.unref();
}

ElementWalk::Stretch ElementWalk::first() {
    delete std::exchange(fPlace, nullptr);
    if (fStorage.elementCount() != 0) fPlace = fStorage.begin().release();
    return fPlace ? fPlace->restOfStretch(fStorage) : Stretch();
}

ElementWalk::Stretch ElementWalk::next() {
    fPlace->passStretch();
    fPlace->advance();
    return fPlace->restOfStretch(fStorage);
}

ElementWalk::Stretch StreamIteratorImpl::restOfStretch(const StreamImpl& storage) const {
    ElementWalk::Stretch rest;
    rest.isEnd = fAtEnd;
    rest.first = HandleAccess::edit(storage.structure(), storage.layout(), fStretch.chunk);
    rest.step = fStretch.step;
    rest.number = fStretch.number;
    rest.left = fStretch.last - fStretch.number;
    rest.typed = fStretch.typed;
    return rest;
}

void StreamIteratorImpl::passStretch() {
    const unsigned int left = fStretch.last - fStretch.number;
    if (left == 0) return;
    fStretch.number = fStretch.last;
    fStretch.chunk += left * fStretch.step;
    fHandle->fData = fStretch.chunk;
}

}  // namespace orbo::Data
