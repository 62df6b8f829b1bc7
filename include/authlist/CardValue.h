// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <variant>

#include "authlist/Enumerations.h"
#include "authlist/Export.h"

namespace oru::kadi::authlist {

/// The value that a range query's filter compares with: an id, a text (ISO 8601 for the time attributes) or a status.
using CardValue = std::variant<unsigned, std::string, RfidCardStatus>;

/// The text form of value: decimal digits, the text itself, or the status text. Throws std::invalid_argument for a
/// status outside the enumeration.
ORU_AUTHLIST_EXPORT std::string getValueAsString(CardValue value);

}  // namespace oru::kadi::authlist
