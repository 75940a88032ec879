// MEMBER=VALUE and MEMBER[k]=VALUE.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orbo::Data {
class Handle;
class Structure;
}  // namespace orbo::Data

namespace orbo::Quilmeta {

/// Stores the values in an element of the structure. Without [k] the text has all values of the
/// member, with blanks between them; a matrix is one value of sixteen numbers. A string is the
/// whole text as it is. Throws `CommandError` that names the member and the text, also for a value
/// that is given twice; the element may then hold some of the values.
void assign(const Data::Structure& structure, Data::Handle& element,
            const std::vector<std::string>& assignments);

}  // namespace orbo::Quilmeta
