// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace oru::kadi::authlist::tool {

// Letters a to z, whatever the locale; other bytes stay as they are.

inline char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
inline char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

inline std::string lowerCase(std::string text) {
    for (char& c : text) c = lowerCase(c);
    return text;
}

inline std::string upperCase(std::string text) {
    for (char& c : text) c = upperCase(c);
    return text;
}

inline bool containsIgnoringCase(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [](char a, char b) { return lowerCase(a) == lowerCase(b); }) != text.end();
}

}  // namespace oru::kadi::authlist::tool
