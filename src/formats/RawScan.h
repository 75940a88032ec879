// Looks for names in raw texts that cannot be read, or need not be.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orbo::Data::RawScan {

/// A structure that an associations text names, and where it does.
struct NamedStructure {
    std::string structure;
    std::string channel;
    std::string stream;
};

/// Finds all structures that the text needs, and some more where values look like the line of one.
std::vector<NamedStructure> structuresNamedIn(std::string_view text);

/// What the name field of a structure text says; empty without one.
std::string structureNameIn(std::string_view text);

/// A reader takes the line for the end of the stream, not for an index.
bool endsStream(std::string_view line);

}  // namespace orbo::Data::RawScan
