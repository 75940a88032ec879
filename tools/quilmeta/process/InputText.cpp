// The text of a file that the user names for input.
// SPDX-License-Identifier: Apache-2.0
#include "process/InputText.h"

#include "files/posix/Descriptor.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace orbo::Quilmeta {

namespace {

std::string contentOf(int descriptor) {
    std::string content;
    std::array<char, 1 << 16> piece;
    for (;;) {
        const ssize_t count = ::read(descriptor, piece.data(), piece.size());
        if (count == 0) return content;
        if (count > 0)
            content.append(piece.data(), static_cast<size_t>(count));
        else if (errno != EINTR)
            throw CommandError(systemMessage(errno));
        Signals::stopIfReceived();
    }
}

}  // namespace

std::string inputText(const std::string& file) {
    if (file == "-") return contentOf(STDIN_FILENO);
    const Files::Descriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (opened < 0) throw CommandError(systemMessage(errno));
    return contentOf(opened);
}

}  // namespace orbo::Quilmeta
