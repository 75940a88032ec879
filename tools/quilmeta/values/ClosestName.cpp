// The name that was perhaps meant.
// SPDX-License-Identifier: Apache-2.0
#include "values/ClosestName.h"

#include "values/SafeText.h"

#include <algorithm>
#include <array>

namespace orbo::Quilmeta {

namespace {

// Longer names are not compared.
constexpr size_t kLongest = 64;
// The distance of one letter, and of a small one from its capital.
constexpr size_t kLetter = 100;
constexpr size_t kCase = 1;

char lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte; }

size_t difference(char one, char other) {
    if (one == other) return 0;
    return lower(one) == lower(other) ? kCase : kLetter;
}

using Row = std::array<size_t, kLongest + 1>;

/// The distance by the usual table, of which three rows are kept.
size_t distance(std::string_view one, std::string_view other) {
    Row rows[3];
    for (size_t j = 0; j <= other.size(); ++j) rows[0][j] = j * kLetter;
    for (size_t i = 1; i <= one.size(); ++i) {
        Row& row = rows[i % 3];
        const Row& above = rows[(i - 1) % 3];
        row[0] = i * kLetter;
        for (size_t j = 1; j <= other.size(); ++j) {
            row[j] = std::min({above[j] + kLetter, row[j - 1] + kLetter,
                               above[j - 1] + difference(one[i - 1], other[j - 1])});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                row[j] = std::min(row[j], rows[(i - 2) % 3][j - 2] + kLetter);
        }
    }
    return rows[one.size() % 3][other.size()];
}

}  // namespace

ClosestName::ClosestName(std::string_view wanted)
    : fWanted(wanted), fLimit(std::max<size_t>(wanted.size() / 3, 1) * kLetter + 1) {}

void ClosestName::offer(std::string_view name) {
    if (name.empty() || name.size() > kLongest || fWanted.size() > kLongest) return;
    const size_t longer = std::max(name.size(), fWanted.size());
    const size_t shorter = std::min(name.size(), fWanted.size());
    if ((longer - shorter) * kLetter > fLimit) return;
    const size_t found = distance(fWanted, name);
    const bool isEqual = found == fLimit && !fFound.empty();
    if (found >= fLimit && !(isEqual && name < fFound)) return;
    fLimit = found;
    fFound = name;
}

std::string ClosestName::question() const {
    return fFound.empty() ? std::string() : ", did you mean " + inQuotes(fFound) + "?";
}

}  // namespace orbo::Quilmeta
