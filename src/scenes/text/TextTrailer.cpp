// The last line of a text scene, "// End of", and what depends on it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextTrailer.h"

#include <algorithm>
#include <string>

#include "core/Ascii.h"
#include "scenes/text/TextMessages.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;

// A first section is only put into scenes of at least this size, in front of a trailer that is no
// further from the end.
constexpr std::uint64_t kTrailerBlock = 1024;

// A check looks this far for something behind the trailer's line.
constexpr std::uint64_t kMostOfTrailer = 64 * 1024;

}  // namespace

void reportTrailer(Files::File& file, std::optional<std::uint64_t> trailer, std::uint64_t fileSize,
                   SceneVisitor& visitor) {
    if (!trailer) {
        visitor.report(
            Code::kTrailerMissing,
            "There is no line \"// End of\" at the end: the scene may have lost its end.",
            FilePlace{fileSize, {}});
        return;
    }
    std::string text(
        static_cast<std::size_t>(std::min<std::uint64_t>(fileSize - *trailer, kMostOfTrailer)),
        '\0');
    if (!Files::readExactlyAt(file, *trailer, text.data(), text.size())) return;
    const std::size_t lineEnd = std::min(text.find('\n'), text.size());
    const std::size_t begin = text.find_first_not_of(Ascii::kBlanks, lineEnd);
    if (begin == std::string::npos) return;
    visitor.report(
        Code::kLeftoverBytes,
        std::to_string(fileSize - *trailer - begin) + " bytes follow the last line of the scene.",
        FilePlace{*trailer + begin, {}});
}

bool checkTrailer(std::optional<std::uint64_t> trailer, std::uint64_t fileSize, bool hasStatements,
                  SceneVisitor& visitor) {
    if (trailer) return true;
    const bool isTooShort = fileSize < kTrailerBlock && !visitor.writePolicy().anySize;
    const char* const message = hasStatements ? TextMessages::kEndNotFound
                                : isTooShort  ? TextMessages::kTrailerSeekFailed
                                              : TextMessages::kTrailerMissing;
    return visitor.fail(Code::kTrailerMissing, message, FilePlace{});
}

bool checkFirstSection(const TextLayout& layout, const WritePolicy& policy, Finding& problem) {
    const auto isUnderstood = [](const SceneLayout::Item& item) { return item.understood; };
    if (policy.anySize || std::any_of(layout.records.begin(), layout.records.end(), isUnderstood)) {
        return true;
    }
    const bool isTooShort = layout.size < kTrailerBlock;
    if (!isTooShort && layout.size - *layout.trailer <= kTrailerBlock) return true;
    problem.message = isTooShort ? TextMessages::kTrailerSeekFailed : TextMessages::kTrailerMissing;
    return false;
}

}  // namespace orbo::Data
