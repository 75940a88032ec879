// The metadata section of a scene as the file holds it now, and what it gives way to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/Checksum.h"
#include "files/File.h"
#include "scenes/Findings.h"
#include "scenes/SceneRecord.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/SectionPlan.h"

namespace orbo::Data {

/// What differs between the kinds of scene files when one is written; `SceneWriter` does the rest
/// and calls, in this order, `find`, `load`, `parse`, `checkEntries`, `append`, `compose`,
/// `readBack` and `changes`. All functions that take `errors` put a message there when they return
/// false.
class SceneSection {
  public:
    struct Entry {
        SceneRecordRange where;
        bool understood = false;    // as a record; its text may still be beyond anybody's reading
        bool isUnreadable = false;  // that text
        SectionPlan::Fate fate = SectionPlan::Fate::kAhead;
        bool plain = true;  // see `SceneRecord`
    };

    using Entries = std::deque<Entry>;

    /// In the order in which they are written.
    struct NewRecords {
        std::vector<std::string> structures;
        std::vector<std::string> nodes;
        std::string scene;
    };

    /// Parts of the new section, each with a message for when it cannot be made or written.
    enum class Part { kStructures, kNodes, kScene };

    /// The file outlives the section.
    explicit SceneSection(Files::File& file) : fFile(file) {}
    SceneSection(const SceneSection&) = delete;
    SceneSection& operator=(const SceneSection&) = delete;
    virtual ~SceneSection() = default;

    /// `find` is to find the last records alone, of which `fingerprint` is then.
    void findOnlyLast(std::size_t count) { fMostEntries = count; }
    /// Checks that the file is a scene and finds its records, nothing of which is understood yet.
    virtual bool find(std::string& errors) = 0;
    /// Reads the file from the first of them to its end.
    virtual bool load(std::string& errors) = 0;
    /// The same for the same records, wherever they are in the file: for all, or for the last ones
    /// alone. Reads what is not loaded, and keeps nothing of it; empty when it cannot be read.
    [[nodiscard]] std::optional<std::uint64_t> fingerprint(
        std::optional<std::size_t> count = std::nullopt) const;
    /// Once it is known what was understood.
    virtual bool checkEntries(std::string& errors) const = 0;
    [[nodiscard]] virtual const char* failureOf(Part part) const = 0;

    /// In file order.
    [[nodiscard]] Entries& entries() { return fEntries; }
    [[nodiscard]] std::string_view bytesOf(const Entry& entry) const {
        return bytes(entry.where.begin, entry.where.end);
    }
    /// Takes an entry apart; empty when it is no record.
    [[nodiscard]] virtual std::optional<SceneRecord> parse(const Entry& entry) const = 0;
    /// What the record becomes that is written as it was found.
    [[nodiscard]] virtual std::string unchanged(const Entry& entry) const = 0;
    /// False, without a message, when the record cannot be carried for its name.
    virtual bool append(std::string& out, const SceneRecord& record) const = 0;

    /// Makes the new end of the file, in memory.
    virtual bool compose(const NewRecords& records, std::string& errors) = 0;
    /// Feeds the new section to a reading.
    virtual bool readBack(ModelReading& reading, Findings& findings) const = 0;

    /// New bytes for a range of the file, with the messages for when they cannot be put there.
    struct Change {
        struct Piece {
            std::string_view bytes;
            const char* failure;
        };
        std::uint64_t offset;
        std::string_view oldBytes;
        const char* seekFailure;
        std::vector<Piece> pieces;
    };
    /// What makes the file hold the new section; the last change runs to the end of the file. Views
    /// into the section.
    [[nodiscard]] virtual std::vector<Change> changes() const = 0;

  protected:
    /// `load`, for a section whose first record begins there.
    [[nodiscard]] bool loadFrom(std::uint64_t begin);
    /// The entries of a kind with that fate, byte by byte.
    void appendKept(std::string& out, SceneRecord::Kind kind, SectionPlan::Fate fate) const;
    [[nodiscard]] std::string_view bytes(std::uint64_t from, std::uint64_t to) const;

    Files::File& fFile;
    std::uint64_t fSize = 0;
    std::optional<std::size_t> fMostEntries;
    Entries fEntries;
    std::uint64_t fTailBegin = 0;
    std::string fTail;  // what the file holds from there on; never empty once it is loaded

  private:
    bool addTo(Files::Checksum& checksum, const SceneRecordRange& range) const;
};

}  // namespace orbo::Data
