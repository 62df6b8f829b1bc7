// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "oru/common/lwjson/Serializer.h"

namespace oru::kadi::authlist::tool {

/// One JSON object, member by member; what is absent is written as null.
class JsonObject {
public:
    JsonObject& text(const char* key, const std::optional<std::string>& value);
    JsonObject& number(const char* key, std::optional<std::uint64_t> value);
    JsonObject& boolean(const char* key, bool value);
    /// value is JSON.
    JsonObject& json(const char* key, const std::string& value);

    /// Ends the object.
    std::string str();

private:
    common::lwjson::Serializer mObject{common::lwjson::Format::Compact};
};

}  // namespace oru::kadi::authlist::tool
