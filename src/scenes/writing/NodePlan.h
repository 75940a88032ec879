// Decides what becomes of the associations that a scene file holds when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "scenes/Findings.h"
#include "scenes/SceneRecord.h"
#include "scenes/model/WrittenModel.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/RecordFate.h"

namespace orbo::Data {

/// Readable records of one name share a fate; unreadable ones always stay. Call `add` for each, in
/// file order, with the file's structures in this thread's registry, then `settle`.
class NodePlan {
  public:
    /// All outlive the plan, which sets the fates of the records that are added.
    NodePlan(const WrittenModel& model, const TakenNames& taken, RecordFates& fates)
        : fModel(model), fTaken(taken), fFates(fates) {}

    void add(std::size_t record, const SceneRecord& text);
    void settle();

    /// Whether it stays for another reason than that the model has the same.
    [[nodiscard]] bool staysByItself(std::size_t record) const;
    /// A record that stays, and that nobody could read.
    [[nodiscard]] bool isUnreadable(std::size_t record) const { return fUnread.count(record) > 0; }
    /// The name's text is made anew, though the model has the same; others of the name stay.
    void rewrite(const std::string& name);

    [[nodiscard]] std::string carefulRefusal() const;
    void addNotes(Findings& findings) const;
    /// For `TakenNames` after the write.
    UnreadableRecords& unreadable() { return fUnreadable; }

  private:
    struct Name {
        std::vector<std::size_t> records;  // that can be read
        bool isSame = false;               // as the model's
        bool hasAskedModel = false;        // for structures that the file lacks
        bool isHelped = false;             // a record could only be read with those
        std::optional<bool> isUnedited;
    };

    std::unique_ptr<Associations> readWithStructuresOf(const Associations& entry,
                                                       const SceneRecord& text) const;
    bool isSame(const std::string& name, Name& found, const Associations& read) const;
    [[nodiscard]] static bool dropsOthers(const Name& found) {
        return !found.isSame && found.records.size() > 1;
    }

    const WrittenModel& fModel;
    const TakenNames& fTaken;
    RecordFates& fFates;
    std::map<std::string, Name> fNames;
    std::set<std::size_t> fHidden;  // behind one of the name that can be read, too
    std::set<std::size_t> fUnread;
    UnreadableRecords fUnreadable;
};

}  // namespace orbo::Data
