// Values of an element, and nothing around them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/MemberName.h"

#include <data/Handle.h>

#include <string>

namespace orbo::Quilmeta {

struct ValueText {
    bool safe = false;       ///< strings go to a terminal, which must not act on them
    std::string nullText{};  ///< what stands for a null string

    /// Appends the values of one member, with blanks between.
    void append(std::string& out, Data::Handle& element, const NamedMember& member) const;
    /// The text as it is or, where it has to be, escaped.
    [[nodiscard]] std::string shown(const std::string& text) const;
};

}  // namespace orbo::Quilmeta
