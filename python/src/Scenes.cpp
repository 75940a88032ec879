// Scenes: opening, saving and closing them, and their nodes.
// SPDX-License-Identifier: Apache-2.0
#include "Scenes.h"

#include <data/Accessor.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>

#include "Bindings.h"
#include "Containers.h"
#include "Contents.h"
#include "Mappings.h"
#include "Problems.h"
#include "Structures.h"
#include "TextOutput.h"
#include "output/TargetPath.h"
#include "patches/ChangeReport.h"
#include "process/FileCopy.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

namespace fs = std::filesystem;
using Data::Accessor;
using nb::literals::operator""_a;
using NodePtr = std::shared_ptr<NodeState>;
using ScenePtr = std::shared_ptr<SceneState>;
using Quilmeta::inQuotes;

/// Throws the `OSError` of a file that is not there, no regular file, or not to be read.
void demandReadable(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) raiseSystemError(errno, file);
    if (S_ISDIR(status.st_mode)) raiseSystemError(EISDIR, file);
    if (!S_ISREG(status.st_mode)) raise("NotASceneError", file + ": is not a regular file");
    if (::access(file.c_str(), R_OK) != 0) raiseSystemError(errno, file);
}

/// Tells of metadata that cannot be read, and that a save keeps as it is.
void warnOf(const Accessor& scene) {
    for (const Data::Finding& finding : scene.findings())
        if (Data::Finding::isInErrors(finding.code))
            warn(scene.fileName() + ": " + finding.message);
}

/// Takes None for all processors.
unsigned threadsOf(nb::handle count) {
    if (count.is_none()) return kAllProcessors;
    long long threads = 0;
    if (PyBool_Check(count.ptr()) || !nb::try_cast(count, threads))
        throw nb::type_error("threads is a number, or None for all processors");
    if (threads < 1 || threads > std::numeric_limits<int>::max())
        throw nb::value_error("threads is at least 1");
    return static_cast<unsigned>(threads);
}

ScenePtr open(nb::handle path, const std::string& mode, double wait, nb::handle threads) {
    if (mode != "r" && mode != "r+")
        throw nb::value_error(
            ("a scene is opened with \"r\" or \"r+\", not " + inQuotes(mode)).c_str());
    const std::string file = sceneFile(path);
    const bool writable = mode == "r+";
    if (writable && ::access(file.c_str(), W_OK) != 0) raiseSystemError(errno, file);
    const Purpose purpose = writable ? Purpose::kEditing : Purpose::kLooking;
    return readInto(accessorFor(file, wait, purpose, threadsOf(threads)), file, writable);
}

/// Writes the scene, or makes only the checks that come before the first byte is written.
void write(SceneState& scene, bool isRehearsal) {
    const SceneState::Saving saving(scene);
    const Accessor& accessor = scene.accessor();
    bool isDone = false;
    std::string errors;
    {
        const nb::gil_scoped_release unlocked;
        isDone = isRehearsal ? accessor.rehearse(errors) : accessor.write(errors);
    }
    throwInterruption();
    if (!isDone) raiseUnwritten(accessor, errors);
    warnOf(accessor);
}

/// A copy of a scene's file that goes again unless it gets its name in the end.
class NewScene {
  public:
    NewScene(const std::string& source, const fs::path& path)
        : fPath(path),
          fTemporary(path.parent_path() /
                     ("." + path.stem().string() + "." + std::to_string(::getpid()) +
                      path.extension().string())) {
        Quilmeta::FileCopy copy(source, fTemporary.string(), Quilmeta::FileCopy::Rights::kMode);
        if (!copy.place(fTemporary.string()))
            throw Quilmeta::CommandError(fTemporary.string() + " is in the way");
    }
    NewScene(const NewScene&) = delete;
    NewScene& operator=(const NewScene&) = delete;
    ~NewScene() {
        if (!fIsPlaced) ::unlink(fTemporary.c_str());
    }

    [[nodiscard]] std::string temporary() const { return fTemporary.string(); }
    /// Returns 0, or the system's error: never replaces a file.
    int place() {
        const auto how = Quilmeta::Rename::kNeverOver;
        if (Quilmeta::rename(fTemporary.string(), fPath.string(), how) != 0) return errno;
        fIsPlaced = true;
        return 0;
    }

