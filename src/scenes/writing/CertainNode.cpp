// Tells which nodes need no trial to be known to read back as they are.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/CertainNode.h"

#include <data/AssociationsSerializerRaw.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>

#include <algorithm>
#include <string>
#include <typeinfo>
#include <variant>

#include "core/Layout.h"
#include "scenes/writing/WrittenModel.h"
#include "streams/IndexTypes.h"
#include "streams/StreamAccess.h"

namespace orbo::Data {

namespace {

// A plug-in may have registered a type of its own by one of our names.
bool isOwnType(const std::string& name) {
    const bool isNumeric = name == Index::theTypeName();
    const bool isPair = name == IndexPair::theTypeName();
    if (!isNumeric && !isPair && name != IndexString::theTypeName()) return false;
    if (!IndexTypes::isKnown(name)) return false;
    const IndexTypes::Maker maker = IndexTypes::maker(name);
    if (maker.isNull()) return false;
    const auto made = maker.make(isPair ? "0 0" : "0");
    const Index* const index = std::get_if<Index>(&made);
    if (!index) return false;
    const IndexType* const typed = index->complexIndex();
    if (isNumeric || !typed) return isNumeric && !typed;
    return typeid(*typed) == (isPair ? typeid(IndexPair) : typeid(IndexString));
}

bool isPlain(const Stream& stream) {
    const Layout& layout = StreamAccess::layoutOf(stream);
    const auto& members = layout.members();
    return !stream.name().empty() && isOwnType(stream.indexType()) &&
           layout.members() == Layout::of(stream.structure()).members() &&
           std::all_of(members.begin(), members.end(),
                       [](const Member& member) { return member.length() > 0; });
}

}  // namespace

bool readsBackForCertain(const Associations& associations) {
    const AssociationsSerializerRaw& format = AssociationsSerializerRaw::theFormat();
    if (AssociationsSerializer::formatByName(format.formatType()) != &format) return false;
    bool isCertain = true;
    forEachStream(associations, [&](const Channel& channel, const Stream& stream) {
        isCertain = !channel.name().empty() && isPlain(stream);
        return isCertain;
    });
    return isCertain;
}

}  // namespace orbo::Data
