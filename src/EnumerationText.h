// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace oru::kadi::authlist {

/// One line of the table that gives an enumeration's values their texts.
template <class Enumeration>
struct EnumerationText {
    Enumeration value;
    std::string_view text;
};

template <class Enumeration>
[[noreturn]] void throwNotFound(const std::string& what) {
    throw std::invalid_argument(what + " was not found in " + typeid(Enumeration).name());
}

/// The text of value. Throws std::invalid_argument naming the number when the table has no such value.
template <class Enumeration, std::size_t size>
std::string_view textOf(const std::array<EnumerationText<Enumeration>, size>& table, Enumeration value) {
    const auto entry = std::find_if(table.begin(), table.end(), [value](const auto& e) { return e.value == value; });
    if (entry == table.end()) {
        throwNotFound<Enumeration>(std::to_string(static_cast<std::underlying_type_t<Enumeration>>(value)));
    }
    return entry->text;
}

/// The value of text. Throws std::invalid_argument naming the text when the table has no such text.
template <class Enumeration, std::size_t size>
Enumeration valueOf(const std::array<EnumerationText<Enumeration>, size>& table, std::string_view text) {
    const auto entry = std::find_if(table.begin(), table.end(), [text](const auto& e) { return e.text == text; });
    if (entry == table.end()) throwNotFound<Enumeration>(std::string(text));
    return entry->value;
}

}  // namespace oru::kadi::authlist
