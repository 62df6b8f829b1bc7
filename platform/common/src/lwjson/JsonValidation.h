// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace oru::common::lwjson {

/// Throws std::runtime_error, with the byte position of the first error, unless text is one JSON value and nothing
/// else. Needs no stack, however deep the text nests, and little memory beside its longest string.
void validateJson(std::string_view text);

}  // namespace oru::common::lwjson
