// What an interrupted write left beside a file, and doing something about it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Callback.h>
#include <data/Milliseconds.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Accessors recover a file by themselves before they read or write it. This is for looking first,
/// and for file systems without locks, where nobody but the user knows that no writer is at work.
struct METADATA_API Recovery {
    enum class State {
        kNothing,   ///< no journal: the last write came to its end
        kUnused,    ///< a journal that was not finished; the file is as it was
        kUndo,      ///< the file may hold a part of a change, and gets its old bytes back
        kFinish,    ///< the file holds the whole change, which may have to be written again
        kOrphaned,  ///< the journal does not fit the file, or is damaged: it is set aside
        kRefused,   ///< the journal, or the file, cannot be read, or trusted: nothing is done
    };

    State state = State::kNothing;  // before anything is done
    /// Nothing is left to be done.
    bool done = false;
    /// Path of the journal, whether there is one or not; empty when the file was not found.
    std::string journal;
    /// Of a journal that was set aside earlier; empty without one.
    std::string setAside;
    /// What else is to be known, a line each; why it was not done.
    std::string message;

    /// Changes nothing. Both wait that long for others that have the file in use.
    /// `stopsWaiting` is as in `Accessor::stopWaitingWhen`.
    static Recovery inspect(const std::string& fileName,
                            Milliseconds patience = Milliseconds(10'000),
                            const Callback<bool()>& stopsWaiting = {});
    /// No writer is at work on the file, as far as there are no locks to tell.
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
