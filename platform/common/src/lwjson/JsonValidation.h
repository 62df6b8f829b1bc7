// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace oru::common::lwjson {

/// How deep a text may nest. The reader keeps a few bytes for each open bracket; the limit keeps them few beside any
/// text.
constexpr int deepestText = 200'000;

/// How deep a value may nest that becomes part of a text: the levels around it are left for the text.
constexpr int deepestPart = deepestText - 100;

/// Throws std::runtime_error, with the byte position of the first error, unless text is one JSON value, nested at most
/// as deep as that, and nothing else. Needs no stack, however deep the text nests, and little memory beside its longest
/// string.
void validateJson(std::string_view text, int deepest);

}  // namespace oru::common::lwjson
