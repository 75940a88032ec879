// The steps of a write, each with the call that fails in it and what is said then.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "files/ScriptedFileSystem.h"
#include "support/Cases.h"

namespace orbo::Data {

struct Step {
    Files::Call kind;
    int n;  ///< the call of the kind that fails
    std::string message;
    bool fromThenOn;  ///< and all later ones, too
    std::string scene;
};

/// From a table: call, number, message, "once" or "for good", the scene. In messages "@" is what
/// the system says.
inline std::vector<Step> stepsOf(const std::string& path) {
    using Files::Call;
    const std::map<std::string, Call> calls{{"open", Call::kOpen},
                                            {"create", Call::kCreate},
                                            {"name", Call::kNameStatus},
                                            {"status", Call::kStatus},
                                            {"sync folder", Call::kSyncFolder},
                                            {"seek", Call::kSeek},
                                            {"read", Call::kRead},
                                            {"write", Call::kWrite},
                                            {"truncate", Call::kTruncate},
                                            {"sync", Call::kSync},
                                            {"reserve", Call::kReserve}};
    const std::string said = std::make_error_code(std::errc::io_error).message();
    std::vector<Step> steps;
    for (const std::vector<std::string>& row : rowsOf(path)) {
        steps.push_back({calls.at(row.at(0)), std::stoi(row.at(1)), row.at(2),
                         row.at(3) == "for good", row.at(4)});
        std::string& message = steps.back().message;
        if (const auto at = message.find('@'); at != message.npos) message.replace(at, 1, said);
    }
    return steps;
}

}  // namespace orbo::Data
