// The streams that copies of a Channel share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "containers/NameOrdered.h"

#include <data/Stream.h>
#include <debug/Counted.h>
#include <debug/RefCounted.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orbo::Data {

/// The name that a stream is ordered by. Throws `std::invalid_argument` for null, so that no null
/// enters a channel.
struct StreamName {
    const std::string& operator()(const std::unique_ptr<Stream>& stream) const;
};

class ChannelImpl : public RefCounted, public Counted<ChannelImpl> {
  public:
    using StreamSet = NameOrdered<std::unique_ptr<Stream>, StreamName>;

    explicit ChannelImpl(const std::string& name);
    /// The copy's streams share their elements with the source's.
    ChannelImpl(const ChannelImpl& other);
    ChannelImpl& operator=(const ChannelImpl&) = delete;
    ~ChannelImpl() override;

    [[nodiscard]] const std::string& name() const { return fName; }
    void setName(const std::string& name) { fName = name; }

    /// In order of the names as they are now.
    StreamSet& streams() const;
    /// In whatever order, for sizes and ends.
    [[nodiscard]] StreamSet& unsortedStreams() const { return fStreams; }

    Stream* setDataStream(const Stream& stream);
    [[nodiscard]] Stream* dataStream(unsigned int position) const;
    [[nodiscard]] Stream* findDataStream(const std::string& name) const;
    bool removeDataStream(const std::string& name);
    /// A stream that is to be renamed, and whether another has the new name.
    struct Rename {
        StreamSet::iterator stream;
        bool isTaken = false;
    };
    [[nodiscard]] Rename planRename(const std::string& oldName, const std::string& newName);
    bool renameDataStream(const std::string& oldName, const std::string& newName);
    /// The first stream that did not take the element is kept in `refused`.
    bool addElement(const Index& index, Stream** refused = nullptr);
    bool removeElement(const Index& index);
    /// Replaces each stream by a deep copy; true when there was one.
    bool makeUnique();

    using Counted<ChannelImpl>::Debug;
    static bool Debug(const ChannelImpl* channel, Debug::Footprint& footprint);
    /// False for null.
    static bool Debug(const ChannelImpl* channel, Debug::Print& print);

  private:
    /// Grows whenever a stream in here may have got another name without `renameDataStream`.
    [[nodiscard]] std::uint64_t renames() const;
    StreamSet::iterator findToChange(const std::string& name);
    [[nodiscard]] std::unique_ptr<Stream> ownCopy(const Stream& stream);

    mutable StreamSet fStreams;  // sorted when first needed, also by readers: see NameOrdered
    std::uint64_t fRenames = 0;  // of stream objects that were assigned others
    std::string fName;
    // Handed-out pointers to streams that a refused rename dropped stay good.
    std::vector<std::unique_ptr<Stream>> fDropped;
};

}  // namespace orbo::Data
