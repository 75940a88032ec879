// Names a place in the model for messages.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Channel.h>
#include <data/Index.h>
#include <data/Stream.h>

#include <string>

namespace orbo::Data::ModelPlace {

std::string of(const std::string& node);
std::string of(const std::string& node, const Channel& channel);
std::string of(const std::string& node, const Channel& channel, const Stream& stream);
/// "Node 'x', channel 'c', stream 's', index 7".
std::string of(const std::string& node, const Channel& channel, const Stream& stream,
               const Index& index);

}  // namespace orbo::Data::ModelPlace
