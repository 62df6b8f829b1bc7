// SPDX-License-Identifier: Apache-2.0
#include "KeyMask.h"

#include <cstddef>
#include <vector>

namespace oru::kadi::authlist::tool {

namespace {

// Where the characters of UTF-8 text begin, and its end.
std::vector<std::size_t> boundariesOf(const std::string& text) {
    std::vector<std::size_t> boundaries;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) boundaries.push_back(i);
    }
    boundaries.push_back(text.size());
    return boundaries;
}

}  // namespace

std::string KeyMask::operator()(const std::string& key) const {
    if (mShowsKeys) return key;
    const auto boundaries = boundariesOf(key);
    const std::size_t characters = boundaries.size() - 1;
    if (characters < 8) return "****";
    return key.substr(0, boundaries[2]) + "****" + key.substr(boundaries[characters - 2]);
}

}  // namespace oru::kadi::authlist::tool
