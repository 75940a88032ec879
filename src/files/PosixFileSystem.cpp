// The files of the operating system, interrupted calls and short counts taken care of.
// SPDX-License-Identifier: Apache-2.0
#ifndef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64
#endif

#include "files/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace orbo::Files {

namespace {

static_assert(sizeof(off_t) >= 8, "offsets in scenes need 64 bits");

// Systems differ in how much they move in one call; all take this much.
constexpr std::size_t kMostPerCall = std::size_t{1} << 30;

template <typename Call>
auto untilNotInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

bool isOffset(std::uint64_t offset) {
    return offset <= static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
}

class PosixFile : public File {
  public:
    explicit PosixFile(int descriptor) : fDescriptor(descriptor) {}
    ~PosixFile() override { ::close(fDescriptor); }

    [[nodiscard]] bool isRegular() const {
        struct stat status = {};
        return ::fstat(fDescriptor, &status) == 0 && S_ISREG(status.st_mode);
    }

    std::optional<std::uint64_t> size() override {
        struct stat status = {};
        if (::fstat(fDescriptor, &status) != 0 || status.st_size < 0) return std::nullopt;
        return static_cast<std::uint64_t>(status.st_size);
    }

    bool seek(std::uint64_t offset) override {
        return isOffset(offset) &&
               ::lseek(fDescriptor, static_cast<off_t>(offset), SEEK_SET) != off_t{-1};
    }

    std::optional<std::size_t> read(char* to, std::size_t count) override {
        std::size_t done = 0;
        while (done < count) {
            const std::size_t most = std::min(count - done, kMostPerCall);
            const ssize_t got =
                untilNotInterrupted([&] { return ::read(fDescriptor, to + done, most); });
            if (got < 0) return std::nullopt;
            if (got == 0) break;
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

    bool write(const char* from, std::size_t count) override {
        while (count > 0) {
            const std::size_t most = std::min(count, kMostPerCall);
            const ssize_t put =
                untilNotInterrupted([&] { return ::write(fDescriptor, from, most); });
            if (put <= 0) return false;
            from += put;
            count -= static_cast<std::size_t>(put);
        }
        return true;
    }

    bool truncate(std::uint64_t length) override {
        return isOffset(length) && untilNotInterrupted([&] {
                                       return ::ftruncate(fDescriptor, static_cast<off_t>(length));
                                   }) == 0;
    }

    bool sync() override { return ::fsync(fDescriptor) == 0; }

  private:
    int fDescriptor;
};

}  // namespace

std::unique_ptr<File> PosixFileSystem::open(const std::string& name, Mode mode) {
    // Without O_NONBLOCK a named pipe would wait here for its other end.
    const int flags = (mode == Mode::kRead ? O_RDONLY : O_RDWR) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int descriptor = untilNotInterrupted([&] { return ::open(name.c_str(), flags); });
    if (descriptor < 0) return nullptr;
    auto file = std::make_unique<PosixFile>(descriptor);
    if (!file->isRegular()) return nullptr;
    return file;
}

}  // namespace orbo::Files
