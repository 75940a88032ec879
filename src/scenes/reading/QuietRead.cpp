// Reads the text of a record for those who do not want to hear what is wrong with it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/QuietRead.h"

#include <new>

#include "scenes/reading/RecordReader.h"

namespace orbo::Data {

namespace {

template <typename Read>
auto tryToRead(const Read& read, const SceneRecord& record) {
    Findings ignored;
    try {
        return read(record, ignored);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return decltype(read(record, ignored)){};
    }
}

}  // namespace

RefPtr<Structure> tryToReadStructure(const SceneRecord& record) {
    return tryToRead([](const auto& r, Findings& f) { return readStructure(r, f); }, record);
}

std::unique_ptr<Associations> tryToReadAssociations(const SceneRecord& record) {
    return tryToRead([](const auto& r, Findings& f) { return readAssociations(r, f); }, record);
}

}  // namespace orbo::Data