  private:
    fs::path fPath;
    fs::path fTemporary;
    bool fIsPlaced = false;
};

/// Writes the model into a copy of the file that it was read from.
void writeInto(const NewScene& made, const Accessor& scene, const std::string& path) {
    const auto copy = accessorFor(made.temporary(), 0, Purpose::kFilling);
    std::string errors;
    if (!copy->read(made.temporary(), errors)) raiseUnreadable(*copy, path);
    copy->associations() = scene.associations();
    copy->setStructures(scene.structures());
    if (!copy->write(errors)) raiseUnwritten(*copy, errors);
}

/// Saves under a new name, and leaves the scene's own file as it is.
void saveAs(SceneState& scene, nb::handle path) {
    const std::string file = fileNameOf(path);
    const Accessor& accessor = scene.accessor();
    if (dynamic_cast<const ContentsAccessor*>(&accessor))
        raise("ReadOnlyError",
              "the scene was read from memory: there is no file to save a copy of");
    const fs::path target = fs::absolute(file);
    if (target.extension() != fs::path(accessor.fileName()).extension())
        raise("RefusedError", file + ": has the extension of another kind of scene");
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(target, ignored))) raiseSystemError(EEXIST, file);
    if (!fs::is_directory(target.parent_path(), ignored)) raiseSystemError(ENOENT, file);
    const bool isEdited = scene.isWritable() && accessor.isEdited();
    // Refuses the scene when somebody else has written its file, before and after the copy is made.
    if (isEdited) write(scene, true);
    try {
        NewScene made(accessor.fileName(), target);
        if (isEdited) {
            write(scene, true);
            writeInto(made, accessor, file);
        }
        if (const int error = made.place()) raiseSystemError(error, file);
    } catch (const Quilmeta::CommandError& error) {
        raise("QuilError", file + ": " + error.what());
    }
}

bool isOwnFile(const SceneState& scene, nb::handle path) {
    std::error_code ignored;
    return fs::equivalent(fileNameOf(path), scene.accessor().fileName(), ignored);
}

bool save(SceneState& scene, nb::handle path) {
    if (!path.is_none() && !isOwnFile(scene, path)) return saveAs(scene, path), true;
    write(scene, false);
    return scene.accessor().metEdits();
}

/// Gives what `quilmeta ... --dry-run` prints: what a save would change.
nb::str dryRun(SceneState& scene) {
    write(scene, true);
    const Accessor& accessor = scene.accessor();
    TextOutput output;
    if (!accessor.metEdits()) return textOf({});
    const std::string& file = accessor.fileName();
    const double wait = std::chrono::duration<double>(accessor.patience()).count();
    const auto before = accessorFor(file, wait, Purpose::kLooking);
    std::string ignored;
    if (!before->read(file, ignored)) raiseUnreadable(*before, file);
    Quilmeta::showDryRun(*before, accessor, output);
    return textOf(output.text());
}

nb::object changeOnce(const std::string& file, double wait, bool isDryRun,
                      const FileChange& change) {
    const ScenePtr scene = readInto(accessorFor(file, wait, Purpose::kEditing), file, true);
    change.make(*scene);
    try {
        if (isDryRun) return dryRun(*scene);
        return nb::bool_(save(*scene, nb::none()));
    } catch (const nb::python_error& error) {
        if (change.explain && error.matches(errorClass("RefusedError"))) change.explain(*scene);
        throw;
    }
}

void close(SceneState& scene) {
    if (scene.isClosed()) return;
    const bool isLost = scene.isWritable() && scene.accessor().isEdited();
    scene.close();
    if (isLost) warn(scene.accessor().fileName() + ": closed with changes that were not saved");
}

/// Ends a `with`: what was changed is saved, unless an exception ended it.
void leave(SceneState& scene, nb::handle exception) {
    if (!exception.is_none()) return scene.close();
    if (scene.isWritable()) save(scene, nb::none());
    close(scene);
}

