// What a kind of scene file is: the one interface to implement for another kind.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>
#include <data/SceneInput.h>
#include <data/SceneRecord.h>
#include <data/WritePolicy.h>
#include <debug/Export.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Data {

/// Holds what a scan finds in a file. A kind may derive from it to keep more for
/// `SceneKind::changes`.
class METADATA_API SceneLayout {
  public:
    struct Item {
        SceneRecordRange range;
        /// `SceneKind::parse` could take it apart. Set by the library after the scan.
        bool understood = false;
        /// The plan has an entry for it. Set by the library ahead of `SceneKind::changes`.
        bool kept = false;
    };

    SceneLayout() = default;
    SceneLayout(const SceneLayout&) = delete;
    SceneLayout& operator=(const SceneLayout&) = delete;
    virtual ~SceneLayout();

    /// The library fills it, in file order.
    std::deque<Item> records;
    /// The library fills in the size of the file, in bytes.
    std::uint64_t size = 0;
    /// Everything from this offset to the end of the file is in memory when `SceneKind::changes` is
    /// called. No record lies in front of it.
    std::uint64_t begin = 0;
    /// Messages for when the bytes from `begin` on cannot be read.
    std::string cannotSeek = "Could not seek to the metadata.";
    std::string cannotRead = "Could not read the metadata.";
};

/// Takes what a scan tells the library, record by record.
class METADATA_API SceneVisitor {
  public:
    enum class Purpose {
        kRead,
        kCheck,  ///< as `kRead`, and all that is remarkable is reported
        kWrite,  ///< the file is about to be changed: whatever stands in the way is a failure
    };

    SceneVisitor(const SceneVisitor&) = delete;
    SceneVisitor& operator=(const SceneVisitor&) = delete;
    virtual ~SceneVisitor();

    [[nodiscard]] Purpose purpose() const { return fPurpose; }
    [[nodiscard]] const WritePolicy& writePolicy() const { return fPolicy; }

    /// Returns false once everything that is asked for has been found.
    [[nodiscard]] virtual bool wantsMore() const = 0;
    /// Returns false when records of that kind need not be told any more.
    [[nodiscard]] virtual bool wants(SceneRecord::Kind kind) const = 0;
    /// Takes the next record, in the order of `SceneTraits::lastFirst`. Returns false when the file
    /// could not be read there, the record stops a read, or its range is impossible: a finding says
    /// so, and the scan failed. Moves the position of the input.
    [[nodiscard]] virtual bool found(const SceneRecordRange& range) = 0;
    /// Everything found so far turned out not to be metadata.
    virtual void forget() = 0;
    /// Returns false, for `return visitor.fail(...)`.
    virtual bool fail(Finding::Code code, const std::string& message,
                      const FilePlace& place = {}) = 0;
    /// The same about one record, with its node if it is known.
    virtual bool fail(Finding::Code code, const std::string& message,
                      const SceneRecord& record) = 0;
    /// Adds what is worth knowing but no failure.
    virtual void report(Finding::Code code, const std::string& message,
                        const FilePlace& place = {}) = 0;

  protected:
    SceneVisitor(Purpose purpose, const WritePolicy& policy) : fPurpose(purpose), fPolicy(policy) {}

  private:
    const Purpose fPurpose;
    const WritePolicy& fPolicy;
};

/// New bytes for a range of the file.
struct SceneChange {
    /// Holds what is written in one go.
    struct Piece {
        std::string bytes;
        /// The message for when the piece cannot be written.
        std::string failure = {};
        /// Follows the bytes: a part of the tail, or of what `ScenePlan` has, that need not be
        /// copied.
        std::string_view kept = {};
    };

    std::uint64_t offset = 0;
    /// Is what the file holds there now. The last change replaces all up to the end of the file;
    /// the others put as many bytes in place of the old ones. Views the tail, or the layout, that
    /// `SceneKind::changes` was given.
    std::string_view oldBytes = {};
    std::vector<Piece> pieces = {};
    /// The message for when the file cannot be positioned there.
    std::string seekFailure = "Could not seek to the metadata.";
};

/// The records of the new section, in the order in which they are to stand.
struct ScenePlan {
    /// Parts of a section. A failed write says which part could not be written.
    enum class Part { kStructures, kNodes, kScene };
    struct Entry {
        Part part;
        /// Stays as it was found; null for a new record.
        const SceneLayout::Item* kept;
        /// Holds what `SceneKind::format` made of a new record.
        std::string bytes;
    };

