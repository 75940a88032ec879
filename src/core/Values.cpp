// Finds a member's values by name and type, or says why there are none.
// SPDX-License-Identifier: Apache-2.0
#include <data/ConstHandle.h>
#include <data/Structure.h>
#include <data/detail/Values.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "core/ValueCalls.h"

namespace orbo::Data {

namespace {

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

OwnedText copyOf(std::string_view text) {
    OwnedText copy(static_cast<char*>(std::malloc(text.size() + 1)));
    if (!copy) throw std::bad_alloc();
    if (!text.empty()) std::memcpy(copy.get(), text.data(), text.size());
    copy.get()[text.size()] = 0;
    return copy;
}

std::string lengthText(std::size_t count) { return "[" + std::to_string(count) + "]"; }

std::string typeText(detail::ValueRequest request) {
    const std::string name = dataType(request.type).name;
    return request.count == 0 ? name : name + lengthText(request.count);
}

std::string typeText(const Member& member) {
    const std::string name = dataType(member.type()).name;
    return member.length() == 1 ? name : name + lengthText(member.length());
}

std::string callText(detail::ValueCall call, std::string_view member, const std::string& type) {
    // A NUL would end the message for those who print it as a C string.
    const std::string name = '"' + std::string(member.substr(0, member.find('\0'))) + '"';
    if (call == detail::ValueCall::kSet) return "set(" + name + ", " + type + "): ";
    const char* const function = call == detail::ValueCall::kGet ? "get<" : "MemberRef<";
    return function + type + ">(" + name + "): ";
}

[[noreturn]] void refuse(detail::ValueCall call, TextArgument member, const std::string& type,
                         const std::string& problem) {
    throw std::invalid_argument(callText(call, member.view(), type) + problem);
}

std::string problemOf(const Layout& layout, TextArgument name, const Structure* structure) {
    const Member* const member = memberNamed(layout, name.view());
    if (member) return "the member is " + typeText(*member);
    const std::string owner = structure ? structure->name() : "";
    return "structure \"" + owner + "\" has no such member";
}

const char* valuesOf(detail::ValueCall call, const ConstHandle& handle, TextArgument member,
                     detail::ValueRequest request) {
    if (const char* const values = detail::findValues(handle, member, request)) return values;
    const bool hasData = handle.hasData();
    refuse(call, member, typeText(request),
           hasData
               ? problemOf(HandleAccess::layout(handle), member, HandleAccess::structure(handle))
               : "the handle has no data; there may be no such element");
}

}  // namespace

const Member* memberNamed(const Layout& layout, std::string_view name) {
    if (name.find('\0') != std::string_view::npos) return nullptr;
    const unsigned int index = layout.indexOf(std::string(name).c_str());
    return index == Layout::kNoMember ? nullptr : &layout.member(index);
}

bool fits(const Member& member, detail::ValueRequest request) {
    const DataType& stored = dataType(member.type());
    if (stored.number != request.type) return false;
    const auto numbers = static_cast<std::size_t>(stored.numbers);
    if (request.count == 0) return numbers == 1 && member.length() == 1;
    return numbers * member.length() == request.count;
}

const Member& requireMember(const Structure& structure, TextArgument name,
                            detail::ValueRequest request) {
    const Layout& layout = Layout::of(structure);
    const Member* const member = memberNamed(layout, name.view());
    if (member && fits(*member, request)) return *member;
    refuse(detail::ValueCall::kMemberRef, name, typeText(request),
           problemOf(layout, name, &structure));
}

void refuseUse(std::string_view member, detail::ValueRequest request, const std::string& problem) {
    refuse(detail::ValueCall::kMemberRef, member, typeText(request), problem);
}

namespace detail {

const char* findValues(const ConstHandle& handle, TextArgument member, ValueRequest request) {
    const char* const data = HandleAccess::data(handle);
    if (!data) return nullptr;
    const Member* const found = memberNamed(HandleAccess::layout(handle), member.view());
    return found && fits(*found, request) ? data + found->offset() : nullptr;
}

const char* valuesToGet(const ConstHandle& handle, TextArgument member, ValueRequest request) {
    return valuesOf(ValueCall::kGet, handle, member, request);
}

char* valuesToSet(const ConstHandle& handle, TextArgument member, ValueRequest request) {
    return const_cast<char*>(valuesOf(ValueCall::kSet, handle, member, request));
}

void refuseNullString(ValueCall call, TextArgument member) {
    refuse(call, member, dataType(Member::kString).name,
           "the member is a null string, as before anybody sets it");
}

void setStrings(char* slots, const TextArgument* texts, std::size_t count, ValueCall call,
                TextArgument member) {
    const char* const type = dataType(Member::kString).name;
    for (std::size_t k = 0; k < count; ++k) {
        if (texts[k].isNull()) refuse(call, member, type, "a null pointer is no text");
        if (texts[k].view().find('\0') != std::string_view::npos)
            refuse(call, member, type, "a string member cannot hold a text with a NUL in it");
    }
    const std::unique_ptr<OwnedText[]> copies(new OwnedText[count]);
    for (std::size_t k = 0; k < count; ++k) copies[k] = copyOf(texts[k].view());
    auto* const strings = reinterpret_cast<char**>(slots);
    for (std::size_t k = 0; k < count; ++k) {
        std::free(strings[k]);
        strings[k] = copies[k].release();
    }
}

}  // namespace detail

}  // namespace orbo::Data
