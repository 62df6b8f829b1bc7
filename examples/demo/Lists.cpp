// SPDX-License-Identifier: Apache-2.0
#include "Lists.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "authlist/Timestamp.h"

namespace demo {

using namespace oru::kadi::authlist;

void expect(bool condition, const std::string& whatWasExpected) {
    if (!condition) throw std::runtime_error("expected " + whatWasExpected);
}

AuthListConfiguration listIn(const std::filesystem::path& database, unsigned capacity) {
    AuthListConfiguration configuration;
    configuration.maxRecords = capacity;
    configuration.databaseFileName = database.string();
    return configuration;
}

std::vector<RfidCard> allCards(const AuthListManager& list) {
    return list.getRange(std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                         std::nullopt);
}

std::vector<RfidCard> cardsWithStatus(const AuthListManager& list, RfidCardStatus status) {
    return list.getRange(std::nullopt, std::nullopt, SortingAndFilteringKey::Status, FilteringOperator::Equal, status,
                         std::nullopt, std::nullopt);
}

bool hasPlainKey(const RfidCard& card) {
    return std::any_of(card.tags.begin(), card.tags.end(), [](const RfidTag& tag) { return tag.key.has_value(); });
}

bool hasExtraData(const RfidCard& card) {
    return card.extraData || std::any_of(card.tags.begin(), card.tags.end(),
                                         [](const RfidTag& tag) { return tag.extraData.has_value(); });
}

std::string dateOf(TimePoint time) { return timestampToString(time).value().substr(0, 10); }

}  // namespace demo
