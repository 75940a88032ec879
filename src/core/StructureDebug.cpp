// The dumps and the footprint of a structure.
// SPDX-License-Identifier: Apache-2.0
#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <cstdio>
#include <ostream>
#include <string>

#include "core/DataTypes.h"
#include "core/StructureImpl.h"

namespace orbo::Data {

namespace {

constexpr std::uint64_t kBytesPerLine = 16;

// "00 01 ... 07   08 ... 0f", with "--" behind the block's end.
std::string hexLine(const char* bytes, std::uint64_t available) {
    std::string line;
    for (std::uint64_t i = 0; i < kBytesPerLine; ++i) {
        char text[4] = "--";
        if (i < available) {
            std::snprintf(text, sizeof text, "%02x", static_cast<unsigned char>(bytes[i]));
        }
        if (i != 0) line += ' ';
        if (i == kBytesPerLine / 2) line += "  ";
        line += text;
    }
    return line;
}

void printHexBlock(const char* bytes, std::uint64_t size, Debug::Print& print) {
    print.beginSection("Default Value Memory Block");
    for (std::uint64_t at = 0; at < size; at += kBytesPerLine) {
        print << hexLine(bytes + at, size - at).c_str() << '\n';
    }
    print.endSection();
}

void printDataTypes(Debug::Print& print) {
    print.beginSection("Recognized Data Types");
    for (int i = 0; i < Member::kInvalid; ++i) {
        const DataType& type = dataType(static_cast<Member::eDataType>(i));
        print << '[' << std::to_string(i) << "] = " << type.name
              << ", size = " << std::to_string(type.size)
              << "bytes, alignment = " << std::to_string(type.alignment) << "bytes\n";
    }
    print << '[' << std::to_string(int{Member::kInvalid})
          << "] = " << Member::typeName(Member::kInvalid) << '\n';
    print.endSection();
}

void printRegistered(Debug::Print& print) {
    if (Structure::allStructures().empty()) {
        print << "No registered structures\n";
        return;
    }
    print.beginSection("Registered Structures");
    unsigned int position = 0;
    for (const Structure* structure : Structure::allStructures()) {
        print.beginSection(("Structure[" + std::to_string(position++) + "]").c_str());
        Structure::Debug(structure, print);
        print.endSection();
    }
    print.endSection();
}

void printStaticData(Debug::Print& print) {
    print.beginSection("orbo::Data::Structure Static Data");
    print << "Default structure name = structure\n";
    printDataTypes(print);
    printRegistered(print);
    print.endSection();
}

}  // namespace

bool Structure::Debug(const Structure* structure, Debug::Footprint& footprint) {
    if (!structure) return true;
    const Impl& impl = *structure->fImpl;
    footprint.addObject(structure, sizeof(Structure));
    for (const Member& member : impl.layout->members()) Member::Debug(&member, footprint);
    footprint.addMember(impl.name.c_str(), impl.name.size() + 1);
    if (const Impl::DefaultBlock* block = impl.defaultBlock) {
        footprint.addMember(block->bytes, block->size);
    }
    return true;
}

bool Structure::Debug(const Structure* structure, Debug::Print& print) {
    if (!structure) {
        printStaticData(print);
        return true;
    }
    const Impl& impl = *structure->fImpl;
    RefCounted::Debug(structure, print);
    print << "Structure '" << structure->name() << "'\n";
    print << "Total Size = " << std::to_string(structure->totalSize()) << '\n';
    print.beginSection("Member List");
    unsigned int index = 0;
    for (const Member& member : impl.layout->members()) {
        print << "Member[" << std::to_string(index++) << "] = ";
        print.skipNextIndent(true);
        Member::Debug(&member, print);
    }
    print.endSection();
    if (const Impl::DefaultBlock* block = impl.defaultBlock) {
        printHexBlock(block->bytes, block->size, print);
    } else {
        print << "No default values provided\n";
    }
    return true;
}

}  // namespace orbo::Data
