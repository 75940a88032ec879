// The bytes of a JSON document.
// SPDX-License-Identifier: Apache-2.0
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

#include "json/JsonReader.h"

namespace orbo::Quilmeta {

namespace {

constexpr size_t kPieceSize = 1 << 16;

struct Closing {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

size_t readPiece(int descriptor, std::string& piece) {
    piece.resize(kPieceSize);
    for (;;) {
        Signals::stopIfReceived();
        const ssize_t count = ::read(descriptor, piece.data(), piece.size());
        if (count >= 0) return static_cast<size_t>(count);
        if (errno != EINTR) throw CommandError(systemMessage(errno));
    }
}

bool isRegular(int descriptor) {
    struct stat status;
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Copies what is left to a temporary file without a name, and returns a descriptor of it.
int spooled(int descriptor) {
    const std::unique_ptr<std::FILE, Closing> file(std::tmpfile());
    if (!file) throw CommandError("no temporary file: " + systemMessage(errno));
    std::string piece;
    while (const size_t count = readPiece(descriptor, piece))
        if (std::fwrite(piece.data(), 1, count, file.get()) != count)
            throw CommandError("cannot write a temporary file: " + systemMessage(errno));
    if (std::fflush(file.get()) != 0)
        throw CommandError("cannot write a temporary file: " + systemMessage(errno));
    return ::fcntl(::fileno(file.get()), F_DUPFD_CLOEXEC, 0);
}

}  // namespace

JsonSource::JsonSource(int descriptor) : fDescriptor(descriptor) {
    if (descriptor < 0) throw CommandError(systemMessage(errno));
}

JsonSource::JsonSource(JsonSource&& other) noexcept
    : fText(other.fText),
      fIsGiven(other.fIsGiven),
      fDescriptor(std::exchange(other.fDescriptor, -1)),
      fPiece(std::move(other.fPiece)) {}

JsonSource::~JsonSource() {
    if (fDescriptor >= 0) ::close(fDescriptor);
}

JsonSource JsonSource::ofFile(const std::string& file) {
    JsonSource source(file == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                  : ::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (isRegular(source.fDescriptor)) return source;
    JsonSource copy(spooled(source.fDescriptor));
    copy.rewind();
    return copy;
}

void JsonSource::rewind() {
    fIsGiven = false;
    if (fDescriptor >= 0 && ::lseek(fDescriptor, 0, SEEK_SET) < 0)
        throw CommandError(systemMessage(errno));
}

std::string_view JsonSource::next() {
    if (fDescriptor < 0) return std::exchange(fIsGiven, true) ? std::string_view() : fText;
    const size_t count = readPiece(fDescriptor, fPiece);
    return {fPiece.data(), count};
}

}  // namespace orbo::Quilmeta
