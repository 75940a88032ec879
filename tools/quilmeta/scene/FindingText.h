// The findings of the library as text for people.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Makes the text for `complain`: a message for each finding, which begins with its place and node.
std::string messagesOf(const std::vector<Data::Finding>& findings);

/// Returns "line 12: node arm: text-unreadable: ...", on one line and safe to show.
std::string lineOf(const Data::Finding& finding);

}  // namespace orbo::Quilmeta
