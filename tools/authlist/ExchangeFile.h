// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "KeyMask.h"
#include "authlist/Enumerations.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// A list that came as CSV or JSON text.
struct ExchangedList {
    std::vector<RfidCard> cards;
    std::optional<unsigned> version;  ///< of JSON, where it has one
};

/// Whether a file name ends as an export does: .csv or .json, in any case.
std::optional<ExchangeDataType> formatFromName(const std::string& file);

/// The format of --format, or else that of the file's name. Throws ToolError when neither tells.
ExchangeDataType formatOf(const std::string& file, const std::optional<std::string>& format);

/// Reads a text that came from a file of this name. Stricter than the library: dates and numbers that the library would
/// quietly take as absent are errors too, because a card without its limits gives energy away. Throws ToolError naming
/// the file, and the line or the record.
ExchangedList readExchangedList(const std::string& text, ExchangeDataType type, const std::string& name);

/// Throws ToolError naming the record when a list cannot take these cards: too many, the same id or tag twice, a card
/// without tags.
void requireStorable(const std::vector<RfidCard>& cards, unsigned capacity, const std::string& name,
                     const KeyMask& keys);

}  // namespace oru::kadi::authlist::tool
