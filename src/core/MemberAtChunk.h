// What both kinds of handle do with their current member.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <string>

namespace orbo::Data {

/// Returns the member. Throws `std::out_of_range` for null, which stands for the end.
const Member& checkedMember(const Member* current);

/// Formats value `index` of a member; empty when the member has no such value. The chunk is null
/// for an element without data.
std::string valueText(const Member& member, const char* chunk, unsigned int index);

}  // namespace orbo::Data
