// quilmeta set: changes the values of one element.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/CreateStream.h"
#include "patches/Assignment.h"
#include "patches/ChangeReport.h"
#include "scene/Address.h"
#include "scene/SceneFile.h"
#include "selection/FileList.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Structure.h>
#include <fmt/format.h>

#include <new>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"set", "Change values of one element", R"(
A member of several values takes them all, with blanks or commas between, or one
by MEMBER[k]=VALUE; a matrix has 16, row after row. MEMBER:=VALUE takes JSON;
+=, -= and *= calculate. Nothing is written unless all values are good. --create
makes the element, and with --structure also the stream, its channel and its node.
Examples:
  quilmeta set robot.kx --node rig --channel joints --stream pose \
      --index lid side=-1 'label=the lid'
  quilmeta set bare.kx --create --node rig --channel joints --stream pose \
      --structure Joint --index lid side=-1)"};

/// Makes an element with default values.
Data::Handle newElement(const Data::Structure& structure) {
    // Nobody creates a larger element by hand: such a structure is damaged or hostile.
    constexpr unsigned long long kLargest = 1ULL << 26;
    const unsigned long long size = structure.totalSize();
    if (size > kLargest)
        throw CommandError(fmt::format("a new element of structure {} would take {} bytes",
                                       inQuotes(structure.name()), size));
    Data::Handle element(structure);
    if (!element.hasData() && size > 0) throw std::bad_alloc();
    return element;
}

/// Lists the indices of the first elements: more than a message shows, so that it ends with "...".
std::vector<std::string> firstIndices(const Data::Stream& stream) {
    constexpr size_t kMoreThanShown = 16;
    std::vector<std::string> indices;
    for (auto it = stream.cbegin(); it.valid() && indices.size() < kMoreThanShown; ++it)
        indices.push_back(it.index().asString());
    return indices;
}

class Set : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file, which is rewritten");
        options.address(fAddress);
        options.required("--index", "NAME", fIndex, "Element to change");
        options.flag("--create", fCreate, "Make what there is not, the element at least");
        options.optional("--structure", "NAME", fWanted.structure, "Of a stream to make");
        options.optional("--index-type", "TYPE", fWanted.indexType,
                         "Of a stream to make: numeric, pair, string; as the index looks unless "
                         "given");
        options.writing(fAccess);
        options.words("MEMBER=VALUE", fAssignments, "Members, new values");
    }

    Outcome run(Output& output) override {
        if (isAssignment(fFile)) throw UsageError(noFileBut(fFile));
        if (!fCreate && (fWanted.structure || fWanted.indexType))
            throw UsageError("--structure and --index-type go with --create");
        return changeFiles({fFile}, fAccess, 1, output,
                           [this](const FileTurn& turn) { return setValues(turn.output); });
    }

  private:
    FileResult setValues(Output& output) const {
        Scene scene = openScene(fFile, fAccess);
        Data::Stream& stream = fCreate ? findOrCreateStream(scene, fAddress, fWanted, fIndex)
                                       : findStream(*scene.accessor, fAddress);
        const Data::Index index = indexOf(stream, fIndex);
        Data::Handle draft = draftOf(stream, index);
        Assignments(stream.structure(), fAssignments).apply(draft);
        if (!stream.setElement(index, draft)) throw CommandError("not enough memory");
        const bool changed = writeScene(scene, fAccess, output);
        return {scene.outcome(), changed};
    }

    /// A copy of the element, or a new one. The stream keeps its own until all values are good.
    Data::Handle draftOf(Data::Stream& stream, const Data::Index& index) const {
        Data::Handle draft = stream.element(index);
        if (!draft.hasData() && fCreate) return newElement(stream.structure());
        if (!draft.hasData())
            throw CommandError(
                fmt::format("stream {} has no index {}{}; --create makes an element",
                            inQuotes(fAddress.stream), inQuotes(fIndex),
                            nameList("indices", firstIndices(stream),
                                     [](const std::string& text) { return shownName(text); })));
        if (!draft.makeUnique()) throw std::bad_alloc();
        return draft;
    }

    std::string fFile;
    StreamAddress fAddress;
    StreamToCreate fWanted;
    std::string fIndex;
    std::vector<std::string> fAssignments;
    bool fCreate = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeSet() { return std::make_unique<Set>(); }

}  // namespace orbo::Quilmeta
