// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::benchmarks {

/// What a program without the library would read a tag row into.
struct PlainTag {
    std::string hash;
    std::optional<std::string> key;
    std::optional<std::string> extraData;
    bool operator==(const PlainTag&) const = default;
};

/// What a program without the library would read a card row into: every column as SQLite hands it out.
struct PlainCard {
    std::optional<int> id;
    std::string description;
    std::string status;
    std::optional<std::string> expiryDate;
    std::optional<std::string> parentId;
    std::optional<int> evseId;
    std::optional<std::string> extraData;
    std::string lastAccessTime;
    std::string lastModificationTime;
    std::optional<int> recordLifetime;
    std::vector<PlainTag> tags;
    bool operator==(const PlainCard&) const = default;
};

PlainCard plain(RfidCard card);
std::vector<PlainCard> plain(std::vector<RfidCard> cards);
std::vector<RfidCard> rfidCards(std::vector<PlainCard> cards);

// So that one check serves the answers of both sides.
inline const PlainCard& plain(const PlainCard& card) { return card; }
inline const std::vector<PlainCard>& plain(const std::vector<PlainCard>& cards) { return cards; }

}  // namespace oru::kadi::authlist::benchmarks
