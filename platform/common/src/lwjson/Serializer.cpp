// SPDX-License-Identifier: Apache-2.0
#include "oru/common/lwjson/Serializer.h"

#include <stdexcept>
#include <utility>

#include "lwjson/JsonString.h"
#include "lwjson/JsonValidation.h"

namespace oru::common::lwjson {
namespace {

void require(bool inOrder, const char* failure) {
    if (!inOrder) throw std::logic_error(failure);
}

void completeText(std::string& json) {
    if (json.empty()) json = "null";
    try {
        validateJson(json, deepestPart);
    } catch (const std::runtime_error& error) {
        throw std::invalid_argument(error.what());
    }
}

}  // namespace

Serializer::Serializer(Format) : mJson("{"), mState(State::ExpectsKey) {}

Serializer::Serializer(std::string&& json, Format) : mJson(std::move(json)), mState(State::CarriesText) {}

void Serializer::appendKey(const char* key) {
    require(mState == State::ExpectsKey, "JSON key out of order");
    if (mJson.size() > 1) mJson += ',';
    appendJsonString(mJson, key);
    mJson += ':';
    mState = State::ExpectsValue;
}

void Serializer::addValue(const std::string& text) { appendString(text); }

void Serializer::addValue(const char* text) { appendString(text); }

void Serializer::appendValue(const char* text) {
    beginValue();
    mJson += text;
}

void Serializer::addValue(const Serializer& value) {
    const std::string& json = value.finalizedJson();
    beginValue();
    mJson += json;
}

void Serializer::finalize() {
    require(mState != State::ExpectsValue, "JSON object closed after a key");
    if (mState == State::ExpectsKey) mJson += '}';
    if (mState == State::CarriesText) completeText(mJson);
    mState = State::Finalized;
}

std::string& Serializer::mutableJson() {
    require(mState == State::Finalized, "JSON used before it was finalized");
    return mJson;
}

void Serializer::beginValue() {
    require(mState == State::ExpectsValue, "JSON value out of order");
    mState = State::ExpectsKey;
}

void Serializer::appendString(std::string_view text) {
    beginValue();
    appendJsonString(mJson, text);
}

const std::string& Serializer::finalizedJson() const {
    require(mState == State::Finalized, "JSON used before it was finalized");
    return mJson;
}

}  // namespace oru::common::lwjson
