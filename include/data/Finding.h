// What is wrong, or remarkable, in a scene file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orbo::Data {

/// One thing that a read, a write or a check found, with its place in the file as far as that is
/// known. Its message is also a line of the error texts, unless `isInErrors` says no.
///
///     for (const Finding& finding : scene->findings()) {
///         std::cout << Finding::nameOf(finding.code) << ": " << finding.message << '\n';
///     }
///
/// It owns all that it holds, and is good when the accessor is gone. What is not known is empty; a
/// code stands for the same problem in text scenes and binary ones.
struct METADATA_API Finding {
    /// Says what kind of thing it is. `docs/check.md` explains each code under its name.
    enum class Code {
        kOther,
        kFileNote,
        kJournalPending,
        kJournalOrphaned,
        kFileUnreadable,
        kNotAScene,
        kChunkDamaged,
        kEndMisplaced,
        kTrailerMissing,
        kLeftoverBytes,
        kStatementUnreadable,
        kStatementUnclosed,
        kFormatUnknown,
        kTextUnreadable,
        kValueUnreadable,
        kStructureMissing,
        kTextRemark,
        kTextPassedOver,
        kStructureDiffers,
        kNodeRepeated,
        kNodePartial,
        kIndexTypeUnknown,
        kNumberNotFinite,
        kNumberBeyondSixDigits,
        kRewriteRefused,
        kWriteFailed,
        kStructureRepeated,
        kStructureKept,
        kRecordDropped,
        kWillNotReadBack,
        kMore
    };

    /// Gives the name of the code, such as "text-unreadable", which stays the same from version to
    /// version.
    static const char* nameOf(Code code);
    /// Gives nothing when no code has that name.
    static std::optional<Code> codeOf(std::string_view name);
    /// Returns false for what a call reports in `Accessor::findings()` alone, such as metadata that
    /// was read and is hidden: the error texts stay those that programs know.
    static bool isInErrors(Code code);

    Code code = Code::kOther;
    /// Is the first line of the statement, counted from 1; only text scenes have lines, and
    /// findings of a write have none.
    std::optional<std::uint64_t> line = {};
    /// Is the offset of the first byte of the statement or chunk, counted from 0; in findings of a
    /// write, in the file as it was before.
    std::optional<std::uint64_t> offset = {};
    /// Is the tag of the chunk in a binary scene; empty when there is none.
    std::string tag = {};
    /// Names the node whose metadata it is about, as far as that is known; the scene itself is the
    /// empty name.
    std::optional<std::string> node = {};
    /// These name the place in the node's metadata, as far as that is known. The index is in its
    /// text form.
    std::optional<std::string> channel = {};
    std::optional<std::string> stream = {};
    std::optional<std::string> index = {};
    std::optional<std::string> member = {};
    /// Names the structure that it is about.
    std::optional<std::string> structure = {};
    /// Is a sentence, without a line feed behind it. Messages of formats may have several lines.
    std::string message = {};
};

}  // namespace orbo::Data
