// Names a place in the model for messages.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Channel.h>
#include <data/Finding.h>
#include <data/Index.h>
#include <data/Stream.h>

#include <string>
#include <string_view>

namespace orbo::Data::ModelPlace {

/// A place in one node. A null pointer means that this part of the place is unknown or does not
/// matter.
struct Spot {
    const std::string& node;
    const Channel* channel = nullptr;
    const Stream* stream = nullptr;
    const Index* index = nullptr;
    const char* member = nullptr;

    /// "Node 'x', channel 'c', stream 's', index 7", as far as it is known; without the member.
    [[nodiscard]] std::string words() const;
    /// A finding without code that says `words(): what`.
    [[nodiscard]] Finding finding(const std::string& what) const;
};

/// "Structure 'x'".
std::string ofStructure(std::string_view name);
std::string of(const std::string& node);
std::string of(const std::string& node, const Channel& channel);
std::string of(const std::string& node, const Channel& channel, const Stream& stream);
/// "Node 'x', channel 'c', stream 's', index 7".
std::string of(const std::string& node, const Channel& channel, const Stream& stream,
               const Index& index);

}  // namespace orbo::Data::ModelPlace
