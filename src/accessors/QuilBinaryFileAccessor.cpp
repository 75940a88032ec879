// Accessor for binary scenes.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/QuilBinaryFileAccessor.h"

#include "accessors/BinarySection.h"
#include "accessors/BinaryTrailer.h"
#include "accessors/Messages.h"

namespace orbo::Data {

std::string QuilBinaryFileAccessor::openFailure() const { return "File not valid."; }

bool QuilBinaryFileAccessor::check(Files::File& file, std::string& errors) const {
    BinaryTrailer trailer;
    return locateTrailer(file, trailer, errors);
}

bool QuilBinaryFileAccessor::scan(Files::File& file, ModelReading& reading,
                                  std::string& errors) const {
    BinaryTrailer trailer;
    if (!locateTrailer(file, trailer, errors)) return false;
    if (const auto size = file.size()) addMessage(errors, misplacedEnd(trailer, *size));
    return readChunks(file, trailer.begin, trailer.end, reading, errors);
}

std::unique_ptr<SceneSection> QuilBinaryFileAccessor::section(Files::File& file) const {
    return std::make_unique<BinarySection>(file);
}

}  // namespace orbo::Data
