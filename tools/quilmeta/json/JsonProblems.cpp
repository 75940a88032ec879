// What is wrong with a JSON document.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonProblems.h"

#include "values/SafeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace orbo::Quilmeta {

// Every byte of a hostile document could be a problem of its own.
void JsonProblems::add(size_t line, const JsonPath& path, const std::string& message) {
    constexpr size_t kMost = 100'000;
    if (fProblems.size() == kMost)
        ++fMore;
    else
        fProblems.push_back({line, safeLine(path.text() + ": " + message)});
}

void JsonProblems::add(const JsonProblems& others) {
    fProblems.insert(fProblems.end(), others.fProblems.begin(), others.fProblems.end());
    fMore += others.fMore;
}

std::vector<JsonProblems::Problem> JsonProblems::sorted() const {
    std::vector<Problem> sorted = fProblems;
    const auto key = [](const Problem& problem) { return std::tie(problem.line, problem.text); };
    std::sort(sorted.begin(), sorted.end(),
              [&](const Problem& left, const Problem& right) { return key(left) < key(right); });
    const auto areSame = [&](const Problem& left, const Problem& right) {
        return key(left) == key(right);
    };
    sorted.erase(std::unique(sorted.begin(), sorted.end(), areSame), sorted.end());
    return sorted;
}

std::string JsonProblems::text() const {
    std::string text;
    for (const Problem& problem : sorted())
        text += fmt::format("line {}: {}\n", problem.line, problem.text);
    if (fMore > 0) text += fmt::format("and {} more problems\n", fMore);
    return text;
}

std::vector<std::string> JsonProblems::messages() const {
    std::vector<std::string> messages;
    for (const Problem& problem : fProblems) messages.push_back(problem.text);
    return messages;
}

void JsonProblems::demandNone() const {
    if (!empty()) throw JsonError(*this);
}

}  // namespace orbo::Quilmeta
