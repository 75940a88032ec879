// Hands text on in lumps.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace orbo::Data {

/// Collects in memory what is written to `stream()`, which formats like the stream that gets it.
class LumpedOutput : private std::streambuf {
  public:
    /// `out` outlives it. What was not handed on is lost with it.
    explicit LumpedOutput(std::ostream& out) : fOut(out), fStream(this) {
        fStream.copyfmt(out);
        fStream.exceptions(std::ios_base::goodbit);
        start();
    }

    [[nodiscard]] std::ostream& stream() { return fStream; }
    void handOn() {
        const std::streamsize size = pptr() - pbase();
        start();
        if (fOut.good() && fOut.rdbuf()->sputn(pbase(), size) != size) {
            fOut.setstate(std::ios_base::badbit);
        }
    }

  protected:
    int_type overflow(int_type c) override {
        handOn();
        return traits_type::eq_int_type(c, traits_type::eof())
                   ? traits_type::not_eof(c)
                   : sputc(traits_type::to_char_type(c));
    }

  private:
    void start() { setp(fRoom.data(), fRoom.data() + fRoom.size()); }

    std::ostream& fOut;
    std::ostream fStream;
    std::array<char, 4096> fRoom;
};

}  // namespace orbo::Data
