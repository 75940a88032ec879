// Finds what scene files cannot hold before anything is written.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelCheck.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "scenes/Messages.h"
#include "scenes/model/ModelPlace.h"
#include "streams/IndexTypes.h"

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

bool checkStructure(const Structure& structure, std::string& errors) {
    const std::string place = std::string("Structure '") + structure.name() + "'";
    if (!isFieldName(structure.name())) return fail(errors, place + ": name cannot be written");
    if (structure.empty()) return fail(errors, place + " has no members");
    for (const Member& member : Layout::of(structure).members()) {
        if (!isFieldName(member.name())) {
            return fail(errors, place + ": member name '" + member.name() + "' cannot be written");
        }
    }
    return true;
}

template <typename T>
bool areFinite(const char* values, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        T value;
        std::memcpy(&value, values + i * sizeof value, sizeof value);
        if (!std::isfinite(value)) return false;
    }
    return true;
}

bool isFinite(const Member& member, const char* chunk) {
    const char* const values = chunk + member.offset();
    const std::uint64_t count = std::uint64_t{member.length()} * dataType(member.type()).numbers;
    switch (member.type()) {
        case Member::kDouble:
        case Member::kDoubleMatrix4x4:
            return areFinite<double>(values, count);
        case Member::kFloat:
        case Member::kFloatMatrix4x4:
            return areFinite<float>(values, count);
        default:
            return true;
    }
}

// Null when the index reads back as it is.
const char* problemOf(const Index& index, const Stream& stream) {
    if (index.typeName() != stream.indexType()) return "index of another type than the stream's";
    if (!index.complexIndex()) return nullptr;
    const std::string text = index.asString();
    if (text.empty()) return "empty index";
    if (text == "endStream") return "index reads as the end of the stream";
    return isOneTrimmedLine(text) ? nullptr : "index with a line feed or blanks at its ends";
}

/// What is wrong with a place in a node.
struct Problem {
    const Channel& channel;
    const Stream* stream = nullptr;
    const Index* index = nullptr;
    const char* member = nullptr;
    std::string what = {};

    [[nodiscard]] std::string place(const std::string& node) const {
        if (index) return ModelPlace::of(node, channel, *stream, *index);
        return stream ? ModelPlace::of(node, channel, *stream) : ModelPlace::of(node, channel);
    }
};

/// Finds the names, indices and numbers in one stream that the formats cannot carry. `report` takes
/// a `Problem` and says whether to go on; so do the functions.
template <typename Report>
class StreamCheck {
  public:
    StreamCheck(const Channel& channel, const Stream& stream, const Report& report)
        : fChannel(channel), fStream(stream), fReport(report) {}

    bool checkNames() const {
        if (!isOneTrimmedLine(fChannel.name()) &&
            !fReport(
                Problem{fChannel, nullptr, nullptr, nullptr, "channel name cannot be written"})) {
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
        for (StreamIterator element = fStream.cbegin(), end = fStream.cend(); element != end;
             ++element) {
            const Index index = element.index();
            const char* const problem = problemOf(index, fStream);
            if (problem && !fail(problem, &index)) return false;
            if (!checkValues(*element, index)) return false;
        }
        return true;
    }

    bool fail(const std::string& what, const Index* index = nullptr,
              const char* member = nullptr) const {
        return fReport(Problem{fChannel, &fStream, index, member, what});
    }

  private:
    bool checkValues(const Handle& element, const Index& index) const {
        const char* const chunk = HandleAccess::data(element);
        if (!chunk) return fail("element without data", &index);
        for (const Member& member : HandleAccess::layout(element).members()) {
            if (isFinite(member, chunk)) continue;
            const std::string what =
                std::string("member '") + member.name() + "' is not a finite number";
            if (!fail(what, &index, member.name())) return false;
        }
        return true;
    }

    const Channel& fChannel;
    const Stream& fStream;
    const Report& fReport;
};

/// The problems of one node as findings; of the same problem in many elements of a stream the first
/// is told, with the number of the others.
class ProblemTally {
  public:
    ProblemTally(const std::string& node, Findings& findings) : fNode(node), fFindings(findings) {}
    ProblemTally(const ProblemTally&) = delete;
    ProblemTally& operator=(const ProblemTally&) = delete;
    ~ProblemTally() = default;

