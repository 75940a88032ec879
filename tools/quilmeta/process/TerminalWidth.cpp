// How wide the terminal is that results go to.
// SPDX-License-Identifier: Apache-2.0
#include "process/TerminalWidth.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace orbo::Quilmeta {

size_t terminalWidth(const Output& output) {
    constexpr size_t kNarrowest = 40;
    constexpr size_t kUsual = 80;
    if (!output.isTerminal()) return 0;
    struct winsize size {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
    return std::max<size_t>(size.ws_col, kNarrowest);
}

}  // namespace orbo::Quilmeta
