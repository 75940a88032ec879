// What is wrong with a JSON document.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonProblems.h"

#include "process/CommandError.h"
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

std::string JsonProblems::text() const {
    std::vector<const Problem*> sorted;
    sorted.reserve(fProblems.size());
    for (const Problem& problem : fProblems) sorted.push_back(&problem);
    const auto key = [](const Problem* problem) { return std::tie(problem->line, problem->text); };
    std::sort(sorted.begin(), sorted.end(),
              [&](const auto* left, const auto* right) { return key(left) < key(right); });
    std::string text;
    for (size_t i = 0; i < sorted.size(); ++i)
        if (i == 0 || key(sorted[i]) != key(sorted[i - 1]))
            text += fmt::format("line {}: {}\n", sorted[i]->line, sorted[i]->text);
    if (fMore > 0) text += fmt::format("and {} more problems\n", fMore);
    return text;
}

std::vector<std::string> JsonProblems::messages() const {
    std::vector<std::string> messages;
    for (const Problem& problem : fProblems) messages.push_back(problem.text);
    return messages;
}

void JsonProblems::demandNone() const {
    if (!empty()) throw CommandError(text());
}

}  // namespace orbo::Quilmeta
