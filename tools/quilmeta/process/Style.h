// Colours of results on a terminal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

enum class Colors {
    kAuto,  ///< on a terminal that has them, unless the environment variable NO_COLOR says no
    kAlways,
    kNever,
};

/// For all outputs of the process; `kAuto` unless set.
void setColors(Colors colors);

enum class Hue { kRemoved, kAdded, kPlace, kFaint };

/// Puts text in colours where the output takes them.
class Style {
  public:
    explicit Style(const Output& output);
    [[nodiscard]] std::string operator()(Hue hue, std::string_view text) const;

  private:
    bool fOn;
};

}  // namespace orbo::Quilmeta
