// Finds what scene files cannot hold before anything is written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "accessors/WrittenModel.h"

namespace orbo::Data {

/// False, with a message, when two things in one container have the same name, as they may after
/// a stream or structure was renamed: only one of them could be read back.
bool checkNamesAreUnique(const WrittenModel& model, std::string& errors);

/// False, with a message that says where, when the text formats cannot carry it: names, indices and
/// numbers that would read back as something else.
bool checkFormatCanCarry(const Structure& structure, std::string& errors);
bool checkFormatCanCarry(const WrittenModel& model, const WrittenModel::Node& node,
                         std::string& errors);

}  // namespace orbo::Data