NodePtr demandNode(const ScenePtr& scene, const std::string& name) {
    if (!name.empty())
        if (auto node = scene->node(name)) return node;
    if (name.empty()) throw nb::key_error("the scene's own metadata is scene.metadata");
    raiseUnknown("node", name, scene->description(), scene->names());
}

/// Gives the node, which is made when there is none.
NodePtr ensureNode(const ScenePtr& scene, const std::string& name) {
    scene->demandWritable();
    const auto node = scene->node(name);
    return node ? node : scene->addNode(name);
}

std::string nameOfNode(const nb::str& name) {
    std::string text = bytesOf(name, "the name of a node");
    if (text.empty()) throw nb::value_error("a node has a name; scene.metadata is there already");
    return text;
}

NodePtr addNode(const ScenePtr& scene, const nb::str& name) {
    const std::string text = nameOfNode(name);
    scene->demandWritable();
    if (scene->node(text)) throw nb::value_error(("there is a node " + inQuotes(text)).c_str());
    return scene->addNode(text);
}

/// Adds a stream, with the node and the channel where there are none.
nb::object addStream(const ScenePtr& scene, const nb::str& node, const nb::str& channel,
                     const nb::str& stream, nb::handle source, nb::handle indexType,
                     nb::handle data, nb::handle index) {
    const std::string nodeName = nameOfNode(node);
    const std::string name = bytesOf(channel, "the name of a channel");
    scene->demandWritable();
    const bool isNewNode = !scene->node(nodeName);
    const NodePtr owner = ensureNode(scene, nodeName);
    const bool isNewChannel = !owner->channel(name);
    const auto found = isNewChannel ? owner->addChannel(name) : owner->channel(name);
    try {
        return nb::cast(found).attr("add")(stream, source, indexType, "data"_a = data,
                                           "index"_a = index);
    } catch (...) {
        if (isNewChannel && !owner->isRemoved()) owner->removeChannel(name);
        if (isNewNode && !owner->isRemoved()) scene->removeNode(nodeName);
        throw;
    }
}

void setNode(const ScenePtr& scene, const nb::str& name, const NodePtr& source) {
    const std::string text = nameOfNode(name);
    scene->demandWritable();
    source->demandPresent();
    const NodePtr copy = copyOf(source, text);
    scene->removeNode(text);
    fill(scene->addNode(text), copy);
}

nb::dict structuresOf(const SceneState& scene) {
    nb::dict structures;
    for (const Data::Structure* structure : scene.accessor().structures())
        structures[textOf(structure->name())] = StructureValue{StructurePtr(structure)};
    return structures;
}

nb::str shown(const SceneState& scene) {
    const auto count = scene.names().size();
    return textOf("<quilmeta.Scene " + inQuotes(scene.accessor().fileName()) + ": " +
                  std::to_string(count) + (count == 1 ? " node" : " nodes") +
                  (scene.isClosed()     ? ", closed>"
                   : scene.isWritable() ? ", mode \"r+\">"
                                        : ", mode \"r\">"));
}

void refuseCopies(nb::handle, nb::handle) {
    throw nb::type_error(
        "a scene stands for a file, which cannot be pickled or copied: pickle its name, or copy "
        "its nodes");
}

