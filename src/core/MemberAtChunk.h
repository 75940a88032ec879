// What handles of both kinds do with their current member.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <string>

namespace orbo::Data {

/// Throws `std::out_of_range` for null, the end.
const Member& checkedMember(const Member* current);

/// Value `index` of a member as text; empty when the member has no such value. The chunk may be
/// null, for an element without data.
std::string valueText(const Member& member, const char* chunk, unsigned int index);

}  // namespace orbo::Data
