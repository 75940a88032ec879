// Collects what is found in a scene file, with its places.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/Findings.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "accessors/Messages.h"

namespace orbo::Data {

void Findings::add(Code code, std::string message, const FilePlace& place) {
    if (message.empty()) return;
    fFindings.push_back({code, {}, place.offset, place.tag, {}, std::move(message)});
}

void Findings::add(Code code, std::string message, const SceneRecord& record) {
    if (message.empty()) return;
    add(code, std::move(message), record.place);
    if (record.kind == SceneRecord::Kind::kAssociations) fFindings.back().node = record.name;
}

void Findings::add(Findings others) {
    std::move(others.fFindings.begin(), others.fFindings.end(), std::back_inserter(fFindings));
}

void Findings::appendTo(std::string& errors) const {
    for (const Finding& finding : fFindings) addMessage(errors, finding.message);
}

std::vector<Finding> Findings::inFileOrder() const {
    std::vector<Finding> findings = fFindings;
    for (Finding& finding : findings) {
        finding.message.erase(finding.message.find_last_not_of('\n') + 1);
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
    return findings;
}

void countLines(Files::File& file, std::vector<Finding>& findings) {
    constexpr std::size_t kBlockSize = 64 * 1024;
    const auto hasPlace = [](const Finding& finding) { return finding.offset.has_value(); };
    auto next = std::find_if(findings.begin(), findings.end(), hasPlace);
    if (next == findings.end() || !file.seek(0)) return;
    std::string block(kBlockSize, '\0');
    std::uint64_t begin = 0;
    std::uint64_t line = 1;
    while (next != findings.end()) {
        const auto got = file.read(block.data(), block.size());
        if (!got) return;
        const auto end = block.begin() + static_cast<std::ptrdiff_t>(*got);
        auto counted = block.begin();
        // At the file's end stand those that lie there or, in a file made shorter, beyond.
        while (next != findings.end() && (*next->offset - begin < *got || *got < kBlockSize)) {
            const std::uint64_t inside = std::min<std::uint64_t>(*next->offset - begin, *got);
            const auto at = block.begin() + static_cast<std::ptrdiff_t>(inside);
            line += static_cast<std::uint64_t>(std::count(counted, at, '\n'));
            counted = at;
            (next++)->line = line;
        }
        line += static_cast<std::uint64_t>(std::count(counted, end, '\n'));
        begin += *got;
    }
}

}  // namespace orbo::Data
