// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace oru::kadi::authlist::tool {

/// text as it may be shown in one line of a terminal: bytes that are no UTF-8 become U+FFFD; control characters (C0,
/// C1, DEL), line and paragraph separators and bidirectional controls become escapes such as \n, \t, \x1B, \u202E.
std::string printable(std::string_view text);

/// The columns that printable text takes on a terminal: umlauts one, CJK two, combining marks none.
/// The same under every locale.
std::size_t displayWidth(std::string_view printableText);

/// Cut to width columns, the last of them "…" when something was cut, and filled up with blanks, on the left side when
/// alignedRight.
std::string fitted(std::string_view printableText, std::size_t width, bool alignedRight = false);

}  // namespace oru::kadi::authlist::tool
