// The last line of a terminal, which tells how far the work is.
// SPDX-License-Identifier: Apache-2.0
#include "process/StatusLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace orbo::Quilmeta::StatusLine {

namespace {

bool gIsOff = false;
bool gIsShown = false;

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stderr); }

bool canTakeBack() {
    const char* terminal = std::getenv("TERM");
    const std::string_view name = terminal ? terminal : "";
    return ::isatty(STDERR_FILENO) == 1 && !name.empty() && name != "dumb";
}

}  // namespace

bool isPossible() {
    static const bool possible = canTakeBack();
    return possible && !gIsOff;
}

void turnOff() { gIsOff = true; }

size_t width() {
    struct winsize size {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return size.ws_col;
}

void show(const std::string& text) {
    if (!isPossible()) return;
    print("\r\x1b[K" + text);
    gIsShown = true;
}

void clear() {
    if (gIsShown) print("\r\x1b[K");
    gIsShown = false;
}

}  // namespace orbo::Quilmeta::StatusLine
