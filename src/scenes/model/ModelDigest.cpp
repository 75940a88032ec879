// A digest of associations, to tell two states of them apart.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelDigest.h"

#include <cstring>
#include <string>
#include <vector>

#include "core/DataTypes.h"
#include "core/KeyedHash.h"
#include "core/Layout.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

/// Adds the elements of one stream to a hash.
class ElementHash final : public ElementVisitor {
  public:
    ElementHash(const Layout& layout, KeyedHash& hash) : fHash(hash) {
        for (const Member& member : layout.members()) addSpan(member);
    }

    void visit(unsigned int number, char* chunk) override {
        fHash.add(std::uint64_t{number});
        addChunk(chunk);
    }
    void visit(const Index& index, char* chunk) override {
        fHash.add(index.typeName());
        fHash.add(index.asString());
        addChunk(chunk);
    }

  private:
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
        if (!chunk) return fHash.add(std::string_view("no data"));
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

    KeyedHash& fHash;
    std::vector<Span> fSpans;
};

void add(KeyedHash& hash, const Stream& stream) {
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
    hash.add(std::uint64_t{stream.elementCount()});
    ElementHash elements(StreamAccess::layoutOf(stream), hash);
    StreamAccess::visitElements(stream, elements);
}

}  // namespace

std::uint64_t digestOf(const Associations& associations) {
    KeyedHash hash;
    for (const Channel& channel : associations) {
        if (channel.empty()) continue;
        hash.add(channel.name());
        hash.add(std::uint64_t{channel.dataStreamCount()});
        for (const Stream& stream : channel) add(hash, stream);
    }
    return hash.value();
}

}  // namespace orbo::Data