    void add(const Problem& problem) {
        const auto [known, isNew] = fProblems.try_emplace(problem.what);
        ++known->second.count;
        if (!isNew) return;
        known->second.place = problem.place(fNode);
        TextPlace& where = known->second.where;
        where.channel = problem.channel.name();
        if (problem.stream) where.stream = problem.stream->name();
        if (problem.index) where.index = problem.index->asString();
        if (problem.member) where.member = problem.member;
    }
    /// Before the next stream.
    void flush() {
        SceneRecord record;
        record.kind = SceneRecord::Kind::kAssociations;
        record.name = fNode;
        for (const auto& [what, known] : fProblems) {
            std::string message = known.place + ": " + what;
            if (known.count > 1) message += ", and " + std::to_string(known.count - 1) + " more";
            fFindings.add(Finding::Code::kWillNotReadBack, message, record, known.where);
        }
        fProblems.clear();
    }

  private:
    struct Known {
        std::string place;
        TextPlace where;
        std::uint64_t count = 0;
    };

    const std::string& fNode;
    Findings& fFindings;
    std::map<std::string, Known> fProblems;
};

bool checkNode(const WrittenModel::Node& node, std::string& errors) {
    const std::string& name = *node.name;
    for (const Channel& channel : *node.associations) {
        std::set<std::string> streams;
        for (const Stream& stream : channel) {
            if (!streams.insert(stream.name()).second) {
                return fail(errors, ModelPlace::of(name, channel, stream) + " is there twice");
            }
        }
    }
    return true;
}

}  // namespace

bool checkNamesAreUnique(const WrittenModel& model, std::string& errors) {
    const char* previous = nullptr;
    for (const auto& structure : model.structures()) {
        if (previous && std::strcmp(previous, structure->name()) == 0) {
            return fail(errors, std::string("Structure '") + previous + "' is there twice");
        }
        previous = structure->name();
    }
    for (const WrittenModel::Node& node : model.nodes()) {
        if (!checkNode(node, errors)) return false;
    }
    return true;
}

bool checkFormatCanCarry(const Structure& structure, std::string& errors) {
    return checkStructure(structure, errors);
}

bool checkFormatCanCarry(const WrittenModel& model, const WrittenModel::Node& node,
                         std::string& errors) {
    const auto report = [&](const Problem& problem) {
        return fail(errors, problem.place(*node.name) + ": " + problem.what);
    };
    return forEachStream(*node.associations, [&](const Channel& channel, const Stream& stream) {
        const StreamCheck check(channel, stream, report);
        if (!check.checkNames()) return false;
        const Structure& structure = stream.structure();
        const Structure* written = model.structure(structure.name());
        if (written && *written != structure) {
            return check.fail(std::string("structure '") + structure.name() +
                              "' differs from the one of that name that is written");
        }
        return (written || checkStructure(structure, errors)) && check.checkElements();
    });
}

void WriteRemarks::addStructure(const Structure& structure) {
    std::string message;
    if (!checkStructure(structure, message)) {
        fFindings.add(Finding::Code::kWillNotReadBack, message);
    }
}

void WriteRemarks::addNode(const WrittenModel::Node& node) {
    ProblemTally tally(*node.name, fFindings);
    const auto report = [&](const Problem& problem) {
        tally.add(problem);
        return true;
    };
    forEachStream(*node.associations, [&](const Channel& channel, const Stream& stream) {
        const StreamCheck check(channel, stream, report);
        check.checkNames();
        check.checkElements();
        if (!fUnknownAsText && !IndexTypes::isKnown(stream.indexType())) {
            check.fail("index type '" + stream.indexType() + "' is not registered");
        }
        addUse(channel, stream, report);
        tally.flush();
        return true;
    });
}

void WriteRemarks::addStructuresOf(const WrittenModel::Node& node) {
    ProblemTally tally(*node.name, fFindings);
    const auto report = [&](const Problem& problem) {
        tally.add(problem);
        return true;
    };
    forEachStream(*node.associations, [&](const Channel& channel, const Stream& stream) {
        addUse(channel, stream, report);
        tally.flush();
        return true;
    });
}

template <typename Report>
void WriteRemarks::addUse(const Channel& channel, const Stream& stream,
                          const Report& report) const {
    const Structure& structure = stream.structure();
    const std::string name = structure.name();
    const Structure* found = fStructures(name);
    if (found && *found == structure) return;
    const StreamCheck check(channel, stream, report);
    check.fail(
        "structure '" + name +
        (found ? "' differs from the one of that name in the file" : "' is not in the file"));
}

}  // namespace orbo::Data
