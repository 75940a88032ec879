// What a Structure keeps: its name, its layouts, its default block.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/Layout.h"

namespace orbo::Data {

struct Structure::Impl {
    /// All zero bits: there are no other defaults.
    struct DefaultBlock {
        explicit DefaultBlock(std::uint64_t bytesNeeded)
            : size(bytesNeeded), bytes(static_cast<char*>(std::calloc(1, bytesNeeded))) {}
        DefaultBlock(const DefaultBlock&) = delete;
        DefaultBlock& operator=(const DefaultBlock&) = delete;
        ~DefaultBlock() { std::free(bytes); }

        const std::uint64_t size;
        char* const bytes;
    };

    explicit Impl(const char* givenName);
    ~Impl();

    /// The layout, to be changed: from now on a copy when chunks have the present one.
    Layout& editableLayout();

    /// Null for a size of 0 and when memory runs out. Two threads may ask at once.
    const DefaultBlock* makeDefaultBlock(std::uint64_t size);
    void dropDefaultBlock();

    std::string name;
    RefPtr<Layout> layout;
    std::atomic<const DefaultBlock*> defaultBlock{nullptr};
    std::atomic<int> registrations{0};  // in how many registries
    bool isDeleting = false;
};

}  // namespace orbo::Data
