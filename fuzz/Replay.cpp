// Runs files, and all files of folders, through a fuzzing target, with any compiler.
// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "Law.h"

namespace {

namespace fs = std::filesystem;

bool run(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(in), {});
    if (!in) return false;
    // Named first: a broken law ends the process.
    std::cerr << path.string() << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            runs += run(argv[i]);
            continue;
        }
        for (const auto& entry : fs::directory_iterator(argv[i])) runs += run(entry.path());
    }
    std::cout << runs << " inputs\n";
    return runs > 0 ? 0 : 1;
}
