// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "authlist/RfidCard.h"

namespace demo {

/// Whether two cards agree in everything that the JSON format carries, which is everything that a card has.
bool sameInJson(const oru::kadi::authlist::RfidCard& left, const oru::kadi::authlist::RfidCard& right);

/// Whether imported agrees with exported in what the CSV format carries: id, description, keys, status, EVSE, parent
/// and expiry date. Quotes in the description come back doubled.
bool sameInCsv(const oru::kadi::authlist::RfidCard& exported, const oru::kadi::authlist::RfidCard& imported);

/// The text with every double quote written twice.
std::string withDoubledQuotes(const std::string& text);

}  // namespace demo
