// The text format of streams: header lines, then two lines for each element.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamSerializerRaw.h>

#include <data/Stream.h>
#include <data/Structure.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "core/HandleAccess.h"
#include "core/ValueText.h"
#include "debug/NeverDestroyed.h"
#include "formats/BufferedWriter.h"
#include "formats/ElementText.h"
#include "formats/MemberText.h"
#include "formats/RawMessages.h"
#include "formats/StreamTextReader.h"
#include "formats/WriteContext.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

constexpr const char* kValuesDescription =
    R"(
Any text after the terminator will not be read.

The format of {INDEX} varies with the type of Index this Stream
has been defined to accept. In the simplest case it is a number
corresponding to the array index of the Metadata element. In
more complex cases it could be a number pair, a string, or even
a point or vector in space.

The {DATA_AT_INDEX} is a space-separated series of values,
one per structure member. If a data member has length greater
than one then each value appears in order together.

Numeric values are formatted as normal, boolean values can be
0, f, F, false, False, 1, t, T, true, or True with the obvious
meanings. String values must be enclosed in double quotation
marks (") and quotation marks and newlines within the string
must be escaped using the backslash character (\", \n), as
is the backslash itself (\\) Matrix elements are printed in
row-major order (R1C1 R1C2 R1C3 R1C4 R2C1 R2C2...)

Here is a sample of a stream 'S1' that uses a structure named
'X1' with member types integer, string, float[3], and boolean
	S1
	X1
	0
	12 "Shoulder" 0.0 1.0 0.5 true
	3
	88 "Shoulder" -12.3 8.0 2.2 true
	4
	1 "Bicep" 17.0 -1.0 3.5 false
	)";

std::string errorCountText(unsigned int count) {
    return std::to_string(count) + (count > 1 ? " errors" : " error");
}

// The first value of the handle's current member; null without data.
char* memberValues(Handle& handle, const Member& member) {
    return static_cast<char*>(handle.asType(member.type()));
}

/// Writes an index line and a data line for each element.
class ElementWriter final : public ElementVisitor {
  public:
    ElementWriter(const StreamSerializerRaw& format, const Stream& stream, std::ostream& out,
                  std::string& errors)
        : fContext(WriteContext::of(out)),
          fKept(fContext ? fContext->keptOf(stream) : nullptr),
          fSerializer(format),
          fStructure(stream.structure()),
          fLayout(StreamAccess::layoutOf(stream)),
          fText(fLayout),
          fFormat(out),
          fOut(out),
          fErrors(errors),
          fWriter(out) {}

    void visit(unsigned int number, char* chunk) override {
        if (fKept && isKept()) return;
        fWriter.take(ValueText::put(fWriter.room(ValueText::kNumberRoom), fFormat, number));
        writeValues(chunk);
    }
    void visit(const Index& index, char* chunk) override {
        if (fKept && isKept()) return;
        fWriter.write(index.asString());
        writeValues(chunk);
    }
    // Call it behind the last element.
    void flush() { fWriter.flush(); }
    [[nodiscard]] unsigned int errorCount() const { return fErrorCount; }

  private:
    // Leaves the place of the first element of a block to its old text.
    bool isKept() {
        const std::size_t element = fElements++;
        if (!fKept->keeps(element)) return false;
        if (element % fKept->blockSize == 0) {
            fWriter.flush();
            fContext->keep(fKept->blocks[element / fKept->blockSize]);
        }
        return true;
    }

    void writeValues(char* chunk) {
        ++fRecord;
        if (fFormat.isUsual && (chunk || fLayout.totalSize() == 0)) {
            fText.write(fWriter, fFormat, chunk);
        } else {
            fWriter.write('\n');
            fWriter.flush();
            writeMembers(chunk);
        }
    }

    void writeMembers(char* chunk) {
        Handle handle = HandleAccess::borrow(fStructure, fLayout, chunk);
        for (unsigned int i = 0; i < fLayout.memberCount(); ++i) {
            if (i != 0) fWriter.write(' ');
            fWriter.flush();
            handle.setPositionByMemberIndex(i);
            const int errors = fSerializer.writeMember(handle, fRecord, fOut, fErrors);
            fErrorCount += static_cast<unsigned int>(errors);
        }
        fWriter.write('\n');
    }

    WriteContext* const fContext;
    const KeptText* const fKept;
    std::size_t fElements = 0;  // counted if there is a kept text
    const StreamSerializerRaw& fSerializer;
    const Structure& fStructure;
    const Layout& fLayout;
    const ElementText fText;
    const ValueText::NumberFormat fFormat;
    std::ostream& fOut;
    std::string& fErrors;
    BufferedWriter fWriter;
    unsigned int fRecord = 0;
    unsigned int fErrorCount = 0;
};

}  // namespace

