// The index of an element that a walk over a stream has come to.
// SPDX-License-Identifier: Apache-2.0
#include <data/ElementIndex.h>

namespace orbo::Data {

ElementIndex::operator Index() const { return fTyped ? *fTyped : Index(fNumber); }

std::string ElementIndex::asString() const {
    return fTyped ? fTyped->asString() : std::to_string(fNumber);
}

std::string ElementIndex::typeName() const {
    return fTyped ? fTyped->typeName() : Index::theTypeName();
}

}  // namespace orbo::Data
