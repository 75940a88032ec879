// How a command may use scenes that other programs use at the same time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/EachFile.h"
#include "process/ResultFormat.h"

#include <chrono>
#include <string>

namespace orbo::Data {
class Accessor;
}

namespace orbo::Quilmeta {

struct SceneAccess {
    double wait = 10;        ///< seconds to wait for other programs that use the scene
    bool noJournal = false;  ///< write in place, without protection against a kill
    bool writes = false;     ///< the command changes scenes, so concurrent changes are conflicts
    /// The command changes nothing before it calls `Accessor::prepareEdits`, if it ever does.
    bool looksFirst = false;
    bool dryRun = false;   ///< check everything that a write would check, and write nothing
    std::string backup{};  ///< makes a copy of that suffix before a write; empty for none
    ResultFormat format = ResultFormat::kText;  ///< of what a change reports
    bool partial = false;                       ///< also show the readable part of a damaged node
    /// A name whose extension says the kind of the scenes; that of each file's own unless given.
    std::string kindName = {};
    /// Tells the user what a dry run would change; null for nobody.
    void (*showChanges)(const Data::Accessor& before, const Data::Accessor& after,
                        Output& output) = nullptr;

    /// How to work through the scenes. One that is changed is changed once, however often it is
    /// named.
    [[nodiscard]] EachFile eachFile(size_t jobs = 1) const {
        return {writes && !dryRun ? Purpose::kWriting : Purpose::kReading, jobs, writes};
    }
    [[nodiscard]] std::chrono::milliseconds patience() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::duration<double>(wait));
    }
};

}  // namespace orbo::Quilmeta
