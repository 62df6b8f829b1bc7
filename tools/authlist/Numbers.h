// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "Outcome.h"

namespace oru::kadi::authlist::tool {

/// The whole of text as a decimal number. Throws ToolError naming what (an option, a filter).
inline std::uint32_t readNumber(const std::string& text, const std::string& what, std::uint32_t smallest = 0,
                                std::uint32_t largest = std::numeric_limits<std::uint32_t>::max()) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc{} && stop == end && number >= smallest && number <= largest) return number;
    throw ToolError(ExitStatus::Usage, what + ": \"" + text + "\" is no number from " + std::to_string(smallest) +
                                           " to " + std::to_string(largest));
}

/// Digits with commas between thousands.
inline std::string grouped(std::string digits) {
    for (std::size_t position = digits.size(); position > 3;) digits.insert(position -= 3, ",");
    return digits;
}

inline std::string withThousands(std::uint64_t number) { return grouped(std::to_string(number)); }

inline std::string cardsText(std::size_t count) { return withThousands(count) + (count == 1 ? " card" : " cards"); }

}  // namespace oru::kadi::authlist::tool
