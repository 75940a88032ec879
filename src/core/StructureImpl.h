// The data of a structure: its name, its layout, its default block.
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
    /// A block of zeros, as all defaults are zero bits.
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

    /// The layout for a change: a copy if chunks use the present one.
    Layout& editableLayout();

    /// Returns null for a size of 0 and when memory runs out. Two threads may call it at once.
    const DefaultBlock* makeDefaultBlock(std::uint64_t size);
    void dropDefaultBlock();

    std::string name;
    RefPtr<Layout> layout;
    std::atomic<const DefaultBlock*> defaultBlock{nullptr};
    std::atomic<int> registrations{0};  // the number of registries that have it
    bool isDeleting = false;
};

}  // namespace orbo::Data
