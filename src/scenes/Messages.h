// Messages for the caller, a line each.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Data {

/// Appends a message on a line of its own, without a line feed behind it. An empty message adds
/// nothing.
inline void addMessage(std::string& errors, std::string_view message) {
    if (message.empty()) return;
    if (!errors.empty() && errors.back() != '\n') errors += '\n';
    errors += message;
}

/// For `return fail(errors, ...)`.
inline bool fail(std::string& errors, std::string_view message) {
    addMessage(errors, message);
    return false;
}

}  // namespace orbo::Data
