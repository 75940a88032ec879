// Collects a text of any length without room for much more than is there.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace orbo::Data {

/// Unlike a string, which doubles, a long one grows by small steps, and it can be given away as it
/// is. The heap moves large blocks without copying them.
class LongText {
  public:
    LongText() = default;
    LongText(const LongText&) = delete;
    LongText& operator=(const LongText&) = delete;
    ~LongText() { std::free(fText); }

    /// A long text's room goes, too.
    void clear() {
        if (fRoom > kLong) std::free(release());
        fSize = 0;
    }
    void append(std::string_view text) {
        if (text.empty()) return;
        if (text.size() > fRoom - fSize) grow(fSize + text.size());
        std::memcpy(fText + fSize, text.data(), text.size());
        fSize += text.size();
    }
    void append(char c) {
        if (fSize == fRoom) grow(fSize + 1);
        fText[fSize++] = c;
    }

    /// Puts a zero behind the text, which is no part of it.
    void terminate() {
        append('\0');
        --fSize;
    }

    /// Good until the text changes.
    [[nodiscard]] std::string_view view() const { return {fText, fSize}; }
    /// A block of its own from the heap, with a zero behind the text, which is empty then. Throws
    /// `std::bad_alloc`.
    [[nodiscard]] char* toHeap() {
        char* const text = static_cast<char*>(fSize > kLong ? std::realloc(fText, fSize + 1)
                                                            : std::malloc(fSize + 1));
        if (!text) throw std::bad_alloc();
        if (fSize > kLong) {
            fText = text;
            text[fSize] = '\0';
            return release();
        }
        if (fSize != 0) std::memcpy(text, fText, fSize);
        text[std::exchange(fSize, 0)] = '\0';
        return text;
    }

  private:
    static constexpr std::size_t kLong = 64 * 1024;
    static constexpr std::size_t kStep = 512 * 1024;

    void grow(std::size_t size) {
        const std::size_t room = size + std::min(std::max<std::size_t>(size, 64), kStep);
        char* const text = static_cast<char*>(std::realloc(fText, room));
        if (!text) throw std::bad_alloc();
        fText = text;
        fRoom = room;
    }
    char* release() {
        fSize = fRoom = 0;
        return std::exchange(fText, nullptr);
    }

    char* fText = nullptr;
    std::size_t fSize = 0;
    std::size_t fRoom = 0;
};

}  // namespace orbo::Data
