// SPDX-License-Identifier: Apache-2.0
#include "KeyMask.h"

#include <algorithm>

namespace oru::kadi::authlist::tool {

std::string KeyMask::operator()(const std::string& key) const {
    if (mShowsKeys) return key;
    // Other bytes than ASCII are parts of characters, which must not be cut apart.
    const bool isAscii =
        std::all_of(key.begin(), key.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (key.size() < 8 || !isAscii) return "****";
    return key.substr(0, 2) + "****" + key.substr(key.size() - 2);
}

}  // namespace oru::kadi::authlist::tool
