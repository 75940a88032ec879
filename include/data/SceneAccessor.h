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
class METADATA_API SceneAccessor : public Accessor {
  public:
    explicit SceneAccessor(std::unique_ptr<const SceneKind> kind);
    ~SceneAccessor() override;

    bool write(std::string& errors) const override;
    bool rehearse(std::string& errors) const override;
    std::vector<Finding> check(const std::string& fileName) override;
    [[nodiscard]] bool isFileSupported(const std::string& fileName) const override;

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
    explicit SceneKindFactory(const std::string& extension) : AccessorFactoryBase(extension) {}
    [[nodiscard]] std::unique_ptr<Accessor> create() override {
        return std::unique_ptr<Accessor>(new SceneAccessor(std::make_unique<Kind>()));
    }
};

}  // namespace orbo::Data
