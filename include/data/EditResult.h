// Whether an edit was made, and why not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

namespace orbo::Data {

/// Tells whether an edit was made, and if not, why. Functions whose names begin with `try` return
/// it. It is true when the edit was made; an edit that was not made has changed nothing.
///
///     if (const auto done = stream.trySetElement(5, handle); !done) {
///         std::cerr << done.reason() << '\n';
///     }
class [[nodiscard]] EditResult {
  public:
    /// The edit was made.
    EditResult() = default;
    /// The edit was refused; the reason is a sentence.
    explicit EditResult(std::string reason) : fIsDone(false), fReason(std::move(reason)) {}

    operator bool() const { return fIsDone; }  // NOLINT(google-explicit-constructor): it is a test
    /// Gives a sentence for people, such as "There is no element 5."; empty when the edit was made.
    [[nodiscard]] const std::string& reason() const { return fReason; }

  private:
    bool fIsDone = true;
    std::string fReason;
};

}  // namespace orbo::Data
