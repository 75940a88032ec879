// Documents of all metadata: export and import.
// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "Bindings.h"
#include "ChangeFindings.h"
#include "Documents.h"
#include "Problems.h"
#include "Scenes.h"
#include "Signatures.h"
#include "TextOutput.h"
#include "json/DocumentReader.h"
#include "json/JsonDocument.h"
#include "output/NewFile.h"
#include "patches/Import.h"
#include "selection/SceneView.h"

namespace orbo::Python {

namespace {

namespace fs = std::filesystem;
using Quilmeta::ImportHow;
using Quilmeta::SceneModel;
using ScenePtr = std::shared_ptr<SceneState>;

/// Whether only those who insist may replace it.
bool isOther(const std::string& out) {
    std::error_code ignored;
    return fs::is_regular_file(out, ignored) &&
           Quilmeta::kindOf(out) != Quilmeta::FileKind::kDocument;
}

/// Writes the document where it appears complete or not at all.
void writeDocument(const SceneState& scene, const std::string& out, bool force) {
    const fs::path folder = fs::absolute(out).parent_path();
    std::error_code ignored;
    if (fs::is_directory(out, ignored)) raiseSystemError(EISDIR, out);
    if (!fs::is_directory(folder, ignored)) raiseSystemError(ENOENT, out);
    try {
        if (!force && isOther(out)) raiseSystemError(EEXIST, out);
        Quilmeta::NewFile file(out, scene.accessor().fileName(),
                               {Quilmeta::FileKind::kDocument, force});
        Quilmeta::JsonDocument(file.output()).write(Quilmeta::select(scene.accessor(), {}));
        file.commit();
    } catch (const Quilmeta::CommandError& error) {
        raiseCommand(error, out);
    }
}

nb::object exportScene(const SceneState& scene, nb::handle out, bool force) {
    if (!out.is_none()) {
        writeDocument(scene, fileNameOf(out), force);
        return nb::none();
    }
    TextOutput output;
    Quilmeta::JsonDocument(output).write(Quilmeta::select(scene.accessor(), {}));
    return textOf(output.text());
}

nb::object exportFile(nb::handle path, nb::handle out, bool force, double wait) {
    const std::string file = sceneFile(path);
    return exportScene(*readInto(accessorFor(file, wait, Purpose::kLooking), file, false), out,
                       force);
}

/// A document, and the file that it was read from, if any.
struct GivenModel {
    explicit GivenModel(nb::handle given) {
        const GivenDocument document(given, "a document");
        document.read([&](auto& source) { model = Quilmeta::readDocument(source); });
        file = document.file();
    }

    [[nodiscard]] bool hasStream(const std::string& node, const std::string& channel,
                                 const std::string& stream) const {
        const auto found = model.nodes.find(node);
        if (found == model.nodes.end()) return false;
        const Data::Channel* const there = std::as_const(found->second).findChannel(channel);
        return there && there->findDataStream(stream);
    }

