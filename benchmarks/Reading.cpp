// How fast the text of a stream is read, alone and inside of scenes.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamSerializerRaw.h>

#include <charconv>
#include <fstream>
#include <sstream>

#include "Bench.h"

using namespace orbo::Benchmarks;
using orbo::Data::Stream;

namespace {

std::unique_ptr<Stream> readStream(std::istream& in) {
    std::string errors;
    return std::unique_ptr<Stream>(orbo::Data::StreamSerializerRaw::theFormat().read(in, errors));
}

template <typename T>
const char* takeNumber(const char* at, const char* end, T& value) {
    return std::from_chars(at, end, value).ptr + 1;
}

const char* takeString(const char* at, std::string& value) {
    const char* from = ++at;
    for (; *at != '"'; ++at) {
        if (*at != '\\') continue;
        value.append(from, at);
        from = ++at;
    }
    value.append(from, at);
    return at + 2;
}

// The limit: nothing is checked.
Elements readBare(const std::string& text) {
    const char* at = text.data();
    const char* end = at + text.size();
    for (int i = 0; i < 3; ++i) at = std::find(at, end, '\n') + 1;
    Elements elements;
    while (*at != 'e') {
        std::uint32_t index = 0;
        Element element{};
        at = takeNumber(takeNumber(at, end, index), end, element.id);
        for (float& value : element.position) at = takeNumber(at, end, value);
        at = takeString(at, element.name);
        append(elements, index, std::move(element));
    }
    return elements;
}

bool isAsWritten(const Elements& read, const Elements& written) {
    return std::equal(read.begin(), read.end(), written.begin(), written.end(),
                      [](const auto& one, const auto& other) {
                          const Element &a = *one.second, &b = *other.second;
                          return one.first == other.first && a.id == b.id && a.name == b.name &&
                                 std::abs(a.position[2] - b.position[2]) < 0.001F;
                      });
}

void measurePeers(Bench& bench, const std::vector<Peer>& peers, const Elements& elements) {
    for (const Peer& peer : peers) {
        require(isAsWritten(peer.read(), elements), peer.name);
        bench.measure(peer.name, peer.read);
    }
}

}  // namespace

int main() {
    const Elements elements = makeElements(kElements);
    const Stream stream = makeStream(elements);
    const std::string text = textOf(stream);
    const Folder folder;
    std::ofstream(folder.file("text")) << text;
    std::istringstream in(text);
    require(isAsWritten(readBare(text), elements), "bare loop");
    require(textOf(*readStream(in)) == text, "what is written is read");

    Bench bench(15, kElements);
    bench.measure("bare from_chars loop", [&] { return readBare(text); });
    bench.measure("text of the stream alone", [&] {
        in.clear();
        in.seekg(0);
        return readStream(in);
    });
    bench.measure("file stream", [&] {
        std::ifstream file(folder.file("text"));
        return readStream(file);
    });
    for (const char* const name : {"scene.kx", "scene.ky"}) {
        makeScene(folder.file(name), 0x1000, stream);
        bench.measure(name, [&, name] { return readScene(folder.file(name)); });
    }
    bench.measureCold("bare from_chars loop, cold", [&] { return readBare(text); });
    bench.measureCold("cold", [&] {
        in.clear();
        in.seekg(0);
        return readStream(in);
    });
    const auto peers = makePeers(elements, text);
    measurePeers(bench, peers, elements);
    bench.run();

    const char* const alone = "text of the stream alone";
    bench.compare("read a stream: string stream", alone, "bare from_chars loop", 0.8);
    for (const Peer& peer : peers) bench.compare("", alone, peer.name, peer.mustBeBeaten ? 1 : 0);
    bench.compare("read a stream: file stream", "file stream", "bare from_chars loop", 0.8);
    bench.compare("read a stream: cold caches", "cold", "bare from_chars loop, cold");
    bench.compare("read a text scene", "scene.kx", alone, 1.15);
    bench.compare("read a binary scene", "scene.ky", alone, 1.08);
    return bench.result();
}
