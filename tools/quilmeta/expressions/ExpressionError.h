// What is wrong with an expression, and where in it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/CommandError.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// The problem, and below it the line of `expression` that byte `at` is in, with a caret below that
/// place. Of a long line only the surroundings are shown. Nothing in it can fool a terminal.
std::string problemAt(std::string_view expression, size_t at, std::string_view problem);

/// Its text is made by `problemAt`.
class ExpressionError : public CommandError {
  public:
    ExpressionError(std::string_view expression, size_t at, std::string_view problem)
        : CommandError(problemAt(expression, at, problem)), fAt(at) {}

    /// The byte of the expression that the caret points at; its size at the end.
    [[nodiscard]] size_t at() const { return fAt; }

  private:
    size_t fAt;
};

}  // namespace orbo::Quilmeta
