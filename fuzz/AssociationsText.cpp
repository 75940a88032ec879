// What an associations text gives survives being written with exact numbers and read again.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Index.h>
#include <data/StructureSerializerRaw.h>

#include <memory>
#include <sstream>
#include <string>

#include "Law.h"
#include "Thrift.h"
#include "scenes/model/ModelText.h"

namespace {

using namespace orbo;
using namespace orbo::Data;
using Fuzz::demand;

void registerStructures() {
    for (const char* text :
         {"name=I:int32=x", "name=F:float=f:double[2]=d", "name=T:string=s:bool=b:string[2]=t",
          "name=N:int8=a:uint8=b:int16=c:uint16=d:uint32=e:int64=f:uint64=g",
          "name=M:flt4x4=m:dbl4x4=n", "name=L:int32[4294967295]=x",
          "name=B:int32=i:float[3]=f:string=s"}) {
        std::istringstream in(text);
        std::string errors;
        Structure* structure = StructureSerializerRaw::theFormat().read(in, errors);
        demand(structure && Structure::registerStructure(*structure), "structures are made", text);
    }
}

// Null also when an index type is unknown, which is thrown.
std::unique_ptr<Associations> read(std::string_view text, std::string& errors) {
    std::istringstream in{std::string(text)};
    try {
        std::unique_ptr<Associations> result(
            AssociationsSerializerRaw::theFormat().read(in, errors));
        demand((result != nullptr) == errors.empty(), "a refusal, and nothing else, has messages",
               text, errors);
        return result;
    } catch (const Index::eCreationErrors&) {
        return nullptr;
    }
}

std::string written(const Associations& associations) {
    Findings findings;
    const auto record = recordOf("node", associations, true, findings);
    std::string errors;
    findings.appendTo(errors);
    demand(record.has_value(), "what was read can be written", errors);
    return record->text;
}

orbo::Fuzz::Work readingOf(const std::string& text) {
    static const bool ready = (registerStructures(), true);
    return {ready ? text.size() : 0, [text] {
                std::string errors;
                read(text, errors);
            }};
}

}  // namespace

orbo::Fuzz::Work orbo::Fuzz::workOf(const std::uint8_t* data, std::size_t size) {
    return readingOf(std::string(textOf(data, size)));
}

orbo::Fuzz::Work orbo::Fuzz::baseWork() { return readingOf(baseAssociations()); }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orbo::Fuzz::demandThrift(data, size);
    std::string errors;
    const auto first = read(Fuzz::textOf(data, size), errors);
    if (!first) return 0;
    const std::string text = written(*first);
    const auto second = read(text, errors);
    demand(second != nullptr, "what was written can be read", text, errors);
    demand(written(*second) == text, "it reads back as it was", text, written(*second));
    return 0;
}
