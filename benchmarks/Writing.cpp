// How fast the text of a stream is written, with six digits and with those that read back exactly.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamSerializerRaw.h>

#include <charconv>
#include <sstream>

#include "Bench.h"
#include "core/ValueText.h"

using namespace orbo::Benchmarks;
using orbo::Data::Stream;

namespace {

char* putString(char* to, const std::string& value) {
    *to++ = '"';
    for (const char c : value) {
        if (c == '"' || c == '\\') *to++ = '\\';
        *to++ = c;
    }
    *to++ = '"';
    return to;
}

// The limit; the buffer has room. `digits` is nothing, or the precision.
template <typename... Digits>
std::size_t writeBare(const Elements& elements, std::vector<char>& buffer, Digits... digits) {
    constexpr std::ptrdiff_t kRoom = 32;
    char* to = buffer.data();
    for (const auto& [index, element] : elements) {
        to = std::to_chars(to, to + kRoom, index).ptr;
        *to++ = '\n';
        to = std::to_chars(to, to + kRoom, element->id).ptr;
        *to++ = ' ';
        for (const float value : element->position) {
            to = std::to_chars(to, to + kRoom, value, std::chars_format::general, digits...).ptr;
            *to++ = ' ';
        }
        to = putString(to, element->name);
        *to++ = '\n';
    }
    return static_cast<std::size_t>(to - buffer.data());
}

std::size_t writeStream(const Stream& stream, std::ostringstream& out) {
    std::string errors;
    out.seekp(0);
    orbo::Data::StreamSerializerRaw::theFormat().write(stream, out, errors);
    return static_cast<std::size_t>(out.tellp());
}

/// The stream in a scene that had no metadata, and has not been written yet.
std::unique_ptr<orbo::Data::Accessor> sceneOf(const Stream& stream, const std::string& file) {
    makeEmptyScene(file, 0x1000);
    auto scene = makeModel(file, stream);
    orbo::Data::WritePolicy policy = scene->writePolicy();
    policy.durable = false;  // what waiting for the disk takes is no work
    scene->setWritePolicy(policy);
    return scene;
}

void writeScene(const orbo::Data::Accessor& scene) {
    std::string errors;
    require(scene.write(errors), errors);
}

bool holds(const std::ostringstream& out, const std::vector<char>& buffer, std::size_t size) {
    return out.str().find(std::string(buffer.data(), size)) != std::string::npos;
}

double instructions(const char* self, const std::string& what) {
    return instructionsOf({"--toggle-collect=countedWork", self, "count", what});
}

const char* const kScenes[] = {"scene.kx", "scene.ky"};
constexpr double kAllowed[] = {1.15, 1.08};  // beyond the stream alone

void compareScenes(Bench& bench, const char* self) {
    const double alone = instructions(self, "stream");
    for (int i = 0; i < 2; ++i) {
        const std::string subject = i == 0 ? "write a text scene" : "write a binary scene";
        bench.compare(subject, kScenes[i], "six digits", kAllowed[i]);
        bench.count(subject + ", instructions", instructions(self, kScenes[i]), "six digits", alone,
                    kAllowed[i], "instr");
    }
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedWork(const std::function<void()>& work) { work(); }

namespace {

int count(const std::string& what) {
    const Stream stream = makeStream(makeElements(kElements));
    if (what == "stream") {
        std::ostringstream out;
        writeStream(stream, out);
        countedWork([&] { writeStream(stream, out); });
        return 0;
    }
    const Folder folder;
    const auto scene = sceneOf(stream, folder.file(what));
    countedWork([&] { writeScene(*scene); });
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3) return count(argv[2]);
    const Elements elements = makeElements(kElements);
    const Stream stream = makeStream(elements);
    std::vector<char> buffer(kElements * 128);
    std::ostringstream six;
    std::ostringstream exact;
    orbo::Data::ValueText::setExactNumbers(exact, true);
    writeStream(stream, six);
    writeStream(stream, exact);
    require(holds(six, buffer, writeBare(elements, buffer, 6)), "six digits");
    require(holds(exact, buffer, writeBare(elements, buffer)), "exact numbers");

    Bench bench(15, kElements);
    bench.measure("six digits", [&] { return writeStream(stream, six); });
    bench.measure("to_chars, 6 digits", [&] { return writeBare(elements, buffer, 6); });
    bench.measure("exact", [&] { return writeStream(stream, exact); });
    bench.measure("to_chars, shortest", [&] { return writeBare(elements, buffer); });
    const Folder folder;
    std::unique_ptr<orbo::Data::Accessor> scene;
    for (const char* const name : kScenes) {
        bench.measureBehind(
            name, [&, name] { scene = sceneOf(stream, folder.file(name)); },
            [&] { writeScene(*scene); });
    }
    const auto peers = makePeers(elements, textOf(stream));
    for (const Peer& peer : peers) {
        if (peer.write) bench.measure(peer.name, peer.write);
    }
    bench.run();

    for (const auto& [ours, limit, allowed] : {std::tuple{"six digits", "to_chars, 6 digits", 0.4},
                                               std::tuple{"exact", "to_chars, shortest", 0.6}}) {
        bench.compare(std::string("write a stream: ") + ours, ours, limit, allowed);
        for (const Peer& peer : peers) {
            if (peer.write) bench.compare("", ours, peer.name, peer.mustBeBeaten ? 1 : 0);
        }
    }
    compareScenes(bench, argv[0]);
    return bench.result();
}
