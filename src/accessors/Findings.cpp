// Collects what is found in a scene file, with its places.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/Findings.h"

#include <algorithm>
#include <utility>

#include "accessors/Messages.h"

namespace orbo::Data {

void Findings::add(Code code, std::string message, const FilePlace& place) {
    if (message.empty() || !hasRoom()) return;
    fFindings.push_back(
        {code, {}, place.offset, std::string(place.tag.view()), {}, std::move(message)});
}

void Findings::add(Code code, std::string message, const SceneRecord& record) {
    const std::size_t before = fFindings.size();
    add(code, std::move(message), record.place);
    if (fFindings.size() == before) return;
    if (record.kind == SceneRecord::Kind::kAssociations) fFindings.back().node = record.name;
}

void Findings::add(Findings others) {
    for (Finding& finding : others.fFindings) take(std::move(finding));
    fLeftOut += others.fLeftOut;
}

void Findings::take(Finding finding) {
    if (hasRoom()) fFindings.push_back(std::move(finding));
}

bool Findings::hasRoom() {
    if (fFindings.size() < kMost) return true;
    ++fLeftOut;
    return false;
}

std::string Findings::leftOut() const {
    if (fLeftOut == 0) return {};
    return std::to_string(fLeftOut) + " more are not listed.";
}

void Findings::appendTo(std::string& errors) const {
    for (const Finding& finding : fFindings) addMessage(errors, finding.message);
    addMessage(errors, leftOut());
}

std::vector<Finding> Findings::inFileOrder() const {
    std::vector<Finding> findings = fFindings;
    for (Finding& finding : findings) {
        finding.message.erase(finding.message.find_last_not_of('\n') + 1);
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
    if (fLeftOut > 0) findings.push_back({Code::kMore, {}, {}, {}, {}, leftOut()});
    return findings;
}

void RankedFindings::add(std::uint64_t rank, const Findings& findings) {
    for (const Finding& finding : findings.all()) fFindings.push_back({rank, finding});
    fLeftOut += findings.countLeftOut();
    if (fFindings.size() >= 2 * Findings::kMost) trim();
}

void RankedFindings::trim() {
    std::stable_sort(fFindings.begin(), fFindings.end(),
                     [](const Ranked& a, const Ranked& b) { return a.rank < b.rank; });
    if (fFindings.size() <= Findings::kMost) return;
    fLeftOut += fFindings.size() - Findings::kMost;
    fFindings.resize(Findings::kMost);
}

void RankedFindings::moveTo(Findings& others) {
    trim();
    for (Ranked& ranked : fFindings) others.take(std::move(ranked.finding));
    others.addLeftOut(fLeftOut);
    fFindings.clear();
    fLeftOut = 0;
}

void countLines(Files::File& file, std::vector<Finding>& findings) {
    constexpr std::size_t kBlockSize = 64 * 1024;
    // Behind so much of a scene nobody looks for a line, and it would take long to count.
    constexpr std::uint64_t kMostCounted = std::uint64_t{1} << 30;
    const auto hasPlace = [](const Finding& finding) { return finding.offset.has_value(); };
    auto next = std::find_if(findings.begin(), findings.end(), hasPlace);
    const auto last = std::find_if_not(next, findings.end(), hasPlace);
    if (next == last || !file.seek(0)) return;
    std::string block(kBlockSize, '\0');
    std::uint64_t begin = 0;
    std::uint64_t line = 1;
    while (next != last && *next->offset <= kMostCounted) {
        const auto got = file.read(block.data(), block.size());
        if (!got) return;
        const auto end = block.begin() + static_cast<std::ptrdiff_t>(*got);
        auto counted = block.begin();
        // At the file's end stand those that lie there or, in a file made shorter, beyond.
        while (next != last && (*next->offset - begin < *got || *got < kBlockSize)) {
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
