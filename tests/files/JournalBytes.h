// Journals byte by byte, for those who change them: checksums that are right again.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "files/BigEndian.h"
#include "files/Checksum.h"

namespace orbo::Files {

inline constexpr std::size_t kVersionAt = 86;
inline constexpr std::size_t kHeaderSizeAt = 90;
inline constexpr std::size_t kRangeCountAt = 122;

/// 0 when it cannot be one.
inline std::size_t headerSize(std::string_view journal) {
    if (journal.size() < kHeaderSizeAt + 4) return 0;
    const std::uint64_t size = fromBigEndian(journal.substr(kHeaderSizeAt, 4));
    return size < 8 || size + 8 > journal.size() ? 0 : static_cast<std::size_t>(size);
}

/// That of the header, and that of all, which chance does not find.
inline void mendChecksums(std::string& journal) {
    const std::size_t header = headerSize(journal);
    if (header == 0) return;
    for (const std::size_t end : {header - 8, journal.size() - 8}) {
        Checksum checksum;
        checksum.add(std::string_view(journal).substr(0, end));
        journal.replace(end, 8, bigEndian(checksum.value(), 8));
    }
}

/// The journal as programs wrote it whose headers had no checksums of the old bytes.
inline std::string inLayout1(std::string journal) {
    const std::size_t header = headerSize(journal);
    const auto ranges = fromBigEndian(std::string_view(journal).substr(kRangeCountAt, 4));
    const auto size = static_cast<std::size_t>(ranges) * 8;
    journal.erase(header - 8 - size, size);
    journal.replace(kVersionAt, 4, bigEndian(1, 4));
    journal.replace(kHeaderSizeAt, 4, bigEndian(header - size, 4));
    mendChecksums(journal);
    return journal;
}

}  // namespace orbo::Files
