// Binary scenes: chunks in groups, with the metadata in the last group, the trailer.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/binary/BinaryKind.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "scenes/SceneInputs.h"
#include "scenes/SceneSplicing.h"
#include "scenes/binary/BinaryChunk.h"
#include "scenes/binary/BinaryLayout.h"
#include "scenes/binary/BinaryRecord.h"
#include "scenes/binary/BinaryTrailer.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;
using Kind = SceneRecord::Kind;
using Purpose = SceneVisitor::Purpose;
using ScanEnd = SceneKind::ScanEnd;

SceneTraits traitsOfBinaryScenes() {
    SceneTraits traits;
    traits.strict = true;
    traits.sceneFirst = true;
    traits.hasLines = false;
    traits.cannotOpen = "File not valid.";
    traits.cannotMakeStructure = "Could not write structure chunk to in-memory trailer.";
    traits.cannotMakeNode = "Could not write node associations chunk to in-memory trailer.";
    traits.cannotMakeScene = "Could not write scene associations chunk to in-memory trailer.";
    return traits;
}

/// Goes through the chunks of one file's trailer for a visitor.
class ChunkScan {
  public:
    ChunkScan(Files::File& file, const BinaryTrailer& trailer, SceneVisitor& visitor)
        : fFile(file), fWalk(file, trailer.begin, trailer.end), fVisitor(visitor) {}

    bool run() {
        for (;;) {
            BinaryChunk chunk;
            const ChunkWalk::Result result = fWalk.next(chunk);
            if (result == ChunkWalk::Result::kDone) return true;
            if (result == ChunkWalk::Result::kBadHeader) return failHeader();
            const auto kind = kindOfChunk(chunk.tag);
            if (result == ChunkWalk::Result::kBadData) return failData(chunk, kind);
            if (!kind || !fVisitor.wants(*kind)) continue;
            if (!fFirst) fFirst = chunk.begin;
            if (!fVisitor.found(
                    {*kind, chunk.begin, chunk.end(), true, std::string(chunk.tag.view())})) {
                return false;
            }
        }
    }

    /// Offset of the first metadata chunk that the visitor was told; empty without any.
    [[nodiscard]] std::optional<std::uint64_t> first() const { return fFirst; }

  private:
    [[nodiscard]] bool isWrite() const { return fVisitor.purpose() == Purpose::kWrite; }

    bool failHeader() {
        const std::uint64_t at = fWalk.position();
        const std::string message =
            isWrite() ? "Error reading chunk header before metadata."
                      : "Error reading chunk header at byte " + std::to_string(at) + ".";
        return fVisitor.fail(Code::kChunkDamaged, message, FilePlace{at, {}});
    }

    bool failData(const BinaryChunk& chunk, std::optional<Kind> kind) {
        if (isWrite()) {
            const char* const message = !kind ? "Error reading chunk before metadata."
                                        : *kind == Kind::kStructure
                                            ? "Error skipping data structure chunk."
                                            : "Error skipping existing metadata chunks.";
            return fVisitor.fail(Code::kChunkDamaged, message, placeOf(chunk));
        }
        if (!kind || !fVisitor.wants(*kind)) {
            return fVisitor.fail(Code::kChunkDamaged,
                                 "The chunk at byte " + std::to_string(chunk.begin) +
                                     " reaches beyond the end of the trailer.",
                                 placeOf(chunk));
        }
        return fVisitor.fail(Code::kChunkDamaged, readFailureOf(*kind),
                             damagedRecord(fFile, chunk));
    }

    Files::File& fFile;
    ChunkWalk fWalk;
    SceneVisitor& fVisitor;
    std::optional<std::uint64_t> fFirst;
};

