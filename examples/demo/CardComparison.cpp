// SPDX-License-Identifier: Apache-2.0
#include "CardComparison.h"

#include <algorithm>
#include <tuple>

namespace demo {

using oru::kadi::authlist::RfidCard;
using oru::kadi::authlist::RfidTag;

namespace {

bool sameTag(const RfidTag& left, const RfidTag& right) {
    return std::tie(left.hash, left.key, left.extraData) == std::tie(right.hash, right.key, right.extraData);
}

bool sameKey(const RfidTag& left, const RfidTag& right) {
    return std::tie(left.hash, left.key) == std::tie(right.hash, right.key);
}

template <class Comparison>
bool sameTags(const RfidCard& left, const RfidCard& right, Comparison same) {
    return std::equal(left.tags.begin(), left.tags.end(), right.tags.begin(), right.tags.end(), same);
}

/// What both formats carry, but for tags and description.
auto commonFields(const RfidCard& card) {
    return std::tie(card.id, card.status, card.evseId, card.parentId, card.expiryDate);
}

auto fieldsOfJsonOnly(const RfidCard& card) {
    return std::tie(card.extraData, card.lastAccessTime, card.lastModificationTime, card.recordLifetime);
}

}  // namespace

bool sameInJson(const RfidCard& left, const RfidCard& right) {
    return commonFields(left) == commonFields(right) && fieldsOfJsonOnly(left) == fieldsOfJsonOnly(right) &&
           left.description == right.description && sameTags(left, right, sameTag);
}

bool sameInCsv(const RfidCard& exported, const RfidCard& imported) {
    return commonFields(exported) == commonFields(imported) &&
           withDoubledQuotes(exported.description) == imported.description && sameTags(exported, imported, sameKey);
}

std::string withDoubledQuotes(const std::string& text) {
    std::string doubled;
    for (const char c : text) doubled.append(c == '"' ? 2 : 1, c);
    return doubled;
}

}  // namespace demo
