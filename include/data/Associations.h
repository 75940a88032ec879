// The whole metadata of one object: a set of channels by name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/AssociationsIterator.h>
#include <data/Channel.h>
#include <data/EditResult.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

class AssociationsImpl;

/// A handle on shared channels, in byte-wise order of their names. Copies see each other's changes
/// until one calls `makeUnique`. The channels that it hands out are handles on the stored ones:
/// changing them changes the associations.
///
///     Associations associations;
///     associations.channel("edge").setDataStream(stream);
///     if (const Channel* edges = associations.findChannel("edge")) ...
///
/// Any number of threads may look for channels and walk them at once, `channel` of a name that is
/// there included, as long as nobody changes the associations or names in it.
class METADATA_API Associations : public Counted<Associations> {
  public:
    using iterator = AssociationsIterator;
    using const_iterator = AssociationsIterator;

    Associations();
    Associations(const Associations& other);
    /// Shares the channels of `other`; null gives new, empty associations.
    explicit Associations(const Associations* other);
    /// Makes new, empty associations on the heap, which the caller deletes.
    static Associations* create();
    Associations& operator=(const Associations& other);
    ~Associations();
    /// Returns true when both share their channels.
    bool operator==(const Associations& other) const;
    bool operator!=(const Associations& other) const { return !(*this == other); }

    /// Gives the stored channel of that name, which is made first if there is none. `findChannel`
    /// looks without making one.
    Channel channel(const std::string& name);
    /// Gives the stored channel of that name, as `findChannel` does; null when there is none, for
    /// associations that are `const` get no channel.
    [[nodiscard]] const Channel* channel(const std::string& name) const {
        return findChannel(name);
    }
    /// Gives the channel at a place in name order; behind the last a new channel that is not
    /// stored.
    [[nodiscard]] Channel channelAt(unsigned int position) const;
    /// Gives the same channel, but null behind the last.
    const Channel* operator[](unsigned int position) const;
    /// Returns null when there is no such channel. It is good until the channel is removed or
    /// replaced.
    Channel* findChannel(const std::string& name);
    [[nodiscard]] const Channel* findChannel(const std::string& name) const;
    /// Stores the channel, whose streams are then shared, in place of one of the same name.
    void setChannel(Channel channel);
    /// The same, but refused when there is a channel of that name.
    EditResult tryAddChannel(const Channel& channel);
    /// Returns false when there is no such channel.
    bool removeChannel(const std::string& name);
    EditResult tryRemoveChannel(const std::string& name);
    /// Never renames: returns false and changes nothing, which old programs rely on. Store the
    /// streams in a channel of the new name instead, and remove the old one.
    bool renameChannel(const std::string& oldName, const std::string& newName);

    [[nodiscard]] unsigned int channelCount() const;
    [[nodiscard]] unsigned int size() const { return channelCount(); }
    [[nodiscard]] bool empty() const { return channelCount() == 0; }

    /// Detaches from associations that share the channels, with everything below. Returns whether a
    /// stream was detached: false also when they were shared but hold no stream. Nothing is
    /// detached when they are not shared, whoever else may hold single channels.
    bool makeUnique();

    [[nodiscard]] AssociationsIterator begin() const;
    [[nodiscard]] AssociationsIterator end() const;
    [[nodiscard]] AssociationsIterator cbegin() const { return begin(); }
    [[nodiscard]] AssociationsIterator cend() const { return end(); }

    using Counted<Associations>::Debug;
    static bool Debug(const Associations* associations, Debug::Footprint& footprint);
    /// Returns false, unlike all other dumps.
    static bool Debug(const Associations* associations, Debug::Print& print);

  private:
    friend class AssociationsIterator;

    AssociationsImpl* fImpl;  // one reference
};

}  // namespace orbo::Data
