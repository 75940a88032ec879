// The messages about text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenes/text/TextSceneScanner.h"

namespace orbo::Data::TextMessages {

inline constexpr const char* kSeekFailed = "Could not seek previous block.";
inline constexpr const char* kReadFailed = "Could not read block.";

inline constexpr const char* kTrailerSeekFailed = "Could not seek to trailer start.";
inline constexpr const char* kTrailerReadFailed = "Could not read trailer.";
inline constexpr const char* kTrailerMissing = "Could not find trailer prefix.";
inline constexpr const char* kEndNotFound = "Failed reading line while searching metadata end.";

inline constexpr const char* kSectionSeekFailed = "Failed to seek to the trailer position.";
inline constexpr const char* kSectionReadFailed = "Failed to read the file trailer.";

inline constexpr const char* kStructuresFailed = "Could not write structure chunk to file.";
inline constexpr const char* kNodesFailed = "Could not write node associations statement to file.";
inline constexpr const char* kSceneFailed = "Could not write scene associations statement to file.";
inline constexpr const char* kRestFailed = "Failed to append the file trailer.";
inline constexpr const char* kStartSeekFailed = "Could not seek to metadata start.";

/// The message when a read meets bytes that cannot be read.
inline const char* ofReading(TextSceneScanner::Result result) {
    return result == TextSceneScanner::Result::kSeekFailed ? kSeekFailed : kReadFailed;
}

/// The message when a write cannot look for the trailer.
inline const char* ofTrailer(TextSceneScanner::Result result) {
    return result == TextSceneScanner::Result::kSeekFailed ? kTrailerSeekFailed
                                                           : kTrailerReadFailed;
}

/// The message when a write, which looks for the metadata from its end on, cannot read the file.
inline const char* ofSearch(TextSceneScanner::Result result, bool metStatements) {
    if (result == TextSceneScanner::Result::kSeekFailed) {
        return metStatements ? "Could not seek to the first metadata block."
                             : "Could not seek to the last metadata block.";
    }
    return metStatements ? "Failed reading line while searching metadata start." : kEndNotFound;
}

}  // namespace orbo::Data::TextMessages
