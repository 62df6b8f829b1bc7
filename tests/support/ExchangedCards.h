// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "authlist/KeyHash.h"
#include "support/Cards.h"

namespace oru::kadi::authlist::test {

/// Card 70 with every field set, and two tags of which the second has no key.
inline RfidCard fullCard() {
    RfidCard card = cardWithId(70, "04A2B3");
    card.description = "Main door";
    card.tags[0].extraData = R"({"b": 2})";
    card.tags.push_back(RfidTag{hashKey("hidden"), std::nullopt, std::nullopt});
    card.status = RfidCardStatus::ConcurrentTx;
    card.expiryDate = at(1798761599);
    card.parentId = "FLEET-1";
    card.evseId = 2;
    card.extraData = R"({"a":[1 ,{}]})";
    card.lastModificationTime = at(1767225601);
    card.recordLifetime = 3600;
    return card;
}

}  // namespace oru::kadi::authlist::test
