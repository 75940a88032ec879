// New values for all elements that a condition selects.
// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Bindings.h"
#include "Elements.h"
#include "Problems.h"
#include "Scenes.h"
#include "Search.h"
#include "Selections.h"
#include "Signatures.h"
#include "patches/Assignment.h"
#include "process/CommandError.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Data::Structure;

/// Throws a `RefusedError` that says which element does not take the values.
[[noreturn]] void refuse(const FoundPlace& place, const std::string& problem,
                         const std::string& file) {
    const std::string channel = place.channel.channel.name();
    const std::string index = place.index.asString();
    nb::dict fields;
    fields["code"] = nb::str("value-refused");
    fields["message"] = textOf(problem);
    fields["file"] = textOf(file);
    fields["node"] = textOf(place.node.name);
    fields["channel"] = textOf(channel);
    fields["stream"] = textOf(place.stream.name());
    fields["index"] = textOf(index);
    const std::string message =
        file + ": node " + Quilmeta::shownNode(place.node.name) + ", channel " +
        Quilmeta::shownName(channel) + ", stream " + Quilmeta::shownName(place.stream.name()) +
        ", index " + Quilmeta::shownName(index) + ": " + problem + "; nothing was changed";
    nb::list findings;
    findings.append(errorClass("Finding")(**fields));
    const nb::object type = errorClass("RefusedError");
    PyErr_SetObject(type.ptr(), type(textOf(message), nb::tuple(findings)).ptr());
    nb::raise_python_error();
}

/// What is to be assigned to the elements of one structure.
struct Assigned {
    NewValues values;
    std::optional<Quilmeta::Assignments> texts{};

    void storeIn(Data::Handle& element) const {
        for (const auto& [member, value] : values) {
            element.setPositionByMemberName(member->name());
            if (void* const at = element.asType(member->type()))
                value.copyTo(static_cast<char*>(at));
        }
        if (texts) texts->apply(element);
    }
};

/// The new values of a call: a mapping of members, or assignments of the command line.
class Changes {
  public:
    explicit Changes(nb::handle given) {
        if (given.is_none()) throw nb::type_error(kWhat);
        const nb::object mapping = nb::module_::import_("collections.abc").attr("Mapping");
        if (nb::isinstance(given, mapping)) {
            fValues.attr("update")(given);
            if (fValues.size() == 0) throw nb::value_error("no member is given a value");
            return;
        }
        const bool isOne = PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr());
        if (!isOne && !PyObject_HasAttrString(given.ptr(), "__iter__")) throw nb::type_error(kWhat);
        if (isOne) add(given);
        if (!isOne)
            for (nb::handle text : given) add(text);
        if (fTexts.empty()) throw nb::value_error("no member is given a value");
    }

    /// Runs Python code. Throws what does not fit the structure.
    [[nodiscard]] Assigned forStructure(const Structure& structure) const {
        if (fTexts.empty()) return {newValuesOf(structure, fValues)};
        return {{}, Quilmeta::Assignments(structure, fTexts)};
    }
    /// Whether values depend on what elements have, so that they are to be tried first.
    [[nodiscard]] bool areTexts() const { return !fTexts.empty(); }

  private:
    static constexpr const char* kWhat =
        "changes is a mapping of members to values, or texts such as \"side=1\"";

    void add(nb::handle text) {
        fTexts.push_back(nameOf(text, "an assignment"));
        if (fTexts.back().find('=') == std::string::npos)
            throw nb::value_error(
                (Quilmeta::inQuotes(fTexts.back()) + " is not MEMBER=VALUE").c_str());
    }

    nb::dict fValues;
    std::vector<std::string> fTexts;
};

/// Changes a scene in memory, or throws and changes nothing.
class Edit {
  public:
    Edit(const Changes& changes, Search& search, SceneState& scene)
        : fChanges(changes), fSearch(search), fScene(scene) {}

    /// Gives the number of elements that were set.
    std::size_t make() {
        fScene.demandWritable();
        prepare();
        // The values' own code may have closed the scene, or changed it.
        fScene.demandWritable();
        if (fChanges.areTexts()) tryAll();
        std::size_t count = 0;
        fSearch.forEach(fScene, [&](const FoundPlace& place, Data::Handle element) {
            assignedTo(place).storeIn(element);
            ++count;
        });
        return count;
    }

  private:
    struct FirstUse {
        StructurePtr structure;
        Assigned assigned;
    };

    /// Converts the values for each structure that the elements have.
    void prepare() {
        std::vector<StructurePtr> structures;
        std::set<const Structure*> known;
        fSearch.forEach(fScene, [&](const FoundPlace& place, const Data::Handle&) {
            const Structure& structure = place.stream.structure();
            if (!known.insert(&structure).second) return;
            structures.emplace_back(&structure);
            if (fChanges.areTexts()) read(place);
        });
        if (fChanges.areTexts()) return;
        for (const StructurePtr& structure : structures)
            fUses.emplace(structure.get(), FirstUse{structure, fChanges.forStructure(*structure)});
    }

