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
    return element.fLayout == fLayoutSeen && element.fData ? element.fData + fOffset : nullptr;
}

void MemberPlace::refuse(const Structure* structure, const char* data) const {
    const std::string_view member = name().view();
    if (!data) refuseUse(member, fRequest, "the handle has no data; there may be no such element");
    if (structure == fStructure.get())
        refuseUse(member, fRequest, "the structure has got other members since this was made");
    const std::string other = structure ? structure->name() : "";
    refuseUse(member, fRequest,
              "the element is of structure \"" + other + "\", and the member of another, \"" +
                  fStructure->name() + "\"");
}

}  // namespace orbo::Data
