// What differs between two scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/Accessor.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Model.h"
#include "patches/Patch.h"
#include "selection/Selection.h"

namespace orbo::Python {

/// What a change needs beside its JSON, so that its values can be made as elements have them.
struct ChangeTypes {
    StructurePtr before, after;  ///< of the stream on each side; null where there is none
    std::string indexType;
};

/// What a Python object of the class Difference holds.
struct DifferenceValue {
    std::shared_ptr<const Quilmeta::Change> change;
    std::shared_ptr<const ChangeTypes> types;
};

/// Finds the types of a change between two scenes; null stands for a scene without anything.
ChangeTypes typesOf(const Quilmeta::Change& change, const Data::Accessor* before,
                    const Data::Accessor* after);
DifferenceValue differenceOf(Quilmeta::Change change, ChangeTypes types);

/// What a Python object of the class Differences holds: it is good when the scenes are gone.
class DifferencesState {
  public:
    /// Compares two scenes. Runs no Python code.
    DifferencesState(const Data::Accessor& before, const Data::Accessor& after,
                     const Quilmeta::Selection& selection, Quilmeta::PatchFiles files);

    [[nodiscard]] const Quilmeta::Patch& patch() const { return fPatch; }
    [[nodiscard]] const Quilmeta::PatchFiles& files() const { return fFiles; }
    [[nodiscard]] std::size_t size() const { return fPatch.changes.size(); }
    /// `self` is what owns this object.
    static DifferenceValue at(const std::shared_ptr<const DifferencesState>& self,
                              std::size_t number);
    /// Gives the text that the command prints, and the text of the patch.
    [[nodiscard]] std::string text() const;
    [[nodiscard]] std::string json() const;

  private:
    void noteTypes(const Data::Accessor& before, const Data::Accessor& after);

    Quilmeta::Patch fPatch;
    Quilmeta::PatchFiles fFiles;
    struct Run {
        std::size_t first;  // change of a stream
        ChangeTypes types;
    };
    std::vector<Run> fRuns;
};

}  // namespace orbo::Python
