// The SHA-256 of a file.
// SPDX-License-Identifier: Apache-2.0
#include "references/Digest.h"

#include "files/posix/Descriptor.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <nettle/sha2.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <vector>

namespace orbo::Quilmeta {

Digest digestOf(const std::string& file) {
    const Files::Descriptor from(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (from < 0) throw CommandError(systemMessage(errno));
    sha256_ctx context;
    sha256_init(&context);
    Digest digest;
    constexpr size_t kStep = size_t{1} << 18;
    std::vector<std::uint8_t> buffer(kStep);
    for (;;) {
        Signals::stopIfReceived();
        const ssize_t got = ::read(from, buffer.data(), kStep);
        if (got < 0 && errno != EINTR) throw CommandError(systemMessage(errno));
        if (got == 0) break;
        if (got < 0) continue;
        sha256_update(&context, static_cast<size_t>(got), buffer.data());
        digest.size += static_cast<std::uint64_t>(got);
    }
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> bytes{};
    sha256_digest(&context, bytes.size(), bytes.data());
    for (const std::uint8_t byte : bytes) digest.sha256 += fmt::format("{:02x}", byte);
    return digest;
}

}  // namespace orbo::Quilmeta
