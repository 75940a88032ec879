// Wording and gathering of the messages of the raw channel and associations formats.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <istream>
#include <limits>
#include <string>

namespace orbo::Data {

/// Of very many messages those that begin within this many bytes are kept; all are counted.
inline constexpr std::size_t kMostMessageBytes = 16384;

/// Counts of errors stay at the largest number there is.
inline unsigned int saturatedSum(unsigned int count, unsigned long long more) {
    constexpr unsigned int kMost = std::numeric_limits<unsigned int>::max();
    return more < kMost - count ? count + static_cast<unsigned int>(more) : kMost;
}

/// The messages of one reader or writer, counted, for the caller's error text.
class RawMessages {
  public:
    explicit RawMessages(std::string& errors) : fErrors(errors) {}

    void count(int errors) { fCount = saturatedSum(fCount, static_cast<unsigned int>(errors)); }
    /// What a nested reader or writer left in a text of its own. Its message may lack the line end.
    void takeOver(const std::string& nested) {
        if (nested.empty() || fTakenOver >= kMostMessageBytes) return;
        fErrors += nested;
        if (nested.back() != '\n') fErrors += '\n';
        fTakenOver += nested.size();
    }
    /// "... on or about character " and where the text could not be read on, one error.
    void add(const std::string& problem, std::istream& in) {
        count(1);
        if (fText.size() >= kMostMessageBytes) return;
        const auto position = static_cast<std::streamoff>(in.tellg());
        fText += problem + " on or about character " + std::to_string(position) + "\n";
    }
    /// Hands the messages over with the number of errors, which it returns, in front of `outcome`.
    int finish(const std::string& outcome) {
        if (fCount > 0) {
            fText += std::to_string(fCount) + (fCount > 1 ? " errors" : " error") + outcome + "\n";
        }
        fErrors += fText;
        fText.clear();
        return static_cast<int>(std::min(fCount, unsigned{std::numeric_limits<int>::max()}));
    }

  private:
    std::string& fErrors;
    std::string fText;
    std::size_t fTakenOver = 0;  // bytes
    unsigned int fCount = 0;
};

}  // namespace orbo::Data
