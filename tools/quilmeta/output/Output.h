// Where results go: bytes to a file descriptor, every failure noticed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Collects what is written and hands it on in large pieces. All three throw `OutputError` when
/// it cannot be delivered. What was not flushed is lost with the object.
class Output {
  public:
    /// Borrows the descriptor. `name` is for messages.
    Output(int descriptor, std::string name);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void write(std::string_view bytes);
    void flush();
    /// `write` throws `Interrupted` from now on when a signal has come: nothing is lost by stopping
    /// in the middle.
    void stopOnSignals() { fStops = true; }

  private:
    int fDescriptor;
    std::string fName;
    std::string fPending;
    bool fStops = false;
};

}  // namespace orbo::Quilmeta
