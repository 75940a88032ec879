// The part of a scene's metadata that the user asked for.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "selection/NamePatterns.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Names that the user asks for.
struct Selection {
    NamePatterns nodes, channels, streams;

    [[nodiscard]] bool everything() const {
        return nodes.empty() && channels.empty() && streams.empty();
    }
    /// Whether the metadata of the node takes part. Without patterns for nodes the scene's own does
    /// as long as no other pattern has a wildcard: a pattern never reaches it, only those who name
    /// it do.
    [[nodiscard]] bool wantsNode(const std::string& name) const;
    /// " --node "a" --channel "b*"", as the user gave it, for messages; empty for everything.
    [[nodiscard]] std::string text() const;
};

/// The values of --node, --channel, --stream and --fixed, as the user gave them.
struct SelectionArguments {
    std::vector<std::string> nodes, channels, streams;
    bool fixed = false;  ///< names, not patterns

    [[nodiscard]] Selection selection() const;
    /// Patterns, or names where `fixed`, of other things than these three.
    [[nodiscard]] NamePatterns patterns(const std::vector<std::string>& texts) const;
    [[nodiscard]] NamePatterns::As as() const {
        return fixed ? NamePatterns::As::kLiteral : NamePatterns::As::kGlob;
    }
};

}  // namespace orbo::Quilmeta
