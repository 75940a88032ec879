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
                  HandleAccess::data(handle)) {
    moveTo(HandleAccess::memberIndex(handle));
}

const Member* ConstHandle::current() const {
    return fIndex != Layout::kNoMember ? &fLayout->member(fIndex) : nullptr;
}

bool ConstHandle::moveTo(unsigned int index) {
    const bool isMember = fLayout && index < fLayout->memberCount();
    moveTo(isMember ? &fLayout->member(index) : nullptr, isMember ? index : Layout::kNoMember);
    return isMember;
}

bool ConstHandle::setPositionByMemberIndex(unsigned int index) { return moveTo(index); }

bool ConstHandle::setPositionByMemberName(const char* name) {
    return name && moveTo(fLayout ? fLayout->indexOf(name) : Layout::kNoMember);
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
