// The values of one member on an element's data line.
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
    /// Behind a number that cannot be read: the input stays failed, or the word is passed over.
    enum class AfterBadNumber { kStop, kSkipWord };

    explicit MemberTextReader(std::istream& in, Messages messages,
                              AfterBadNumber after = AfterBadNumber::kStop)
        : fIn(in), fMessagesWanted(messages), fAfterBadNumber(after) {}

    /// Reads `count` values of a type; a matrix is one value. `values` is the first in its chunk,
    /// null where the chunk cannot be reached. Strings in it are overwritten. Returns the number of
    /// errors, the largest number there is when there are more. Stops where the input is no longer
    /// good. `record` numbers the data line in messages.
    unsigned int read(Member::eDataType type, unsigned int count, char* values,
                      unsigned int record);

    /// True after values among which nothing more could be taken from the text as a number:
    /// matrices that follow would fail on the same characters.
    [[nodiscard]] bool stuck() const { return fStuck; }

    /// The first of the values read last that was bad, as far as its text is known. Only after
    /// errors.
    [[nodiscard]] const std::string& firstBad() const { return fFirstBad; }

    /// What went wrong with the values read last, a line each. Of very many errors not all are
    /// here.
    [[nodiscard]] const std::string& messages() const { return fMessages; }

  private:
    unsigned int readBooleans(bool* values, unsigned int length);
    unsigned int readStrings(char** values, unsigned int length);
    unsigned int readNumbers(Member::eDataType number, char* values, unsigned int length);
    unsigned int readMatrices(Member::eDataType matrix, char* values, unsigned int length);
    bool readNumber(Member::eDataType number, char* value);
    bool readString(char** slot);
    bool readQuoted();
    void noteBad(std::string_view text);
    void skipWord();
    void reportMatrixValue(const DataType& type, unsigned long long number,
                           const std::string& position);
    bool restOfMatrixIsBad();
    [[nodiscard]] bool wantsMessage() const;
    void report(const std::string& message);
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

/// Writes all values, separated by blanks. `values` is the member's first value in its chunk.
void writeMemberText(std::ostream& out, const Member& member, const char* values);

}  // namespace orbo::Data
