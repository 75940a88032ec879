// What Python objects refer to: a scene and its parts, alive as long as somebody refers to them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/Accessor.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Python {

namespace nb = nanobind;

using StructurePtr = RefPtr<const Data::Structure>;

class SceneState;
class NodeState;
class ChannelState;
class StreamState;

/// A part of a scene, or one that a program made on its own. Each part keeps what it belongs to
/// alive, and there is one object for each part, which Python's objects share: so all of them know
/// when it is removed. Everything here is used with the interpreter's lock held.
class Part {
  public:
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;
    virtual ~Part() = default;

    [[nodiscard]] bool isRemoved() const { return fRemoved || (owner() && owner()->isRemoved()); }
    /// Throws `StaleError` when it, or what it belongs to, has been removed.
    void demandPresent() const;
    /// Throws `ReadOnlyError` too, and `BusyError` while another thread saves the scene.
    void demandWritable() const;
    /// Null for a part of no scene.
    [[nodiscard]] const SceneState* scene() const;
    /// Says what it is: `stream "shape"`.
    [[nodiscard]] virtual std::string description() const = 0;

    void noteRemoved() { fRemoved = true; }

  protected:
    Part() = default;
    /// Null for a whole scene, and for a part that belongs to nothing.
    [[nodiscard]] virtual const Part* owner() const = 0;
    virtual void demandOpen() const {}

  private:
    bool fRemoved = false;
};

/// The objects that stand for parts, by name, as long as somebody refers to them.
template <typename State>
class PartCache {
  public:
    /// Gives the object of that name, which `make` makes when there is none.
    template <typename Make>
    std::shared_ptr<State> get(const std::string& name, const Make& make) {
        std::weak_ptr<State>& known = fStates[name];
        if (auto state = known.lock()) return state;
        std::shared_ptr<State> state = make();
        known = state;
        return state;
    }
    void noteRemoved(const std::string& name) {
        const auto found = fStates.find(name);
        if (found == fStates.end()) return;
        if (const auto state = found->second.lock()) state->noteRemoved();
        fStates.erase(found);
    }
    /// Calls `use` with each object that somebody refers to.
    template <typename Use>
    void visit(const Use& use) const {
        for (const auto& [name, known] : fStates)
            if (const auto state = known.lock()) use(name, *state);
    }
    /// The same; those for which `renew` returns false stand for what is gone.
    template <typename Renew>
    void renew(const Renew& renew) {
        for (auto found = fStates.begin(); found != fStates.end();) {
            const auto state = found->second.lock();
            const bool stays = state && renew(found->first, *state);
            if (state && !stays) state->noteRemoved();
            found = stays ? std::next(found) : fStates.erase(found);
        }
    }

  private:
    std::map<std::string, std::weak_ptr<State>> fStates;
};

/// Tells streams by the names of node, channel and stream.
using StreamTest = std::function<bool(const std::string& node, const std::string& channel,
                                      const std::string& stream)>;

class SceneState : public Part, public std::enable_shared_from_this<SceneState> {
  public:
    /// The accessor has just read its file.
    SceneState(std::unique_ptr<Data::Accessor> accessor, bool writable);

    [[nodiscard]] Data::Accessor& accessor() const { return *fAccessor; }
    [[nodiscard]] bool isWritable() const { return fWritable && !fClosed; }
    [[nodiscard]] bool isClosed() const { return fClosed; }
    /// Whether all metadata of the file could be read.
    [[nodiscard]] bool isComplete() const { return fComplete; }
    void close() { fClosed = true; }
    [[nodiscard]] std::string description() const override;

    /// Null when there is no such node. The scene's own metadata has the empty name.
    std::shared_ptr<NodeState> node(const std::string& name);
    std::shared_ptr<NodeState> addNode(const std::string& name);
    void removeNode(const std::string& name);
    /// The names of the nodes, without the scene's own.
    [[nodiscard]] std::vector<std::string> names() const;

    /// Gives the scene's structure that equals this one, which it adds when it has none of the
    /// name. Throws `RefusedError` when it has another one of that name.
    StructurePtr adopt(const StructurePtr& structure);

    /// Changes the model in bulk, behind the backs of its parts: `change` works on the accessor,
    /// and may throw. Parts that are gone afterwards are removed, and all others go on with what is
    /// there under their names. `mayMove` tells the streams whose elements may come, go or move:
    /// while arrays share their memory, throws `BufferError` and changes nothing.
    void changeInBulk(const StreamTest& mayMove, const std::function<void()>& change);

    /// While it lives, other threads may look at the scene, but not change it.
    class Saving {
      public:
        explicit Saving(SceneState& scene);
        ~Saving() { fScene.fIsBeingSaved = false; }

      private:
        SceneState& fScene;
    };

  protected:
    [[nodiscard]] const Part* owner() const override { return nullptr; }
    void demandOpen() const override;

  private:
    void renewParts(const StreamTest& mayMove);

    std::unique_ptr<Data::Accessor> fAccessor;
    bool fWritable;
    bool fComplete;
    bool fClosed = false;
    bool fIsBeingSaved = false;
    PartCache<NodeState> fNodes;
};

