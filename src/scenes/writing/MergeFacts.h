// The facts that `Merge::merge` decides by, and where each record of the file goes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/Layout.h"
#include "scenes/writing/Merge.h"

namespace orbo::Data::Merge {

/// Refers to what the caller of `merge` gave, and answers what several decisions ask.
struct Facts {
    const std::vector<RecordFacts>& records;
    const ReadFacts& read;
    const ModelFacts& model;
    const Policy& policy;

    [[nodiscard]] bool isReadable(std::size_t record) const {
        const RecordFacts::Text text = records[record].text;
        return text == RecordFacts::Text::kReadable ||
               text == RecordFacts::Text::kReadableWithModel;
    }
    /// The model has content for the node.
    [[nodiscard]] bool isWritten(const std::string& node) const {
        const auto found = model.nodes.find(node);
        return found != model.nodes.end() && found->second;
    }
    /// The write must look at the node's records. A node that neither the model nor the last read
    /// knows stays, whatever its text says.
    [[nodiscard]] bool concerns(const std::string& node) const {
        return isWritten(node) || read.nodes.count(node) > 0;
    }
    /// Null when the last read took no structure of the name.
    [[nodiscard]] const Layout* readMembers(const std::string& structure) const {
        return membersIn(read.structures, structure);
    }
    /// Null when the model has no structure of the name.
    [[nodiscard]] const Layout* modelMembers(const std::string& structure) const {
        return membersIn(model.structures, structure);
    }

  private:
    static const Layout* membersIn(const std::map<std::string, const Layout*>& structures,
                                   const std::string& name) {
        const auto found = structures.find(name);
        return found == structures.end() ? nullptr : found->second;
    }
};

enum class Place {
    kAhead,    ///< kept, in front of what the model has
    kInPlace,  ///< kept where the model's record of the name would be written
    kBehind,   ///< kept, behind the model's record of the name, which readers must find first
    kGone,
    kForeign,  ///< the kind of scene keeps it with its other foreign parts
};

struct Fate {
    Place place = Place::kAhead;
    Reason reason = Reason::kNodeOfOthers;
};

/// By the numbers of the file's records.
using Fates = std::vector<Fate>;

/// The records of the group of that name; none when there is no such group.
template <typename Groups>
const std::vector<std::size_t>& recordsIn(const Groups& groups, const std::string& name) {
    static const std::vector<std::size_t> none;
    const auto found = groups.find(name);
    return found == groups.end() ? none : found->second.records;
}

/// Why nothing may be written.
inline Finding refusalOf(std::string message, const FilePlace& place = {}) {
    Finding finding;
    finding.code = Finding::Code::kWriteFailed;
    finding.offset = place.offset;
    finding.tag = place.tag;
    finding.message = std::move(message);
    return finding;
}

}  // namespace orbo::Data::Merge