StreamSerializerRaw::StreamSerializerRaw() { setDefaultFormat(this); }
StreamSerializerRaw::~StreamSerializerRaw() = default;

const StreamSerializerRaw& StreamSerializerRaw::theFormat() {
    return neverDestroyed<StreamSerializerRaw>(
        [](void* place) { return new (place) StreamSerializerRaw; });
}

const char* StreamSerializerRaw::formatType() const { return keyword(kRaw); }

Stream* StreamSerializerRaw::read(std::istream& in, std::string& errors) const {
    static const StreamTextReader::Keywords words{keyword(kStreamName), keyword(kIndexType),
                                                  keyword(kStructure), keyword(kEndStream)};
    return StreamTextReader(in, words).read(errors).release();
}

unsigned int StreamSerializerRaw::readStructure(const Structure& structure, std::istream& in,
                                                unsigned int record, Handle& handle,
                                                std::string& errors) const {
    unsigned int count = 0;
    for (unsigned int i = 0; i < structure.memberCount() && in.good(); ++i) {
        if (!handle.setPositionByMemberIndex(i)) continue;
        count = saturatedSum(count, readMember(in, record, handle, errors));
    }
    return count;
}

unsigned int StreamSerializerRaw::readMember(std::istream& in, unsigned int record, Handle& handle,
                                             std::string& errors) const {
    const Member& member = HandleAccess::currentMember(handle);
    MemberTextReader reader(in, MemberTextReader::Messages::kKeep);
    const unsigned int count =
        reader.read(member.type(), member.length(), memberValues(handle, member), record);
    errors = reader.messages();
    return count;
}

int StreamSerializerRaw::writeMember(Handle& handle, unsigned int record, std::ostream& out,
                                     std::string& errors) const {
    const Member& member = HandleAccess::currentMember(handle);
    if (const char* values = memberValues(handle, member)) {
        writeMemberText(out, member, values);
        return 0;
    }
    errors += "Member at record " + std::to_string(record) + " not recognized as a " +
              dataType(member.type()).inside +
              "\n1 error found, Member may not be written correctly\n";
    return 1;
}

int StreamSerializerRaw::write(const Stream& stream, std::ostream& out, std::string& errors) const {
    const WriteContext* const context = WriteContext::of(out);
    const KeptText* const kept = context ? context->keptOf(stream) : nullptr;
    if (kept) {
        ValueText::write(out, kept->header);
    } else {
        ValueText::write(out, keyword(kStreamName) + (" " + stream.name()) + "\n" +
                                  keyword(kIndexType) + " " + stream.indexType() + "\n" +
                                  keyword(kStructure) + " " + stream.structure().name() + "\n");
    }
    ElementWriter elements(*this, stream, out, errors);
    StreamAccess::visitElements(stream, elements);
    elements.flush();
    unsigned int count = elements.errorCount();
    ValueText::write(out, kept ? kept->end : keyword(kEndStream) + std::string("\n"));
    std::string own;
    if (out.fail()) {
        own = "Error in stream while writing.\n";
        ++count;
    }
    if (count == 0) return 0;
    errors += own + errorCountText(count) + " found, Stream may not be written correctly\n";
    return static_cast<int>(std::min(count, unsigned{std::numeric_limits<int>::max()}));
}

void StreamSerializerRaw::getFormatDescription(std::ostream& out) const {
    ValueText::write(out, std::string("The ") + keyword(kRaw) +
                              R"( format consists of a structure name and a series 
of values. The first two lines consist of the name of the stream:
	)" + keyword(kStreamName) +
                              R"( {STREAM_NAME}
optionally followed by an index type (numeric if omitted):
	)" + keyword(kIndexType) +
                              R"( {INDEX_TYPE}
and then the name of the structure it uses to define its data:
	)" + keyword(kStructure) +
                              R"( {STRUCTURE_NAME}
This is followed by pairs of lines of data, one per element:
	{INDEX}
	{DATA_AT_INDEX}
terminated with a line containing the literal text:
	)" + keyword(kEndStream) +
                              kValuesDescription + keyword(kEndStream) + "\n");
}

}  // namespace orbo::Data