// Stricter than a read: a file whose sizes do not agree may be damaged.
bool checkBeforeWrite(Files::File& file, const BinaryTrailer& trailer,
                      std::optional<std::uint64_t> size, SceneVisitor& visitor) {
    if (!size) {
        return visitor.fail(Code::kFileUnreadable, "Could not seek to trailer start.", FilePlace{});
    }
    const std::string problem = misplacedEnd(trailer, *size);
    if (!problem.empty()) return visitor.fail(Code::kEndMisplaced, problem, FilePlace{});
    char bytes[8];
    if (!Files::readExactlyAt(file, trailer.sizeAt(), bytes, sizeof bytes)) {
        return visitor.fail(Code::kFileUnreadable, "Could not seek to trailer start.", FilePlace{});
    }
    return fromBigEndian({bytes, sizeof bytes}) == trailer.size() ||
           visitor.fail(Code::kChunkDamaged,
                        "The size of the trailer does not fit the distance to its start.",
                        FilePlace{});
}

void reportEnd(const BinaryTrailer& trailer, std::optional<std::uint64_t> size,
               SceneVisitor& visitor) {
    if (!size) return;
    const std::string problem = misplacedEnd(trailer, *size);
    if (problem.empty()) return;
    visitor.report(Code::kEndMisplaced, problem, FilePlace{std::min(*size, trailer.fileEnd()), {}});
}

void addForeignChunks(const BinaryLayout& layout, std::string_view tail, PieceList& chunks) {
    const auto bytes = [&](std::uint64_t from, std::uint64_t to) {
        return tail.substr(static_cast<std::size_t>(from - layout.begin),
                           static_cast<std::size_t>(to - from));
    };
    std::uint64_t at = layout.begin;
    for (const SceneLayout::Item& item : layout.records) {
        chunks.keep(bytes(at, item.range.begin));
        at = item.range.end;
    }
    chunks.keep(bytes(at, layout.trailer.end));
}

/// See `SceneKind` and `SceneSplicing` for what each function does.
class BinaryKind final : public SceneKind, public SceneSplicing {
  public:
    BinaryKind() : SceneKind(traitsOfBinaryScenes()) {}

    [[nodiscard]] bool recognise(SceneInput& input, Finding& problem) const override {
        FileOfInput file(input);
        BinaryTrailer trailer;
        return locateTrailer(file, trailer, problem);
    }

    [[nodiscard]] ScanEnd scan(SceneInput& input, SceneVisitor& visitor,
                               std::unique_ptr<SceneLayout>& layout) const override {
        FileOfInput file(input);
        auto found = std::make_unique<BinaryLayout>();
        BinaryTrailer& trailer = found->trailer;
        Finding problem;
        if (!locateTrailer(file, trailer, problem)) {
            visitor.fail(problem.code, problem.message, FilePlace{problem.offset, problem.tag});
            return ScanEnd::kFailed;
        }
        const auto size = input.size();
        if (visitor.purpose() == Purpose::kWrite) {
            if (!checkBeforeWrite(file, trailer, size, visitor)) return ScanEnd::kFailed;
        } else {
            reportEnd(trailer, size, visitor);
        }
        ChunkScan chunks(file, trailer, visitor);
        if (!chunks.run()) return ScanEnd::kFailed;
        found->begin = chunks.first().value_or(trailer.end);
        found->cannotSeek = chunks.first() ? "Error skipping existing metadata chunks."
                                           : "Error skipping backward size chunk.";
        found->cannotRead = found->cannotSeek;
        found->mainSize = bigEndian(trailer.mainSize(), 8);
        found->trailerSize = bigEndian(trailer.size(), 8);
        layout = std::move(found);
        return ScanEnd::kComplete;
    }

