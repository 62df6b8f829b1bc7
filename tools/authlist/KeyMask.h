// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace oru::kadi::authlist::tool {

/// Hides plain keys in what people see. Of a key of eight or more characters (code points) the first two and the last
/// two stay, so that a person with the card in hand recognises it.
class KeyMask {
public:
    explicit KeyMask(bool showsKeys) : mShowsKeys(showsKeys) {}
    std::string operator()(const std::string& key) const;

private:
    bool mShowsKeys;
};

}  // namespace oru::kadi::authlist::tool
