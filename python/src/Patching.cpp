// Patches: the changes of one scene, made in another.
// SPDX-License-Identifier: Apache-2.0
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "Bindings.h"
#include "ChangeFindings.h"
#include "Differences.h"
#include "Documents.h"
#include "Problems.h"
#include "Scenes.h"
#include "Signatures.h"
#include "patches/Apply.h"
#include "patches/Import.h"

namespace orbo::Python {

namespace {

using Quilmeta::Change;
using DifferencesPtr = std::shared_ptr<DifferencesState>;

/// A patch, and the file that it was read from, if any.
struct GivenPatch {
    Quilmeta::Patch patch;
    std::string file;
};

GivenPatch patchOf(nb::handle given, bool isReversed) {
    GivenPatch found;
    DifferencesPtr differences;
    if (nb::try_cast(given, differences) && differences) {
        found.patch = differences->patch();
    } else {
        const GivenDocument document(given, "a patch");
        document.read([&](auto& source) { found.patch = Quilmeta::readPatch(source); });
        found.file = document.file();
    }
    if (isReversed) found.patch = Quilmeta::reversed(std::move(found.patch));
    return found;
}

/// Makes all changes, or throws and makes none.
void applyTo(const GivenPatch& given, SceneState& scene) {
    const std::string& file = scene.accessor().fileName();
    std::set<std::string> nodes;
    std::set<std::tuple<std::string, std::string, std::string>> streams;
    for (const Change& change : given.patch.changes) {
        if (change.kind == Change::Kind::kStructure) continue;
        nodes.insert(change.node);
        streams.emplace(change.node, change.channel, change.stream);
    }
    scene.demandWritable();
    try {
        Quilmeta::demandReadable(scene.accessor(), scene.isComplete(), nodes);
    } catch (const Quilmeta::CommandError& error) {
        raiseCommand(error, file);
    }
    Quilmeta::ApplyProblems problems;
    scene.changeInBulk([&](const auto&... names) { return streams.count({names...}) > 0; },
                       [&] { problems = Quilmeta::apply(given.patch, scene.accessor()); });
    if (!problems.ofPatch.empty()) raiseDocument(problems.ofPatch, given.file);
    if (!problems.empty()) raiseProblems(problems.ofScene, file);
}

void patchScene(SceneState& scene, nb::handle patch, bool isReversed) {
    scene.demandWritable();
    applyTo(patchOf(patch, isReversed), scene);
}

nb::object patchFile(nb::handle path, nb::handle patch, bool isReversed, bool isDryRun,
                     double wait) {
    sceneFile(path);
    const GivenPatch given = patchOf(patch, isReversed);
    return changeFile(path, wait, isDryRun, {[&](SceneState& scene) { applyTo(given, scene); }});
}

}  // namespace

void definePatching(nb::module_& module) {
    nb::borrow<nb::class_<SceneState>>(nb::type<SceneState>())
        .def(
            "patch", patchScene, nb::arg("patch"), nb::kw_only(), nb::arg("reverse") = false,
            nb::sig("def patch(self, patch: " QUILMETA_PATCH ", *, reverse: bool = False) -> None"),
            "Makes all changes of a patch in memory, or none. Parts and elements that the patch "
            "takes away raise StaleError, all others go on; raises BufferError while arrays share "
            "the memory of a stream to be changed. See quilmeta.patch.");
    const auto define = [&](const char* signature) {
        module.def("patch", patchFile, nb::arg("path"), nb::arg("patch"), nb::kw_only(),
                   nb::arg("reverse") = false, nb::arg("dry_run") = false, nb::arg("wait") = 10.0,
                   nb::sig(signature),
                   "Makes all changes of a patch in a file, or with `reverse` undoes them: of one "
                   "that `diff` gives, or of the document, as a dict, as a text or in a file. "
                   "Every old value must be what the scene has, bit by bit, else raises "
                   "RefusedError with a finding for each that is not, and changes nothing. Raises "
                   "DocumentError for what is no patch. Returns whether there was anything to "
                   "write, and with `dry_run` what `quilmeta patch --dry-run` prints.");
    };
    define("def patch(path: " QUILMETA_PATH ", patch: " QUILMETA_PATCH
           ", *, reverse: bool = False, "
           "dry_run: typing.Literal[False] = False, wait: float = 10.0) -> bool");
    define("def patch(path: " QUILMETA_PATH ", patch: " QUILMETA_PATCH
           ", *, reverse: bool = False, "
           "dry_run: typing.Literal[True], wait: float = 10.0) -> str");
}

}  // namespace orbo::Python
