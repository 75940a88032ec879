// Collects what is found in a scene file, with its places.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/Findings.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "scenes/Messages.h"

namespace orbo::Data {

namespace {

std::string leftOutMessage(std::uint64_t count) {
    return count == 0 ? std::string() : std::to_string(count) + " more are not listed.";
}

}  // namespace

void Findings::add(Code code, std::string message, const FilePlace& place) {
    if (message.empty() || !hasRoom(code)) return;
    Finding finding;
    finding.code = code;
    finding.offset = place.offset;
    finding.tag = place.tag;
    finding.message = std::move(message);
    fFindings.push_back(std::move(finding));
}

void Findings::add(Code code, std::string message, const SceneRecord& record) {
    const std::size_t before = fFindings.size();
    add(code, std::move(message), record.place);
    if (fFindings.size() == before) return;
    if (record.kind == SceneRecord::Kind::kAssociations) fFindings.back().node = record.name;
}

void Findings::add(Code code, std::string message, const SceneRecord& record,
                   const TextPlace& place, const std::optional<std::string>& structure) {
    const std::size_t before = fFindings.size();
    add(code, std::move(message), record);
    if (fFindings.size() == before) return;
    Finding& finding = fFindings.back();
    finding.channel = place.channel;
    finding.stream = place.stream;
    finding.index = place.index;
    finding.member = place.member;
    finding.structure = structure;
}

void Findings::addAbout(const std::string& structure, Code code, std::string message,
                        const FilePlace& place) {
    const std::size_t before = fFindings.size();
    add(code, std::move(message), place);
    if (fFindings.size() > before) fFindings.back().structure = structure;
}

void Findings::add(Findings others) {
    for (Finding& finding : others.fFindings) take(std::move(finding));
    for (const bool inErrors : {false, true}) addLeftOut(inErrors, others.countLeftOut(inErrors));
}

void Findings::take(Finding finding) {
    if (!finding.message.empty() && hasRoom(finding.code)) fFindings.push_back(std::move(finding));
}

bool Findings::hasRoom(Code code) {
    Count& count = fCounts[Finding::isInErrors(code)];
    if (count.kept == kMost) return ++count.leftOut, false;
    return ++count.kept, true;
}

void Findings::appendTo(std::string& errors) const {
    for (const Finding& finding : fFindings) {
        if (Finding::isInErrors(finding.code)) addMessage(errors, finding.message);
    }
    addMessage(errors, leftOutMessage(countLeftOut(true)));
}

std::vector<Finding> Findings::inFileOrder() const {
    std::vector<Finding> findings = fFindings;
    for (Finding& finding : findings) {
        finding.message.erase(finding.message.find_last_not_of('\n') + 1);
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
    const std::uint64_t leftOut = countLeftOut(false) + countLeftOut(true);
    if (leftOut > 0) {
        Finding& more = findings.emplace_back();
        more.code = Code::kMore;
        more.message = leftOutMessage(leftOut);
    }
    return findings;
}

void RankedFindings::add(std::uint64_t rank, const Findings& findings) {
    for (const Finding& finding : findings.all()) {
        fKinds[Finding::isInErrors(finding.code)].add({rank, fCount++, finding});
    }
    for (const bool inErrors : {false, true}) {
        fKinds[inErrors].leftOut += findings.countLeftOut(inErrors);
    }
}

bool RankedFindings::isEarlier(const Ranked& a, const Ranked& b) {
    return std::tie(a.rank, a.number) < std::tie(b.rank, b.number);
}

void RankedFindings::Kind::add(Ranked ranked) {
    findings.push_back(std::move(ranked));
    if (findings.size() >= 2 * Findings::kMost) trim();
}

void RankedFindings::Kind::trim() {
    std::sort(findings.begin(), findings.end(), isEarlier);
    if (findings.size() <= Findings::kMost) return;
    leftOut += findings.size() - Findings::kMost;
    findings.resize(Findings::kMost);
}

void RankedFindings::moveTo(Findings& others) {
    std::vector<Ranked> all;
    for (const bool inErrors : {false, true}) {
        Kind& kind = fKinds[inErrors];
        kind.trim();
        all.insert(all.end(), std::make_move_iterator(kind.findings.begin()),
                   std::make_move_iterator(kind.findings.end()));
        others.addLeftOut(inErrors, kind.leftOut);
        kind = Kind();
    }
    std::sort(all.begin(), all.end(), isEarlier);
    for (Ranked& ranked : all) others.take(std::move(ranked.finding));
}

void countLines(Files::File& file, std::vector<Finding>& findings) {
    constexpr std::size_t kBlockSize = 64 * 1024;
    // Counting further would take long, and nobody looks for a line there.
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
        // Findings at the end of the file, or beyond it if the file became shorter, get the last
        // line.
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
