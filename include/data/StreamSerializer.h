// Base of the formats that a stream travels in.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerFamily.h>
#include <debug/Export.h>

#include <iosfwd>
#include <string>

namespace orbo::Data {

class Stream;
class StreamSerializer;

extern template class SerializerFamily<StreamSerializer>;

/// A format turns one kind of object into text and back. Derive from this to add one, and register
/// it: `CONTRIBUTING.md` says how. Any number of threads may use one format at once.
///
///     std::string errors;
///     const auto* format = StreamSerializer::formatByName("raw");
///     Stream* made = format->read(in, errors);
class METADATA_API StreamSerializer : public SerializerFamily<StreamSerializer> {
  public:
    /// Gives the name that files have for the format. It lives as long as the format.
    [[nodiscard]] virtual const char* formatType() const = 0;
    virtual ~StreamSerializer();
    /// Makes a new object that the caller owns, or gives null; messages are appended to `errors`.
    virtual Stream* read(std::istream& in, std::string& errors) const = 0;
    /// Returns the number of errors; messages are appended to `errors`.
    virtual int write(const Stream& stream, std::ostream& out, std::string& errors) const = 0;
    /// Prints a description of the format for people, with a sample.
    virtual void getFormatDescription(std::ostream& out) const = 0;

  protected:
    StreamSerializer() = default;
    StreamSerializer(const StreamSerializer&) = default;
    StreamSerializer& operator=(const StreamSerializer&) = default;
};

}  // namespace orbo::Data
