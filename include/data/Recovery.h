// What an interrupted write left beside a file, and doing something about it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Callback.h>
#include <data/Milliseconds.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Tells what became, or is to become, of a change that was cut short. Accessors recover a file by
/// themselves before they read or write it. This is for looking first, and for file systems without
/// locks, where only the user knows that no writer is at work.
///
///     const Recovery found = Recovery::inspect("teapot.kx");
///     if (found.state == Recovery::State::kUndo) Recovery::run("teapot.kx");
struct METADATA_API Recovery {
    enum class State {
        kNothing,   ///< no journal: the last write came to its end
        kUnused,    ///< a journal that was not finished; the file is as it was
        kUndo,      ///< the file may hold a part of a change, and gets its old bytes back
        kFinish,    ///< the file holds the whole change, which may have to be written again
        kOrphaned,  ///< the journal does not fit the file, or is damaged: it is set aside
        kRefused,   ///< the journal, or the file, cannot be read, or trusted: nothing is done
    };

    /// The state that was found, before anything was done.
    State state = State::kNothing;
    /// Is true when nothing is left to be done.
    bool done = false;
    /// Path of the journal, whether there is one or not; empty when the file was not found.
    std::string journal;
    /// Path of a journal that was set aside earlier; empty when there is none.
    std::string setAside;
    /// Tells what the user should know, and why something was not done, a line each.
    std::string message;

    /// Looks, and changes nothing. All four wait for others that have the file in use, for as long
    /// as `patience`; `stopsWaiting` is as in `Accessor::stopWaitingWhen`.
    static Recovery inspect(const std::string& fileName,
                            Milliseconds patience = Milliseconds(10'000),
                            const Callback<bool()>& stopsWaiting = {});
    /// Finishes or undoes the change. Where there are no locks, the caller vouches for it that no
    /// writer is at work on the file.
    static Recovery run(const std::string& fileName, Milliseconds patience = Milliseconds(10'000),
                        const Callback<bool()>& stopsWaiting = {});

    /// The same for a file that was moved, or renamed, without its journal, which still lies where
    /// the file was. Nothing needs to be at the old name any more; if another file is there that
    /// the journal explains as well, the journal stays for that one. A journal that does not fit
    /// (`kOrphaned`) is left where it is.
    static Recovery inspectMoved(const std::string& oldName, const std::string& fileName,
                                 Milliseconds patience = Milliseconds(10'000),
                                 const Callback<bool()>& stopsWaiting = {});
    static Recovery runMoved(const std::string& oldName, const std::string& fileName,
                             Milliseconds patience = Milliseconds(10'000),
                             const Callback<bool()>& stopsWaiting = {});
};

}  // namespace orbo::Data
