// A hash for which nobody can prepare collisions.
// SPDX-License-Identifier: Apache-2.0
#include "core/KeyedHash.h"

#include <sys/random.h>
#include <unistd.h>

#include <chrono>

namespace orbo::Data {

namespace {

// Without randomness from the system, the key comes from what a file's author cannot know: the
// time, the process, the addresses of stack and library.
KeyedHash::Key makeKey() {
    KeyedHash::Key key;
    const ::ssize_t drawn = ::getrandom(&key, sizeof key, GRND_NONBLOCK);
    if (drawn == static_cast<::ssize_t>(sizeof key)) return key;
    const std::uint64_t sources[] = {
        static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count()),
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()),
        static_cast<std::uint64_t>(::getpid()), reinterpret_cast<std::uintptr_t>(&key),
        reinterpret_cast<std::uintptr_t>(&makeKey)};
    const std::string_view bytes(reinterpret_cast<const char*>(sources), sizeof sources);
    return {KeyedHash::of(bytes, {1, 0}), KeyedHash::of(bytes, {2, 0})};
}

}  // namespace

const KeyedHash& KeyedHash::ofProcess() {
    static const KeyedHash hash(makeKey());
    return hash;
}

}  // namespace orbo::Data
