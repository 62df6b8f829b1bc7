// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "authlist/Export.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist {

/// The cards that carry a plain key as CSV text: a "SEP=," line, then one line of seven columns a card (id,
/// description, keys joined by '|', status, EVSE id or '*', parent id, expiry date). Hashes, extra data, access times
/// and lifetimes are not part of it. Only the description is quoted. Throws std::invalid_argument for a status outside
/// the enumeration.
ORU_AUTHLIST_EXPORT std::string serializeRfidsAsCsv(const std::vector<RfidCard>& cards);

/// The cards of a CSV text, in the order of their lines; hashes are computed from the keys, both times are now. Throws
/// std::runtime_error or std::invalid_argument on the first bad line. Doubled quotes stay doubled.
ORU_AUTHLIST_EXPORT std::vector<RfidCard> deserializeRfidsFromCsv(const std::string& text);

/// Drops a carriage return that ends the last column, then the quotes around each quoted column. Returns a copy.
ORU_AUTHLIST_EXPORT std::vector<std::string_view> trimCsvColumns(std::vector<std::string_view>& columns);

}  // namespace oru::kadi::authlist
