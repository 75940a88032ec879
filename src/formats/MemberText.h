// Reads and writes the values of one member on an element's data line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <istream>
#include <ostream>
#include <string>
#include <string_view>

#include "core/DataTypes.h"
#include "core/LongText.h"

namespace orbo::Data {

/// Reads all values of members from a text, one member after the other.
class MemberTextReader {
  public:
    enum class Messages { kKeep, kCountOnly };
    /// What to do after a number that cannot be read: leave the input failed, or skip the word.
    enum class AfterBadNumber { kStop, kSkipWord };

    explicit MemberTextReader(std::istream& in, Messages messages,
                              AfterBadNumber after = AfterBadNumber::kStop)
        : fIn(in), fMessagesWanted(messages), fAfterBadNumber(after) {}

    /// Reads `count` values of a type; a matrix is one value. `values` is the first in its chunk,
    /// or null where the chunk cannot be reached. Overwrites strings there. Returns the number of
    /// errors, at most the largest number that fits. Stops where the input is no longer good.
    /// `record` is the number of the data line, for messages.
    unsigned int read(Member::eDataType type, unsigned int count, char* values,
                      unsigned int record);

    /// True when nothing more could be read as a number from the text: following matrices would
    /// fail on the same characters.
    [[nodiscard]] bool stuck() const { return fStuck; }

    /// The first bad value of the last call, as far as its text is known. Valid only after errors.
    [[nodiscard]] const std::string& firstBad() const { return fFirstBad; }

    /// The errors of the last call, a line each; very many errors are not all listed.
    [[nodiscard]] const std::string& messages() const { return fMessages; }

  private:
    unsigned int readBooleans(bool* values, unsigned int length);
    unsigned int readStrings(char** values, unsigned int length);
    unsigned int readNumbers(Member::eDataType number, char* values, unsigned int length);
    unsigned int readMatrices(Member::eDataType matrix, char* values, unsigned int length);
    bool readNumber(Member::eDataType number, char* value);
    bool readString(char** slot);
    void refuseString(int first);
    bool readQuoted();
    void noteBad(std::string_view text);
    void skipWord();
    void reportMatrixValue(const DataType& type, unsigned long long number,
                           const std::string& position);
    bool restOfMatrixIsBad();
    [[nodiscard]] bool wantsMessage() const;
    // `make` makes the message, if one is wanted: any value of a hostile text may be wrong.
    template <typename Make>
    void report(const Make& make) {
        if (wantsMessage()) fMessages += make() + "\n";
    }
    [[nodiscard]] std::string position();

    std::istream& fIn;
    unsigned int fRecord = 0;
    const Messages fMessagesWanted;
    const AfterBadNumber fAfterBadNumber;
    bool fStuck = false;
    bool fHasBad = false;
    std::string fFirstBad;
    std::string fMessages;
    std::string fWord;  // of the boolean being read
    LongText fText;     // of the string being read
};

/// Writes all values with blanks between them. `values` is the member's first value in its chunk.
void writeMemberText(std::ostream& out, const Member& member, const char* values);

}  // namespace orbo::Data
