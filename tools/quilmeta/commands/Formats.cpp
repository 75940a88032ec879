// quilmeta formats: the kinds of scenes, the text formats and the types that are registered.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "output/AlignedLine.h"
#include "output/TextTable.h"
#include "streams/IndexTypes.h"
#include "values/SafeText.h"

#include <cxxabi.h>
#include <data/AccessorFactory.h>
#include <data/AssociationsSerializer.h>
#include <data/ChannelSerializer.h>
#include <data/Member.h>
#include <data/StreamSerializer.h>
#include <data/StructureSerializer.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"formats", "List kinds of scenes, formats and types", R"(
Lists what this program can read and write, plug-ins included: kinds of scenes by
the class that serves them, with their extensions; the text formats of structures,
streams, channels and associations; types of indices and of members.
Example:
  quilmeta formats --plugin ./kind.so)"};

struct Format {
    const char* kind;
    std::string name;
    bool isDefault = false;
    std::vector<std::string> extensions = {};  // of scenes
};

/// "QuilAsciiFileAccessor" for its mangled name.
std::string className(const char* mangled) {
    int status = 0;
    char* const readable = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    std::string name = status == 0 ? readable : mangled;
    std::free(readable);
    for (const char* space : {"orbo::Data::", "(anonymous namespace)::"})
        for (size_t at = 0; (at = name.find(space)) != name.npos;)
            name.erase(at, std::string(space).size());
    return name;
}

void addScenes(std::vector<Format>& formats) {
    std::map<std::string, std::vector<std::string>> kinds;
    for (const std::string& extension : Data::Accessor::supportedExtensions()) {
        const auto accessor = Data::Accessor::accessorByExtension("scene." + extension);
        if (!accessor) continue;
        const Data::Accessor& served = *accessor;
        kinds[className(typeid(served).name())].push_back(extension);
    }
    for (const auto& [name, extensions] : kinds)
        formats.push_back({"scene", name, false, extensions});
}

template <typename Family>
void addFamily(const char* kind, std::vector<Format>& formats) {
    std::set<std::string> names;
    for (const Family* format : Family::allFormats()) names.insert(format->formatType());
    const Family* usual = Family::defaultFormat();
    for (const std::string& name : names)
        formats.push_back({kind, name, usual && usual->formatType() == name});
}

std::vector<Format> allFormats() {
    std::vector<Format> formats;
    addScenes(formats);
    addFamily<Data::StructureSerializer>("structure", formats);
    addFamily<Data::StreamSerializer>("stream", formats);
    addFamily<Data::ChannelSerializer>("channel", formats);
    addFamily<Data::AssociationsSerializer>("associations", formats);
    for (const std::string& name : Data::IndexTypes::names()) formats.push_back({"index", name});
    for (int type = 0; type < Data::Member::kInvalid; ++type)
        formats.push_back(
            {"member", Data::Member::typeName(static_cast<Data::Member::eDataType>(type))});
    return formats;
}

class Formats : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override { options.results(fFormat); }

    Outcome run(Output& output) override {
        const std::vector<Format> formats = allFormats();
        if (fFormat == ResultFormat::kText) {
            writeTable(formats, output);
            return Outcome::kDone;
        }
        ResultList results(output, fFormat);
        for (const Format& format : formats) ResultList::add(results, fFormat, json(format));
        results.end();
        return Outcome::kDone;
    }

  private:
    static void writeTable(const std::vector<Format>& formats, Output& output) {
        TextTable table({{"what", kWidestColumn}, {"name", kWidestColumn}, {"remark", 0}});
        for (const Format& format : formats)
            table.add({format.kind, shownName(format.name),
                       format.isDefault ? "(default)"
                                        : fmt::format("{}", fmt::join(format.extensions, ", "))});
        table.write(output);
    }

    static JsonObject json(const Format& format) {
        JsonObject object;
        object.add("kind", std::string_view(format.kind)).add("name", format.name);
        if (!format.extensions.empty()) object.addList("extensions", format.extensions);
        if (format.isDefault) object.add("default", true);
        return object;
    }

    ResultFormat fFormat = ResultFormat::kText;
};

}  // namespace

std::unique_ptr<Command> makeFormats() { return std::make_unique<Formats>(); }

}  // namespace orbo::Quilmeta
