// The text format of streams: header lines, then two lines for each element.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerRaw.h>
#include <data/StreamSerializer.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

class Handle;
class Structure;

/// Writes a stream as its name, index type and structure, and each element as a line with its index
/// and a line with its values. Numbers of floating point get six digits.
///
///     std::string errors;
///     const std::unique_ptr<Stream> stream(StreamSerializerRaw::theFormat().read(in, errors));
///     if (!stream) std::cerr << errors;
///
/// Reading needs the structure to be registered under the name in the text. A text that is damaged
/// gives null, with a message for each problem. An index of a type that nobody registered throws
/// `Index::eCreatorNotFound`.
class METADATA_API StreamSerializerRaw : public StreamSerializer, private SerializerRaw {
  public:
    /// The one object of this class, which lives as long as the library:
    /// `StreamSerializerRaw::theFormat().write(...)`.
    static const StreamSerializerRaw& theFormat();

    /// "raw", the name that files give the format.
    [[nodiscard]] const char* formatType() const override;
    ~StreamSerializerRaw() override;
    Stream* read(std::istream& in, std::string& errors) const override;
    int write(const Stream& stream, std::ostream& out, std::string& errors) const override;
    void getFormatDescription(std::ostream& out) const override;

    /// Reads one element's values into `handle`, strings replaced without being freed. `record` is
    /// for messages. Returns the number of errors; `errors` then holds the last member's messages.
    unsigned int readStructure(const Structure& structure, std::istream& in, unsigned int record,
                               Handle& handle, std::string& errors) const;
    /// Does the same for the handle's current member. Throws `std::out_of_range` ("Const Member")
    /// when the handle is at its end.
    unsigned int readMember(std::istream& in, unsigned int record, Handle& handle,
                            std::string& errors) const;
    /// Writes the values of the handle's current member, separated by blanks. Returns the number of
    /// errors, with a message for each appended to `errors`: a handle without data is one. Throws
    /// `std::out_of_range` ("Const Member") when the handle is at its end.
    virtual int writeMember(Handle& handle, unsigned int record, std::ostream& out,
                            std::string& errors) const;

  private:
    /// Becomes the family's default.
    StreamSerializerRaw();
    StreamSerializerRaw(const StreamSerializerRaw&) = delete;
    StreamSerializerRaw& operator=(const StreamSerializerRaw&) = delete;
};

}  // namespace orbo::Data