class NodeState : public Part, public std::enable_shared_from_this<NodeState> {
  public:
    NodeState(std::shared_ptr<SceneState> scene, std::string name, Data::Associations associations)
        : fScene(std::move(scene)),
          fName(std::move(name)),
          fAssociations(std::move(associations)) {}

    /// Null for a node of no scene.
    [[nodiscard]] SceneState* ownScene() const { return fScene.get(); }
    [[nodiscard]] const std::string& name() const { return fName; }
    [[nodiscard]] Data::Associations& associations() { return fAssociations; }
    [[nodiscard]] std::string description() const override;

    /// Null when there is no such channel.
    std::shared_ptr<ChannelState> channel(const std::string& name);
    std::shared_ptr<ChannelState> addChannel(const std::string& name);
    void removeChannel(const std::string& name);
    [[nodiscard]] std::vector<std::string> names() const;

    /// For `SceneState::changeInBulk`: throws `BufferError`, and takes what is there now.
    void demandMovable(const StreamTest& mayMove) const;
    void renew(const Data::Associations& now, const StreamTest& mayMove);

  protected:
    [[nodiscard]] const Part* owner() const override { return fScene.get(); }

  private:
    std::shared_ptr<SceneState> fScene;
    std::string fName;
    Data::Associations fAssociations;
    PartCache<ChannelState> fChannels;
};

class ChannelState : public Part, public std::enable_shared_from_this<ChannelState> {
  public:
    ChannelState(std::shared_ptr<NodeState> node, Data::Channel channel)
        : fNode(std::move(node)), fChannel(std::move(channel)) {}

    /// Whether it belongs to a node, which `node` then gives.
    [[nodiscard]] bool hasNode() const { return fNode != nullptr; }
    [[nodiscard]] NodeState& node() const { return *fNode; }
    [[nodiscard]] const std::string& name() const { return fChannel.name(); }
    [[nodiscard]] Data::Channel& channel() { return fChannel; }
    [[nodiscard]] std::string description() const override;

    /// Null when there is no such stream.
    std::shared_ptr<StreamState> stream(const std::string& name);
    /// Stores a stream in place of one of the same name. Its elements become the channel's own.
    std::shared_ptr<StreamState> setStream(const Data::Stream& stream);
    void removeStream(const std::string& name);
    [[nodiscard]] std::vector<std::string> names() const;

    /// For `SceneState::changeInBulk`.
    void demandMovable(const StreamTest& mayMove) const;
    void renew(const Data::Channel& now, const StreamTest& mayMove);

  protected:
    [[nodiscard]] const Part* owner() const override { return fNode.get(); }

  private:
    std::shared_ptr<NodeState> fNode;
    Data::Channel fChannel;
    PartCache<StreamState> fStreams;
};

/// Elements are reached through it alone, so it knows when they come and go.
class StreamState : public Part, public std::enable_shared_from_this<StreamState> {
  public:
    /// A stream that a channel has, which is good until it is removed.
    StreamState(std::shared_ptr<ChannelState> channel, Data::Stream& stream)
        : fChannel(std::move(channel)), fStored(&stream) {}
    /// A stream of no channel.
    explicit StreamState(Data::Stream stream) : fOwn(std::move(stream)), fStored(&*fOwn) {}

    /// Call `demandPresent` or `demandWritable` before.
    [[nodiscard]] Data::Stream& stream() const { return *fStored; }
    /// Null for a stream of no channel.
    [[nodiscard]] const std::shared_ptr<ChannelState>& channel() const { return fChannel; }
    [[nodiscard]] std::string description() const override;

    /// A number that another one replaces when elements come, go or move.
    [[nodiscard]] std::uint64_t generation() const { return fGeneration; }
    /// To be called before elements come, go or move. Throws `BufferError` while arrays share the
    /// elements' memory.
    void demandMovable() const;
    void noteMoved() { ++fGeneration; }
    /// Takes what the channel has now in its place.
    void renew(Data::Stream& now, bool isMoved);
    /// Gives the indices of all elements in order. They are listed once, until elements come, go or
    /// move; the list is good until then, too. Call `demandPresent` before.
    const std::vector<Data::Index>& indices();

    void countView(int more) { fViews += more; }
    [[nodiscard]] bool hasViews() const { return fViews > 0; }

    /// Makes the storage dense when the indices are the numbers from 0 without a gap, and tells
    /// whether it is dense.
    bool makeDense();
    /// Makes the storage mapped.
    void makeMapped();

  protected:
    [[nodiscard]] const Part* owner() const override { return fChannel.get(); }

  private:
    std::shared_ptr<ChannelState> fChannel;
    std::optional<Data::Stream> fOwn;
    Data::Stream* fStored;
    std::uint64_t fGeneration = 0;
    struct Listed {
        std::uint64_t generation;
        std::vector<Data::Index> indices;
    };
    std::optional<Listed> fListed;
    int fViews = 0;
};

}  // namespace orbo::Python
