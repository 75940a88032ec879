// quilmeta get: values, and nothing around them.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonElement.h"
#include "json/ResultList.h"
#include "output/ValueText.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Output.h"
#include "scene/Address.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <fmt/format.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"get", "Print values of elements", R"(
Prints the values of one element, or without --index those of all, an element a
line. Several members have tabs between; several values of one member have
blanks, and MEMBER[k] is one of them. Names are exact. Strings come as they are
unless a terminal would act on them; -0 ends each element by a NUL instead of a
line feed. What is not there ends in exit code 1, or with --default in that text.
Examples:
  r=$(quilmeta get s.kx --node n --channel c --stream s --index 3 roughness)
  quilmeta get robot.kx --node rig --channel joints --stream pose label 'bind[0]')"};

/// Ends the search for what is to be printed.
class NotThere : public CommandError {
  public:
    using CommandError::CommandError;
};

class Get : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file");
        options.words("MEMBER", fMembers, "Members, or single values of them");
        options.address(fAddress);
        options.optional("--index", "INDEX", fIndex, "Only this element");
        options.optional("--default", "TEXT", fDefault, "Print this for what is not there");
        options.results(fFormat);
        options.flag("-0,--null", fEndsByNul, "End each element by a NUL");
        options.reading(fAccess);
        fAccess.looksFirst = true;
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        if (fFormat != ResultFormat::kText && fEndsByNul)
            throw UsageError("-0 and JSON exclude each other");
        fText = {output.isTerminal(), fDefault.value_or("")};
        EachFile how;
        how.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const Outcome outcome = forEachFile({fFile}, how, results,
                                            [&](const FileTurn& turn) { return get(turn.output); });
        results.end();
        return outcome;
    }

  private:
    FileResult get(Output& output) const {
        const Scene scene = openNode();
        try {
            const Data::Stream& stream = streamIn(*scene.accessor);
            if (fIndex) {
                printOne(stream, output);
            } else {
                const auto members = membersOf(stream.structure());
                if (stream.empty()) throw NotThere("the stream has no element");
                for (auto element = stream.cbegin(); element.valid(); ++element)
                    print(isText() ? "" : jsonOf(element.index()), &*element, members, output);
            }
        } catch (const NotThere& missing) {
            if (!fDefault) {
                complain(fFile, missing.what());
                return Outcome::kNothingSelected;
            }
            printDefault(output);
        }
        output.flush();
        return scene.outcome();
    }

    /// Reads no more than the node; all of the scene when there is no such node, for the message.
    [[nodiscard]] Scene openNode() const {
        SceneNames names;
        names.nodes.emplace({fAddress.node});
        Scene scene = openScene(fFile, fAccess, &names);
        if (scene.accessor->associations().count(fAddress.node) > 0) return scene;
        return openScene(fFile, fAccess);
    }

    [[nodiscard]] Data::Stream& streamIn(Data::Accessor& scene) const {
        try {
            return findStream(scene, fAddress);
        } catch (const CommandError& error) {
            throw NotThere(error.what());
        }
    }

    /// Those that are not there have no member, if there is a default.
    [[nodiscard]] std::vector<NamedMember> membersOf(const Data::Structure& structure) const {
        std::vector<NamedMember> members;
        for (const std::string& name : fMembers) {
            try {
                const auto member = findMember(structure, name);
                if (!member) throw NoSuchMember(structure, name);
                members.push_back(*member);
            } catch (const CommandError& error) {
                if (!fDefault) throw NotThere(error.what());
                members.push_back({nullptr, 0, {}, name});
            }
        }
        return members;
    }

    void printOne(const Data::Stream& stream, Output& output) const {
        const auto members = membersOf(stream.structure());
        const Data::Index index = indexOf(stream, *fIndex);
        Data::Stream shared = stream;
        Data::Handle element = shared.element(index);
        if (!element.hasData() && !fDefault)
            throw NotThere(fmt::format("stream {} has no index {}", inQuotes(fAddress.stream),
                                       inQuotes(*fIndex)));
        print(jsonOf(index), element.hasData() ? &element : nullptr, members, output);
    }

    void printDefault(Output& output) const {
        std::vector<NamedMember> members;
        for (const std::string& name : fMembers) members.push_back({nullptr, 0, {}, name});
        std::string index;
        if (fIndex) appendJson(index, std::string_view(*fIndex));
        print(index, nullptr, members, output);
    }

    /// Prints the values of the element, and the default for what is not there.
    void print(const std::string& index, Data::Handle* element,
               const std::vector<NamedMember>& members, Output& output) const {
        std::string text;
        const char* gap = isText() ? "" : "{ ";
        for (const NamedMember& member : members) {
            text += gap;
            gap = isText() ? "\t" : ", ";
            if (!isText()) appendJson(text, member.name);
            if (!isText()) text += ": ";
            if (!element || !member.member)
                text += isText() ? fText.shown(*fDefault) : jsonOfText(*fDefault, member);
            else if (isText())
                fText.append(text, *element, member);
            else
                appendNamed(text, *element, member);
        }
        if (isText()) return output.write(text += end());
        printJson(index, text + " }", output);
    }

    static std::string jsonOf(const Data::Index& index) {
        std::string text;
        appendIndex(text, index);
        return text;
    }

    void printJson(const std::string& index, const std::string& values, Output& output) const {
        JsonObject object;
        object.add("file", fFile)
            .add("node", fAddress.node)
            .add("channel", fAddress.channel)
            .add("stream", fAddress.stream);
        if (!index.empty()) object.addJson("index", index);
        ResultList::add(output, fFormat, object.addJson("values", values));
    }

    [[nodiscard]] bool isText() const { return fFormat == ResultFormat::kText; }
    [[nodiscard]] char end() const { return fEndsByNul ? '\0' : '\n'; }

    std::string fFile;
    std::vector<std::string> fMembers;
    StreamAddress fAddress;
    std::optional<std::string> fIndex, fDefault;
    ResultFormat fFormat = ResultFormat::kText;
    bool fEndsByNul = false;
    ValueText fText;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeGet() { return std::make_unique<Get>(); }

}  // namespace orbo::Quilmeta
