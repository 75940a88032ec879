// The model's texts, in the format that scene files hold.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelText.h"

#include <data/AssociationsSerializerRaw.h>
#include <data/StructureSerializerRaw.h>

#include <ostream>
#include <streambuf>
#include <utility>

#include "core/ValueText.h"
#include "scenes/model/ModelPlace.h"

namespace orbo::Data {

namespace {

/// Appends to a string. A string stream would cost a copy.
class AppendingBuffer : public std::streambuf {
  public:
    explicit AppendingBuffer(std::string& text) : fText(text) {}

  protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        fText.append(text, static_cast<std::size_t>(count));
        return count;
    }

  private:
    std::string& fText;
};

}  // namespace

std::optional<SceneRecord> recordOf(const Structure& structure, Findings& findings) {
    const StructureSerializerRaw& format = StructureSerializerRaw::theFormat();
    SceneRecord record{SceneRecord::Kind::kStructure, format.formatType(), structure.name(), {}};
    AppendingBuffer buffer(record.text);
    std::ostream out(&buffer);
    if (format.write(structure, out) != 0 || !out) {
        findings.add(Finding::Code::kWriteFailed,
                     ModelPlace::ofStructure(record.name) + " may not be written correctly");
        return std::nullopt;
    }
    return record;
}

std::optional<SceneRecord> recordOf(const std::string& node, const Associations& associations,
                                    bool exactNumbers, Findings& findings) {
    auto made = recordOf(node, associations, KeptTexts(), exactNumbers, findings);
    return made ? std::make_optional(std::move(made->record)) : std::nullopt;
}

std::optional<KeptRecord> recordOf(const std::string& node, const Associations& associations,
                                   KeptTexts kept, bool exactNumbers, Findings& findings) {
    const AssociationsSerializerRaw& format = AssociationsSerializerRaw::theFormat();
    SceneRecord record{SceneRecord::Kind::kAssociations, format.formatType(), node, {}};
    AppendingBuffer buffer(record.text);
    std::ostream out(&buffer);
    ValueText::setExactNumbers(out, exactNumbers);
    WriteContext context{record.text, std::move(kept)};
    context.attachTo(out);
    std::string messages;
    if (format.write(associations, out, messages) != 0 || !out) {
        findings.add(Finding::Code::kWriteFailed, messages, record);
        return std::nullopt;
    }
    return KeptRecord{std::move(record), std::move(context.places)};
}

}  // namespace orbo::Data
