// SPDX-License-Identifier: Apache-2.0
#include "oru/common/lwjson/Deserializer.h"

#include <cstddef>
#include <stdexcept>

#include "lwjson/JsonScanner.h"
#include "lwjson/JsonString.h"
#include "lwjson/JsonValidation.h"

namespace oru::common::lwjson {
namespace {

Kind kindOf(char firstCharacter) {
    switch (firstCharacter) {
        case '{':
            return Kind::Object;
        case '[':
            return Kind::Array;
        case '"':
            return Kind::String;
        case 't':
        case 'f':
            return Kind::Boolean;
        case 'n':
            return Kind::Null;
        default:
            return Kind::Number;
    }
}

const char* endOf(std::string_view text) { return text.data() + text.size(); }

std::string_view between(const char* first, const char* last) {
    return {first, static_cast<std::size_t>(last - first)};
}

// Behind the comma that follows position, or at the closing bracket.
const char* skipComma(const char* position, const char* end) {
    position = skipBlanks(position, end);
    return *position == ',' ? skipBlanks(position + 1, end) : position;
}

// Calls visit(key, value), each at its first character, for every member of an object.
template <class Visitor>
void forEachMember(std::string_view object, Visitor visit) {
    const char* const end = endOf(object);
    const char* position = skipBlanks(object.data() + 1, end);
    while (*position != '}') {
        const char* const key = position;
        const char* const colon = skipBlanks(skipString(key, end), end);
        const char* const value = skipBlanks(colon + 1, end);
        visit(key, value);
        position = skipComma(skipValue(value, end), end);
    }
}

bool isKey(const char* member, const char* end, std::string_view key) {
    const std::string_view escaped = between(member + 1, skipString(member, end) - 1);
    return escaped.find('\\') == std::string_view::npos ? escaped == key : unescapeJsonString(escaped) == key;
}

}  // namespace

Deserializer::Deserializer(Options) : Deserializer(std::string_view{"null"}) {}

Deserializer::Deserializer(std::string_view raw) : mRaw(raw), mKind(kindOf(raw.front())) {}

void Deserializer::importJson(std::string_view text) {
    validateJson(text, deepestText);
    const char* const first = skipBlanks(text.data(), endOf(text));
    *this = Deserializer(between(first, skipValue(first, endOf(text))));
}

std::string_view Deserializer::scalarText() const {
    return mKind == Kind::String ? mRaw.substr(1, mRaw.size() - 2) : mRaw;
}

std::optional<Deserializer> Deserializer::findMember(const char* key) const {
    if (!isObject()) return std::nullopt;
    if (!mMembers) indexMembers();
    for (const Member& member : *mMembers) {
        if (isKey(member.key, endOf(mRaw), key)) {
            return Deserializer(between(member.value, skipValue(member.value, endOf(mRaw))));
        }
    }
    return std::nullopt;
}

Deserializer Deserializer::getMember(const char* key) const {
    auto member = findMember(key);
    if (!member) throw std::out_of_range("JSON member \"" + std::string(key) + "\" not found");
    return *std::move(member);
}

void Deserializer::forEachElement(const std::function<void(const Deserializer&)>& visit) const {
    if (mKind != Kind::Array) throw std::runtime_error("JSON value is not an array");
    const char* const end = endOf(mRaw);
    const char* position = skipBlanks(mRaw.data() + 1, end);
    while (*position != ']') {
        const char* const elementEnd = skipValue(position, end);
        visit(Deserializer(between(position, elementEnd)));
        position = skipComma(elementEnd, end);
    }
}

void Deserializer::extractValue(const char* text, unsigned length, std::string& out, const char* defaultValue) {
    const std::string_view escaped(text, length);
    if (escaped.empty()) {
        out = defaultValue;
    } else if (escaped.find('\\') == std::string_view::npos) {
        out = escaped;
    } else {
        out = unescapeJsonString(escaped);
    }
}

void Deserializer::indexMembers() const {
    // Counted first, so that the index of a large object is not copied while it grows.
    std::size_t count = 0;
    forEachMember(mRaw, [&count](const char*, const char*) { ++count; });
    mMembers.emplace();
    mMembers->reserve(count);
    forEachMember(mRaw, [this](const char* key, const char* value) { mMembers->push_back({key, value}); });
}

}  // namespace oru::common::lwjson
