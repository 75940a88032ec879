// What commands print, as a text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "process/Output.h"

namespace orbo::Python {

/// Collects what commands print as results.
class TextOutput : public Quilmeta::Output {
  public:
    std::string text() {
        flush();
        return fText;
    }

  protected:
    void deliver(std::string_view bytes) override { fText += bytes; }

  private:
    std::string fText;
};

}  // namespace orbo::Python
