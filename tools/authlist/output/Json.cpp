// SPDX-License-Identifier: Apache-2.0
#include "output/Json.h"

namespace oru::kadi::authlist::tool {

JsonObject& JsonObject::text(const char* key, const std::optional<std::string>& value) {
    mObject.appendKey(key);
    if (value) {
        mObject.addValue(*value);
    } else {
        mObject.appendValue("null");
    }
    return *this;
}

JsonObject& JsonObject::number(const char* key, std::optional<std::uint64_t> value) {
    return json(key, value ? std::to_string(*value) : "null");
}

JsonObject& JsonObject::boolean(const char* key, bool value) { return json(key, value ? "true" : "false"); }

JsonObject& JsonObject::json(const char* key, const std::string& value) {
    mObject.appendKey(key);
    mObject.appendValue(value.c_str());
    return *this;
}

std::string JsonObject::str() {
    mObject.finalize();
    return mObject.mutableJson();
}

}  // namespace oru::kadi::authlist::tool
