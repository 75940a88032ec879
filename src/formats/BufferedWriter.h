// Collects text in a buffer in front of a stream.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string_view>

#include "core/SixteenBytes.h"

namespace orbo::Data {

/// Writing to the buffer is far faster than to the stream: a stream takes a few thousand characters
/// in the time that it takes for one. The destructor does not flush.
class BufferedWriter {
  public:
    static constexpr std::size_t kRoom = 4096;

    /// The stream outlives this object.
    explicit BufferedWriter(std::ostream& out) : fOut(out) {}
    BufferedWriter(const BufferedWriter&) = delete;
    BufferedWriter& operator=(const BufferedWriter&) = delete;

    /// Returns the place for the next `size` characters, which are at most `kRoom`.
    [[nodiscard]] char* room(std::size_t size) {
        if (static_cast<std::size_t>(fRoom.data() + kRoom - fNext) < size) flush();
        return fNext;
    }
    /// Adds the characters that were put there, up to `end`.
    void take(char* end) { fNext = end; }

    void write(char c) {
        *room(1) = c;
        ++fNext;
    }
    void write(std::string_view text) {
        while (!text.empty()) {
            const std::size_t size = std::min(text.size(), kRoom);
            fNext = std::copy_n(text.data(), size, room(size));
            text.remove_prefix(size);
        }
    }
    /// Writes a string in quotes with the escapes of stream texts.
    void writeQuoted(std::string_view text) {
        write('"');
        const char* at = text.data();
        const char* const last = at + text.size();
        for (;;) {
            const char* const special = findFirstOf(at, last, '"', '\\', '\n');
            write(std::string_view(at, static_cast<std::size_t>(special - at)));
            if (special == last) break;
            char* const to = room(2);
            to[0] = '\\';
            to[1] = *special == '\n' ? 'n' : *special;
            take(to + 2);
            at = special + 1;
        }
        write('"');
    }
    void flush() {
        const std::streamsize size = fNext - fRoom.data();
        fNext = fRoom.data();
        if (fOut.good() && fOut.rdbuf()->sputn(fRoom.data(), size) != size) {
            fOut.setstate(std::ios_base::badbit);
        }
    }

  private:
    std::ostream& fOut;
    std::array<char, kRoom> fRoom;
    char* fNext = fRoom.data();
};

}  // namespace orbo::Data
