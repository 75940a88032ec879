// Merging scenes.
// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "Bindings.h"
#include "ChangeFindings.h"
#include "Differences.h"
#include "Problems.h"
#include "Scenes.h"
#include "Signatures.h"
#include "TextOutput.h"
#include "patches/DiffText.h"
#include "patches/MergeScenes.h"
#include "process/Messages.h"
#include "values/Wording.h"

namespace orbo::Python {

namespace {

namespace fs = std::filesystem;
using Data::Accessor;
using Quilmeta::MergeRequest;
using Quilmeta::MergeResult;
using Quilmeta::MergeSide;
using ScenePtr = std::shared_ptr<SceneState>;

std::optional<MergeSide> sideOf(nb::handle payload) {
    if (payload.is_none()) return {};
    const std::string side = bytesOf(payload, "payload");
    if (side != "ours" && side != "theirs")
        throw nb::value_error("payload is \"ours\", \"theirs\" or None");
    return side == "ours" ? MergeSide::kOurs : MergeSide::kTheirs;
}

/// Throws when the file cannot be written there, or must stay.
void demandPlace(const MergeRequest& request, bool force) {
    std::error_code ignored;
    if (fs::is_directory(request.out, ignored)) raiseSystemError(EISDIR, request.out);
    if (!force && fs::exists(request.out, ignored)) raiseSystemError(EEXIST, request.out);
    const fs::path folder = fs::absolute(request.out).parent_path();
    if (!fs::is_directory(folder, ignored)) raiseSystemError(ENOENT, request.out);
    Quilmeta::demandSameKind(request.out, request.ours);
}

ScenePtr readCompletely(const std::string& file, double wait) {
    ScenePtr scene = readInto(accessorFor(file, wait, Purpose::kLooking), file, false);
    const auto& findings = scene->accessor().findings();
    if (!Quilmeta::isComplete(findings))
        raise("RefusedError", file + ": not all metadata can be read, so nothing was merged",
              findings, file);
    return scene;
}

/// Collects the conflicts of a merge, as objects and as findings.
class Conflicts {
  public:
    explicit Conflicts(std::string file) : fFile(std::move(file)) {}

    /// `place` is null where the conflict has none.
    void add(const std::string& text, const Quilmeta::Change* place,
             const nb::object& ours = nb::none(), const nb::object& theirs = nb::none()) {
        const std::string message = withoutLineEnd(text);
        fConflicts.append(module().attr("MergeConflict")(textOf(message), ours, theirs));
        fFindings.append(findingAt("merge-conflict", message, fFile, place));
        fText += '\n' + message;
    }
    [[noreturn]] void raise() const {
        const nb::object type = module().attr("MergeError");
        const std::string count = Quilmeta::counted(nb::len(fConflicts), "conflict");
        const nb::object error =
            type(textOf(fFile + ": " + count + ", nothing was written" + fText),
                 nb::tuple(fFindings), nb::tuple(fConflicts));
        PyErr_SetObject(type.ptr(), error.ptr());
        nb::raise_python_error();
    }

  private:
    static nb::object module() { return nb::module_::import_("quilmeta._merging"); }

    std::string fFile;
    nb::list fConflicts, fFindings;
    std::string fText;
};

[[noreturn]] void raiseConflicts(const MergeResult& result, const MergeRequest& request,
                                 const Quilmeta::MergeSides& sides) {
    Conflicts conflicts(request.out);
    const auto sideOf = [&](const Quilmeta::Change& change, const Accessor& side) {
        return nb::cast(differenceOf(change, typesOf(change, sides.base, &side)));
    };
    for (const Quilmeta::MergeConflict& conflict : result.conflicts)
        conflicts.add(textOf(conflict), &partOf(conflict), sideOf(conflict.ours, sides.ours),
                      sideOf(conflict.theirs, sides.theirs));
    if (result.isPayloadInConflict)
        conflicts.add(
            "conflict: both sides changed the payload, which does not merge; "
            "payload=\"ours\" or payload=\"theirs\" takes one",
            nullptr);
    for (const Quilmeta::ApplyProblem& use : result.uses)
        conflicts.add("conflict: " + use.text(), &use.place);
    conflicts.raise();
}

MergeResult mergeUnlocked(const MergeRequest& request, const Quilmeta::MergeSides& sides) {
    const nb::gil_scoped_release unlocked;
    std::string ignored;  // nothing that an exception does not say
    const Quilmeta::MessageCapture silent(ignored);
    return Quilmeta::merge(request, sides);
}

/// Gives what a dry run would print, or None.
nb::object merge(nb::handle base, nb::handle ours, nb::handle theirs, nb::handle out,
                 nb::handle payload, bool force, bool dryRun, double wait) {
    patienceOf(wait);
    MergeRequest request;
    request.payload = sideOf(payload);
    request.access.wait = wait;
    request.access.dryRun = dryRun;
    request.base = sceneFile(base);
    request.ours = sceneFile(ours);
    request.theirs = sceneFile(theirs);
    request.out = fileNameOf(out);
    try {
        demandPlace(request, force);
        ScenePtr origin;
        if (!Quilmeta::isEmptyFile(request.base)) origin = readCompletely(request.base, wait);
        const ScenePtr our = readCompletely(request.ours, wait);
        const ScenePtr their = readCompletely(request.theirs, wait);
        const Quilmeta::MergeSides sides{origin ? &origin->accessor() : nullptr, our->accessor(),
                                         their->accessor()};
        const MergeResult result = mergeUnlocked(request, sides);
        if (result.hasConflict()) raiseConflicts(result, request, sides);
        if (!dryRun) return nb::none();
        TextOutput output;
        Quilmeta::printDifferences(result.changes, request.ours, request.out + " (dry run)",
                                   output);
        return textOf(output.text());
    } catch (const Quilmeta::CommandError& error) {
        raiseCommand(error, request.out);
    }
}

}  // namespace

void defineMerging(nb::module_& module) {
    const auto define = [&](const char* signature) {
        module.def(
            "merge", merge, nb::arg("base"), nb::arg("ours"), nb::arg("theirs"), nb::arg("out"),
            nb::kw_only(), nb::arg("payload") = nb::none(), nb::arg("force") = false,
            nb::arg("dry_run") = false, nb::arg("wait") = 10.0, nb::sig(signature),
            "Writes to `out` what `ours` and `theirs` changed of the metadata of `base`; an empty "
            "file is a base that neither side had. Where both changed the same value, each in "
            "another way, raises MergeError with all such conflicts, and `out` is as it was. Only "
            "metadata merges: if one side changed the rest of the file, `out` gets it from there; "
            "if both did, `payload` must say whose to take. An `out` that is there is replaced "
            "only with `force`. `dry_run` returns what `quilmeta merge --dry-run` prints.");
    };
    define("def merge(base: " QUILMETA_PATH ", ours: " QUILMETA_PATH ", theirs: " QUILMETA_PATH
           ", out: " QUILMETA_PATH
           ", *, payload: typing.Literal['ours', 'theirs'] | None = None, "
           "force: bool = False, dry_run: typing.Literal[False] = False, wait: float = 10.0) "
           "-> None");
    define("def merge(base: " QUILMETA_PATH ", ours: " QUILMETA_PATH ", theirs: " QUILMETA_PATH
           ", out: " QUILMETA_PATH
           ", *, payload: typing.Literal['ours', 'theirs'] | None = None, "
           "force: bool = False, dry_run: typing.Literal[True], wait: float = 10.0) -> str");
}

}  // namespace orbo::Python
