// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace oru::common::lwjson {

/// Appends text to json as a JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD.
void appendJsonString(std::string& json, std::string_view text);

/// The text that stands between the quotes of a JSON string as escaped. Throws std::runtime_error when it cannot stand
/// there.
std::string unescapeJsonString(std::string_view escaped);

/// Whether text, UTF-8 that the JSON reader unescaped, holds a surrogate: it encodes a low one that stands alone.
bool holdsLoneSurrogate(std::string_view text);

}  // namespace oru::common::lwjson
