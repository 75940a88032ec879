// Members, and single values of them, by the names that a user gives.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/CommandError.h"

#include <optional>
#include <string>
#include <string_view>

namespace orbo::Data {
class Member;
class Structure;
}  // namespace orbo::Data

namespace orbo::Quilmeta {

/// A member, or one of its values, of which a matrix has 16. Points into the structure, and keeps a
/// view of the name.
struct NamedMember {
    const Data::Member* member;
    unsigned int position;             ///< of the member in its structure
    std::optional<unsigned int> part;  ///< the k of MEMBER[k]
    std::string_view name;             ///< as the user wrote it
};

/// Finds MEMBER or MEMBER[k]; a member may itself be named "a[0]", so the whole name comes first.
/// No value when the structure has no such member. Throws `CommandError` for a k that is too large.
std::optional<NamedMember> findMember(const Data::Structure& structure, std::string_view name);

/// Says that the structure has no such member, and which was perhaps meant.
class NoSuchMember : public CommandError {
  public:
    NoSuchMember(const Data::Structure& structure, std::string_view name);

    [[nodiscard]] const std::string& name() const { return fName; }

  private:
    std::string fName;
};

}  // namespace orbo::Quilmeta
