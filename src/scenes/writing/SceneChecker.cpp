// Finds what stands in the way of rewriting a scene that was read.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SceneChecker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/Excerpt.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "core/SixDigits.h"
#include "scenes/CheckedKind.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/writing/FloatingNumbers.h"
#include "scenes/writing/ModelCheck.h"
#include "scenes/writing/SceneWriter.h"
#include "scenes/writing/WrittenModel.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;

enum class NumberProblem { kNone, kNotFinite, kBeyondSixDigits };

// A write without `WritePolicy::exactNumbers` writes six digits.
template <typename T>
NumberProblem problemOf(T number) {
    if (!std::isfinite(number)) return NumberProblem::kNotFinite;
    return survivesSixDigits(number) ? NumberProblem::kNone : NumberProblem::kBeyondSixDigits;
}

// The worst problem of a member's numbers; a number that is not finite is the worst of all.
NumberProblem problemOf(const Member& member, const char* chunk) {
    NumberProblem worst = NumberProblem::kNone;
    visitFloatingNumbers(member, chunk, [&](auto number) {
        const NumberProblem problem = problemOf(number);
        if (problem != NumberProblem::kNone) worst = problem;
        return worst != NumberProblem::kNotFinite;
    });
    return worst;
}

/// The elements where a member has a problem.
class Tally {
  public:
    void add(const Index& index) {
        if (fCount++ == 0) fFirst = index.asString();
    }
    /// The first of them; none when there are no such elements.
    [[nodiscard]] std::optional<std::string> first() const {
        return fCount == 0 ? std::nullopt : std::optional<std::string>(fFirst);
    }
    /// Empty when there are none.
    [[nodiscard]] std::string message(const std::string& what) const {
        if (fCount == 0) return {};
        const std::string message = what + ": index " + excerptOf(fFirst);
        return fCount == 1 ? message : message + " and " + std::to_string(fCount - 1) + " more";
    }

  private:
    std::uint64_t fCount = 0;
    std::string fFirst;
};

struct MemberTallies {
    Tally notFinite;
    Tally beyondSixDigits;
};

SceneRecord recordOf(const std::string& node, const ReadSnapshot& snapshot) {
    SceneRecord record;
    record.kind = SceneRecord::Kind::kAssociations;
    record.name = node;
    const auto place = snapshot.associationPlaces.find(node);
    if (place != snapshot.associationPlaces.end()) record.place = place->second;
    return record;
}

std::string placeInNode(const Channel& channel, const Stream& stream) {
    return "Channel " + inQuotes(channel.name()) + ", stream " + inQuotes(stream.name());
}

void checkNumbers(const Channel& channel, const Stream& stream, const SceneRecord& record,
                  Findings& findings) {
    std::vector<MemberTallies> tallies(stream.structure().memberCount());
    for (StreamIterator element = stream.cbegin(), end = stream.cend(); element != end; ++element) {
        const char* const chunk = HandleAccess::data(*element);
        if (!chunk) continue;
        auto tally = tallies.begin();
        for (const Member& member : HandleAccess::layout(*element).members()) {
            if (tally == tallies.end()) break;
            const NumberProblem problem = problemOf(member, chunk);
            if (problem == NumberProblem::kNotFinite) tally->notFinite.add(element.index());
            if (problem == NumberProblem::kBeyondSixDigits) {
                tally->beyondSixDigits.add(element.index());
            }
            ++tally;
        }
    }
    auto tally = tallies.begin();
    for (const Member& member : Layout::of(stream.structure()).members()) {
        const auto add = [&](const Tally& elements, Code code, const char* what) {
            const TextPlace place{channel.name(), stream.name(), elements.first(), member.name()};
            findings.add(code,
                         elements.message(placeInNode(channel, stream) + ", member " +
                                          inQuotes(member.name()) + " has a number " + what),
                         record, place);
        };
        add(tally->notFinite, Code::kNumberNotFinite, "that is not finite");
        add(tally->beyondSixDigits, Code::kNumberBeyondSixDigits, "of more than six digits");
        ++tally;
    }
}

void addRefusal(Finding problem, const FilePlace& place, Findings& refusals) {
    problem.code = Code::kRewriteRefused;
    if (place.offset) {
        problem.offset = place.offset;
        problem.tag = place.tag;
    }
    refusals.take(std::move(problem));
}

bool refusesRewrite(const Finding& finding) {
    return finding.code == Code::kTrailerMissing || finding.code == Code::kEndMisplaced;
}

}  // namespace

void checkModel(const Accessor& accessor, const ReadSnapshot& snapshot, Findings& findings) {
    for (const auto& [node, associations] : accessor.associations()) {
        const SceneRecord record = recordOf(node, snapshot);
        forEachStream(associations, [&](const Channel& channel, const Stream& stream) {
            if (!IndexTypes::isKnown(stream.indexType())) {
                findings.add(Code::kIndexTypeUnknown,
                             placeInNode(channel, stream) + ": index type " +
                                 inQuotes(stream.indexType()) + " is not registered",
                             record, {channel.name(), stream.name(), {}, {}});
            }
            checkNumbers(channel, stream, record, findings);
            return true;
        });
    }
}

void checkRewrite(const SceneKind& kind, const Accessor& accessor, const ReadSnapshot& snapshot,
                  Files::File& file, Findings& findings) {
    const WritePolicy policy = WritePolicy::careful();
    const WrittenModel model(accessor, snapshot, policy.addMissingStructures);
    Findings refusals;
    for (const auto& structure : model.structures()) {
        auto problem = notCarriedOf(*structure);
        if (!problem) continue;
        const auto place = snapshot.structurePlaces.find(structure->name());
        addRefusal(std::move(*problem),
                   place == snapshot.structurePlaces.end() ? FilePlace() : place->second, refusals);
    }
    for (const WrittenModel::Node& node : model.nodes()) {
        auto problem = notCarriedOf(model, node);
        if (!problem) continue;
        problem->node = *node.name;
        addRefusal(std::move(*problem), recordOf(*node.name, snapshot).place, refusals);
    }
    const auto& found = findings.all();
    const bool isKnown = std::any_of(found.begin(), found.end(), refusesRewrite);
    // Don't report a refusal twice.
    if (refusals.all().empty() && !isKnown) {
        ModelDigests digests;
        SceneWriter writer(kind, accessor, snapshot, digests,
                           {policy, {true}, true, splicingOf(kind) != nullptr});
        Findings problems;
        if (!writer.compose(file, problems)) {
            for (Finding problem : problems.all()) addRefusal(std::move(problem), {}, refusals);
        }
    }
    findings.add(std::move(refusals));
}

}  // namespace orbo::Data
