// SPDX-License-Identifier: Apache-2.0
#include "authlist/JsonExchange.h"

#include <chrono>
#include <limits>
#include <stdexcept>

#include "authlist/KeyHash.h"
#include "authlist/Timestamp.h"
#include "oru/common/lwjson/Deserializer.h"
#include "oru/common/lwjson/Serializer.h"

namespace oru::kadi::authlist {
namespace {

using common::lwjson::Deserializer;
using common::lwjson::Format;
using common::lwjson::Options;
using common::lwjson::Serializer;

// Writing

void append(Serializer& object, const char* key, const std::string& text) {
    object.appendKey(key);
    object.addValue(text);
}

void append(Serializer& object, const char* key, std::optional<unsigned> number) {
    object.appendKey(key);
    if (number) {
        object.appendValue(std::to_string(*number).c_str());
    } else {
        object.addValue("");
    }
}

void appendExtraData(Serializer& object, const std::optional<std::string>& extraData, const RfidCard& card) {
    Serializer value(extraData.value_or(""), Format::Compact);
    try {
        value.finalize();
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument("The extra data of the card with id " + std::to_string(card.id.value_or(0)) +
                                    " or of one of its tags is not JSON: " + error.what());
    }
    object.appendKey("extraData");
    object.addValue(value);
}

Serializer tagAsJson(const RfidTag& tag, const RfidCard& card) {
    Serializer object(Format::Compact);
    append(object, "hash", tag.hash);
    append(object, "key", tag.key.value_or(""));
    appendExtraData(object, tag.extraData, card);
    object.finalize();
    return object;
}

Serializer cardAsJson(const RfidCard& card) {
    Serializer object(Format::Compact);
    append(object, "id", card.id.value_or(0));
    append(object, "description", card.description);
    append(object, "status", std::string(statusToText(card.status)));
    append(object, "lastAccessTime", timestampToString(card.lastAccessTime).value());
    append(object, "lastModificationTime", timestampToString(card.lastModificationTime).value());
    std::vector<Serializer> tags;
    for (const RfidTag& tag : card.tags) tags.push_back(tagAsJson(tag, card));
    object.appendKey("tags");
    object.addValue(tags);
    append(object, "evseId", card.evseId);
    append(object, "expiryDate", timestampToString(card.expiryDate).value_or(""));
    appendExtraData(object, card.extraData, card);
    append(object, "parentId", card.parentId.value_or(""));
    append(object, "recordLifetime", card.recordLifetime);
    object.finalize();
    return object;
}

// Reading

std::string readString(const Deserializer& member) {
    if (!member.isScalar() || member.isNull()) {
        throw std::runtime_error("Cannot get value from a non-scalar or null");
    }
    const std::string_view text = member.scalarText();
    std::string value;
    Deserializer::extractValue(text.data(), static_cast<unsigned>(text.size()), value, "");
    return value;
}

unsigned narrow(unsigned long long value) {
    if (value > std::numeric_limits<unsigned>::max()) throw std::out_of_range("Out of range conversion.");
    return static_cast<unsigned>(value);
}

unsigned readUnsigned(const Deserializer& member) {
    const std::string text = readString(member);
    try {
        return narrow(std::stoull(text));
    } catch (const std::out_of_range&) {
        throw std::out_of_range("lwjson::deserializer \"\" value out of range");
    }
}

// What is missing or no number counts as absent.
std::optional<unsigned> findUnsigned(const Deserializer& object, const char* key) {
    const auto member = object.findMember(key);
    // The export writes "" for an absent number: common enough to answer without the cost of an exception.
    if (!member || member->scalarText().empty()) return std::nullopt;
    try {
        return readUnsigned(*member);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<unsigned> readEvseId(const Deserializer& card) {
    const auto evseId = findUnsigned(card, "evseId");
    return evseId == 0U ? std::nullopt : evseId;
}

// A missing or empty text counts as absent.
std::optional<std::string> findText(const Deserializer& object, const char* key) {
    const auto member = object.findMember(key);
    if (!member) return std::nullopt;
    std::string text = readString(*member);
    if (text.empty()) return std::nullopt;
    return text;
}

TimePoint readTimeOrNow(const Deserializer& card, const char* key) {
    const auto member = card.findMember(key);
    if (!member) return std::chrono::system_clock::now();
    return stringToTimestamp(readString(*member)).value();
}

std::optional<std::string> readExtraData(const Deserializer& object) {
    const auto member = object.findMember("extraData");
    if (!member) return std::nullopt;
    if (!isValidJson(*member)) throw std::runtime_error("The extraData field should contain valid JSON object.");
    if (member->isNull()) return std::nullopt;
    return std::string(member->rawText());
}

std::string readHash(const Deserializer& tag) {
    try {
        return readString(tag.getMember("hash"));
    } catch (const std::exception&) {
        return {};
    }
}

// The hash that is stored for what the tag gives as hash and key.
std::string resolveHash(const std::string& hash, const std::optional<std::string>& key) {
    if (hash.empty()) {
        if (!key) throw std::runtime_error("Hash and key are both empty!");
        return hashKey(*key);
    }
    if (!isValidHashString(hash)) throw std::runtime_error("Invalid hash string!");
    if (key && hashKey(*key) != hash) throw std::runtime_error("Hash string does not match key!");
    return hash;
}

RfidTag readTag(const Deserializer& json) {
    RfidTag tag;
    tag.key = findText(json, "key");
    tag.hash = resolveHash(readHash(json), tag.key);
    tag.extraData = readExtraData(json);
    return tag;
}

// Sets what a card cannot do without; returns its tags.
Deserializer readMandatoryPart(const Deserializer& json, RfidCard& card) {
    try {
        card.id = readUnsigned(json.getMember("id"));
        card.status = statusFromText(readString(json.getMember("status")));
        return json.getMember("tags");
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("The import file does not contain all mandatory data: ") + error.what());
    }
}

RfidCard readCard(const Deserializer& json) {
    RfidCard card;
    const Deserializer tags = readMandatoryPart(json, card);
    card.description = findText(json, "description").value_or("");
    card.parentId = findText(json, "parentId");
    card.extraData = readExtraData(json);
    card.evseId = readEvseId(json);
    card.expiryDate = stringToTimestamp(findText(json, "expiryDate"));
    card.lastAccessTime = readTimeOrNow(json, "lastAccessTime");
    card.lastModificationTime = readTimeOrNow(json, "lastModificationTime");
    card.recordLifetime = findUnsigned(json, "recordLifetime");
    tags.forEachElement([&card](const Deserializer& tag) { card.tags.push_back(readTag(tag)); });
    return card;
}

Deserializer parse(const std::string& text) {
    Deserializer document(Options::Strict);
    try {
        document.importJson(text);
    } catch (const std::exception&) {
        throw std::runtime_error("Failed to process input JSON file/string.");
    }
    return document;
}

}  // namespace

std::string serializeRfidsAsJson(const std::vector<RfidCard>& cards, std::optional<unsigned> version) {
    std::vector<Serializer> list;
    list.reserve(cards.size());
    for (const RfidCard& card : cards) list.push_back(cardAsJson(card));
    Serializer document(Format::Compact);
    append(document, "listVersion", version);
    document.appendKey("localAuthorizationList");
    document.addValue(list);
    document.finalize();
    return std::move(document.mutableJson());
}

std::vector<RfidCard> deserializeRfidsFromJson(const std::string& text) {
    std::vector<RfidCard> cards;
    parse(text).getMember("localAuthorizationList").forEachElement([&cards](const Deserializer& card) {
        cards.push_back(readCard(card));
    });
    return cards;
}

bool isValidJson(const Deserializer& member) { return member.rawText() == "null" || member.isObject(); }

}  // namespace oru::kadi::authlist
