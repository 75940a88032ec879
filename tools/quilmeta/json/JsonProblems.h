// What is wrong with a JSON document.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonPath.h"
#include "process/CommandError.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

class JsonProblems {
  public:
    struct Problem {
        size_t line;
        std::string text;  ///< "$.structures[0].name: is no string"
    };

    /// A problem that was found twice is kept once.
    void add(size_t line, const JsonPath& path, const std::string& message);
    void add(const JsonProblems& others);
    [[nodiscard]] bool empty() const { return fProblems.empty(); }
    /// The problems in the order of the document.
    [[nodiscard]] std::vector<Problem> sorted() const;
    /// "line 12: $.structures[0].name: is no string", a line each in the order of the document.
    [[nodiscard]] std::string text() const;
    /// The problems without their lines, in the order in which they were found.
    [[nodiscard]] std::vector<std::string> messages() const;
    /// Throws `JsonError`, unless there is no problem.
    void demandNone() const;

  private:
    std::vector<Problem> fProblems;
    size_t fMore = 0;  // that were not kept
};

/// A document is wrong. Its text has all problems, a line each.
class JsonError : public CommandError {
  public:
    explicit JsonError(JsonProblems found)
        : CommandError(found.text()), problems(std::move(found)) {}

    const JsonProblems problems;
};

}  // namespace orbo::Quilmeta
