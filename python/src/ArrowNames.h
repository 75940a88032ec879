// Names of scenes, which have any bytes, in UTF-8.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Python {

/// Writes bytes that are no UTF-8 as "\xe9" and the like.
std::string visibleName(std::string_view bytes);
/// Writes "%" and bytes that are no UTF-8 as "%25" and the like.
std::string escapedName(std::string_view bytes);
std::string unescapedName(std::string_view text);

}  // namespace orbo::Python
