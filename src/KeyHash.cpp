// SPDX-License-Identifier: Apache-2.0
#include "authlist/KeyHash.h"

#include <algorithm>
#include <string_view>

#include "oru/crypto/Sha256.h"

namespace oru::kadi::authlist {
namespace {

// Not std::isxdigit, which asks the locale.
bool isHexDigit(char c) { return std::string_view{"0123456789abcdefABCDEF"}.find(c) != std::string_view::npos; }

}  // namespace

std::string hashKey(const std::string& key) {
    return crypto::calculateSha256(reinterpret_cast<const unsigned char*>(key.data()),
                                   static_cast<unsigned>(key.size()));
}

bool isValidHashString(const std::string& hash) {
    return hash.size() == 64 && std::all_of(hash.begin(), hash.end(), isHexDigit);
}

}  // namespace oru::kadi::authlist
