// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Steps over the tokens of a text that is known to be valid JSON. Nothing here looks whether it is; each function
/// relies on the end of the text only where a value may stand last.
///
/// Written by hand because a member is passed over once on each level that encloses it, and stepping over it costs a
/// fraction of parsing it again.
namespace oru::common::lwjson {

/// The first character at or after position that is no JSON blank.
const char* skipBlanks(const char* position, const char* end);

/// Behind the string whose opening quote stands at position.
const char* skipString(const char* position, const char* end);

/// Behind the value whose first character stands at position.
const char* skipValue(const char* position, const char* end);

}  // namespace oru::common::lwjson
