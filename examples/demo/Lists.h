// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "authlist/AuthListManager.h"

namespace demo {

using oru::kadi::authlist::AuthListConfiguration;
using oru::kadi::authlist::AuthListManager;
using oru::kadi::authlist::RfidCard;
using oru::kadi::authlist::RfidCardStatus;

/// Throws std::runtime_error with the text unless condition holds: the demo checks what it shows.
void expect(bool condition, const std::string& whatWasExpected);

/// A silent list in this database file.
AuthListConfiguration listIn(const std::filesystem::path& database, unsigned capacity);

/// Every card as it is stored, by rising id.
std::vector<RfidCard> allCards(const AuthListManager& list);

/// The cards of this status, by rising id.
std::vector<RfidCard> cardsWithStatus(const AuthListManager& list, RfidCardStatus status);

/// Whether one of the card's tags has a plain key.
bool hasPlainKey(const RfidCard& card);

/// Whether the card or one of its tags has extra data.
bool hasExtraData(const RfidCard& card);

/// The date of a time, YYYY-MM-DD.
std::string dateOf(oru::kadi::authlist::TimePoint time);

}  // namespace demo
