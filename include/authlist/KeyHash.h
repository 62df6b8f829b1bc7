// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "authlist/Export.h"

namespace oru::kadi::authlist {

/// The SHA-256 of the key's bytes exactly as given (no trimming, no change of case), as lower-case hexadecimal text.
ORU_AUTHLIST_EXPORT std::string hashKey(const std::string& key);

/// Whether hash has 64 characters, all of them hexadecimal digits of either case. Storage compares hashes byte by
/// byte, so an upper-case hash is valid but never equals the hash of a key.
ORU_AUTHLIST_EXPORT bool isValidHashString(const std::string& hash);

}  // namespace oru::kadi::authlist
