// Finds what scene files cannot hold before anything is written.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/ModelCheck.h"

#include <cmath>
#include <cstring>
#include <set>

#include "accessors/Messages.h"
#include "accessors/ModelPlace.h"
#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"

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

class NodeCheck {
  public:
    NodeCheck(const WrittenModel& model, const WrittenModel::Node& node, std::string& errors)
        : fModel(model), fNode(node), fErrors(errors) {}

    bool run() {
        return forEachStream(
            *fNode.associations, [&](const Channel& channel, const Stream& stream) {
                return checkNames(channel, stream) && checkElements(channel, stream);
            });
    }

  private:
    bool checkNames(const Channel& channel, const Stream& stream) {
        if (!isOneTrimmedLine(channel.name())) {
            return failAt(ModelPlace::of(*fNode.name, channel), "channel name cannot be written");
        }
        const std::string place = ModelPlace::of(*fNode.name, channel, stream);
        if (!isOneTrimmedLine(stream.name())) {
            return failAt(place, "stream name cannot be written");
        }
        if (stream.indexType().empty() || !isOneTrimmedLine(stream.indexType())) {
            return failAt(place, "name of the index type cannot be written");
        }
        const Structure& structure = stream.structure();
        const Structure* written = fModel.structure(structure.name());
        if (written && *written != structure) {
            return failAt(place, std::string("structure '") + structure.name() +
                                     "' differs from the one of that name that is written");
        }
        return written || checkStructure(structure, fErrors);
    }

    bool checkElements(const Channel& channel, const Stream& stream) {
        for (StreamIterator element = stream.cbegin(), end = stream.cend(); element != end;
             ++element) {
            const Index index = element.index();
            const auto failHere = [&](const std::string& problem) {
                return failAt(ModelPlace::of(*fNode.name, channel, stream, index), problem);
            };
            if (const char* problem = problemOf(index, stream)) return failHere(problem);
            const char* chunk = HandleAccess::data(*element);
            if (!chunk) return failHere("element without data");
            for (const Member& member : HandleAccess::layout(*element).members()) {
                if (!isFinite(member, chunk)) {
                    return failHere(std::string("member '") + member.name() +
                                    "' is not a finite number");
                }
            }
        }
        return true;
    }

    bool failAt(const std::string& place, const std::string& problem) {
        return fail(fErrors, place + ": " + problem);
    }

    const WrittenModel& fModel;
    const WrittenModel::Node& fNode;
    std::string& fErrors;
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
    return NodeCheck(model, node, errors).run();
}

}  // namespace orbo::Data
