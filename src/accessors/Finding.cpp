// The names of the kinds of findings.
// SPDX-License-Identifier: Apache-2.0
#include <data/Finding.h>

#include <algorithm>
#include <iterator>

namespace orbo::Data {

namespace {

// In the order of the codes.
constexpr const char* kNames[] = {
    "other",
    "file-note",
    "journal-pending",
    "journal-orphaned",
    "file-unreadable",
    "not-a-scene",
    "chunk-damaged",
    "end-misplaced",
    "trailer-missing",
    "leftover-bytes",
    "statement-unreadable",
    "statement-unclosed",
    "format-unknown",
    "text-unreadable",
    "text-remark",
    "text-passed-over",
    "structure-differs",
    "node-repeated",
    "index-type-unknown",
    "number-not-finite",
    "number-beyond-six-digits",
    "rewrite-refused",
    "write-failed",
    "more",
};
static_assert(std::size(kNames) == static_cast<std::size_t>(Finding::Code::kMore) + 1);

}  // namespace

const char* Finding::nameOf(Code code) {
    const auto number = static_cast<std::size_t>(code);
    return number < std::size(kNames) ? kNames[number] : kNames[0];
}

std::optional<Finding::Code> Finding::codeOf(std::string_view name) {
    const auto found = std::find(std::begin(kNames), std::end(kNames), name);
    if (found == std::end(kNames)) return std::nullopt;
    return static_cast<Code>(found - std::begin(kNames));
}

}  // namespace orbo::Data
