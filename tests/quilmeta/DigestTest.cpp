// The SHA-256 of files.
// SPDX-License-Identifier: Apache-2.0
#include "process/CommandError.h"
#include "references/Digest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace orbo::Quilmeta {
namespace {

TEST(Digest, IsThatOfTheStandard) {
    const struct {
        std::string text;
        const char* sha256;
    } rows[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {std::string(1'000'000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    const std::string file = testing::TempDir() + "digest";
    for (const auto& row : rows) {
        std::ofstream(file, std::ios::binary) << row.text;
        const Digest digest = digestOf(file);
        EXPECT_EQ(digest.size, row.text.size());
        EXPECT_EQ(digest.sha256, row.sha256);
    }
    std::remove(file.c_str());
    EXPECT_THROW(digestOf(file), CommandError);
}

}  // namespace
}  // namespace orbo::Quilmeta
