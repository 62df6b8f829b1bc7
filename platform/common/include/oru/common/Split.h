// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "oru/common/Export.h"

namespace oru::common {

/// The position of the first needle at or after pos that lies outside quotes, or std::string_view::npos.
/// Every quote character from pos on toggles between outside and inside, so a doubled one changes nothing, and a
/// stretch that is never closed reaches to the end. Without a quote character this is a plain search. An empty needle
/// is found at once, at pos, unless pos lies past the end.
ORU_COMMON_EXPORT std::size_t findEsc(std::string_view text, std::string_view needle, std::size_t pos,
                                      std::optional<char> quote);

/// Calls visit(piece) for each piece of text between the delimiters that findEsc finds, in order. An empty text has no
/// pieces; otherwise there is one more than there are delimiters, so "a,b," has three, the last one empty.
/// The delimiter must not be empty.
template <class Visitor>
void forEachPiece(std::string_view text, std::string_view delimiter, std::optional<char> quote, Visitor visit) {
    if (text.empty()) return;
    std::size_t start = 0;
    for (auto found = findEsc(text, delimiter, start, quote); found != std::string_view::npos;
         found = findEsc(text, delimiter, start, quote)) {
        visit(text.substr(start, found - start));
        start = found + delimiter.size();
    }
    visit(text.substr(start));
}

/// The pieces of text as forEachPiece finds them, each made a Piece. A std::string_view piece borrows from text.
template <class Piece>
std::vector<Piece> split(std::string_view text, std::string_view delimiter, std::optional<char> quote) {
    std::vector<Piece> pieces;
    forEachPiece(text, delimiter, quote, [&pieces](std::string_view piece) { pieces.emplace_back(piece); });
    return pieces;
}

}  // namespace oru::common
