// Data lines of elements as they are mostly written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "core/Layout.h"

namespace orbo::Data {

/// Reads the values of all members from one line, without its line feed, into a default chunk.
/// False when something is not as usual, such as an escape, an exponent or a value too many: the
/// chunk is then default again.
bool readPlainElement(const Layout& layout, std::string_view line, char* chunk);

}  // namespace orbo::Data
