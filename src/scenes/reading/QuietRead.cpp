// Reads the text of a record without telling what is wrong with it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/QuietRead.h"

#include <new>

#include "scenes/reading/RecordReader.h"

namespace orbo::Data {

namespace {

template <typename Read>
auto tryToRead(const Read& read) {
    Findings ignored;
    try {
        return read(ignored);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return decltype(read(ignored)){};
    }
}

}  // namespace

RefPtr<Structure> tryToReadStructure(const SceneRecord& record) {
    return tryToRead([&](Findings& findings) { return readStructure(record, {}, findings); });
}

std::unique_ptr<Associations> tryToReadAssociations(const SceneRecord& record,
                                                    IndexTypes::Unknown unknownIndexTypes) {
    ReadContext context;
    context.unknownIndexTypes = unknownIndexTypes;
    return tryToRead(
        [&](Findings& findings) { return readAssociations(record, context, findings); });
}

}  // namespace orbo::Data
