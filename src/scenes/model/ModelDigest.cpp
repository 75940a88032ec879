// A digest of associations, to tell two states of them apart.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelDigest.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "core/ContentHash.h"
#include "core/DataTypes.h"
#include "core/Layout.h"
#include "formats/TextOutline.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

/// Hashes the elements of one stream, block by block.
class ElementHash final : public ElementVisitor {
  public:
    explicit ElementHash(const Layout& layout) {
        for (const Member& member : layout.members()) addSpan(member);
    }

    void visit(unsigned int number, char* chunk) override {
        begin();
        fHash.add(std::uint64_t{number} << kTagBits | kNumbered | hasData(chunk));
        if (chunk) addChunk(chunk);
    }
    void visit(const Index& index, char* chunk) override {
        begin();
        fHash.add(hasData(chunk));
        fHash.add(index.typeName());
        fHash.add(index.asString());
        if (chunk) addChunk(chunk);
    }

    /// One for each block of elements.
    std::vector<std::uint64_t> values() {
        if (fInBlock > 0) fBlocks.push_back(take());
        return std::move(fBlocks);
    }

  private:
    // The lowest bits of an element's first word say what follows.
    static constexpr std::uint64_t kNumbered = 2;
    static constexpr int kTagBits = 2;
    static std::uint64_t hasData(const char* chunk) { return chunk ? 1 : 0; }

    void begin() {
        if (fInBlock == StreamOutline::kBlock) {
            fBlocks.push_back(take());
            fInBlock = 0;
        }
        ++fInBlock;
    }

    std::uint64_t take() {
        const std::uint64_t value = fHash.value();
        fHash.clear();
        return value;
    }

    enum class Kind { kBytes, kBooleans, kStrings };
    /// A run of values in a chunk that are hashed in the same way.
    struct Span {
        Kind kind;
        std::uint64_t begin;
        std::uint64_t size;
    };

    void addSpan(const Member& member) {
        const Kind kind = member.type() == Member::kString    ? Kind::kStrings
                          : member.type() == Member::kBoolean ? Kind::kBooleans
                                                              : Kind::kBytes;
        const auto begin = static_cast<std::uint64_t>(member.offset());
        const std::uint64_t size = std::uint64_t{member.length()} * dataType(member.type()).size;
        if (!fSpans.empty() && fSpans.back().kind == kind &&
            fSpans.back().begin + fSpans.back().size == begin) {
            fSpans.back().size += size;
        } else {
            fSpans.push_back({kind, begin, size});
        }
    }

    void addChunk(const char* chunk) {
        for (const Span& span : fSpans) {
            const char* const values = chunk + span.begin;
            if (span.kind == Kind::kBytes) {
                fHash.addBytes(values, static_cast<std::size_t>(span.size));
            } else if (span.kind == Kind::kBooleans) {
                for (std::uint64_t i = 0; i < span.size; ++i) {
                    fHash.add(std::uint64_t{values[i] != 0});
                }
            } else {
                addStrings(values, span.size / sizeof(char*));
            }
        }
    }

    void addStrings(const char* slots, std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            const char* text = nullptr;
            std::memcpy(&text, slots + i * sizeof text, sizeof text);
            fHash.add(std::string_view(text ? text : ""));
        }
    }

    ContentHash fHash;
    std::size_t fInBlock = 0;
    std::vector<std::uint64_t> fBlocks;
    std::vector<Span> fSpans;
};

StreamDigest digestOf(const Stream& stream) {
    ContentHash hash;
    hash.add(stream.name());
    hash.add(stream.indexType());
    hash.add(std::string_view(stream.structure().name()));
    const Layout& layout = Layout::of(stream.structure());
    hash.add(std::uint64_t{layout.memberCount()});
    for (const Member& member : layout.members()) {
        hash.add(std::string_view(member.name()));
        hash.add(static_cast<std::uint64_t>(member.type()));
        hash.add(std::uint64_t{member.length()});
    }
    ElementHash elements(StreamAccess::layoutOf(stream));
    StreamAccess::visitElements(stream, elements);
    return {hash.value(), elements.values()};
}

}  // namespace

const NodeDigest& ModelDigests::of(const Associations& associations) {
    const auto [known, isNew] = fKnown.try_emplace(&associations);
    if (isNew) known->second = digestOf(associations);
    return known->second;
}

NodeDigest digestOf(const Associations& associations) {
    NodeDigest digest;
    ContentHash hash;
    for (const Channel& channel : associations) {
        if (channel.empty()) continue;
        hash.add(channel.name());
        hash.add(std::uint64_t{channel.dataStreamCount()});
        for (const Stream& stream : channel) {
            digest.streams.push_back(digestOf(stream));
            hash.add(digest.streams.back().header);
            hash.add(std::uint64_t{stream.elementCount()});
            for (const std::uint64_t block : digest.streams.back().blocks) hash.add(block);
        }
    }
    digest.value = hash.value();
    return digest;
}

}  // namespace orbo::Data
