// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace oru::kadi::authlist {

/// One identifier of a card: its key, the key's hash, or both. A plain value that checks nothing itself.
struct RfidTag {
    std::string hash;                      ///< hashKey of the key; the tag's identity in storage, compared byte by byte
    std::optional<std::string> key;        ///< the plain identifier; absent or empty when only the hash is known
    std::optional<std::string> extraData;  ///< free text; the JSON exchange format wants a JSON object
};

}  // namespace oru::kadi::authlist
