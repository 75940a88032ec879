// Collects a text of any length without room for more than is there.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Data {

/// A string that grows is copied into one of twice the size; this keeps what is there where it is.
class LongText {
  public:
    void clear() noexcept {
        fLast.clear();
        fFull.clear();
        fFullSize = 0;
    }
    void append(std::string_view text) {
        while (text.size() > kBlock - fLast.size()) {
            const std::size_t fits = kBlock - fLast.size();
            fLast.append(text.substr(0, fits));
            text.remove_prefix(fits);
            fFullSize += kBlock;
            fFull.push_back(std::exchange(fLast, {}));
        }
        fLast.append(text);
    }
    void append(char c) { append(std::string_view(&c, 1)); }

    [[nodiscard]] std::size_t size() const { return fFullSize + fLast.size(); }
    [[nodiscard]] bool has(char c) const {
        const auto hasIt = [c](const std::string& part) { return part.find(c) != part.npos; };
        return hasIt(fLast) || std::any_of(fFull.begin(), fFull.end(), hasIt);
    }
    /// Moves the text into a block of its own from the heap, with a zero behind it.
    [[nodiscard]] char* toHeap() {
        char* const text = static_cast<char*>(std::malloc(size() + 1));
        if (!text) throw std::bad_alloc();
        copyTo(text);
        return text;
    }
    void moveTo(std::string& text) {
        text.clear();
        if (fFull.empty()) {
            text.swap(fLast);
        } else {
            text.shrink_to_fit();
            text.resize(size());
            copyTo(text.data());
        }
        clear();
    }

  private:
    static constexpr std::size_t kBlock = 128 * 1024;

    void copyTo(char* to) const {
        for (const std::string& part : fFull) to = std::copy(part.begin(), part.end(), to);
        to = std::copy(fLast.begin(), fLast.end(), to);
        *to = '\0';
    }

    std::vector<std::string> fFull;
    std::size_t fFullSize = 0;
    std::string fLast;
};

}  // namespace orbo::Data
