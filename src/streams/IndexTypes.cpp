// Looks up index types, and can carry those that nobody registered.
// SPDX-License-Identifier: Apache-2.0

#include "streams/IndexTypes.h"

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>

#include "streams/IndexNumbers.h"

namespace orbo::Data {

std::variant<Index, Index::eCreationErrors> IndexTypes::Maker::make(const std::string& text) const {
    if (fAsText) return Index(IndexText(fTypeName, text));
    if (!fCreator) return Index::eCreatorNotFound;
    if (fNumbers > 0) {
        unsigned int numbers[2];
        if (const auto problem = readIndexNumbers(text, numbers, fNumbers)) return *problem;
        return fNumbers == 1 ? Index(numbers[0]) : Index(numbers[0], numbers[1]);
    }
    try {
        return fCreator(text);
    } catch (Index::eCreationErrors problem) {
        return problem;
    }
}

IndexTypes::Maker IndexTypes::maker(const std::string& typeName, Unknown unknown) {
    Maker maker(typeName);
    const Index::Creators& creators = Index::creators();
    const auto entry = creators.find(typeName);
    if (entry != creators.end()) {
        maker.fCreator = entry->second;
        maker.fNumbers = maker.fCreator == &Index::TypeCreator    ? 1
                         : maker.fCreator == &IndexPair::doCreate ? 2
                                                                  : 0;
    } else if (unknown == Unknown::kAsText) {
        maker.fAsText = true;
    } else {
        throw Index::eCreatorNotFound;
    }
    return maker;
}

bool IndexTypes::isOwn(const std::string& typeName) {
    return typeName == Index::theTypeName() || typeName == IndexPair::theTypeName() ||
           typeName == IndexString::theTypeName();
}

bool IndexTypes::isKnown(const std::string& typeName) {
    return Index::creators().count(typeName) > 0;
}

std::vector<std::string> IndexTypes::names() {
    std::vector<std::string> names;
    for (const auto& entry : Index::creators()) names.push_back(entry.first);
    return names;
}

}  // namespace orbo::Data
