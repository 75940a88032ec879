// Where results go: bytes to a file descriptor, every failure noticed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Buffers what is written and delivers it in large pieces. `write` and `flush` throw `OutputError`
/// when the bytes cannot be delivered. The destructor does not flush.
class Output {
  public:
    /// Delivers to the descriptor, which it does not close. `name` is for messages.
    Output(int descriptor, std::string name);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() = default;

    void write(std::string_view bytes);
    /// Calls `append(text)`, which appends to what was written before. Saves a copy.
    template <typename Append>
    void writeBy(const Append& append) {
        append(fPending);
        deliverMuch();
    }
    void flush();
    /// Puts an empty line in front of what follows, if anything was written before.
    virtual void beginSection();
    /// Makes `write` throw `Interrupted` once a signal has come. Use it for output that may end in
    /// the middle.
    void stopOnSignals() { fStops = true; }
    [[nodiscard]] bool stopsOnSignals() const { return fStops; }
    /// Whether people look at it on a terminal.
    [[nodiscard]] virtual bool isTerminal() const;

  protected:
    /// For an output that delivers in another way.
    Output() = default;
    virtual void deliver(std::string_view bytes);

  private:
    void deliverMuch();

    int fDescriptor = -1;
    std::string fName;
    std::string fPending;
    bool fAnything = false;  // was written
    bool fStops = false;
};

/// Escapes what could fool a terminal, line by line, on the way to another output.
class EscapingOutput : public Output {
  public:
    explicit EscapingOutput(Output& to) : fTo(to) {}
    /// Call it in the end: a last line without a line feed is still here.
    void finish();

  protected:
    void deliver(std::string_view bytes) override;

  private:
    Output& fTo;
    std::string fLine;
};

}  // namespace orbo::Quilmeta
