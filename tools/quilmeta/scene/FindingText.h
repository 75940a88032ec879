// What was found in a scene file, in words.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// "line 12", "chunk MTDA at byte 96", "byte 96"; empty without a place.
std::string placeOf(const Data::Finding& finding);

/// For `complain`: one message each, with its place and node ahead.
std::string messagesOf(const std::vector<Data::Finding>& findings);

}  // namespace orbo::Quilmeta
