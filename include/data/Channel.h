// A named set of streams that describe the same elements.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ChannelIterator.h>
#include <data/EditResult.h>
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
///     Channel edges("edge");
///     Stream* crease = edges.setDataStream(Stream(structure, "crease"));
///     crease->setIndexType("pair");
///     for (const Stream& stream : edges) std::cout << stream.name() << '\n';
///
/// The channel owns the streams that it hands out: they are good until they are removed or
/// replaced. Finding a stream by name takes logarithmic time.
///
/// Any number of threads may look for streams and walk them at once, as long as nobody changes the
/// channel or names in it.
class METADATA_API Channel : public Counted<Channel> {
  public:
    using iterator = ChannelIterator;
    using const_iterator = ChannelIterator;

    /// Makes an empty channel named "Unnamed".
    Channel();
    explicit Channel(const std::string& name);
    /// Copies share the streams.
    Channel(const Channel& other);
    Channel& operator=(const Channel& other);
    ~Channel();
    /// Returns true when both share their streams.
    bool operator==(const Channel& other) const;
    bool operator!=(const Channel& other) const { return !(*this == other); }

    [[nodiscard]] const std::string& name() const;

    /// Stores a copy, which shares the elements, in place of a stream of the same name. Returns the
    /// stored copy, never null.
    Stream* setDataStream(const Stream& stream);
    /// The same, but refused when there is a stream of that name. Find the stored copy by its name.
    EditResult tryAddDataStream(const Stream& stream);
    /// Returns null when there is no such stream.
    Stream* dataStream(const std::string& name) { return findDataStream(name); }
    [[nodiscard]] const Stream* dataStream(const std::string& name) const {
        return findDataStream(name);
    }
    /// Gives the stream at a place in name order, which takes linear time; null behind the last.
    Stream* dataStream(unsigned int position);
    [[nodiscard]] const Stream* dataStream(unsigned int position) const;
    /// Works as `dataStream` of a name.
    Stream* findDataStream(const std::string& name);
    [[nodiscard]] const Stream* findDataStream(const std::string& name) const;
    /// Returns false when there is no such stream.
    bool removeDataStream(const std::string& name);
    EditResult tryRemoveDataStream(const std::string& name);
    /// Returns false without a stream of the old name. Returns false too when the new name is
    /// taken: the channel then no longer has the stream, which lives on until the channel dies.
    bool renameDataStream(const std::string& oldName, const std::string& newName);
    /// The same, but when the new name is taken the channel keeps the stream under its old name.
    EditResult tryRenameDataStream(const std::string& oldName, const std::string& newName);

    /// Sets a default element in every stream whose index type fits; true when one took it.
    bool addElement(const Index& index);
    EditResult tryAddElement(const Index& index);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    bool addElement(const Key& key) {
        return addElement(Index::of(key));
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    EditResult tryAddElement(const Key& key) {
        return tryAddElement(Index::of(key));
    }
    /// Removes the element from every stream whose index type fits; true when there was one such
    /// stream.
    bool removeElement(const Index& index);
    EditResult tryRemoveElement(const Index& index);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    bool removeElement(const Key& key) {
        return removeElement(Index::of(key));
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    EditResult tryRemoveElement(const Key& key) {
        return tryRemoveElement(Index::of(key));
    }

    [[nodiscard]] unsigned int dataStreamCount() const;
    [[nodiscard]] unsigned int size() const { return dataStreamCount(); }
    [[nodiscard]] bool empty() const { return dataStreamCount() == 0; }

    /// Detaches from channels that share the streams, and detaches the streams from everybody who
    /// shares their elements. Returns whether a stream was detached: false also when the channel
    /// was shared but holds no stream. Nothing is detached when the channel is not shared: elements
    /// that it shares with streams outside of it stay shared.
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
