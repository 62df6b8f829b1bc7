// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "authlist/IDbAccessor.h"
#include "authlist/KeyHash.h"
#include "authlist/RfidCard.h"
#include "support/Cards.h"

namespace oru::kadi::authlist::test {

/// The version of the list below.
inline constexpr unsigned sampleVersion = 2147483647;

/// A list with every field filled, every status, and the values at the ends of the ranges that both stores and the JSON
/// format keep. It is the list of tests/data/sqlite/sample-list.db: never change it, make another one.
inline std::vector<RfidCard> sampleCards() {
    RfidCard full = cardWithKey("04A2B3", RfidCardStatus::ConcurrentTx);
    full.id = 1;
    full.description = "Main door";
    full.tags[0].extraData = R"({"b": 2})";
    full.tags.push_back(RfidTag{hashKey("hidden"), std::nullopt, std::nullopt});
    full.tags.push_back(tagWithKey("04FFFF"));
    full.expiryDate = at(1798761599);
    full.parentId = "FLEET-1";
    full.evseId = 2;
    full.extraData = R"({"a":[1 ,{}]})";
    full.lastModificationTime = at(1767225601);
    full.recordLifetime = 3600;

    RfidCard umlauts = cardWithKey("Schlüssel", RfidCardStatus::Operator);
    umlauts.id = 2;
    umlauts.description = "Tür für Jörg, \"Straße\" ÄÖÜ; 東京 🔌";
    umlauts.parentId = "Büro";
    umlauts.extraData = R"({"Ort":"Köln"})";

    RfidCard large = cardWithKey("large numbers", RfidCardStatus::Invalid);
    large.id = 2147483000;
    large.evseId = 4294967295;
    large.recordLifetime = 4294967295;
    large.expiryDate = at(4294967295);  // 2106-02-07T06:28:15Z
    large.lastAccessTime = at(2147483648);
    large.lastModificationTime = at(4102444800);

    RfidCard smallNumbers = cardWithKey("small numbers", RfidCardStatus::Blocked);
    smallNumbers.id = 3;
    smallNumbers.description = "";
    smallNumbers.evseId = 1;
    smallNumbers.recordLifetime = 0;
    smallNumbers.expiryDate = at(0);
    smallNumbers.lastAccessTime = smallNumbers.lastModificationTime = at(1);

    RfidCard expired = cardWithKey("expired", RfidCardStatus::Expired);
    expired.id = 4;

    RfidCard accepted = cardWithKey("accepted");
    accepted.id = 5;
    accepted.tags = {RfidTag{hashKey("only its hash is known"), std::nullopt, std::nullopt}};
    return {full, umlauts, smallNumbers, expired, accepted, large};
}

/// Stores it in an empty list, in the order of the ids.
inline void storeSampleList(const IDbAccessor& accessor) {
    for (const RfidCard& card : sampleCards()) accessor.createRecord(card);
    accessor.updateVersion(sampleVersion);
}

}  // namespace oru::kadi::authlist::test
