// A text that a function only reads, in whatever form the caller has it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Data {

/// Takes a literal, a `const char*`, a `std::string` or a `std::string_view`, and copies nothing.
/// It is made for parameters: it must not outlive the text. A null pointer is a null text, which
/// functions treat as they document it and which is empty otherwise.
///
///     handle.get<float>("radius");
///     handle.get<float>(std::string_view(line).substr(0, 6));
class TextArgument {
  public:
    // NOLINTBEGIN(google-explicit-constructor): it stands for the text
    TextArgument(const char* text) : fIsNull(!text), fView(text ? text : "") {}
    TextArgument(std::string_view text) : fView(text) {}
    TextArgument(const std::string& text) : fView(text) {}
    // NOLINTEND(google-explicit-constructor)

    /// Returns true for a null pointer only; an empty text is not null.
    [[nodiscard]] bool isNull() const { return fIsNull; }
    /// Gives the characters, which need not end with a NUL; none for a null text.
    [[nodiscard]] std::string_view view() const { return fView; }

  private:
    bool fIsNull = false;
    std::string_view fView;
};

}  // namespace orbo::Data
