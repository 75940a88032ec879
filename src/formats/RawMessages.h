// Words and collects the messages of the raw channel and associations formats.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <istream>
#include <limits>
#include <string>

namespace orbo::Data {

/// Messages beyond this many bytes are counted but not kept.
inline constexpr std::size_t kMostMessageBytes = 16384;

/// Adds error counts without overflow: the sum stays at the largest number.
inline unsigned int saturatedSum(unsigned int count, unsigned long long more) {
    constexpr unsigned int kMost = std::numeric_limits<unsigned int>::max();
    return more < kMost - count ? count + static_cast<unsigned int>(more) : kMost;
}

/// Counts the messages of one reader or writer, and collects them for the caller's error text.
class RawMessages {
  public:
    explicit RawMessages(std::string& errors) : fErrors(errors) {}

    void count(int errors) { fCount = saturatedSum(fCount, static_cast<unsigned int>(errors)); }
    /// Adds the messages of a nested reader or writer, whose last line may lack its line end.
    void takeOver(const std::string& nested) {
        if (nested.empty() || fTakenOver >= kMostMessageBytes) return;
        fErrors += nested;
        if (nested.back() != '\n') fErrors += '\n';
        fTakenOver += nested.size();
    }
    /// Adds one error with "... on or about character " and the position where reading stopped.
    void add(const std::string& problem, std::istream& in) {
        count(1);
        if (fText.size() >= kMostMessageBytes) return;
        const auto position = static_cast<std::streamoff>(in.tellg());
        fText += problem + " on or about character " + std::to_string(position) + "\n";
    }
    /// Appends the messages to the caller's text, and the number of errors in front of `outcome`.
    /// Returns that number.
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
