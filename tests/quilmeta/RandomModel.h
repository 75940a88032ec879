// Random metadata that a scene can hold, and scenes to hold it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Channel.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/MemberType.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonDocument.h"
#include "process/Output.h"
#include "scene/SceneFile.h"
#include "selection/SceneView.h"

namespace orbo::Quilmeta {

/// A folder that goes away with its content.
class TestFolder {
  public:
    TestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "quilmeta-XXXXXX").string();
        if (::mkdtemp(pattern.data())) fPath = pattern;
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(fPath); }

    /// The path of a new scene without metadata; the extension says of which kind.
    [[nodiscard]] std::string bareScene(const std::string& name) const {
        const std::filesystem::path path = fPath / name;
        std::filesystem::copy_file(
            std::string(METADATA_SCENES_DIR) + "/bare" + path.extension().string(), path,
            std::filesystem::copy_options::overwrite_existing);
        return path.string();
    }

  private:
    std::filesystem::path fPath;
};

inline Scene opened(const std::string& file) {
    SceneAccess access;
    access.writes = true;
    access.noJournal = true;
    return openScene(file, access);
}

inline void store(const Scene& scene) {
    std::string errors;
    EXPECT_TRUE(scene.accessor->write(errors)) << errors;
}

/// What `use` writes to an output.
template <typename Use>
std::string written(Use&& use) {
    const int file = ::memfd_create("output", 0);
    Output output(file, "output");
    use(output);
    output.flush();
    std::string text(static_cast<size_t>(::lseek(file, 0, SEEK_CUR)), '\0');
    EXPECT_EQ(::pread(file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    ::close(file);
    return text;
}

inline std::string documentOf(const Data::Accessor& scene) {
    return written([&](Output& output) { JsonDocument(output).write(select(scene, {})); });
}

/// Scene files hold neither numbers that are not finite nor null strings.
enum class Values { kOfFiles, kAny };

/// The same seed makes the same metadata.
class RandomModel {
  public:
    explicit RandomModel(unsigned seed, Values values = Values::kOfFiles)
        : fRandom(seed), fValues(values) {}

    void fill(Data::Accessor& scene) {
        Data::Accessor::StructureSet set;
        for (unsigned i = 0, count = 1 + below(4); i < count; ++i) {
            fStructures.push_back(structure("S" + std::to_string(i)));
            set.insert(fStructures.back().get());
        }
        scene.setStructures(set);
        for (const char* node : {"", "arm", "caf\xE9", "ns:leg|shin"})
            if (below(3) > 0) fill(scene.associations()[node]);
    }

    /// Changes, adds and removes some of what is there.
    void change(Data::Accessor& scene) {
        for (const Data::Structure* structure : scene.structures())
            fStructures.emplace_back(structure);
        for (auto& [name, node] : scene.associations())
            for (const Data::Channel& channel : node) change(channel);
        auto& nodes = scene.associations();
        if (below(3) == 0 && !nodes.empty()) nodes.erase(nodes.begin());
        if (below(2) == 0) fill(nodes["new"]);
        if (below(2) == 0) addStructure(scene);
    }

    unsigned below(unsigned end) { return static_cast<unsigned>(fRandom() % end); }

  private:
    using Structure = RefPtr<const Data::Structure>;

    Structure structure(const std::string& name) {
        const RefPtr<Data::Structure> made(Data::Structure::create());
        made->setName(name.c_str());
        const char* names[][2] = {
            {"m0", "index"}, {"m1", "m0[1]"}, {"m2", "a, \"b\""}, {"m3", "\xE8\x8C\xB6+"}};
        for (unsigned i = 0, count = 1 + below(4); i < count; ++i)
            made->addMember(static_cast<Data::Member::eDataType>(below(Data::Member::kInvalid)),
                            1 + below(3), names[i][below(2)]);
        return Structure(made.get());
    }

    void addStructure(Data::Accessor& scene) {
        fStructures.push_back(structure("T"));
        Data::Accessor::StructureSet set = scene.structures();
        set.insert(fStructures.back().get());
        scene.setStructures(set);
    }

    void fill(Data::Associations& node) {
        for (const char* name : {"edges", "fa\"ces"})
            if (below(3) > 0) {
                Data::Channel channel = node.channel(name);
                channel.setDataStream(stream("one"));
                if (below(2) == 0) channel.setDataStream(stream("\xE8\x8C\xB6"));
            }
    }

    Data::Stream stream(const std::string& name) {
        Data::Stream made(*fStructures[below(static_cast<unsigned>(fStructures.size()))], name);
        const char* types[] = {"numeric", "pair", "string"};
        made.setIndexType(types[below(3)]);
        for (unsigned i = 0, count = below(8); i < count; ++i) addElement(made);
        return made;
    }

    void addElement(Data::Stream& stream) {
        Data::Handle element = stream.emplaceElement(index(stream.indexType()));
        for (const Data::Member& member : stream.structure()) setMember(element, member);
    }

    Data::Index index(const std::string& type) {
        if (type == "pair") return Data::Index(Data::IndexPair(below(4), below(4)));
        if (type == "string") return Data::Index(Data::IndexString(text() + 'x'));
        return Data::Index(below(2) == 0 ? below(8) : 4'000'000'000U + below(8));
    }

    std::string text() {
        const char* words[] = {"", "lid", "a b", "\"quoted\\", "caf\xE9", "\xE8\x8C\xB6", "\x01"};
        return words[below(std::size(words))];
    }

    void setMember(Data::Handle& element, const Data::Member& member) {
        element.setPositionByMemberName(member.name());
        Data::visitMemberType(member.type(), [&](auto type) {
            using Part = typename decltype(type)::Scalar;
            Part* parts = static_cast<Part*>(element.asType(member.type()));
            for (unsigned i = 0; i < member.length() * type.kScalars; ++i) set(parts[i]);
        });
    }
    void set(char*& slot) {
        std::free(slot);
        const unsigned choice = below(8);
        if (choice == 0) return void(slot = ::strdup("a, b\r\nc; \t"));
        slot = choice == 1 && fValues == Values::kAny ? nullptr : ::strdup(text().c_str());
    }
    void set(bool& slot) { slot = below(2) == 0; }
    template <typename Number>
    void set(Number& slot) {
        using Limits = std::numeric_limits<Number>;
        const unsigned choice = below(8);
        if (choice == 0) slot = Limits::max();
        if (choice == 1) slot = Limits::lowest();
        if (choice > 1) slot = static_cast<Number>(below(256));
        if constexpr (std::is_floating_point_v<Number>) {
            if (choice == 2 && fValues == Values::kAny) slot = notFinite<Number>();
            if (choice == 4) slot = -Number(0);
            if (choice > 5) slot = static_cast<Number>(fRandom()) / 7;
        }
    }

    template <typename Number>
    Number notFinite() {
        const char* bits[] = {"", "1", "0x2000"};
        const Number nan = sizeof(Number) == 4 ? static_cast<Number>(std::nanf(bits[below(3)]))
                                               : static_cast<Number>(std::nan(bits[below(3)]));
        const Number values[] = {nan, -nan, std::numeric_limits<Number>::infinity(),
                                 -std::numeric_limits<Number>::infinity()};
        return values[below(4)];
    }

    void change(Data::Channel channel) {
        std::vector<std::string> names;
        for (const Data::Stream& stream : channel) names.push_back(stream.name());
        for (const std::string& name : names) {
            Data::Stream& stream = *channel.findDataStream(name);
            const unsigned choice = below(6);
            if (choice == 0) channel.removeDataStream(name);
            if (choice == 1) addElement(stream);
            if (choice == 2) channel.setDataStream(this->stream(name));
            if (choice == 3 && !stream.empty()) stream.removeElement(stream.begin().index());
            if (choice == 4) changeValue(stream);
        }
    }

    void changeValue(Data::Stream& stream) {
        if (stream.empty()) return;
        Data::Handle element = stream.element(stream.begin().index());
        setMember(element, *stream.structure().begin());
    }

    std::mt19937 fRandom;
    Values fValues;
    std::vector<Structure> fStructures;
};

}  // namespace orbo::Quilmeta
