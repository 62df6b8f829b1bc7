// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "authlist/Enumerations.h"
#include "authlist/RfidTag.h"

namespace oru::kadi::authlist::tool {

/// Its text; of a status that does not exist, which a damaged file may hold, its number.
inline std::string statusName(RfidCardStatus status) {
    try {
        return std::string(statusToText(status));
    } catch (const std::invalid_argument&) {
        return "status " + std::to_string(static_cast<int>(status));
    }
}

inline std::string numberOr(const std::optional<unsigned>& number, const char* none) {
    return number ? std::to_string(*number) : none;
}

inline bool hasKey(const RfidTag& tag) { return tag.key && !tag.key->empty(); }

}  // namespace oru::kadi::authlist::tool
