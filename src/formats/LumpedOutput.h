// Hands text on in lumps.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string_view>

namespace orbo::Data {

/// Collects characters in memory: a stream takes a few thousand in the time that it takes for one
/// of them. What was not handed on is lost with it.
class LumpedOutput {
  public:
    static constexpr std::size_t kRoom = 4096;

    /// The stream outlives it.
    explicit LumpedOutput(std::ostream& out) : fOut(out) {}
    LumpedOutput(const LumpedOutput&) = delete;
    LumpedOutput& operator=(const LumpedOutput&) = delete;

    /// Where the next `size` characters go, which are at most `kRoom`.
    [[nodiscard]] char* room(std::size_t size) {
        if (static_cast<std::size_t>(fRoom.data() + kRoom - fNext) < size) handOn();
        return fNext;
    }
    /// Takes those that were put there, up to `end`.
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
    /// As stream texts have strings.
    void writeQuoted(const char* text) {
        write('"');
        for (; *text != '\0'; ++text) {
            char* to = room(2);
            if (*text == '"' || *text == '\\' || *text == '\n') *to++ = '\\';
            *to++ = *text == '\n' ? 'n' : *text;
            take(to);
        }
        write('"');
    }
    void handOn() {
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
