// SPDX-License-Identifier: Apache-2.0
// Any text: the JSON reader refuses it or gives values that read the same again, each on its own; the import throws a
// standard exception or gives cards that survive an export and a second import.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Require.h"
#include "authlist/JsonExchange.h"
#include "oru/common/lwjson/Deserializer.h"
#include "oru/common/lwjson/Serializer.h"

namespace oru::kadi::authlist::fuzz {
namespace {

using common::lwjson::Deserializer;
using common::lwjson::Format;
using common::lwjson::Kind;
using common::lwjson::Options;
using common::lwjson::Serializer;

// The reader alone

std::string unescaped(std::string_view escaped) {
    std::string text;
    Deserializer::extractValue(escaped.data(), static_cast<unsigned>(escaped.size()), text, "");
    return text;
}

// Where the value of each key begins in the text of an object, found without the reader; the first of a key counts.
std::map<std::string, const char*> firstValues(std::string_view object) {
    std::map<std::string, const char*> values;
    std::size_t depth = 0;
    bool expectsKey = false;
    for (std::size_t i = 0; i < object.size(); ++i) {
        const char c = object[i];
        if (c == '{' || c == '[') ++depth;
        if (c == '}' || c == ']') --depth;
        if (c == '{' || c == ',') expectsKey = depth == 1;
        if (c != '"') continue;
        const std::size_t start = ++i;
        for (; object[i] != '"'; ++i) {
            if (object[i] == '\\') ++i;
        }
        if (!expectsKey) continue;
        const std::size_t value = object.find_first_not_of(" \t\r\n:", i + 1);
        values.try_emplace(unescaped(object.substr(start, i - start)), object.data() + value);
        expectsKey = false;
    }
    return values;
}

void checkString(const Deserializer& value) {
    const std::string text = unescaped(value.scalarText());
    Serializer object(Format::Compact);
    object.appendKey("text");
    object.addValue(text);
    object.finalize();
    Deserializer reread(Options::Strict);
    reread.importJson(object.mutableJson());
    require(unescaped(reread.getMember("text").scalarText()) == text, "JSON: a string survives being written and read");
}

void checkValue(const Deserializer& value) {
    Deserializer alone(Options::Strict);
    alone.importJson(value.rawText());
    require(alone.kind() == value.kind(), "JSON: a value alone is of the same kind");
    require(alone.rawText() == value.rawText(), "JSON: a value alone has the same text");
    if (value.kind() == Kind::String) checkString(value);
}

std::vector<Deserializer> elementsOf(const Deserializer& array) {
    std::vector<Deserializer> elements;
    array.forEachElement([&elements](const Deserializer& element) { elements.push_back(element); });
    return elements;
}

std::vector<Deserializer> membersOf(const Deserializer& object) {
    std::vector<Deserializer> members;
    for (const auto& [key, value] : firstValues(object.rawText())) {
        if (key.find('\0') != std::string::npos) continue;  // cannot be asked for
        const auto member = object.findMember(key.c_str());
        require(member.has_value(), "JSON: every key is found");
        require(member->rawText().data() == value, "JSON: the first member of a key is found");
        members.push_back(*member);
    }
    return members;
}

// Not by recursion: texts nest as deep as they are long.
void checkEveryValue(const Deserializer& document) {
    std::vector<Deserializer> unchecked{document};
    while (!unchecked.empty()) {
        const Deserializer value = unchecked.back();
        unchecked.pop_back();
        checkValue(value);
        std::vector<Deserializer> inner;
        if (value.kind() == Kind::Array) inner = elementsOf(value);
        if (value.kind() == Kind::Object) inner = membersOf(value);
        unchecked.insert(unchecked.end(), inner.begin(), inner.end());
    }
}

void checkReader(const std::string& text) {
    Deserializer document(Options::Strict);
    try {
        document.importJson(text);
    } catch (const std::exception&) {
        require(document.isNull(), "JSON: a refused text leaves the reader as it was");
        return;
    }
    checkEveryValue(document);
}

// The import

std::optional<std::vector<RfidCard>> imported(const std::string& text) {
    try {
        return deserializeRfidsFromJson(text);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool sameTags(const std::vector<RfidTag>& left, const std::vector<RfidTag>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const RfidTag& a, const RfidTag& b) {
        return a.hash == b.hash && a.key == b.key && a.extraData == b.extraData;
    });
}

// A time that the text does not give is the moment of import, of which the export keeps the whole seconds.
bool sameSecond(TimePoint left, TimePoint right) {
    return std::chrono::floor<std::chrono::seconds>(left) == std::chrono::floor<std::chrono::seconds>(right);
}

void requireSame(const RfidCard& card, const RfidCard& reread) {
    require(reread.id == card.id, "JSON: the id comes back");
    require(reread.description == card.description, "JSON: the description comes back");
    require(sameTags(card.tags, reread.tags), "JSON: the tags come back");
    require(reread.status == card.status, "JSON: the status comes back");
    require(reread.expiryDate == card.expiryDate, "JSON: the expiry date comes back");
    require(reread.parentId == card.parentId, "JSON: the parent id comes back");
    require(reread.evseId == card.evseId, "JSON: the EVSE id comes back");
    require(reread.extraData == card.extraData, "JSON: the extra data comes back");
    require(sameSecond(reread.lastAccessTime, card.lastAccessTime), "JSON: the access time comes back");
    require(sameSecond(reread.lastModificationTime, card.lastModificationTime),
            "JSON: the modification time comes back");
    require(reread.recordLifetime == card.recordLifetime, "JSON: the lifetime comes back");
}

// A second import would lose the same as the first; so what must be taken as it stands is looked up in the text.
void requireExtraDataOf(const std::string& text, const std::vector<RfidCard>& cards) {
    Deserializer document(Options::Strict);
    document.importJson(text);
    const std::vector<Deserializer> list = elementsOf(document.getMember("localAuthorizationList"));
    require(list.size() == cards.size(), "JSON: every element becomes a card");
    for (std::size_t i = 0; i < list.size(); ++i) {
        const auto extraData = list[i].findMember("extraData");
        const bool isAbsent = !extraData || extraData->isNull();
        require(isAbsent ? !cards[i].extraData : cards[i].extraData == extraData->rawText(),
                "JSON: extra data is taken as it stands");
    }
}

void checkImport(const std::string& text) {
    const auto cards = imported(text);
    if (!cards) return;
    requireExtraDataOf(text, *cards);
    const std::string exported = serializeRfidsAsJson(*cards, std::nullopt);
    const std::vector<RfidCard> reread = deserializeRfidsFromJson(exported);
    require(reread.size() == cards->size(), "JSON: every card comes back");
    for (std::size_t i = 0; i < reread.size(); ++i) requireSame((*cards)[i], reread[i]);
    require(serializeRfidsAsJson(reread, std::nullopt) == exported, "JSON: the second export is like the first");
}

}  // namespace
}  // namespace oru::kadi::authlist::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace oru::kadi::authlist::fuzz;
    const std::string text(data, data + size);
    checkReader(text);
    checkImport(text);
    return 0;
}
