// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cctype>
#include <string>
#include <string_view>

namespace oru::kadi::authlist::test {

/// The text with every run of white space, a tab between two columns as well as a line break, as one blank.
inline std::string onOneLine(std::string_view sql) {
    std::string line;
    for (const char c : sql) {
        const bool isBlank = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (!isBlank) line += c;
        if (isBlank && (line.empty() || line.back() != ' ')) line += ' ';
    }
    return line;
}

/// The same without the blanks that mean nothing: at both ends, around parentheses and semicolons, before commas.
inline std::string squeezed(std::string_view sql) {
    std::string text;
    for (const char c : onOneLine(sql)) {
        const bool followsNothing = text.empty() || text.back() == '(' || text.back() == ';';
        if (c == ' ' && followsNothing) continue;
        if ((c == '(' || c == ')' || c == ',' || c == ';') && !text.empty() && text.back() == ' ') text.pop_back();
        text += c;
    }
    if (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

}  // namespace oru::kadi::authlist::test
