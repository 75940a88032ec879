// Finds the metadata statements of a text scene, from the file's end backwards.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneRecord.h>

#include <cstdint>
#include <optional>

#include "files/BackwardLineReader.h"
#include "files/File.h"
#include "scenes/text/TextLinesAhead.h"

namespace orbo::Data {

/// Gives the ranges of statements from the last to the first. Stops at the last scene command that
/// stands behind a line that ends with ";", which may be a comment. Works on descriptions of lines,
/// so its memory does not grow with the scene.
///
/// A statement begins with a line that begins with its command word, and runs to the first line
/// that ends with ";". Lines that begin with "//" belong to no statement.
class TextSceneScanner {
  public:
    enum class Result {
        kStatement,
        /// The trailer was met; all statements behind it are no metadata.
        kTrailer,
        kDone,
        kSeekFailed,
        kReadFailed
    };

    /// `begin` is the beginning of a line. The file outlives the scanner.
    TextSceneScanner(Files::File& file, std::uint64_t begin, std::uint64_t end);

    /// Looks for the trailer in the last 64 KiB, which saves most files from being read further.
    /// To be called before `next`, if at all. Returns `kDone` when the trailer is not there.
    Result findTrailer();
    Result next(SceneRecordRange& statement);

    /// Offset of the block that was read last, or that could not be read.
    [[nodiscard]] std::uint64_t position() const { return fPosition; }
    /// Offset of the trailer line, once it was met.
    [[nodiscard]] std::optional<std::uint64_t> trailer() const { return fTrailer; }
    /// The lines in front of the statement met last, or of the trailer, as far as they were read.
    [[nodiscard]] const TextLinesAhead& linesAhead() const { return fLinesAhead; }

  private:
    Files::BackwardLineReader::Result previous(Files::LineDescriptor& line);
    Result foundTrailer(std::uint64_t at);
    Result trailerInFront();
    /// Whether the scan ends at this line.
    bool endsScan(const Files::LineDescriptor& line) const;
    void noteBeginOfStatement(std::uint64_t at);

    Files::File& fFile;
    std::uint64_t fBegin;
    std::uint64_t fEnd;
    Files::BackwardLineReader fLines;
    std::uint64_t fPosition;
    std::optional<std::uint64_t> fTrailer;

    // Everything the scanner remembers about the lines behind the present one:
    std::optional<std::uint64_t> fClose;  // where a statement that begins here ends
    std::uint64_t fNextBegin;             // of the next statement of any kind
    TextLinesAhead fLinesAhead;           // of it or of the trailer
    bool fBehindSceneCommand = false;     // the next line begins with one
};

}  // namespace orbo::Data
