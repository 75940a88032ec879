// The metadata section of a binary scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/binary/BinarySection.h"

#include <data/AccessorQuil.h>

#include <limits>

#include "files/MemoryFile.h"
#include "scenes/Messages.h"

namespace orbo::Data {

namespace {

using Fate = SectionPlan::Fate;
using Kind = SceneRecord::Kind;

const char* walkFailure(std::optional<Kind> kind) {
    if (!kind) return "Error reading chunk before metadata.";
    return *kind == Kind::kStructure ? "Error skipping data structure chunk."
                                     : "Error skipping existing metadata chunks.";
}

}  // namespace

bool BinarySection::find(std::string& errors) { return locate(errors) && findChunks(errors); }

// Stricter than reading needs it: what does not fit together may have been damaged.
bool BinarySection::locate(std::string& errors) {
    Findings findings;
    if (!locateTrailer(fFile, fTrailer, findings)) return fail(errors, findings);
    const auto size = fFile.size();
    if (!size) return fail(errors, "Could not seek to trailer start.");
    fSize = *size;
    const std::string problem = misplacedEnd(fTrailer, fSize);
    if (!problem.empty()) return fail(errors, problem);
    char bytes[8];
    if (!fFile.seek(fTrailer.sizeAt()) || !Files::readExactly(fFile, bytes, sizeof bytes)) {
        return fail(errors, "Could not seek to trailer start.");
    }
    return fromBigEndian({bytes, sizeof bytes}) == fTrailer.size() ||
           fail(errors, "The size of the trailer does not fit the distance to its start.");
}

bool BinarySection::findChunks(std::string& errors) {
    using Result = ChunkWalk::Result;
    ChunkWalk walk(fFile, fTrailer.begin, fTrailer.end);
    for (;;) {
        BinaryChunk chunk;
        const Result result = walk.next(chunk);
        if (result == Result::kDone) return true;
        if (result == Result::kBadHeader) {
            return fail(errors, "Error reading chunk header before metadata.");
        }
        const auto kind = kindOfChunk(chunk.tag);
        if (result == Result::kBadData) return fail(errors, walkFailure(kind));
        if (kind) fEntries.push_back({{*kind, chunk.begin, chunk.end(), true}, false, {}});
    }
}

bool BinarySection::load(std::string& errors) {
    const std::uint64_t begin = fEntries.empty() ? fTrailer.end : fEntries.front().where.begin;
    if (fFile.seek(begin) && loadFrom(begin)) return true;
    return fail(errors, fEntries.empty() ? "Error skipping backward size chunk."
                                         : "Error skipping existing metadata chunks.");
}

bool BinarySection::checkEntries(std::string& errors) const {
    for (const Entry& entry : fEntries) {
        if (!entry.understood) return fail(errors, readFailureOf(entry.where.kind));
    }
    return true;
}

const char* BinarySection::failureOf(Part part) const {
    switch (part) {
        case Part::kStructures:
            return "Could not write structure chunk to in-memory trailer.";
        case Part::kScene:
            return "Could not write scene associations chunk to in-memory trailer.";
        case Part::kNodes:
            break;
    }
    return "Could not write node associations chunk to in-memory trailer.";
}

std::optional<SceneRecord> BinarySection::parse(const Entry& entry) const {
    const std::string_view chunk = bytesOf(entry);
    const auto dataSize = static_cast<std::size_t>(fromBigEndian(chunk.substr(8, 8)));
    return parseChunk(ChunkTag(chunk.substr(0, 4)),
                      std::string(chunk.substr(BinaryChunk::kHeaderSize, dataSize)));
}

std::string BinarySection::unchanged(const Entry& entry) const {
    return std::string(bytesOf(entry));
}

bool BinarySection::append(std::string& out, const SceneRecord& record) const {
    return appendChunk(out, record);
}

std::string BinarySection::foreignChunks() const {
    std::string chunks;
    chunks.reserve(fTail.size());
    std::uint64_t at = fTailBegin;
    for (const Entry& entry : fEntries) {
        chunks += bytes(at, entry.where.begin);
        at = entry.where.end;
    }
    return chunks.append(bytes(at, fTrailer.end));
}

bool BinarySection::compose(const NewRecords& records, std::string& errors) {
    fNewChunks = foreignChunks();
    appendKept(fNewChunks, Kind::kStructure, Fate::kAhead);
    for (const std::string& chunk : records.structures) fNewChunks += chunk;
    appendKept(fNewChunks, Kind::kStructure, Fate::kBehind);
    appendKept(fNewChunks, Kind::kAssociations, Fate::kAhead);
    fNewChunks += records.scene;
    for (const std::string& chunk : records.nodes) fNewChunks += chunk;
    appendKept(fNewChunks, Kind::kAssociations, Fate::kBehind);

    const BinaryTrailer trailer{fTrailer.begin, fTailBegin + fNewChunks.size()};
    if (trailer.distance() > std::numeric_limits<std::uint32_t>::max()) {
        return fail(errors, "The trailer would be longer than its 32-bit distance can say.");
    }
    fOldSizes = SizeFields(fTrailer);
    fNewSizes = SizeFields(trailer);
    BinaryChunk::append(fNewEndChunk, AccessorQuil::Binary::getBackwardChunkSizeChunkName(),
                        bigEndian(trailer.distance(), 4));
    return true;
}

bool BinarySection::readBack(ModelReading& reading, Findings& findings) const {
    Files::MemoryFile file(fNewChunks);
    return readChunks(file, 0, fNewChunks.size(), reading, findings);
}

std::vector<BinarySection::Change> BinarySection::changes() const {
    return {{BinaryTrailer::kMainSizeAt,
             fOldSizes.main,
             "Failed to the main chunk size position.",
             {{fNewSizes.main, "Failed to write the new main chunk size."}}},
            {fTrailer.sizeAt(),
             fOldSizes.trailer,
             "Failed to seek to the trailer size position.",
             {{fNewSizes.trailer, "Failed to write the new trailer size."}}},
            {fTailBegin,
             fTail,
             "Failed to seek to the trailer data start.",
             {{fNewChunks, "Failed to write the new trailer."},
              {fNewEndChunk, "Failed to write the backward chunk size."}}}};
}

}  // namespace orbo::Data
