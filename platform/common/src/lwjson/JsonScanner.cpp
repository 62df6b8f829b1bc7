// SPDX-License-Identifier: Apache-2.0
#include "lwjson/JsonScanner.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace oru::common::lwjson {
namespace {

// An odd number of backslashes before a character escapes it.
bool isEscaped(const char* character) {
    const char* backslash = character;
    while (backslash[-1] == '\\') --backslash;
    return (character - backslash) % 2 != 0;
}

const char* skipContainer(const char* position, const char* end) {
    std::size_t depth = 0;
    do {
        switch (*position) {
            case '"':
                position = skipString(position, end);
                continue;
            case '[':
            case '{':
                ++depth;
                break;
            case ']':
            case '}':
                --depth;
                break;
            default:
                break;
        }
        ++position;
    } while (depth > 0);
    return position;
}

bool endsLiteral(char c) { return std::string_view{",]} \t\n\r"}.find(c) != std::string_view::npos; }

}  // namespace

const char* skipBlanks(const char* position, const char* end) {
    while (position != end && (*position == ' ' || *position == '\n' || *position == '\r' || *position == '\t'))
        ++position;
    return position;
}

const char* skipString(const char* position, const char* end) {
    do {
        ++position;
        position = static_cast<const char*>(std::memchr(position, '"', static_cast<std::size_t>(end - position)));
    } while (isEscaped(position));
    return position + 1;
}

const char* skipValue(const char* position, const char* end) {
    if (*position == '"') return skipString(position, end);
    if (*position == '[' || *position == '{') return skipContainer(position, end);
    return std::find_if(position, end, endsLiteral);
}

}  // namespace oru::common::lwjson
