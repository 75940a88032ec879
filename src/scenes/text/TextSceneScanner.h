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

/// Gives statements from the last to the first and stops at the last of the scene's own commands
/// whose line stands behind a line that ends with ";", be that a comment. Works on
/// descriptions of lines, so its memory does not grow with the scene: whoever wants a statement
/// reads its range.
///
/// A statement begins where a line begins with its command word, whatever stands before, and runs
/// to the first line that ends with ";". Lines that begin with "//" belong to no statement.
class TextSceneScanner {
  public:
    enum class Result {
        kStatement,
        /// The end of the metadata, met behind statements: those are none.
        kTrailer,
        kDone,
        kSeekFailed,
        kReadFailed
    };

    /// The range begins at the beginning of a line. The file outlives the scanner.
    TextSceneScanner(Files::File& file, std::uint64_t begin, std::uint64_t end);

    /// Looks for the trailer in the last 64 KiB, which saves most files from being read further.
    /// First of all or not at all; `kDone` also when there is none.
    Result findTrailer();
    /// In place of `findTrailer`: the range ends where the trailer begins.
    void trailerIsAtEnd() { fTrailer = fEnd; }
    Result next(SceneRecordRange& statement);

    /// Where the bytes begin that were read last, or that could not be.
    [[nodiscard]] std::uint64_t position() const { return fPosition; }
    /// Where the trailer line begins, as far as it has been met.
    [[nodiscard]] std::optional<std::uint64_t> trailer() const { return fTrailer; }
    /// What is in front of the statement met last, or of the trailer; as far as it has been met.
    [[nodiscard]] const TextLinesAhead& linesAhead() const { return fLinesAhead; }

  private:
    Files::BackwardLineReader::Result previous(Files::LineDescriptor& line);
    Result foundTrailer(std::uint64_t at);
    Result trailerInFront();
    /// True when the line is the one that the scan ends at.
    bool endsScan(const Files::LineDescriptor& line) const;
    void noteBeginOfStatement(std::uint64_t at);

    Files::File& fFile;
    std::uint64_t fBegin;
    std::uint64_t fEnd;
    Files::BackwardLineReader fLines;
    std::uint64_t fPosition;
    std::optional<std::uint64_t> fTrailer;

    // Of what lies behind the present line, all that is remembered:
    std::optional<std::uint64_t> fClose;  // where a statement that begins here ends
    std::uint64_t fNextBegin;             // of the next statement of any kind
    TextLinesAhead fLinesAhead;           // of it or of the trailer
    bool fBehindSceneCommand = false;     // the next line begins with one
};

}  // namespace orbo::Data
