// What a Structure keeps: its name, its layouts, its default block.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "core/Layout.h"

namespace orbo::Data {

struct Structure::Impl {
    /// All zero bits: there are no other defaults.
    struct DefaultBlock {
        std::uint64_t size;
        char* bytes;
    };

    explicit Impl(const char* givenName);
    ~Impl();

    [[nodiscard]] const Layout& layout() const { return *layouts.back(); }
    /// The present layout, never to be changed any more.
    const Layout& handOutLayout() {
        if (!handedOut.load(std::memory_order_relaxed)) handedOut = true;
        return layout();
    }
    /// The present layout, to be changed: a copy of it when it was handed out.
    Layout& editableLayout();
    /// Becomes the present one.
    void replaceLayout(std::unique_ptr<Layout> layout);

    /// Null for a size of 0 and when memory runs out. Two threads may ask at once.
    const DefaultBlock* makeDefaultBlock(std::uint64_t size);
    void dropDefaultBlock();

    std::string name;
    std::vector<std::unique_ptr<Layout>> layouts;  // chunks may still have the older ones
    std::atomic<bool> handedOut{false};
    std::atomic<const DefaultBlock*> defaultBlock{nullptr};
    std::atomic<int> registrations{0};  // in how many registries
    bool isDeleting = false;
};

}  // namespace orbo::Data
