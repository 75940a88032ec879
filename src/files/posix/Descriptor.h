// A file descriptor that no child process keeps.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Files {

/// Closes the file at the end of its life. A lock belongs to all processes that have the file open,
/// so the child of a `fork` closes its copy before `fork` returns there. In the child the
/// descriptor then has no number, and all calls fail.
class Descriptor {
  public:
    /// Takes the result of a call such as `open`; a negative number means no file.
    explicit Descriptor(int number);
    Descriptor(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor();
    // NOLINTNEXTLINE(google-explicit-constructor): it is the number wherever one is wanted
    operator int() const { return fNumber; }

    /// Calls `open`; calls it again if a child was forked before this descriptor was in the list.
    template <typename Open>
    static Descriptor opened(Open open) {
        for (int tries = 0;; ++tries) {
            const unsigned long before = forks();
            Descriptor descriptor(open());
            if (descriptor < 0 || forks() == before || tries == kMostTries) return descriptor;
        }
    }

  private:
    friend class OpenDescriptors;
    static constexpr int kMostTries = 100;
    static unsigned long forks();

    int fNumber;
    Descriptor* fNext = nullptr;
    Descriptor* fPrevious = nullptr;
};

}  // namespace orbo::Files
