// What is wrong, or remarkable, in a scene file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orbo::Data {

/// Its message is a sentence of the error texts, unless `isInErrors` says no; here it has its place
/// in the file.
struct METADATA_API Finding {
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

    /// "text-unreadable" and the like, which stay the same from version to version.
    static const char* nameOf(Code code);
    /// Empty when no code has that name.
    static std::optional<Code> codeOf(std::string_view name);
    /// False for what a call reports in `Accessor::findings()` alone, such as metadata that was
    /// read and is hidden: the error texts stay those that programs know.
    static bool isInErrors(Code code);

    Code code = Code::kOther;
    /// Of a text scene: the first line of the statement, counted from 1.
    std::optional<std::uint64_t> line = {};
    /// Of the first byte of the statement or chunk.
    std::optional<std::uint64_t> offset = {};
    /// Of the chunk in a binary scene, where there is one.
    std::string tag = {};
    /// Whose metadata it is about, where that is known; empty for the scene itself.
    std::optional<std::string> node = {};
    /// Where in the node's metadata, as far as that is known; the index in its text form.
    std::optional<std::string> channel = {};
    std::optional<std::string> stream = {};
    std::optional<std::string> index = {};
    std::optional<std::string> member = {};
    /// Without a line feed behind it; a format's may have several lines.
    std::string message = {};
};

}  // namespace orbo::Data
