// A file descriptor that no child process keeps.
// SPDX-License-Identifier: Apache-2.0
#include "files/posix/Descriptor.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace orbo::Files {

/// All descriptors of this process, to be closed in children that it forks.
class OpenDescriptors {
  public:
    // The system removes these handlers when the library is unloaded.
    static void expectForks() {
        static const int outcome = ::pthread_atfork(beforeFork, afterFork, inChild);
        static_cast<void>(outcome);
    }
    static std::lock_guard<std::mutex> guard() { return std::lock_guard<std::mutex>(fMutex); }

    static void add(Descriptor& descriptor) {
        descriptor.fNext = fFirst;
        if (fFirst) fFirst->fPrevious = &descriptor;
        fFirst = &descriptor;
    }
    static int remove(Descriptor& descriptor) {
        if (descriptor.fNumber < 0) return -1;
        Descriptor* const next = std::exchange(descriptor.fNext, nullptr);
        Descriptor* const previous = std::exchange(descriptor.fPrevious, nullptr);
        if (next) next->fPrevious = previous;
        (previous ? previous->fNext : fFirst) = next;
        return std::exchange(descriptor.fNumber, -1);
    }

    static inline std::atomic<unsigned long> forks{0};

  private:
    // No thread may be changing the list when the child gets its copy.
    static void beforeFork() {
        fMutex.lock();
        ++forks;
    }
    static void afterFork() { fMutex.unlock(); }
    // Makes only calls that are allowed in the child of a process with several threads.
    static void inChild() {
        while (fFirst) ::close(remove(*fFirst));
        fMutex.unlock();
    }

    static inline std::mutex fMutex;
    static inline Descriptor* fFirst = nullptr;
};

Descriptor::Descriptor(int number) : fNumber(number) {
    if (number < 0) return;
    OpenDescriptors::expectForks();
    const auto guard = OpenDescriptors::guard();
    OpenDescriptors::add(*this);
}

Descriptor::Descriptor(Descriptor&& other) noexcept : fNumber(-1) {
    const auto guard = OpenDescriptors::guard();
    fNumber = OpenDescriptors::remove(other);
    if (fNumber >= 0) OpenDescriptors::add(*this);
}

Descriptor::~Descriptor() {
    int number = -1;
    {
        const auto guard = OpenDescriptors::guard();
        number = OpenDescriptors::remove(*this);
    }
    if (number >= 0) ::close(number);
}

unsigned long Descriptor::forks() { return OpenDescriptors::forks; }

}  // namespace orbo::Files
