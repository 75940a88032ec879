// Finds mounts of single files in the table of the system.
// SPDX-License-Identifier: Apache-2.0
#include "files/posix/MountTable.h"

#include <fstream>
#include <sstream>

namespace orbo::Files {

namespace {

bool isOctal(char digit) { return digit >= '0' && digit <= '7'; }

// Blanks, line feeds and backslashes are written as a backslash and three octal digits.
std::string unescaped(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '\\' && text.size() - i > 3 && isOctal(text[i + 1]) &&
                              isOctal(text[i + 2]) && isOctal(text[i + 3]);
        if (!isEscape) {
            plain += text[i];
            continue;
        }
        plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 +
                                   (text[i + 3] - '0'));
        i += 3;
    }
    return plain;
}

std::string lastPartOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

// A line begins with two numbers, the device, the mounted path within the file system, and the
// mount point.
std::vector<std::string> mountsOfFile(const std::string& path, std::istream& table) {
    std::vector<std::string> places;
    const std::string name = lastPartOf(path);
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string number;
        std::string parent;
        std::string device;
        std::string mounted;
        std::string place;
        if (!(fields >> number >> parent >> device >> mounted >> place)) continue;
        place = unescaped(place);
        // Examining every mount could block on a machine that is away.
        if (place == path || lastPartOf(unescaped(mounted)) == name) places.push_back(place);
    }
    return places;
}

std::vector<std::string> mountsOfFile(const std::string& path) {
    std::ifstream table("/proc/self/mountinfo");
    return mountsOfFile(path, table);
}

}  // namespace orbo::Files
