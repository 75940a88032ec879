// Reads a scene of any kind into a model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/SceneReader.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/SideWork.h"
#include "scenes/CheckedKind.h"
#include "scenes/FindingsVisitor.h"
#include "scenes/Fingerprint.h"

namespace orbo::Data {

namespace {

const WritePolicy& policyOfReads() {
    static const WritePolicy usual;
    return usual;
}

/// Gives the records that a scan finds to a builder.
class ReadingVisitor final : public FindingsVisitor {
  public:
    ReadingVisitor(const SceneKind& kind, SceneInput& input, const ModelBuilder::Request& request,
                   ModelBuilder& builder, bool takesFingerprint, Findings& findings)
        : FindingsVisitor(request.isCheck ? Purpose::kCheck : Purpose::kRead, policyOfReads(),
                          findings),
          fKind(kind),
          fInput(input),
          fNodes(request.associationNames),
          fLeavesNodes(request.leavesNodes),
          fThreads(request.structureNames || fNodes || fLeavesNodes ? 1 : request.threads),
          fBuilder(builder),
          fFingerprint(takesFingerprint ? std::make_optional<Fingerprint>() : std::nullopt) {}

    /// How many of the last records in the file were met, if they are those that another scan meets
    /// first.
    [[nodiscard]] std::optional<std::size_t> met() const {
        if (!fKind.traits().lastFirst || fHasSkipped) return std::nullopt;
        return fMet;
    }

    /// Covers the records that were met. Empty when the bytes of some were not read.
    [[nodiscard]] std::optional<std::uint64_t> fingerprint() {
        if (!fFingerprint || fHasSkipped) return std::nullopt;
        if (fKind.traits().lastFirst) fFingerprint->reverse();
        return fFingerprint->value();
    }

    [[nodiscard]] bool wantsMore() const override { return fBuilder.wantsMore(); }
    [[nodiscard]] bool wants(SceneRecord::Kind kind) const override {
        const bool isWanted = kind == SceneRecord::Kind::kStructure ? fBuilder.wantsMore()
                                                                    : fBuilder.wantsAssociations();
        fHasSkipped = fHasSkipped || !isWanted;
        return isWanted;
    }
    void forget() override {
        fMet = 0;
        fRecords.clear();
        fLeft.clear();
        fPutOff.finish().clear();
        fPutOffBytes = 0;
        if (fFingerprint) fFingerprint->clear();
        fBuilder.discard();
    }

    [[nodiscard]] bool found(const SceneRecordRange& range) override {
        ++fMet;
        if (isPassedOver(range)) return true;
        std::string bytes;
        // A record without an end mark is not read: its bytes may belong to something else.
        if (range.closed && !read(range, bytes)) return false;
        PutOff next{range, std::move(bytes)};
        if (fThreads < 2) {
            takeApart(next);
            return take(next);
        }
        fPutOffBytes += next.bytes.size();
        fPutOff.add(std::move(next));
        if (fPutOffBytes >= ModelBuilder::kWorthThreads) fPutOff.start(fThreads - 1);
        return true;
    }

    /// Does what was put off; without it a read of several threads is not complete. Returns false
    /// when a record ends the read.
    [[nodiscard]] bool takeRest() {
        for (auto& found = fPutOff.finish(); !found.empty(); found.pop_front()) {
            if (!take(found.front())) return false;
        }
        return true;
    }

    /// Gives them in the order of the file.
    [[nodiscard]] std::vector<ReadSnapshot::Record> records() {
        if (fKind.traits().lastFirst) std::reverse(fRecords.begin(), fRecords.end());
        return std::move(fRecords);
    }
    /// Gives the nodes that were left in the file, with the places of their records.
    [[nodiscard]] std::map<std::string, std::vector<SceneRecordRange>> left() {
        return std::move(fLeft);
    }

  private:
    /// A record that was found, and what is known of it once it was taken apart.
    struct PutOff {
        SceneRecordRange range;
        std::string bytes;
        std::optional<std::uint64_t> fingerprint = {};
        std::optional<SceneRecord> record = {};
        Finding problem = {};
        std::exception_ptr thrown = {};
    };

    /// Several threads may call it at once, each for another record.
    void takeApart(PutOff& found) const noexcept {
        try {
            if (fFingerprint) found.fingerprint = Fingerprint::of(found.bytes);
            const std::set<std::string> noTexts;
            found.record = fKind.parse(found.range, std::move(found.bytes),
                                       fLeavesNodes ? &noTexts : fNodes, found.problem);
        } catch (...) {
            found.thrown = std::current_exception();
        }
    }
    bool take(PutOff& found) {
        if (found.thrown) std::rethrow_exception(found.thrown);
        const SceneRecordRange& range = found.range;
        takeFingerprint(range, found.fingerprint);
        noteRecord(found.record);
        if (!found.record) return rejected(range, std::move(found.problem));
        SceneRecord& record = *found.record;
        record.place = placeOf(range);
        if (!fBuilder.wants(record)) return true;
        if (fLeavesNodes && record.kind == SceneRecord::Kind::kAssociations) {
            fLeft[record.name].push_back(range);
        } else {
            fBuilder.add(std::move(record));
        }
        return true;
    }

