// Input stream over text in memory, which it does not copy.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <streambuf>
#include <string_view>

namespace orbo::Data {

class MemoryBuffer : public std::streambuf {
  public:
    explicit MemoryBuffer(std::string_view text) {
        // Nothing writes through the pointers: there is no put area, and putting back other
        // characters than those there fails.
        char* const begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }

  protected:
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override {
        off_type from = 0;
        if (direction == std::ios_base::cur) from = gptr() - eback();
        if (direction == std::ios_base::end) from = egptr() - eback();
        return seekpos(from + offset, which);
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
        const off_type to = position;
        if ((which & std::ios_base::in) == 0 || to < 0 || to > egptr() - eback()) {
            return pos_type(off_type(-1));
        }
        setg(eback(), eback() + to, egptr());
        return position;
    }
};

/// The text outlives the stream.
class MemoryStream : private MemoryBuffer, public std::istream {
  public:
    explicit MemoryStream(std::string_view text)
        : MemoryBuffer(text), std::istream(static_cast<MemoryBuffer*>(this)) {}
};

}  // namespace orbo::Data
