// The text format of channels: a name and the texts of the streams.
// SPDX-License-Identifier: Apache-2.0
#include <data/ChannelSerializerRaw.h>

#include "containers/ChannelAccess.h"
#include "core/Ascii.h"
#include "core/Excerpt.h"
#include "core/ValueText.h"
#include "debug/NeverDestroyed.h"
#include "formats/RawMessages.h"
#include "formats/ReadContext.h"

#include <data/Channel.h>
#include <data/StreamSerializerRaw.h>

#include <memory>

namespace orbo::Data {

namespace {

constexpr const char* kDescription =
    R"(The raw format consists of a Channel name followed by an optional index
 type followed by a list of streams and a marker which indicates
 the end of the channel data. The stream data consists of two or
more lines in the following pattern:
	stream
	{FORMATTED_STREAM_DATA}
terminated with a line containing the literal text:
	endChannel
Any text after the terminator will not be read.
If the index type is omitted a standard numerical index is used.

Here is a sample of a channel 'C1' with two streams:
	name C1
	stream
	{FORMATTED_STREAM_DATA}
	stream
	{FORMATTED_STREAM_DATA}
	endChannel

See the documentation for the raw stream serialization
format for a detailed description of the )"
    R"(
{FORMATTED_STREAM_DATA} lines.
)";

void readStream(std::istream& in, Channel& channel, RawMessages& messages) {
    std::string nested;
    const std::unique_ptr<Stream> stream(StreamSerializerRaw::theFormat().read(in, nested));
    messages.takeOver(nested);
    if (stream) {
        using Kind = ReaderRemarks::Kind;
        ReaderRemarks* const remarks = ReadContext::of(in).listenerFor(Kind::kReplaced);
        if (remarks && channel.findDataStream(stream->name())) {
            remarks->add(Kind::kReplaced,
                         "Channel " + inQuotes(channel.name()) + " has several streams of one name",
                         inQuotes(stream->name()), {channel.name(), stream->name()});
        }
        channel.setDataStream(*stream);
    } else {
        messages.count(1);
    }
}

}  // namespace

ChannelSerializerRaw::ChannelSerializerRaw() { setDefaultFormat(this); }

ChannelSerializerRaw::~ChannelSerializerRaw() = default;

const ChannelSerializerRaw& ChannelSerializerRaw::theFormat() {
    return neverDestroyed<ChannelSerializerRaw>(
        [](void* place) { return new (place) ChannelSerializerRaw; });
}

const char* ChannelSerializerRaw::formatType() const { return keyword(kRaw); }

Channel* ChannelSerializerRaw::read(std::istream& in, std::string& errors) const {
    auto channel = std::make_unique<Channel>();
    RawMessages messages(errors);
    const ReadContext& context = ReadContext::of(in);
    const std::size_t remarksBefore = context.remarks ? context.remarks->count() : 0;
    const std::size_t streamsBefore = context.outline ? context.outline->streams.size() : 0;
    ValueText::skipBlanks(in);
    std::string word, room;
    for (std::string_view rest;;) {
        ValueText::extractWord(in, word);
        ValueText::readLine(in, room, rest);
        // The last line needs a line end, too.
        if (!in.good()) {
            messages.add("Missing Channel keyword", in);
            break;
        }
        if (word == keyword(kEndChannel)) break;
        if (word == keyword(kStream)) {
            readStream(in, *channel, messages);
        } else if (word == keyword(kChannelName)) {
            ChannelAccess::setName(*channel, std::string(Ascii::trim(rest)));
        } else {
            messages.add("Unrecognized keyword " + inQuotes(word), in);
            break;
        }
    }
    if (context.remarks) context.remarks->nameChannel(remarksBefore, channel->name());
    if (context.outline) context.outline->nameChannel(streamsBefore, channel->name());
    if (messages.finish(" found, Channel not created") > 0 && !context.partial) return nullptr;
    return channel.release();
}

int ChannelSerializerRaw::write(const Channel& channel, std::ostream& out,
                                std::string& errors) const {
    RawMessages messages(errors);
    ValueText::write(out, std::string(keyword(kChannelName)) + " " + channel.name() + "\n");
    for (const Stream& stream : channel) {
        ValueText::write(out, std::string(keyword(kStream)) + "\n");
        std::string nested;
        messages.count(StreamSerializerRaw::theFormat().write(stream, out, nested));
        messages.takeOver(nested);
    }
    ValueText::write(out, std::string(keyword(kEndChannel)) + "\n");
    return messages.finish(" found, Channel may not be written correctly");
}

void ChannelSerializerRaw::getFormatDescription(std::ostream& out) const {
    ValueText::write(out, kDescription);
}

}  // namespace orbo::Data
