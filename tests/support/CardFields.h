// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <tuple>
#include <vector>

#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::test {

/// The fields of a tag or a card as values that EXPECT_EQ compares and prints; times as nanoseconds.
inline auto fieldsOf(const RfidTag& tag) { return std::make_tuple(tag.hash, tag.key, tag.extraData); }

inline auto fieldsOf(const RfidCard& card) {
    std::vector<decltype(fieldsOf(RfidTag{}))> tags;
    for (const RfidTag& tag : card.tags) tags.push_back(fieldsOf(tag));
    std::optional<TimePoint::rep> expiry;
    if (card.expiryDate) expiry = card.expiryDate->time_since_epoch().count();
    return std::make_tuple(card.id, card.description, tags, static_cast<int>(card.status), expiry, card.parentId,
                           card.evseId, card.extraData, card.lastAccessTime.time_since_epoch().count(),
                           card.lastModificationTime.time_since_epoch().count(), card.recordLifetime);
}

inline auto fieldsOf(const std::vector<RfidCard>& cards) {
    std::vector<decltype(fieldsOf(RfidCard{}))> all;
    for (const RfidCard& card : cards) all.push_back(fieldsOf(card));
    return all;
}

}  // namespace oru::kadi::authlist::test
