// Where elements are.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Syntax.h"

#include <array>
#include <optional>
#include <string_view>

namespace orbo::Quilmeta {

/// The fields of an expression. Those that are not set are not known yet. The texts are views.
class Place {
  public:
    Place& set(Field field, std::string_view text) {
        fTexts[static_cast<size_t>(field)] = text;
        return *this;
    }
    [[nodiscard]] const std::optional<std::string_view>& operator[](Field field) const {
        return fTexts[static_cast<size_t>(field)];
    }

  private:
    std::array<std::optional<std::string_view>, kFieldCount> fTexts;
};

}  // namespace orbo::Quilmeta
