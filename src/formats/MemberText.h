// The values of one member on an element's data line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <istream>
#include <ostream>
#include <string>

#include "core/DataTypes.h"

namespace orbo::Data {

/// Reads all values of members from a text, one member after the other.
class MemberTextReader {
  public:
    enum class Messages { kKeep, kCountOnly };

    MemberTextReader(std::istream& in, Messages messages) : fIn(in), fMessagesWanted(messages) {}

    /// `values` is the member's first value in its chunk, null where the chunk cannot be reached.
    /// Strings in it are overwritten. Returns the number of errors, the largest number there is
    /// when there are more. Stops where the input is no longer good. `record` numbers the data line
    /// in messages.
    unsigned int read(const Member& member, char* values, unsigned int record);

    /// True after a member in which nothing more could be taken from the text as a number: matrices
    /// that follow would fail on the same characters.
    [[nodiscard]] bool stuck() const { return fStuck; }

    /// What went wrong with the member read last, a line each. Of very many errors not all are
    /// here.
    [[nodiscard]] const std::string& messages() const { return fMessages; }

  private:
    unsigned int readBooleans(bool* values, unsigned int length);
    unsigned int readStrings(char** values, unsigned int length);
    unsigned int readNumbers(const Member& member, char* values);
    unsigned int readMatrices(const Member& member, char* values);
    bool readString(char** slot);
    bool readQuoted();
    void reportMatrixValue(const DataType& type, unsigned long long number,
                           const std::string& position);
    bool restOfMatrixIsBad();
    [[nodiscard]] bool wantsMessage() const;
    void report(const std::string& message);
    [[nodiscard]] std::string position();

    std::istream& fIn;
    unsigned int fRecord = 0;
    const Messages fMessagesWanted;
    bool fStuck = false;
    std::string fMessages;
    std::string fText;  // of the string being read
};

/// Writes all values, separated by blanks. `values` is the member's first value in its chunk.
void writeMemberText(std::ostream& out, const Member& member, const char* values);

}  // namespace orbo::Data
