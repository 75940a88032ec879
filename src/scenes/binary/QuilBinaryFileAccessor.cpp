// Accessor for binary scenes.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/binary/QuilBinaryFileAccessor.h"

#include <algorithm>

#include "scenes/binary/BinarySection.h"
#include "scenes/binary/BinaryTrailer.h"

namespace orbo::Data {

std::string QuilBinaryFileAccessor::openFailure() const { return "File not valid."; }

bool QuilBinaryFileAccessor::isScene(Files::File& file, Findings& findings) const {
    BinaryTrailer trailer;
    return locateTrailer(file, trailer, findings);
}

bool QuilBinaryFileAccessor::scan(Files::File& file, ModelReading& reading,
                                  Findings& findings) const {
    BinaryTrailer trailer;
    if (!locateTrailer(file, trailer, findings)) return false;
    if (const auto size = file.size()) {
        const FilePlace end{std::min(*size, trailer.fileEnd())};
        findings.add(Finding::Code::kEndMisplaced, misplacedEnd(trailer, *size), end);
    }
    return readChunks(file, trailer.begin, trailer.end, reading, findings);
}

std::unique_ptr<SceneSection> QuilBinaryFileAccessor::section(Files::File& file) const {
    return std::make_unique<BinarySection>(file);
}

}  // namespace orbo::Data