void defineNodes(nb::class_<SceneState>& type) {
    type.def("__len__", [](const SceneState& self) { return self.names().size(); })
        .def(
            "__iter__", [](const SceneState& self) { return nb::iter(textsOf(self.names())); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[str]"))
        .def(
            "__contains__",
            [](const ScenePtr& self, nb::handle name) {
                if (!PyUnicode_Check(name.ptr())) return false;
                const std::string text = bytesOf(name, "a name");
                return !text.empty() && self->node(text) != nullptr;
            },
            kAnything, nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def(
            "__getitem__",
            [](const ScenePtr& self, nb::handle name) {
                return demandNode(self, bytesOf(name, "a name"));
            },
            kAnything, nb::sig("def __getitem__(self, name: str, /) -> Node"))
        .def("__setitem__", setNode,
             nb::sig("def __setitem__(self, name: str, node: Node, /) -> None"),
             "Stores a copy of a node, in place of one of the same name.")
        .def(
            "__delitem__",
            [](const ScenePtr& self, const nb::str& name) {
                const std::string text = bytesOf(name, "a name");
                self->demandWritable();
                demandNode(self, text);
                self->removeNode(text);
            },
            nb::sig("def __delitem__(self, name: str, /) -> None"))
        .def(
            "get",
            [](const ScenePtr& self, nb::handle name, nb::handle otherwise) -> nb::object {
                const std::string text = PyUnicode_Check(name.ptr()) ? bytesOf(name, "a name") : "";
                const NodePtr node = text.empty() ? nullptr : self->node(text);
                return node ? nb::cast(node) : nb::borrow(otherwise);
            },
            nb::arg("name").none(), nb::arg("default") = nb::none(),
            nb::sig("def get(self, name: object, default: typing.Any = None) -> Node | typing.Any"))
        .def("add", addNode, nb::arg("node"), "Adds an empty node.")
        .def("add", addStream, nb::arg("node"), nb::arg("channel"), nb::arg("stream"),
             nb::arg("source") = nb::none(), nb::arg("index_type") = nb::none(), nb::kw_only(),
             nb::arg("data") = nb::none(), nb::arg("index") = nb::none(),
             nb::sig(
                 "def add(self, node: str, channel: str, stream: str, source: typing.Any = None, "
                 "index_type: str | None = None, *, data: typing.Any = None, "
                 "index: str | collections.abc.Iterable[str] | None = None) -> Stream"),
             "Adds a stream as `Channel.add` does, with node and channel where there are none.");
    defineViews(type, "Node");
}

}  // namespace

nb::object changeFile(nb::handle path, double wait, bool isDryRun, const FileChange& change) {
    using Clock = std::chrono::steady_clock;
    constexpr int kFewest = 5;
    const std::string file = sceneFile(path);
    const Clock::time_point end = Clock::now() + patienceOf(wait);
    if (::access(file.c_str(), W_OK) != 0) raiseSystemError(errno, file);
    for (int attempt = 1;; ++attempt) {
        try {
            return changeOnce(file, wait, isDryRun, change);
        } catch (const nb::python_error& error) {
            const bool isOver = attempt >= kFewest && Clock::now() >= end;
            if (isOver || !error.matches(errorClass("ConflictError"))) throw;
        }
    }
}

std::string fileNameOf(nb::handle path) {
    const nb::object name = nb::module_::import_("os").attr("fsencode")(path);
    return nameOf(name, "the name of a file");
}

std::string sceneFile(nb::handle path) {
    std::string file = fileNameOf(path);
    demandReadable(file);
    return file;
}

std::chrono::milliseconds patienceOf(double wait) {
    if (!(wait >= 0 && wait < 1e9)) throw nb::value_error("wait is a number of seconds");
    return std::chrono::milliseconds(static_cast<long long>(wait * 1000));
}

bool isInterrupted() {
    const nb::gil_scoped_acquire lock;
    return PyErr_Occurred() || PyErr_CheckSignals() != 0;
}

void throwInterruption() {
    if (PyErr_Occurred()) nb::raise_python_error();
}

std::unique_ptr<Accessor> accessorFor(const std::string& file, double wait, Purpose purpose,
                                      unsigned threads) {
    std::unique_ptr<Accessor> accessor = Accessor::accessorByExtension(file);
    if (!accessor) {
        std::string known;
        for (const std::string& extension : Accessor::supportedExtensions())
            known += (known.empty() ? "" : ", ") + extension;
        raise("NotASceneError", file + ": is no scene by its extension (known: " + known + ')');
    }
    accessor->setPatience(patienceOf(wait));
    accessor->stopWaitingWhen(isInterrupted);
    Data::ReadPolicy reading = readPolicyFor(threads);
    reading.preparesEdits = purpose != Purpose::kLooking;
    accessor->setReadPolicy(reading);
    Data::WritePolicy policy = Data::WritePolicy::careful();
    policy.detectConflicts = purpose == Purpose::kEditing;
    accessor->setWritePolicy(policy);
    return accessor;
}

Data::ReadPolicy readPolicyFor(unsigned threads) {
    Data::ReadPolicy policy;
    policy.unknownIndexTypesAsText = true;
    policy.preparesEdits = false;
    policy.threads = threads == kAllProcessors ? std::thread::hardware_concurrency() : threads;
    return policy;
}

ScenePtr readInto(std::unique_ptr<Accessor> accessor, const std::string& file, bool isWritable) {
    bool isRead = false;
    {
        const nb::gil_scoped_release unlocked;
        std::string ignored;  // the findings say more
        isRead = accessor->read(file, ignored);
    }
    throwInterruption();
    if (!isRead) raiseUnreadable(*accessor, file);
    warnOf(*accessor);
    return std::make_shared<SceneState>(std::move(accessor), isWritable);
}

void defineScenes(nb::module_& module) {
    nb::class_<SceneState> type(module, "Scene", nb::is_weak_referenceable(),
                                "The metadata of a scene file: a mapping of the named nodes.");
    defineNodes(type);
    type.def_prop_ro(
            "metadata",
            [](const ScenePtr& self) {
                const NodePtr own = self->node("");
                // Making it changes nothing that a file could tell.
                return own ? own : self->addNode("");
            },
            "The scene's own metadata, a node with the empty name.")
        .def_prop_ro("structures", structuresOf,
                     nb::sig("def structures(self) -> dict[str, Structure]"),
                     "The structures by name: a copy.")
        .def_prop_ro(
            "findings",
            [](const SceneState& self) {
                const Accessor& accessor = self.accessor();
                return findingsOf(accessor.findings(), accessor.fileName());
            },
            nb::sig("def findings(self) -> tuple[quilmeta._errors.Finding, ...]"),
            "What the last read, or save, found.")
        .def_prop_ro("path",
                     [](const SceneState& self) { return textOf(self.accessor().fileName()); })
        .def_prop_ro("mode", [](const SceneState& self) { return self.isWritable() ? "r+" : "r"; })
        .def_prop_ro("closed", [](const SceneState& self) { return self.isClosed(); })
        .def_prop_ro(
            "is_edited",
            [](const SceneState& self) {
                // One that was opened to be read only never is.
                const Accessor& accessor = self.accessor();
                return accessor.readPolicy().preparesEdits && accessor.isEdited();
            },
            "Whether a save has something to write. Compares all values.")
        .def("save", save, nb::arg("path") = nb::none(),
             nb::sig("def save(self, path: str | bytes | os.PathLike[str] | os.PathLike[bytes] | "
                     "None = None) -> bool"),
             "Writes what has changed, by one rewrite that survives a kill. Returns whether there "
             "was anything to write. Raises ConflictError when somebody else has written since. "
             "With a path, the scene's file stays as it is, and a new one is made there.")
        .def("dry_run", dryRun,
             "What a save would change, as `quilmeta --dry-run` prints it, after all checks.")
        .def("close", close,
             "Ends changes. What was read stays there to be read; nothing is saved.")
        .def("__enter__", [](const ScenePtr& self) { return self; })
        .def(
            "__exit__",
            [](SceneState& self, nb::handle exception, nb::handle, nb::handle) {
                leave(self, exception);
            },
            nb::arg("exception").none(), nb::arg("value").none(), nb::arg("traceback").none(),
            nb::sig("def __exit__(self, exception: object, value: object, traceback: object) "
                    "-> None"))
        .def("__reduce_ex__", refuseCopies,
             nb::sig(
                 "def __reduce_ex__(self, protocol: typing.SupportsIndex, /) -> typing.NoReturn"))
        .def("__repr__", shown);
    module.def(
        "open", open, nb::arg("path"), nb::arg("mode") = "r", nb::arg("wait") = 10.0,
        nb::arg("threads") = nb::none(),
        nb::sig("def open(path: str | bytes | os.PathLike[str] | os.PathLike[bytes], "
                "mode: typing.Literal['r', 'r+'] = 'r', wait: float = 10.0, "
                "threads: int | None = None) -> Scene"),
        "Reads a scene. With \"r+\" it can be changed, and a `with` saves it when it ends "
        "without an exception. No lock is held in between: a save finds out whether "
        "somebody else has written. `wait` is for how many seconds to wait for others. Large "
        "scenes are read by so many threads, or all processors.");
}

}  // namespace orbo::Python
