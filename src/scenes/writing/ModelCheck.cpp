// Finds what scene files cannot hold before anything is written.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/ModelCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/Excerpt.h"
#include "core/Layout.h"
#include "formats/RawScan.h"
#include "scenes/model/ModelPlace.h"
#include "streams/IndexTypes.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

bool isOneTrimmedLine(std::string_view text) {
    return Ascii::trim(text).size() == text.size() && text.find('\n') == std::string_view::npos;
}

// Structures and members share a line of fields.
bool isFieldName(std::string_view name) {
    return !name.empty() && isOneTrimmedLine(name) &&
           name.find_first_of(":=") == std::string_view::npos;
}

/// A member with numbers that may not be finite. Looked up once for all elements.
struct FloatingMember {
    explicit FloatingMember(const Member& floating) : member(&floating), offset(floating.offset()) {
        visitMemberType(floating.type(), [&](auto type) {
            using Scalar = typename decltype(type)::Scalar;
            if constexpr (std::is_floating_point_v<Scalar>) {
                count = std::uint64_t{floating.length()} * type.kScalars;
                isDouble = std::is_same_v<Scalar, double>;
            }
        });
    }
    [[nodiscard]] bool isFiniteIn(const char* chunk) const {
        return isDouble ? areFinite<double>(chunk) : areFinite<float>(chunk);
    }

    const Member* member;
    std::uint64_t offset;
    std::uint64_t count = 0;  ///< 0 for members of other types
    bool isDouble = false;

  private:
    template <typename Scalar>
    [[nodiscard]] bool areFinite(const char* chunk) const {
        const char* values = chunk + offset;
        bool finite = true;
        for (std::uint64_t left = count; left > 0; --left, values += sizeof(Scalar)) {
            Scalar number;
            std::memcpy(&number, values, sizeof number);
            finite = finite && std::isfinite(number);
        }
        return finite;
    }
};

// Returns null when the index reads back as it is.
const char* problemOf(const Index& index, const Stream& stream) {
    if (index.typeName() != stream.indexType()) return "index of another type than the stream's";
    if (!index.complexIndex()) return nullptr;
    const std::string text = index.asString();
    if (text.empty()) return "empty index";
    if (RawScan::endsStream(text)) return "index reads as the end of the stream";
    return isOneTrimmedLine(text) ? nullptr : "index with a line feed or blanks at its ends";
}

/// Something wrong at a place in a node.
struct Fault {
    const Channel& channel;
    const Stream* stream = nullptr;
    const Index* index = nullptr;
    const char* member = nullptr;
    std::string what = {};

    [[nodiscard]] Finding finding(const std::string& node) const {
        return ModelPlace::Spot{node, &channel, stream, index, member}.finding(what);
    }
};

/// Finds the names, indices and numbers in one stream that the formats cannot carry. `report` takes
/// a `Fault` and says whether to go on; so do the functions.
template <typename Report>
class StreamCheck {
  public:
    StreamCheck(const Channel& channel, const Stream& stream, const Report& report)
        : fChannel(channel), fStream(stream), fReport(report) {}

    bool checkNames() const {
        if (!isOneTrimmedLine(fChannel.name()) &&
            !fReport(
                Fault{fChannel, nullptr, nullptr, nullptr, "channel name cannot be written"})) {
            return false;
        }
        if (!isOneTrimmedLine(fStream.name()) && !fail("stream name cannot be written")) {
            return false;
        }
        const std::string& type = fStream.indexType();
        return (!type.empty() && isOneTrimmedLine(type)) ||
               fail("name of the index type cannot be written");
    }

    bool checkElements() const {
        Elements elements(*this);
        StreamAccess::visitElements(fStream, elements);
        return elements.goesOn();
    }

    bool fail(const std::string& what, const Index* index = nullptr,
              const char* member = nullptr) const {
        return fReport(Fault{fChannel, &fStream, index, member, what});
    }

  private:
    /// Checks one element after the other.
    class Elements final : public ElementVisitor {
      public:
        explicit Elements(const StreamCheck& check)
            : fCheck(check), fTakesNumbers(check.fStream.indexType() == Index::theTypeName()) {
            for (const Member& member : StreamAccess::layoutOf(check.fStream).members()) {
                const FloatingMember floating(member);
                if (floating.count > 0) fFloating.push_back(floating);
            }
        }

        void visit(unsigned int number, char* chunk) override {
            if (!fGoesOn || (fTakesNumbers && chunk && areFinite(chunk))) return;
            checkElement(Index(number), chunk);
        }
        void visit(const Index& index, char* chunk) override {
            if (fGoesOn) checkElement(index, chunk);
        }
        [[nodiscard]] bool goesOn() const { return fGoesOn; }

      private:
        [[nodiscard]] bool areFinite(const char* chunk) const {
            return std::all_of(fFloating.begin(), fFloating.end(),
                               [&](const auto& member) { return member.isFiniteIn(chunk); });
        }
        void checkElement(const Index& index, const char* chunk) {
            const char* const problem = problemOf(index, fCheck.fStream);
            fGoesOn = (!problem || fCheck.fail(problem, &index)) && checkValues(index, chunk);
        }
        bool checkValues(const Index& index, const char* chunk) const {
            if (!chunk) return fCheck.fail("element without data", &index);
            for (const FloatingMember& floating : fFloating) {
                if (floating.isFiniteIn(chunk)) continue;
                const char* const name = floating.member->name();
                const std::string what = "member " + inQuotes(name) + " is not a finite number";
                if (!fCheck.fail(what, &index, name)) return false;
            }
            return true;
        }

