// Base of the formats that a channel travels in.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerFamily.h>
#include <debug/Export.h>

#include <iosfwd>
#include <string>

namespace orbo::Data {

class Channel;
class ChannelSerializer;

extern template class SerializerFamily<ChannelSerializer>;

/// A format turns one kind of object into text and back. Derive from this to add one, and register
/// it: `CONTRIBUTING.md` says how. Any number of threads may use one format at once.
///
///     std::string errors;
///     const auto* format = ChannelSerializer::formatByName("raw");
///     Channel* made = format->read(in, errors);
class METADATA_API ChannelSerializer : public SerializerFamily<ChannelSerializer> {
  public:
    /// Gives the name that files have for the format. It lives as long as the format.
    [[nodiscard]] virtual const char* formatType() const = 0;
    virtual ~ChannelSerializer();
    /// Makes a new object that the caller owns, or gives null; messages are appended to `errors`.
    virtual Channel* read(std::istream& in, std::string& errors) const = 0;
    /// Returns the number of errors; messages are appended to `errors`.
    virtual int write(const Channel& channel, std::ostream& out, std::string& errors) const = 0;
    /// Prints a description of the format for people, with a sample.
    virtual void getFormatDescription(std::ostream& out) const = 0;

  protected:
    ChannelSerializer() = default;
    ChannelSerializer(const ChannelSerializer&) = default;
    ChannelSerializer& operator=(const ChannelSerializer&) = default;
};

}  // namespace orbo::Data