    void read(const FoundPlace& place) {
        const Structure& structure = place.stream.structure();
        try {
            fUses.emplace(&structure,
                          FirstUse{StructurePtr(&structure), fChanges.forStructure(structure)});
        } catch (const Quilmeta::CommandError& error) {
            refuse(place, error.what(), fScene.accessor().fileName());
        }
    }

    const Assigned& assignedTo(const FoundPlace& place) const {
        const auto found = fUses.find(&place.stream.structure());
        if (found == fUses.end())
            raise("RefusedError", fScene.description() +
                                      " was changed while its elements were "
                                      "about to be");
        return found->second.assigned;
    }

    /// Assigns to copies.
    void tryAll() {
        fSearch.forEach(fScene, [&](const FoundPlace& place, const Data::Handle& element) {
            Data::Handle copy(element);
            copy.makeUnique();
            try {
                assignedTo(place).storeIn(copy);
            } catch (const Quilmeta::CommandError& error) {
                refuse(place, error.what(), fScene.accessor().fileName());
            }
        });
    }

    const Changes& fChanges;
    Search& fSearch;
    SceneState& fScene;
    std::map<const Structure*, FirstUse> fUses;
};

void demandSelection(const Search& search, bool all) {
    if (search.isEverything() && !all)
        throw nb::value_error("this changes all elements: say so with all=True, or select some");
}

std::size_t editScene(SceneState& scene, nb::handle given, nb::handle where, nb::handle node,
                      nb::handle channel, nb::handle stream, bool fixed, bool all) {
    const Changes changes(given);
    Search search(where, selectionOf(node, channel, stream, fixed).selection());
    demandSelection(search, all);
    const std::size_t count = Edit(changes, search, scene).make();
    search.warn();
    return count;
}

nb::object editFiles(nb::handle paths, nb::handle given, nb::handle where, nb::handle node,
                     nb::handle channel, nb::handle stream, bool fixed, bool all, bool isDryRun,
                     double wait) {
    patienceOf(wait);
    const Changes changes(given);
    Search search(where, selectionOf(node, channel, stream, fixed).selection());
    demandSelection(search, all);
    std::size_t count = 0;
    nb::str text("");
    for (const nb::object& path : pathsOf(paths)) {
        std::size_t ofFile = 0;
        const nb::object result =
            changeFile(path, wait, isDryRun,
                       {[&](SceneState& scene) { ofFile = Edit(changes, search, scene).make(); }});
        count += ofFile;
        if (isDryRun) text = nb::str(nb::object(text + result));
    }
    search.warn();
    if (isDryRun) return text;
    return nb::int_(count);
}

#define QUILMETA_CHANGES                                \
    "collections.abc.Mapping[str, typing.Any] | str | " \
    "collections.abc.Iterable[str]"

}  // namespace

void defineEditing(nb::module_& module) {
    const auto define = [&](const char* dryRun, const char* result) {
        const std::string signature =
            std::string("def edit(paths: " QUILMETA_PATHS ", changes: " QUILMETA_CHANGES
                        ", where: str | None = None, *, " QUILMETA_SELECTION
                        ", all: bool = False, dry_run: ") +
            dryRun + ", wait: float = 10.0) -> " + result;
        module.def("edit", editFiles, nb::arg("paths").none(), nb::arg("changes").none(),
                   nb::arg("where") = nb::none(), nb::kw_only(), nb::arg("node") = nb::none(),
                   nb::arg("channel") = nb::none(), nb::arg("stream") = nb::none(),
                   nb::arg("fixed") = false, nb::arg("all") = false, nb::arg("dry_run") = false,
                   nb::arg("wait") = 10.0, nb::sig(signature.c_str()),
                   "Gives members new values in all elements that `find` finds, in a file or in "
                   "several, and returns the number of elements; 0 is no error. `changes` is a "
                   "mapping of members to values, or one or more assignments of the command line, "
                   "such as \"side+=1\" and \"position[1]=0.5\". A file gets all of its changes or "
                   "none: RefusedError and UnknownNameError say which element does not take them, "
                   "and leave that file and those behind it as they were. Every element is meant "
                   "only with `all`. `dry_run` returns what `quilmeta edit --dry-run` prints.");
    };
    define("typing.Literal[False] = False", "int");
    define("typing.Literal[True]", "str");
    auto scenes = nb::borrow<nb::class_<SceneState>>(nb::type<SceneState>());
    scenes.def(
        "edit", editScene, nb::arg("changes").none(), nb::arg("where") = nb::none(), nb::kw_only(),
        nb::arg("node") = nb::none(), nb::arg("channel") = nb::none(),
        nb::arg("stream") = nb::none(), nb::arg("fixed") = false, nb::arg("all") = false,
        nb::sig("def edit(self, changes: " QUILMETA_CHANGES
                ", where: str | None = None, *, " QUILMETA_SELECTION ", all: bool = False) -> int"),
        "Gives members new values in memory, in all elements that are found, or on an error "
        "in none. Returns the number of elements. See quilmeta.edit.");
}

}  // namespace orbo::Python
