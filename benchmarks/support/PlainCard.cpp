// SPDX-License-Identifier: Apache-2.0
#include "support/PlainCard.h"

#include <utility>

#include "authlist/Enumerations.h"
#include "authlist/Timestamp.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

template <class To, class From>
std::optional<To> converted(const std::optional<From>& number) {
    return number ? std::optional(static_cast<To>(*number)) : std::nullopt;
}

RfidCard rfidCard(PlainCard card) {
    RfidCard result;
    result.id = converted<unsigned>(card.id);
    result.description = std::move(card.description);
    result.status = statusFromText(card.status);
    result.expiryDate = stringToTimestamp(card.expiryDate);
    result.parentId = std::move(card.parentId);
    result.evseId = converted<unsigned>(card.evseId);
    result.extraData = std::move(card.extraData);
    result.lastAccessTime = stringToTimestamp(card.lastAccessTime).value();
    result.lastModificationTime = stringToTimestamp(card.lastModificationTime).value();
    result.recordLifetime = converted<unsigned>(card.recordLifetime);
    for (PlainTag& tag : card.tags) {
        result.tags.push_back({std::move(tag.hash), std::move(tag.key), std::move(tag.extraData)});
    }
    return result;
}

}  // namespace

PlainCard plain(RfidCard card) {
    PlainCard result;
    result.id = converted<int>(card.id);
    result.description = std::move(card.description);
    result.status = statusToText(card.status);
    result.expiryDate = timestampToString(card.expiryDate);
    result.parentId = std::move(card.parentId);
    result.evseId = converted<int>(card.evseId);
    result.extraData = std::move(card.extraData);
    result.lastAccessTime = timestampToString(card.lastAccessTime).value();
    result.lastModificationTime = timestampToString(card.lastModificationTime).value();
    result.recordLifetime = converted<int>(card.recordLifetime);
    for (RfidTag& tag : card.tags) {
        result.tags.push_back({std::move(tag.hash), std::move(tag.key), std::move(tag.extraData)});
    }
    return result;
}

std::vector<PlainCard> plain(std::vector<RfidCard> cards) {
    std::vector<PlainCard> result;
    result.reserve(cards.size());
    for (RfidCard& card : cards) result.push_back(plain(std::move(card)));
    return result;
}

std::vector<RfidCard> rfidCards(std::vector<PlainCard> cards) {
    std::vector<RfidCard> result;
    result.reserve(cards.size());
    for (PlainCard& card : cards) result.push_back(rfidCard(std::move(card)));
    return result;
}

}  // namespace oru::kadi::authlist::benchmarks
