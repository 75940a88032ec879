// Typed access to the members of one element, to read them only.
// SPDX-License-Identifier: Apache-2.0
#include <data/ConstHandle.h>
#include <data/Handle.h>

#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "core/MemberAtChunk.h"

namespace orbo::Data {

ConstHandle::ConstHandle(const Handle& handle)
    : ConstHandle(HandleAccess::structure(handle), HandleAccess::layout(handle),
                  HandleAccess::data(handle), HandleAccess::memberIndex(handle)) {}

ConstHandle::ConstHandle(const Structure* structure, const Layout& layout, const char* data,
                         unsigned int member)
    : fStructure(structure), fLayout(&layout), fData(data) {
    moveTo(member);
}

const Member* ConstHandle::current() const {
    return fIndex != Layout::kNoMember ? &fLayout->member(fIndex) : nullptr;
}

void ConstHandle::moveTo(unsigned int member) {
    const unsigned int count = fLayout ? fLayout->memberCount() : 0;
    fIndex = member < count ? member : Layout::kNoMember;
    const Member* const found = current();
    fType = found ? found->type() : Member::kInvalid;
    fOffset = found ? found->offset() : 0;
}

bool ConstHandle::setPositionByMemberIndex(unsigned int index) {
    moveTo(index);
    return fIndex != Layout::kNoMember;
}

bool ConstHandle::setPositionByMemberName(const char* name) {
    if (!name) return false;
    moveTo(fLayout ? fLayout->indexOf(name) : Layout::kNoMember);
    return fIndex != Layout::kNoMember;
}

Member::eDataType ConstHandle::dataType() const { return checkedMember(current()).type(); }
unsigned int ConstHandle::dataLength() const { return checkedMember(current()).length(); }

bool ConstHandle::isDefault() const { return fLayout && fLayout->isDefault(fData); }

bool ConstHandle::isDefaultMember(const char* name) const {
    return name ? fLayout && fLayout->isDefault(fData, name) : isDefault();
}

std::string ConstHandle::str(unsigned int index) const {
    return valueText(checkedMember(current()), fData, index);
}

}  // namespace orbo::Data
