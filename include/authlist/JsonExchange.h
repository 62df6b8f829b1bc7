// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "authlist/Export.h"
#include "authlist/RfidCard.h"

namespace oru::common::lwjson {
class Deserializer;
}

namespace oru::kadi::authlist {

/// The whole list as one JSON object with "listVersion" and "localAuthorizationList". Extra data is embedded as the
/// JSON value that it holds; absent extra data is written as null, other absent fields as the empty string. Throws
/// std::invalid_argument for a status outside the enumeration, and for extra data that is not JSON, naming the card.
ORU_AUTHLIST_EXPORT std::string serializeRfidsAsJson(const std::vector<RfidCard>& cards,
                                                     std::optional<unsigned> version);

/// The cards of a JSON text, in array order; "listVersion" is not read. Throws an exception of the standard family at
/// the first error. The text is read strictly; where a key occurs twice in an object, the first one counts. A number
/// may also stand in quotes.
ORU_AUTHLIST_EXPORT std::vector<RfidCard> deserializeRfidsFromJson(const std::string& text);

/// Whether member may stand as extra data: JSON null or an object.
ORU_AUTHLIST_EXPORT bool isValidJson(const oru::common::lwjson::Deserializer& member);

}  // namespace oru::kadi::authlist
