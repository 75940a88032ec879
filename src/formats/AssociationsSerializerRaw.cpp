// The text format of associations: the texts of the channels.
// SPDX-License-Identifier: Apache-2.0
#include <data/AssociationsSerializerRaw.h>

#include "core/Ascii.h"
#include "core/Excerpt.h"
#include "core/GetArea.h"
#include "core/ValueText.h"
#include "debug/NeverDestroyed.h"
#include "formats/RawMessages.h"
#include "formats/ReadContext.h"

#include <data/Associations.h>
#include <data/ChannelSerializerRaw.h>

#include <memory>

namespace orbo::Data {

namespace {

using Kind = ReaderRemarks::Kind;

constexpr const char* kDescription =
    R"(The raw format consists of a list of channels and a marker
indicating the end of the Associations data. Each channel
starts with the literal channel indicator text and the name
of the association type to which the channel is attached:
	channel {ASSOCIATION_TYPE}
This is followed by channel data as described by the
raw channel format type.
terminated with a line containing the literal text:
	endAssociations
Any text after the terminator will not be read.

Here is a sample of associations with 3 channels:
	channel face
	{CHANNEL_DATA_IN_RAW_FORMAT}[0]
	channel vertex
	{CHANNEL_DATA_IN_RAW_FORMAT}[1]
	channel edge
	{CHANNEL_DATA_IN_RAW_FORMAT}[2]
	endAssociations
See the documentation for the raw
channel serialization format for a detailed description
of the {CHANNEL_DATA_IN_RAW_FORMAT} lines.
)";

void readChannel(std::istream& in, Associations& associations, RawMessages& messages) {
    // The channel's own text names it; the word on this line is for people.
    std::string room;
    std::string_view rest;
    ValueText::readLine(in, room, rest);
    std::string nested;
    const std::unique_ptr<Channel> channel(ChannelSerializerRaw::theFormat().read(in, nested));
    messages.takeOver(nested);
    if (channel) {
        ReaderRemarks* const remarks = ReadContext::of(in).listenerFor(Kind::kReplaced);
        if (remarks && associations.findChannel(channel->name())) {
            remarks->add(Kind::kReplaced, "There are several channels of one name",
                         inQuotes(channel->name()), {channel->name()});
        }
        associations.setChannel(*channel);
    } else {
        messages.count(1);
    }
}

void remarkOnRest(std::istream& in) {
    ReaderRemarks* const remarks = ReadContext::of(in).listenerFor(Kind::kPassedOver);
    if (!remarks) return;
    const std::string_view left = Ascii::trim(GetArea::of(*in.rdbuf()));
    if (left.empty()) return;
    remarks->add(Kind::kPassedOver, "There is text behind the end of the associations",
                 std::to_string(left.size()) + " bytes");
}

}  // namespace

AssociationsSerializerRaw::AssociationsSerializerRaw() { setDefaultFormat(this); }

AssociationsSerializerRaw::~AssociationsSerializerRaw() = default;

const AssociationsSerializerRaw& AssociationsSerializerRaw::theFormat() {
    return neverDestroyed<AssociationsSerializerRaw>(
        [](void* place) { return new (place) AssociationsSerializerRaw; });
}

const char* AssociationsSerializerRaw::formatType() const { return keyword(kRaw); }

Associations* AssociationsSerializerRaw::read(std::istream& in, std::string& errors) const {
    auto associations = std::make_unique<Associations>();
    RawMessages messages(errors);
    ValueText::skipBlanks(in);
    for (std::string word; !in.eof();) {
        if (!ValueText::extractWord(in, word)) {
            messages.add("Missing Associations keyword", in);
            break;
        }
        if (word == keyword(kEndAssociations)) {
            remarkOnRest(in);
            break;
        }
        if (word != keyword(kChannel)) {
            messages.add("Unrecognized keyword " + inQuotes(word), in);
            break;
        }
        readChannel(in, *associations, messages);
    }
    if (messages.finish(" found, Associations not created") > 0 && !ReadContext::of(in).partial)
        return nullptr;
    return associations.release();
}

int AssociationsSerializerRaw::write(const Associations& associations, std::ostream& out,
                                     std::string& errors) const {
    RawMessages messages(errors);
    for (const Channel& channel : associations) {
        if (channel.empty()) continue;
        ValueText::write(out, std::string(keyword(kChannel)) + "\n");
        std::string nested;
        messages.count(ChannelSerializerRaw::theFormat().write(channel, out, nested));
        messages.takeOver(nested);
    }
    ValueText::write(out, std::string(keyword(kEndAssociations)) + "\n");
    return messages.finish(" found, Associations may not be written correctly");
}

void AssociationsSerializerRaw::getFormatDescription(std::ostream& out) const {
    ValueText::write(out, kDescription);
}

}  // namespace orbo::Data