        const StreamCheck& fCheck;
        const bool fTakesNumbers;
        std::vector<FloatingMember> fFloating;
        bool fGoesOn = true;
    };

    const Channel& fChannel;
    const Stream& fStream;
    const Report& fReport;
};

/// Turns the faults of one node into findings. Of the same fault in many elements of a stream it
/// tells the first, with the number of the others.
class FaultTally {
  public:
    FaultTally(const std::string& node, Findings& findings) : fNode(node), fFindings(findings) {}
    FaultTally(const FaultTally&) = delete;
    FaultTally& operator=(const FaultTally&) = delete;
    ~FaultTally() = default;

    void add(const Fault& fault) {
        const auto [known, isNew] = fFaults.try_emplace(fault.what);
        ++known->second.count;
        if (isNew) known->second.first = fault.finding(fNode);
    }
    /// To be called before the next stream.
    void flush() {
        for (auto& [what, known] : fFaults) {
            Finding& finding = known.first;
            finding.code = Finding::Code::kWillNotReadBack;
            if (known.count > 1) {
                finding.message += ", and " + std::to_string(known.count - 1) + " more";
            }
            fFindings.take(std::move(finding));
        }
        fFaults.clear();
    }

  private:
    struct Known {
        Finding first;
        std::uint64_t count = 0;
    };

    const std::string& fNode;
    Findings& fFindings;
    std::map<std::string, Known> fFaults;
};

Problem repeatedStreamIn(const WrittenModel::Node& node) {
    for (const Channel& channel : *node.associations) {
        std::set<std::string> streams;
        for (const Stream& stream : channel) {
            if (streams.insert(stream.name()).second) continue;
            const ModelPlace::Spot spot{*node.name, &channel, &stream};
            Finding problem = spot.finding({});
            problem.message = spot.words() + " is there twice";
            return problem;
        }
    }
    return std::nullopt;
}

}  // namespace

Problem repeatedNameIn(const WrittenModel& model) {
    const char* previous = nullptr;
    for (const auto& structure : model.structures()) {
        if (previous && std::strcmp(previous, structure->name()) == 0) {
            Finding problem;
            problem.message = ModelPlace::ofStructure(previous) + " is there twice";
            problem.structure = previous;
            return problem;
        }
        previous = structure->name();
    }
    for (const WrittenModel::Node& node : model.nodes()) {
        if (Problem problem = repeatedStreamIn(node)) return problem;
    }
    return std::nullopt;
}

Problem notCarriedOf(const Structure& structure) {
    const std::string place = ModelPlace::ofStructure(structure.name());
    const auto finding = [&](const std::string& what) {
        Finding problem;
        problem.message = place + what;
        problem.structure = structure.name();
        return problem;
    };
    if (!isFieldName(structure.name())) return finding(": name cannot be written");
    if (structure.empty()) return finding(" has no members");
    for (const Member& member : Layout::of(structure).members()) {
        if (isFieldName(member.name())) continue;
        Finding problem =
            finding(": member name " + inQuotes(member.name()) + " cannot be written");
        problem.member = member.name();
        return problem;
    }
    return std::nullopt;
}

Problem notCarriedOf(const WrittenModel& model, const WrittenModel::Node& node) {
    Problem problem;
    const auto report = [&](const Fault& fault) {
        problem = fault.finding(*node.name);
        return false;
    };
    forEachStream(*node.associations, [&](const Channel& channel, const Stream& stream) {
        const StreamCheck check(channel, stream, report);
        if (!check.checkNames()) return false;
        const Structure& structure = stream.structure();
        const Structure* written = model.structure(structure.name());
        if (written && *written != structure) {
            return check.fail("structure " + inQuotes(structure.name()) +
                              " differs from the one of that name that is written");
        }
        if (!written) problem = notCarriedOf(structure);
        return !problem && check.checkElements();
    });
    return problem;
}

void WriteRemarks::addStructure(const Structure& structure) {
    Problem problem = notCarriedOf(structure);
    if (!problem) return;
    problem->code = Finding::Code::kWillNotReadBack;
    fFindings.take(std::move(*problem));
}

template <typename Look>
void WriteRemarks::lookAtStreams(const WrittenModel::Node& node, const Look& look) {
    FaultTally tally(*node.name, fFindings);
    const auto report = [&](const Fault& fault) {
        tally.add(fault);
        return true;
    };
    forEachStream(*node.associations, [&](const Channel& channel, const Stream& stream) {
        look(channel, stream, report);
        addUse(channel, stream, report);
        tally.flush();
        return true;
    });
}

void WriteRemarks::addNode(const WrittenModel::Node& node) {
    lookAtStreams(node, [&](const Channel& channel, const Stream& stream, const auto& report) {
        const StreamCheck check(channel, stream, report);
        check.checkNames();
        check.checkElements();
        if (!fUnknownAsText && !IndexTypes::isKnown(stream.indexType())) {
            check.fail("index type " + inQuotes(stream.indexType()) + " is not registered");
        }
    });
}

void WriteRemarks::addStructuresOf(const WrittenModel::Node& node) {
    lookAtStreams(node, [](const Channel&, const Stream&, const auto&) {});
}

template <typename Report>
void WriteRemarks::addUse(const Channel& channel, const Stream& stream,
                          const Report& report) const {
    const Structure& structure = stream.structure();
    const std::string name = structure.name();
    const Structure* found = fStructures(name);
    if (found && *found == structure) return;
    const StreamCheck check(channel, stream, report);
    check.fail("structure " + inQuotes(name) +
               (found ? " differs from the one of that name in the file" : " is not in the file"));
}

}  // namespace orbo::Data
