// Keywords and string helpers that the raw text formats share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <string>
#include <vector>

namespace orbo::Data {

/// The base of the raw text formats, and of a format in a plug-in that is built of the same words.
/// It has no state: any number of threads may use it at once.
///
///     class Compact : public ChannelSerializer, private SerializerRaw {
///         int write(const Channel& channel, std::ostream& out, std::string&) const override {
///             out << keyword(kChannelName) << ' ' << channel.name() << '\n';
///             return 0;
///         }
///         ...
///     };
///
/// The functions fail only where memory runs out, with `std::bad_alloc`. Each takes time in
/// proportion to the text.
class METADATA_API SerializerRaw {
  public:
    /// Numbers the words of the raw formats, in the order of their table.
    enum eKeyword {
        kEquals = 0,
        kEndAssociations = 1,
        kEndChannel = 2,
        kChannel = 3,
        kChannelName = 4,
        kIndexType = 5,
        kSeparator = 6,
        kRaw = 7,
        kEndStream = 8,
        kStream = 9,
        kStreamName = 10,
        kStructure = 11,
        kStructureName = 12
    };

  protected:
    /// Gives the word that stands in the texts, such as "endStream"; "????" for what is not a
    /// keyword. The word lives as long as the library.
    static const char* keyword(eKeyword keyword);
    /// Trims both ends in place and returns a copy; blanks inside stay, whatever the name says.
    static std::string collapseWhitespace(std::string& text);
    /// Shrinks each run of line feeds and ":" to one ":", in place, and returns a copy.
    static std::string standardizeSeparators(std::string& text);
    /// Appends the pieces between separators to `pieces` and returns it: "a::b:" has "a", "" and
    /// "b". There is no empty piece behind a last separator, and no piece of an empty text.
    static std::vector<std::string>& splitString(const std::string& text, char separator,
                                                 std::vector<std::string>& pieces);

    SerializerRaw() = default;
    SerializerRaw(const SerializerRaw&) = default;
    SerializerRaw& operator=(const SerializerRaw&) = default;
    ~SerializerRaw() = default;
};

}  // namespace orbo::Data
