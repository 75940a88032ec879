// The names of the kinds of findings.
// SPDX-License-Identifier: Apache-2.0
#include <data/Finding.h>

namespace orbo::Data {

const char* Finding::nameOf(Code code) {
    switch (code) {
        case Code::kFileNote:
            return "file-note";
        case Code::kFileUnreadable:
            return "file-unreadable";
        case Code::kNotAScene:
            return "not-a-scene";
        case Code::kChunkDamaged:
            return "chunk-damaged";
        case Code::kEndMisplaced:
            return "end-misplaced";
        case Code::kStatementUnreadable:
            return "statement-unreadable";
        case Code::kStatementUnclosed:
            return "statement-unclosed";
        case Code::kFormatUnknown:
            return "format-unknown";
        case Code::kTextUnreadable:
            return "text-unreadable";
        case Code::kTextRemark:
            return "text-remark";
        case Code::kStructureDiffers:
            return "structure-differs";
        case Code::kWriteFailed:
            return "write-failed";
        case Code::kOther:
            break;
    }
    return "other";
}

}  // namespace orbo::Data
