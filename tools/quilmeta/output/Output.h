// Where results go: bytes to a file descriptor, every failure noticed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Buffers what is written and flushes it in large pieces. `write` and `flush` throw `OutputError`
/// when the bytes cannot be delivered. The destructor does not flush.
class Output {
  public:
    /// Does not close the descriptor. `name` is for messages.
    Output(int descriptor, std::string name);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(std::string_view bytes);
    void flush();
    /// Makes `write` throw `Interrupted` once a signal has come. Use it for output that may end in
    /// the middle.
    void stopOnSignals() { fStops = true; }

  private:
    int fDescriptor;
    std::string fName;
    std::string fPending;
    bool fStops = false;
};

}  // namespace orbo::Quilmeta
