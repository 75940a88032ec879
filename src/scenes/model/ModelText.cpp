// The model's texts, in the format that scene files hold.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelText.h"

#include <data/AssociationsSerializerRaw.h>
#include <data/StructureSerializerRaw.h>

#include <algorithm>
#include <ostream>
#include <streambuf>

#include "core/Ascii.h"
#include "core/ValueText.h"

namespace orbo::Data {

namespace {

// What begins the lines of an associations text that name something.
constexpr std::string_view kChannel = "channel";
constexpr std::string_view kStream = "stream";
constexpr std::string_view kName = "name";
constexpr std::string_view kStructure = "structure";

/// Appends to a string, which a string stream would give away only as a copy.
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
                     "Structure '" + record.name + "' may not be written correctly");
        return std::nullopt;
    }
    return record;
}

std::optional<SceneRecord> recordOf(const std::string& node, const Associations& associations,
                                    bool exactNumbers, Findings& findings) {
    const AssociationsSerializerRaw& format = AssociationsSerializerRaw::theFormat();
    SceneRecord record{SceneRecord::Kind::kAssociations, format.formatType(), node, {}};
    AppendingBuffer buffer(record.text);
    std::ostream out(&buffer);
    ValueText::setExactNumbers(out, exactNumbers);
    std::string messages;
    if (format.write(associations, out, messages) != 0 || !out) {
        findings.add(Finding::Code::kWriteFailed, messages, record);
        return std::nullopt;
    }
    return record;
}

std::vector<NamedStructure> structuresNamedIn(std::string_view text) {
    std::vector<NamedStructure> all;
    NamedStructure here;
    bool inStream = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const std::string_view trimmed = Ascii::trim(line);
        const auto restBehind = [trimmed](std::string_view keyword) {
            return std::string(Ascii::trim(trimmed.substr(keyword.size())));
        };
        if (Ascii::startsWith(trimmed, kStructure)) {
            here.structure = restBehind(kStructure);
            all.push_back(here);
        } else if (Ascii::startsWith(trimmed, kName)) {
            (inStream ? here.stream : here.channel) = restBehind(kName);
        } else if (Ascii::startsWith(trimmed, kStream) || Ascii::startsWith(trimmed, kChannel)) {
            inStream = Ascii::startsWith(trimmed, kStream);
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return all;
}

}  // namespace orbo::Data
