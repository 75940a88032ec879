// What the functions that reach a member by name and type share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/detail/Values.h>

#include <string>
#include <string_view>

#include "core/DataTypes.h"
#include "core/Layout.h"

namespace orbo::Data {

/// Null when the layout has no such member.
const Member* memberNamed(const Layout& layout, std::string_view name);
/// Whether the member has exactly the values that are asked for.
bool fits(const Member& member, detail::ValueRequest request);

/// The structure's member. Throws `std::invalid_argument` when there is none or it does not fit.
const Member& requireMember(const Structure& structure, TextArgument name,
                            detail::ValueRequest request);
/// Throws `std::invalid_argument` about the use of a `MemberRef`.
[[noreturn]] void refuseUse(std::string_view member, detail::ValueRequest request,
                            const std::string& problem);

}  // namespace orbo::Data
