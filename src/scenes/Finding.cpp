// What is known of each kind of finding.
// SPDX-License-Identifier: Apache-2.0
#include <data/Finding.h>

#include <algorithm>
#include <iterator>

namespace orbo::Data {

namespace {

struct CodeFacts {
    const char* name;
    bool isInErrors = true;
};

// In the order of the codes.
constexpr CodeFacts kCodes[] = {
    {"other"},
    {"file-note"},
    {"journal-pending"},
    {"journal-orphaned"},
    {"file-unreadable"},
    {"not-a-scene"},
    {"chunk-damaged"},
    {"end-misplaced"},
    {"trailer-missing"},
    {"leftover-bytes", false},
    {"statement-unreadable"},
    {"statement-unclosed"},
    {"format-unknown"},
    {"text-unreadable"},
    {"value-unreadable", false},
    {"structure-missing", false},
    {"text-remark"},
    {"text-passed-over", false},
    {"structure-differs"},
    {"node-repeated", false},
    {"node-partial", false},
    {"index-type-unknown"},
    {"number-not-finite", false},
    {"number-beyond-six-digits", false},
    {"rewrite-refused"},
    {"write-failed"},
    {"structure-repeated", false},
    {"structure-kept", false},
    {"record-dropped", false},
    {"will-not-read-back", false},
    {"more"},
};
static_assert(std::size(kCodes) == static_cast<std::size_t>(Finding::Code::kMore) + 1);

const CodeFacts& factsOf(Finding::Code code) {
    const auto number = static_cast<std::size_t>(code);
    return number < std::size(kCodes) ? kCodes[number] : kCodes[0];
}

}  // namespace

const char* Finding::nameOf(Code code) { return factsOf(code).name; }

std::optional<Finding::Code> Finding::codeOf(std::string_view name) {
    const auto found = std::find_if(std::begin(kCodes), std::end(kCodes),
                                    [&](const CodeFacts& facts) { return name == facts.name; });
    if (found == std::end(kCodes)) return std::nullopt;
    return static_cast<Code>(found - std::begin(kCodes));
}

bool Finding::isInErrors(Code code) { return factsOf(code).isInErrors; }

}  // namespace orbo::Data
