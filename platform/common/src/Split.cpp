// SPDX-License-Identifier: Apache-2.0
#include "oru/common/Split.h"

namespace oru::common {
namespace {

std::size_t findOutsideQuotes(std::string_view text, std::string_view needle, std::size_t pos, char quote) {
    if (needle.empty()) return pos <= text.size() ? pos : std::string_view::npos;
    bool quoted = false;
    for (; pos < text.size(); ++pos) {
        const char character = text[pos];
        if (character == needle.front() && !quoted && text.substr(pos).starts_with(needle)) return pos;
        if (character == quote) quoted = !quoted;
    }
    return std::string_view::npos;
}

}  // namespace

std::size_t findEsc(std::string_view text, std::string_view needle, std::size_t pos, std::optional<char> quote) {
    return quote ? findOutsideQuotes(text, needle, pos, *quote) : text.find(needle, pos);
}

}  // namespace oru::common
