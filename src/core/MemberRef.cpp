// A member of a structure that is looked up once and then used with many elements.
// SPDX-License-Identifier: Apache-2.0
#include <data/MemberRef.h>
#include <data/Structure.h>

#include <string>

#include "core/HandleAccess.h"
#include "core/ValueCalls.h"

namespace orbo::Data {

MemberPlace::MemberPlace(const Structure& structure, TextArgument member,
                         detail::ValueRequest request)
    : fStructure(&structure),
      fLayout(&Layout::of(structure)),
      fLayoutSeen(fLayout.get()),
      fOffset(requireMember(structure, member, request).offset()),
      fRequest(request) {}

MemberPlace::MemberPlace(const MemberPlace& other) = default;
MemberPlace& MemberPlace::operator=(const MemberPlace& other) = default;
MemberPlace::~MemberPlace() = default;

TextArgument MemberPlace::name() const {
    for (const Member& member : fLayout->members()) {
        if (member.offset() == fOffset) return member.name();
    }
    return "";
}

const char* MemberPlace::findIn(const ConstHandle& element) const {
    if (element.fLayout == fLayoutSeen && element.fData) return element.fData + fOffset;
    if (!element.usesStructure(*fStructure)) return nullptr;
    return detail::findValues(element, name(), fRequest);
}

// The chunk has another layout: the structure has changed since, or it is another one.
const char* MemberPlace::lookUp(const Structure* structure, const Layout* layout,
                                const char* data) const {
    const std::string member(name().view());
    if (!data) refuseUse(member, fRequest, "the handle has no data; there may be no such element");
    if (structure != fStructure.get()) {
        const std::string other = structure ? structure->name() : "";
        refuseUse(member, fRequest,
                  "the element is of structure \"" + other + "\", and the member of another, \"" +
                      fStructure->name() + "\"");
    }
    const Member* const found = memberNamed(*layout, member);
    if (found && fits(*found, fRequest)) return data + found->offset();
    refuseUse(member, fRequest, "the structure no longer has such a member");
}

}  // namespace orbo::Data