    [[nodiscard]] std::optional<SceneRecord> parse(const SceneRecordRange& range, std::string bytes,
                                                   const std::set<std::string>*,
                                                   Finding& problem) const override {
        const bool isNode = range.tag == AccessorQuil::Binary::getApplyNodeMetaDataChunkName();
        problem.code = Code::kChunkDamaged;
        problem.message = readFailureOf(range.kind);
        if (bytes.size() < BinaryChunk::kHeaderSize) return std::nullopt;
        const auto dataSize = fromBigEndian(std::string_view(bytes).substr(8, 8));
        if (dataSize > bytes.size() - BinaryChunk::kHeaderSize) return std::nullopt;
        bytes.resize(BinaryChunk::kHeaderSize + static_cast<std::size_t>(dataSize));
        const std::size_t nameEnd = bytes.find('\0', BinaryChunk::kHeaderSize);
        if (isNode && nameEnd != std::string::npos) {
            problem.node =
                bytes.substr(BinaryChunk::kHeaderSize, nameEnd - BinaryChunk::kHeaderSize);
        }
        return parseChunk(ChunkTag(range.tag), std::move(bytes), BinaryChunk::kHeaderSize);
    }

    [[nodiscard]] bool format(const SceneRecord& record, std::string& bytes) const override {
        return appendChunk(bytes, record);
    }

    [[nodiscard]] std::vector<std::size_t> placesOf(
        std::string_view bytes, const std::vector<std::size_t>& offsets) const override {
        const auto text = textRangeIn(bytes);
        if (!text) return {};
        std::vector<std::size_t> places;
        for (const std::size_t offset : offsets) {
            if (offset > text->second - text->first) return {};
            places.push_back(text->first + offset);
        }
        return places;
    }

    [[nodiscard]] std::string textOf(std::string_view bytes) const override {
        return std::string(bytes);
    }

    [[nodiscard]] bool format(const SceneRecord& record, const std::vector<Splice>& splices,
                              PieceList& pieces) const override {
        return addChunk(pieces, record, splices);
    }

    [[nodiscard]] std::optional<SceneRecord> parse(
        const std::vector<SceneChange::Piece>& pieces) const override {
        return parseChunk(pieces);
    }

    /// Fails when the distance back to the trailer's beginning does not fit in 32 bits.
    [[nodiscard]] std::vector<SceneChange> changes(const SceneLayout& layout, std::string_view tail,
                                                   const ScenePlan& plan,
                                                   Finding& problem) const override {
        const auto& binary = static_cast<const BinaryLayout&>(layout);
        PieceList chunks;
        chunks.beginPart("Failed to write the new trailer.");
        addForeignChunks(binary, tail, chunks);
        for (std::size_t i = 0; i < plan.entries.size(); ++i) {
            const SceneLayout::Item* const kept = plan.entries[i].kept;
            if (!kept) {
                chunks.add(plan, i);
            } else {
                const SceneRecordRange& range = kept->range;
                chunks.keep(tail.substr(static_cast<std::size_t>(range.begin - binary.begin),
                                        static_cast<std::size_t>(range.end - range.begin)));
            }
        }
        const BinaryTrailer trailer{binary.trailer.begin, binary.begin + chunks.size()};
        if (trailer.distance() > std::numeric_limits<std::uint32_t>::max()) {
            problem.message = "The trailer would be longer than its 32-bit distance can say.";
            return {};
        }
        std::string endChunk;
        BinaryChunk::append(endChunk, AccessorQuil::Binary::getBackwardChunkSizeChunkName(),
                            {bigEndian(trailer.distance(), 4)});
        chunks.beginPart("Failed to write the backward chunk size.");
        chunks.add(endChunk);
        std::vector<SceneChange> changes;
        changes.push_back(
            {BinaryTrailer::kMainSizeAt,
             binary.mainSize,
             {{bigEndian(trailer.mainSize(), 8), "Failed to write the new main chunk size."}},
             "Failed to the main chunk size position."});
        changes.push_back(
            {binary.trailer.sizeAt(),
             binary.trailerSize,
             {{bigEndian(trailer.size(), 8), "Failed to write the new trailer size."}},
             "Failed to seek to the trailer size position."});
        changes.push_back(
            {binary.begin, tail, chunks.take(), "Failed to seek to the trailer data start."});
        return changes;
    }
};

}  // namespace

std::unique_ptr<const SceneKind> makeBinaryKind() { return std::make_unique<BinaryKind>(); }

}  // namespace orbo::Data
