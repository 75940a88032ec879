// Collects a text of any length in little more memory than it needs.
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

/// Grows by small steps where a `std::string` doubles, and can give its block away. The heap moves
/// large blocks without copying them.
class LongText {
  public:
    LongText() = default;
    LongText(const LongText&) = delete;
    LongText& operator=(const LongText&) = delete;
    ~LongText() { std::free(fText); }

    /// Empties the text; also frees the memory of a long one.
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

    /// Puts a NUL behind the text, which does not belong to it.
    void terminate() {
        append('\0');
        --fSize;
    }

    /// The text, valid until it changes.
    [[nodiscard]] std::string_view view() const { return {fText, fSize}; }
    /// Gives the text away as a heap block that ends with a NUL, and leaves this empty. Throws
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
