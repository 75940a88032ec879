// Looks for names in raw texts that cannot be read, or need not be.
// SPDX-License-Identifier: Apache-2.0
#include "formats/RawScan.h"

#include <data/SerializerRaw.h>

#include <algorithm>
#include <cstddef>
#include <optional>

#include "core/Ascii.h"

namespace orbo::Data::RawScan {

namespace {

/// Gives the keywords, which only raw formats have access to.
struct Words : SerializerRaw {
    using SerializerRaw::keyword;
};

// The rest of a line that begins with the word.
std::optional<std::string> restBehind(SerializerRaw::eKeyword keyword, std::string_view line) {
    const std::string_view word = Words::keyword(keyword);
    if (!Ascii::startsWith(line, word)) return std::nullopt;
    return std::string(Ascii::trim(line.substr(word.size())));
}

// A structure gives its name as a C string, so readers take no more of a text than that.
std::string structureName(std::string_view text) {
    return std::string(Ascii::trim(text.substr(0, text.find('\0'))));
}

}  // namespace

std::vector<NamedStructure> structuresNamedIn(std::string_view text) {
    std::vector<NamedStructure> all;
    NamedStructure here;
    bool inStream = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const std::string_view trimmed = Ascii::trim(line);
        if (const auto structure = restBehind(Words::kStructure, trimmed)) {
            here.structure = structureName(*structure);
            all.push_back(here);
        } else if (const auto name = restBehind(Words::kStreamName, trimmed)) {
            (inStream ? here.stream : here.channel) = *name;
        } else if (restBehind(Words::kStream, trimmed)) {
            inStream = true;
        } else if (restBehind(Words::kChannel, trimmed)) {
            inStream = false;
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return all;
}

std::string structureNameIn(std::string_view text) {
    const std::string ends = std::string(Words::keyword(Words::kSeparator)) + '\n';
    const char* const nameKey = Words::keyword(Words::kStructureName);
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(ends);
        const std::string_view field = text.substr(0, end);
        const std::size_t equals = field.find(Words::keyword(Words::kEquals));
        if (equals != std::string_view::npos && Ascii::trim(field.substr(0, equals)) == nameKey) {
            return structureName(field.substr(equals + 1));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return {};
}

bool endsStream(std::string_view line) { return line == Words::keyword(Words::kEndStream); }

}  // namespace orbo::Data::RawScan
