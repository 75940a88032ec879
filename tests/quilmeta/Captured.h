// What a piece of code writes to an Output.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Output.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace orbo::Quilmeta {

template <typename Write>
std::string captured(Write&& write) {
    std::FILE* file = std::tmpfile();
    Output output(::fileno(file), "captured");
    write(output);
    output.flush();
    std::string text(static_cast<size_t>(::lseek(::fileno(file), 0, SEEK_END)), '\0');
    const ssize_t got = ::pread(::fileno(file), text.data(), text.size(), 0);
    std::fclose(file);
    return got == static_cast<ssize_t>(text.size()) ? text : "could not be read";
}

}  // namespace orbo::Quilmeta
