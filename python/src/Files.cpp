// What is done to files, without a scene that is open.
// SPDX-License-Identifier: Apache-2.0
#include <data/Recovery.h>

#include "Bindings.h"
#include "Problems.h"
#include "Scenes.h"

namespace orbo::Python {

namespace {

using Data::Recovery;

nb::object check(nb::handle path, double wait) {
    const std::string file = sceneFile(path);
    const auto accessor = accessorFor(file, wait, Purpose::kLooking);
    {
        const nb::gil_scoped_release unlocked;
        accessor->check(file);
    }
    throwInterruption();
    const auto& findings = accessor->findings();
    for (const Data::Finding& finding : findings)
        if (finding.code == Data::Finding::Code::kFileUnreadable) raiseUnreadable(*accessor, file);
    return findingsOf(findings, file);
}

const char* nameOf(Recovery::State state) {
    switch (state) {
        case Recovery::State::kUnused:
            return "unused";
        case Recovery::State::kUndo:
            return "undo";
        case Recovery::State::kFinish:
            return "finish";
        case Recovery::State::kOrphaned:
            return "orphaned";
        case Recovery::State::kNothing:
        case Recovery::State::kRefused:
            break;
    }
    return "nothing";
}

/// Looks at the journal beside the file, or at the one that stayed where the file was, and deals
/// with it unless this is only to look.
Recovery recoveryOf(const std::string& file, const std::string& oldName, bool onlyLooks,
                    std::chrono::milliseconds patience) {
    const nb::gil_scoped_release unlocked;
    if (!oldName.empty())
        return (onlyLooks ? Recovery::inspectMoved : Recovery::runMoved)(oldName, file, patience,
                                                                         isInterrupted);
    return (onlyLooks ? Recovery::inspect : Recovery::run)(file, patience, isInterrupted);
}

nb::object recover(nb::handle path, bool dryRun, nb::handle movedFrom, double wait) {
    const std::string file = sceneFile(path);
    const std::string oldName = movedFrom.is_none() ? std::string() : fileNameOf(movedFrom);
    const Recovery found = recoveryOf(file, oldName, dryRun, patienceOf(wait));
    throwInterruption();
    // A journal that fits no scene that was moved stays, so nothing more could be done.
    const bool stays = found.state == Recovery::State::kOrphaned && !oldName.empty();
    const bool isRefused = found.state == Recovery::State::kRefused;
    if (isRefused || (!dryRun && !found.done && !stays)) {
        Data::Finding finding;
        finding.code = Data::Finding::Code::kFileUnreadable;
        finding.message = found.message;
        raiseRefusal({finding}, file);
    }
    nb::dict fields;
    fields["state"] = nb::str(nameOf(found.state));
    fields["done"] = nb::bool_(found.done);
    fields["journal"] = textOf(found.journal);
    fields["set_aside"] = found.setAside.empty() ? nb::object(nb::none()) : textOf(found.setAside);
    fields["message"] = textOf(withoutLineEnd(found.message));
    return nb::module_::import_("quilmeta._recovery").attr("Recovery")(**fields);
}

}  // namespace

void defineFiles(nb::module_& module) {
    module.def("check", check, nb::arg("path"), nb::arg("wait") = 10.0,
               nb::sig("def check(path: str | bytes | os.PathLike[str] | os.PathLike[bytes], "
                       "wait: float = 10.0) -> tuple[quilmeta._errors.Finding, ...]"),
               "Reads all of a scene, and tells of everything that stands in the way of reading "
               "and rewriting it, down to what is merely unusual, in the order of the file. "
               "Changes no file. Raises what `open` raises for a file that cannot be read.");
    module.def("recover", recover, nb::arg("path"), nb::kw_only(), nb::arg("dry_run") = false,
               nb::arg("moved_from") = nb::none(), nb::arg("wait") = 10.0,
               nb::sig("def recover(path: str | bytes | os.PathLike[str] | os.PathLike[bytes], *, "
                       "dry_run: bool = False, moved_from: str | bytes | os.PathLike[str] | "
                       "os.PathLike[bytes] | None = None, wait: float = 10.0) "
                       "-> quilmeta._recovery.Recovery"),
               "Finishes or undoes a change of the file that was cut short, and tells what was "
               "found. Scenes that are opened or saved are recovered without it, except where the "
               "file system has no locks: there make sure that nobody is writing. `moved_from` is "
               "the old name of a scene that was moved without its journal. Raises RefusedError "
               "when nothing can be done, BusyError when somebody else has the file.");
}

}  // namespace orbo::Python
