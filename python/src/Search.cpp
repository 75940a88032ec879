// The elements that a condition selects, in one scene after the other.
// SPDX-License-Identifier: Apache-2.0
#include "Search.h"

#include <utility>

#include "Bindings.h"
#include "Elements.h"
#include "Keys.h"
#include "Problems.h"
#include "Scenes.h"
#include "Selections.h"
#include "Signatures.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using ScenePtr = std::shared_ptr<SceneState>;
using StreamPtr = std::shared_ptr<StreamState>;

/// The names of a stream and of what it belongs to, which many elements share.
struct Names {
    std::string file, node, channel, stream;
};

/// What a Python object of the class Found holds.
struct FoundValue {
    ElementValue element;
    std::shared_ptr<const Names> names;
};

/// Collects what is found in one scene after the other.
class Collector {
  public:
    explicit Collector(Search& search) : fSearch(search) {}

    void add(const ScenePtr& scene) {
        std::vector<FoundValue> found;
        const void* last = nullptr;
        FoundValue next;
        fSearch.forEach(*scene, [&](const FoundPlace& place, const Data::Handle&) {
            if (std::exchange(last, &place.stream) != &place.stream) next = begun(scene, place);
            next.element.index = place.index;
            found.push_back(next);
        });
        for (FoundValue& value : found) fFound.append(nb::cast(std::move(value)));
    }
    [[nodiscard]] nb::list found() const { return fFound; }

  private:
    static FoundValue begun(const ScenePtr& scene, const FoundPlace& place) {
        const std::string channel = place.channel.channel.name();
        const StreamPtr stream =
            scene->node(place.node.name)->channel(channel)->stream(place.stream.name());
        return {{stream, {}},
                std::make_shared<const Names>(Names{scene->accessor().fileName(), place.node.name,
                                                    channel, place.stream.name()})};
    }

    Search& fSearch;
    nb::list fFound;
};

nb::list findInScene(const ScenePtr& scene, nb::handle where, nb::handle node, nb::handle channel,
                     nb::handle stream, bool fixed) {
    Search search(where, selectionOf(node, channel, stream, fixed).selection());
    Collector collector(search);
    collector.add(scene);
    search.warn();
    return collector.found();
}

nb::list findInFiles(nb::handle paths, nb::handle where, nb::handle node, nb::handle channel,
                     nb::handle stream, bool fixed, double wait) {
    patienceOf(wait);
    Search search(where, selectionOf(node, channel, stream, fixed).selection());
    Collector collector(search);
    for (const nb::object& path : pathsOf(paths)) {
        const std::string file = sceneFile(path);
        collector.add(readInto(accessorFor(file, wait, Purpose::kLooking), file, false));
    }
    search.warn();
    return collector.found();
}

std::string shown(const FoundValue& found) {
    const Names& names = *found.names;
    using Quilmeta::inQuotes;
    return "<quilmeta.Found " + inQuotes(names.file) + ": " +
           (names.node.empty() ? "the scene's own metadata" : "node " + inQuotes(names.node)) +
           ", channel " + inQuotes(names.channel) + ", stream " + inQuotes(names.stream) +
           ", index " + shownKey(keyOf(found.element.index)) + '>';
}

void defineFound(nb::module_& module) {
    nb::class_<FoundValue>(module, "Found", "An element that was found, and where.")
        .def_prop_ro("path", [](const FoundValue& self) { return textOf(self.names->file); })
        .def_prop_ro(
            "node", [](const FoundValue& self) { return textOf(self.names->node); },
            "The name of the node; \"\" for the scene's own metadata.")
        .def_prop_ro("channel", [](const FoundValue& self) { return textOf(self.names->channel); })
        .def_prop_ro("stream", [](const FoundValue& self) { return textOf(self.names->stream); })
        .def_prop_ro(
            "index", [](const FoundValue& self) { return keyOf(self.element.index); },
            nb::sig("def index(self) -> typing.Any"))
        .def_prop_ro(
            "element", [](const FoundValue& self) { return self.element; },
            "The element itself, of a scene that may be read only.")
        .def("__repr__", [](const FoundValue& self) { return textOf(shown(self)); });
}

}  // namespace

Search::Search(nb::handle where, Quilmeta::Selection selection) : fSelection(std::move(selection)) {
    if (!where.is_none()) fWhere = bytesOf(where, "an expression");
    try {
        if (fWhere) fExpression.emplace(*fWhere);
        fSearch.emplace(fWhere);
    } catch (const Quilmeta::ExpressionError& error) {
        raise("ExpressionError", error.what());
    }
}

void Search::forEach(const SceneState& scene,
                     const std::function<void(const FoundPlace&, Data::Handle)>& use) {
    const Data::Accessor& accessor = scene.accessor();
    Quilmeta::SceneView view = Quilmeta::select(accessor, fSelection);
    fSawScene = true;
    for (const Data::Structure* structure : accessor.structures()) fSeen.add(*structure);
    for (const Data::Structure* structure : view.structures) fSeen.add(*structure);
    try {
        fSearch->forEach(accessor.fileName(), accessor, view,
                         [&](const auto& node, const auto& channel, const auto& stream,
                             const auto& index, const auto& element) {
                             use({node, channel, stream, index}, element);
                         });
    } catch (const Quilmeta::ExpressionError& error) {
        raise("ExpressionError", accessor.fileName() + ": " + error.what());
    }
}

void Search::warn() const {
    if (!fExpression || !fSawScene) return;
    for (const std::string& warning : fExpression->warnings(fSeen)) Python::warn(warning);
}

std::vector<nb::object> pathsOf(nb::handle given) {
    const bool isOne = PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr()) ||
                       PyObject_HasAttrString(given.ptr(), "__fspath__");
    if (isOne) return {nb::borrow(given)};
    if (!PyObject_HasAttrString(given.ptr(), "__iter__"))
        throw nb::type_error("paths is a path, or a list of paths");
    std::vector<nb::object> paths;
    for (nb::handle path : given) paths.push_back(nb::borrow(path));
    return paths;
}

void defineSearching(nb::module_& module) {
    defineFound(module);
    module.def("find", findInFiles, nb::arg("paths").none(), nb::arg("where") = nb::none(),
               nb::kw_only(), nb::arg("node") = nb::none(), nb::arg("channel") = nb::none(),
               nb::arg("stream") = nb::none(), nb::arg("fixed") = false, nb::arg("wait") = 10.0,
               nb::sig("def find(paths: " QUILMETA_PATHS ", where: str | None = None, "
                       "*, " QUILMETA_SELECTION ", wait: float = 10.0) -> list[Found]"),
               "The elements of a file, or of several, for which an expression is true: all "
               "without one, and an empty list when there are none. `node`, `channel` and `stream` "
               "are patterns, or with `fixed` names. The elements found keep their scenes in "
               "memory.");
    auto scenes = nb::borrow<nb::class_<SceneState>>(nb::type<SceneState>());
    scenes.def("find", findInScene, nb::arg("where") = nb::none(), nb::kw_only(),
               nb::arg("node") = nb::none(), nb::arg("channel") = nb::none(),
               nb::arg("stream") = nb::none(), nb::arg("fixed") = false,
               nb::sig("def find(self, where: str | None = None, *, " QUILMETA_SELECTION
                       ") -> list[Found]"),
               "The elements for which an expression is true, as the scene is in memory. See "
               "quilmeta.find.");
}

}  // namespace orbo::Python