    SceneModel model;
    std::string file;
};

/// Changes the scene in memory, or throws and changes nothing.
void import(const GivenModel& given, SceneState& scene, bool replaces) {
    const std::string& file = scene.accessor().fileName();
    try {
        scene.changeInBulk(
            [&](const auto&... names) { return replaces || given.hasStream(names...); },
            [&] {
                Quilmeta::import(given.model, scene.accessor(), scene.isComplete(),
                                 replaces ? ImportHow::kReplace : ImportHow::kMerge);
            });
    } catch (const Quilmeta::StructuresInTheWay& error) {
        raise("RefusedError",
              file + ": " + error.what() + "; replace=True takes the document alone");
    } catch (const Quilmeta::CommandError& error) {
        raiseCommand(error, file);
    }
}

/// Says what of the document the scene cannot hold, if that is why it was refused.
void explain(const GivenModel& given, SceneState& scene) {
    const Quilmeta::JsonProblems refused = Quilmeta::refusedPartsOf(given.model, scene.accessor());
    if (!refused.empty()) raiseDocument(refused, given.file);
}

void importIntoScene(SceneState& scene, nb::handle document, bool replaces) {
    scene.demandWritable();
    import(GivenModel(document), scene, replaces);
}

nb::object importFile(nb::handle path, nb::handle document, bool replaces, bool isDryRun,
                      double wait) {
    sceneFile(path);
    const GivenModel given(document);
    return changeFile(path, wait, isDryRun,
                      {[&](SceneState& scene) { import(given, scene, replaces); },
                       [&](SceneState& scene) { explain(given, scene); }});
}

#define QUILMETA_DOCUMENT "dict[str, typing.Any] | " QUILMETA_PATH

void defineExport(nb::module_& module) {
    const auto define = [&](const char* out, const char* result) {
        const std::string signature = std::string("def export(path: " QUILMETA_PATH ", out: ") +
                                      out + ", *, force: bool = False, wait: float = 10.0) -> " +
                                      result;
        module.def("export", exportFile, nb::arg("path"), nb::arg("out") = nb::none(),
                   nb::kw_only(), nb::arg("force") = false, nb::arg("wait") = 10.0,
                   nb::sig(signature.c_str()),
                   "Gives all metadata of a file as a JSON document, which is lossless; or writes "
                   "it to `out`, which appears when it is complete. An `out` that is there is "
                   "replaced if it is such a document, or with `force`; a scene never is.");
    };
    define("None = None", "str");
    define(QUILMETA_PATH, "None");
    auto scenes = nb::borrow<nb::class_<SceneState>>(nb::type<SceneState>());
    const auto defineMethod = [&](const char* out, const char* result) {
        const std::string signature =
            std::string("def export(self, out: ") + out + ", *, force: bool = False) -> " + result;
        scenes.def("export", exportScene, nb::arg("out") = nb::none(), nb::kw_only(),
                   nb::arg("force") = false, nb::sig(signature.c_str()),
                   "All metadata as it is in memory. See quilmeta.export.");
    };
    defineMethod("None = None", "str");
    defineMethod(QUILMETA_PATH, "None");
}

}  // namespace

void defineExchange(nb::module_& module) {
    defineExport(module);
    const auto define = [&](const char* dryRun, const char* result) {
        const std::string signature =
            std::string("def import_(path: " QUILMETA_PATH ", document: " QUILMETA_DOCUMENT
                        ", *, replace: bool = False, dry_run: ") +
            dryRun + ", wait: float = 10.0) -> " + result;
        module.def("import_", importFile, nb::arg("path"), nb::arg("document"), nb::kw_only(),
                   nb::arg("replace") = false, nb::arg("dry_run") = false, nb::arg("wait") = 10.0,
                   nb::sig(signature.c_str()),
                   "Puts the metadata of a document that `export` gives into a file: a dict, a "
                   "text, or a file. Its streams and structures replace those of the same name, "
                   "and all else stays; with `replace` the file has afterwards what the document "
                   "has. All of the document is checked first: DocumentError has every problem "
                   "with its line and path, RefusedError what stands in the way, and nothing is "
                   "written. Returns whether there was anything to write, and with `dry_run` what "
                   "`quilmeta import --dry-run` prints.");
    };
    nb::borrow<nb::class_<SceneState>>(nb::type<SceneState>())
        .def("import_", importIntoScene, nb::arg("document"), nb::kw_only(),
             nb::arg("replace") = false,
             nb::sig("def import_(self, document: " QUILMETA_DOCUMENT
                     ", *, replace: bool = False) -> None"),
             "Puts the metadata of a document into the scene in memory, all or none. Parts and "
             "elements that are gone then raise StaleError, all others go on; raises BufferError "
             "while arrays share the memory of a stream to be replaced. See quilmeta.import_.");
    define("typing.Literal[False] = False", "bool");
    define("typing.Literal[True]", "str");
}

}  // namespace orbo::Python
