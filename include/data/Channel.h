// A named set of streams that describe the same elements.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ChannelIterator.h>
#include <data/Index.h>
#include <data/Stream.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

class AssociationsImpl;
class ChannelImpl;

/// A handle on shared streams, in byte-wise order of their names. Copies see each other's changes
/// until one calls `makeUnique`; nothing that changes a channel does that by itself.
///
/// Streams that the channel hands out are its own: good until they are removed or replaced.
///
/// Any number of threads may look for streams and walk them at once, as long as nobody changes the
/// channel or names in it.
class METADATA_API Channel : public Counted<Channel> {
  public:
    using iterator = ChannelIterator;
    using const_iterator = ChannelIterator;

    /// Named "Unnamed".
    Channel();
    explicit Channel(const std::string& name);
    Channel(const Channel& other);
    Channel& operator=(const Channel& other);
    ~Channel();
    /// True when both share their streams.
    bool operator==(const Channel& other) const;
    bool operator!=(const Channel& other) const { return !(*this == other); }

    [[nodiscard]] const std::string& name() const;

    /// Stores a copy, which shares the elements, in place of a stream of the same name.
    Stream* setDataStream(const Stream& stream);
    /// Null when there is no such stream.
    Stream* dataStream(const std::string& name) { return findDataStream(name); }
    [[nodiscard]] const Stream* dataStream(const std::string& name) const {
        return findDataStream(name);
    }
    Stream* dataStream(unsigned int position);
    [[nodiscard]] const Stream* dataStream(unsigned int position) const;
    Stream* findDataStream(const std::string& name);
    [[nodiscard]] const Stream* findDataStream(const std::string& name) const;
    bool removeDataStream(const std::string& name);
    /// False without a stream of the old name. False too when the new name is taken: the channel
    /// then no longer has the stream, which lives on until the channel dies.
    bool renameDataStream(const std::string& oldName, const std::string& newName);

    /// Sets a default element in every stream whose index type fits; true when one took it.
    bool addElement(const Index& index);
    bool removeElement(const Index& index);

    [[nodiscard]] unsigned int dataStreamCount() const;
    [[nodiscard]] unsigned int size() const { return dataStreamCount(); }
    [[nodiscard]] bool empty() const { return dataStreamCount() == 0; }

    /// Detaches from channels that share the streams. The streams are then detached, too, from
    /// everybody who shares their elements. Tells whether one was: false also when the channel was
    /// shared and detached, but held no stream. Of a channel that is not shared nothing is
    /// detached: elements that it shares with streams outside of it stay shared.
    bool makeUnique();

    [[nodiscard]] ChannelIterator begin() const;
    [[nodiscard]] ChannelIterator end() const;
    [[nodiscard]] ChannelIterator cbegin() const { return begin(); }
    [[nodiscard]] ChannelIterator cend() const { return end(); }

    using Counted<Channel>::Debug;
    static bool Debug(const Channel* channel, Debug::Footprint& footprint);
    static bool Debug(const Channel* channel, Debug::Print& print);

  private:
    friend class ChannelAccess;
    friend class ChannelIterator;

    ChannelImpl* fImpl;                  // one reference
    AssociationsImpl* fOwner = nullptr;  // of this object; orders it by name
};

}  // namespace orbo::Data
