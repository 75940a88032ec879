// The whole metadata of one object: a set of channels by name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/AssociationsIterator.h>
#include <data/Channel.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

class AssociationsImpl;

/// A handle on shared channels, in byte-wise order of their names. Copies see each other's changes
/// until one calls `makeUnique`. Channels are handed out as handles on the stored ones.
///
/// Any number of threads may look for channels and walk them at once, `channel` of a name that is
/// there included, as long as nobody changes the associations or names in it.
class METADATA_API Associations : public Counted<Associations> {
  public:
    using iterator = AssociationsIterator;
    using const_iterator = AssociationsIterator;

    Associations();
    Associations(const Associations& other);
    /// Null gives new, empty associations.
    explicit Associations(const Associations* other);
    /// On the heap, owned by the caller.
    static Associations* create();
    Associations& operator=(const Associations& other);
    ~Associations();
    /// True when both share their channels.
    bool operator==(const Associations& other) const;
    bool operator!=(const Associations& other) const { return !(*this == other); }

    /// Made, and stored, if there is none of that name.
    Channel channel(const std::string& name);
    /// Past the end a new channel that is not stored.
    [[nodiscard]] Channel channelAt(unsigned int position) const;
    /// Null past the end.
    const Channel* operator[](unsigned int position) const;
    /// Null when there is no such channel. Good until the channel is removed or replaced.
    Channel* findChannel(const std::string& name);
    [[nodiscard]] const Channel* findChannel(const std::string& name) const;
    /// In place of a channel of the same name; shares the streams.
    void setChannel(Channel channel);
    bool removeChannel(const std::string& name);
    /// Never renames: false and no change, whether or not there is a channel of the old name.
    bool renameChannel(const std::string& oldName, const std::string& newName);

    [[nodiscard]] unsigned int channelCount() const;
    [[nodiscard]] unsigned int size() const { return channelCount(); }
    [[nodiscard]] bool empty() const { return channelCount() == 0; }

    /// Detaches from associations that share the channels, with everything below. Tells whether a
    /// stream was detached: false also when they were shared and detached, but held no stream. Of
    /// associations that are not shared nothing is detached, whoever else may hold single channels.
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
