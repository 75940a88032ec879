// Looks up index types, and can carry those that nobody registered.
// SPDX-License-Identifier: Apache-2.0

#include "streams/IndexTypes.h"

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexText.h>

namespace orbo::Data {

Index IndexTypes::Maker::operator()(const std::string& text) const {
    if (fAsText) return Index(IndexText(fTypeName, text));
    if (!fCreator) throw Index::eCreatorNotFound;
    return fCreator(text);
}

IndexTypes::Maker IndexTypes::maker(const std::string& typeName, Unknown unknown) {
    Maker maker(typeName);
    const Index::Creators& creators = Index::creators();
    const auto entry = creators.find(typeName);
    if (entry != creators.end()) {
        maker.fCreator = entry->second;
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