    std::vector<Entry> entries;
    WritePolicy policy;
    /// Holds what some new records are made of, by the numbers of their entries, which have no
    /// bytes. Only the kinds of this library get such records.
    std::map<std::size_t, std::vector<SceneChange::Piece>> pieces = {};
};

/// Holds the facts about a kind of scene that the library asks for, each with a common answer.
struct SceneTraits {
    /// Scans go from the end of the file to its beginning.
    bool lastFirst = false;
    /// A record that cannot be taken apart ends a read, and keeps a write from happening.
    bool strict = false;
    /// The scene's own associations stand in front of those of the nodes.
    bool sceneFirst = false;
    /// Files consist of lines, so findings get line numbers.
    bool hasLines = true;

    /// These are messages. `%s` in the first is the name of the file.
    std::string cannotOpen = "Could not open %s";
    std::string cannotSeekRecord = "Could not seek to a record.";
    std::string cannotReadRecord = "Could not read a record.";
    std::string cannotMakeStructure = "Could not write a structure to file.";
    std::string cannotMakeNode = "Could not write node associations to file.";
    std::string cannotMakeScene = "Could not write scene associations to file.";
};

/// Describes a kind of scene file. It has five functions, and one more that saves time, each of
/// which depends on its arguments alone: they may be called in any order, from several threads at
/// once. The library does everything else: locks, recovery, building the model, deciding what a
/// write keeps, verification and the journal. Hostile files must be expected: compare sizes with
/// `SceneInput::size` before believing them.
///
/// The library does not trust the answers. An exception other than `std::bad_alloc`, or an answer
/// that cannot be right, becomes a finding, and the file stays as it is. A `problem` needs a
/// message only; without a code it gets the usual one.
///
/// Register a kind by a static `SceneKindFactory<MyKind> factory("ext");`, see
/// `data/SceneAccessor.h` and `examples/plugin`.
class METADATA_API SceneKind {
  public:
    enum class ScanEnd {
        kComplete,
        kStopped,  ///< because the visitor wanted no more
        kFailed,   ///< told by `SceneVisitor::fail`, unless the file could not be read
    };

    SceneKind(const SceneKind&) = delete;
    SceneKind& operator=(const SceneKind&) = delete;
    virtual ~SceneKind();

    [[nodiscard]] const SceneTraits& traits() const { return fTraits; }

    /// Tells whether the file is a scene of this kind, by as few bytes as possible. When it is not,
    /// `problem` gets a message.
    [[nodiscard]] virtual bool recognise(SceneInput& input, Finding& problem) const = 0;
    /// Tells the visitor each record. Checks all that `recognise` does, first. Changes the layout
    /// where its defaults do not fit, or puts one of a derived class in its place.
    [[nodiscard]] virtual ScanEnd scan(SceneInput& input, SceneVisitor& visitor,
                                       std::unique_ptr<SceneLayout>& layout) const = 0;
    /// Takes the bytes of a record apart. Returns nothing when they are none; `problem` then has a
    /// message and, as far as it can be told, the node. With `nodes`, the text may be left out for
    /// a node that is not in the set. There are no bytes of a record that is not closed, or that
    /// could not be read.
    [[nodiscard]] virtual std::optional<SceneRecord> parse(const SceneRecordRange& range,
                                                           std::string bytes,
                                                           const std::set<std::string>* nodes,
                                                           Finding& problem) const = 0;
    /// Appends the bytes that `parse` gives the record back for. Returns false, with nothing
    /// appended, when the record cannot be written for its name.
    [[nodiscard]] virtual bool format(const SceneRecord& record, std::string& bytes) const = 0;
    /// Turns a plan into changes of the file, of which `tail` is everything from `layout.begin` on.
    /// Returns none, with a message in `problem`, when that cannot be done. The changes are in
    /// ascending order, without overlap.
    [[nodiscard]] virtual std::vector<SceneChange> changes(const SceneLayout& layout,
                                                           std::string_view tail,
                                                           const ScenePlan& plan,
                                                           Finding& problem) const = 0;

    /// Tells the node of a closed record by fewer bytes than all of them, so that a read of other
    /// nodes need not read it. Returns nothing where only `parse` can tell, as it does unless a
    /// kind knows better.
    [[nodiscard]] virtual std::optional<std::string> nodeOf(const SceneRecordRange& range,
                                                            SceneInput& input) const;

  protected:
    SceneKind() = default;
    explicit SceneKind(SceneTraits traits);

    /// Calls `recognise` and tells the visitor its problem: the first line of `scan`.
    [[nodiscard]] bool isRecognised(SceneInput& input, SceneVisitor& visitor) const;

  private:
    SceneTraits fTraits;
};

}  // namespace orbo::Data
