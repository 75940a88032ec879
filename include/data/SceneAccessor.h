// The accessor for a kind of scene file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/AccessorFactory.h>
#include <data/SceneKind.h>
#include <debug/Export.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orbo::Data {

/// Reads and rewrites any kind of scene: with recovery, careful writing, conflicts and `check`.
/// Nobody needs to derive from it; see `SceneKind`.
///
///     class NoteKind : public SceneKind { ... };
///     static SceneKindFactory<NoteKind> notes("note");
///
/// Everything works as `Accessor` documents it. What the kind throws or gets wrong becomes a
/// finding, and the file stays as it is; only `std::bad_alloc` goes through.
class METADATA_API SceneAccessor : public Accessor {
  public:
    /// Takes over the kind, which must not be null, and keeps it as long as it lives.
    explicit SceneAccessor(std::unique_ptr<const SceneKind> kind);
    ~SceneAccessor() override;

    /// Puts the model in place of the file's metadata, in one recoverable rewrite. Returns false,
    /// with the file as it was, when the last read failed, the policy or the kind refuses the
    /// change, another program has the file for longer than `patience`, or the disk fails.
    bool write(std::string& errors) const override;
    bool rehearse(std::string& errors) const override;
    bool load(const std::string& name, std::string& errors) override;
    [[nodiscard]] std::set<std::string> unloadedNodes() const override;
    /// Reads the whole file, whatever the read policy says, and changes nothing in it.
    void prepareEdits() override;
    std::vector<Finding> check(const std::string& fileName) override;
    /// Returns what `SceneKind::recognise` says of the file; false when it cannot be opened.
    [[nodiscard]] bool isFileSupported(const std::string& fileName) const override;
    [[nodiscard]] bool isEdited() const override;

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override;

  private:
    struct State;
    std::unique_ptr<State> fState;
};

/// Serves an extension while it lives, typically as a static. Without regard to case; an extension
/// that is served already stays with the earlier factory.
template <typename Kind>
class SceneKindFactory : public AccessorFactoryBase {
  public:
    /// The extension is written without a dot, in upper or lower case.
    explicit SceneKindFactory(const std::string& extension) : AccessorFactoryBase(extension) {}
    /// Makes a kind for each accessor. Throws what the constructor of `Kind` throws.
    [[nodiscard]] std::unique_ptr<Accessor> create() override {
        return std::unique_ptr<Accessor>(new SceneAccessor(std::make_unique<Kind>()));
    }
};

}  // namespace orbo::Data