    /// Does what there is to do with a node whose text is not asked for, if a part of the record
    /// tells. A fingerprint takes all records.
    bool isPassedOver(const SceneRecordRange& range) {
        const bool mayBe = (fNodes || fLeavesNodes) && !fFingerprint && range.closed &&
                           range.kind == SceneRecord::Kind::kAssociations;
        const auto node = mayBe ? fKind.nodeOf(range, fInput) : std::nullopt;
        if (!node) return false;
        const bool isOther = fNodes && fNodes->count(*node) == 0;
        if (fLeavesNodes && !isOther) fLeft[*node].push_back(range);
        return isOther || fLeavesNodes;
    }
    void noteRecord(const std::optional<SceneRecord>& record) {
        if (!fFingerprint) return;
        ReadSnapshot::Record& noted = fRecords.emplace_back();
        if (!record) return;
        noted.understood = true;
        noted.plain = record->plain;
        if (record->kind == SceneRecord::Kind::kAssociations) noted.node = record->name;
    }
    void takeFingerprint(const SceneRecordRange& range,
                         const std::optional<std::uint64_t>& fingerprint) {
        if (!range.closed || !fingerprint) fFingerprint.reset();
        if (fFingerprint) fFingerprint->add(*fingerprint);
    }
    static FilePlace placeOf(const SceneRecordRange& range) { return {range.begin, range.tag}; }

    bool read(const SceneRecordRange& range, std::string& bytes) {
        const SceneTraits& traits = fKind.traits();
        bytes.resize(static_cast<std::size_t>(range.end - range.begin));
        const bool isThere = fInput.seek(range.begin);
        const auto got = isThere ? fInput.read(bytes.data(), bytes.size()) : std::nullopt;
        if (got && *got == bytes.size()) return true;
        if (traits.strict) return rejected(range, refusalOf(fKind, range));
        return fail(Finding::Code::kFileUnreadable,
                    isThere ? traits.cannotReadRecord : traits.cannotSeekRecord,
                    FilePlace{range.begin, {}});
    }

    /// False when the record ends the read.
    bool rejected(const SceneRecordRange& range, Finding problem) {
        problem.offset = range.begin;
        problem.tag = range.tag;
        if (fKind.traits().strict) return fail(std::move(problem));
        fBuilder.add(std::move(problem));
        return true;
    }

    const SceneKind& fKind;
    SceneInput& fInput;
    const std::set<std::string>* fNodes;
    const bool fLeavesNodes;
    const unsigned fThreads;
    ModelBuilder& fBuilder;
    std::optional<Fingerprint> fFingerprint;
    std::vector<ReadSnapshot::Record> fRecords;
    std::map<std::string, std::vector<SceneRecordRange>> fLeft;
    std::uint64_t fPutOffBytes = 0;
    SideWork<PutOff> fPutOff{[this](PutOff& found) { takeApart(found); }};
    std::size_t fMet = 0;
    mutable bool fHasSkipped = false;
};

std::optional<ReadSnapshot> readSceneOnce(const SceneKind& kind, SceneInput& input,
                                          ModelBuilder::Request request,
                                          Accessor::AssociationsMap& map, Findings& findings,
                                          bool takesFingerprint) {
    request.lastFirst = kind.traits().lastFirst;
    request.keepsOutlines = takesFingerprint;
    ModelBuilder builder(request);
    ReadingVisitor visitor(kind, input, request, builder, takesFingerprint, findings);
    auto layout = std::make_unique<SceneLayout>();
    const SceneKind::ScanEnd end = kind.scan(input, visitor, layout);
    if (end == SceneKind::ScanEnd::kFailed || !visitor.takeRest()) return std::nullopt;
    ReadSnapshot snapshot = builder.build(map, findings);
    snapshot.unloaded.places = visitor.left();
    snapshot.unloaded.areNamed = request.associationNames != nullptr;
    if (end == SceneKind::ScanEnd::kStopped) snapshot.recordsMet = visitor.met();
    if (end == SceneKind::ScanEnd::kComplete || snapshot.recordsMet)
        snapshot.fingerprint = visitor.fingerprint();
    if (end == SceneKind::ScanEnd::kComplete && snapshot.fingerprint) {
        snapshot.records = visitor.records();
        snapshot.begin = layout->begin;
    }
    return snapshot;
}

}  // namespace

std::optional<ReadSnapshot> readScene(const SceneKind& kind, SceneInput& input,
                                      ModelBuilder::Request request, Accessor::AssociationsMap& map,
                                      Findings& findings, bool takesFingerprint) {
    if (request.threads > 1) {
        // Of a scene that cannot be read, the first trouble is told, as one thread meets it.
        Findings found;
        std::optional<ReadSnapshot> snapshot;
        try {
            snapshot = readSceneOnce(kind, input, request, map, found, takesFingerprint);
        } catch (...) {
            findings.add(std::move(found));
            throw;
        }
        if (snapshot) {
            findings.add(std::move(found));
            return snapshot;
        }
        request.threads = 1;
    }
    return readSceneOnce(kind, input, request, map, findings, takesFingerprint);
}

std::optional<ReadSnapshot> readLeftNode(const SceneKind& kind, SceneInput& input,
                                         const std::vector<SceneRecordRange>& places,
                                         ModelBuilder::Request request,
                                         Accessor::AssociationsMap& map, Findings& findings) {
    request.lastFirst = kind.traits().lastFirst;
    ModelBuilder builder(request);
    ReadingVisitor visitor(kind, input, request, builder, false, findings);
    for (const SceneRecordRange& place : places) {
        if (!visitor.found(place)) return std::nullopt;
    }
    return builder.build(map, findings);
}

}  // namespace orbo::Data
