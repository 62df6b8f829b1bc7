// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include "authlist/KeyHash.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::test {

/// The record time of this many seconds since the Unix epoch.
inline TimePoint at(std::int64_t seconds) { return TimePoint{std::chrono::seconds{seconds}}; }

/// A tag with this key and its hash.
inline RfidTag tagWithKey(const std::string& key) { return RfidTag{hashKey(key), key, std::nullopt}; }

/// An accepted card with one tag, ready for a backend: its hash is set, both times are 2026-01-01T00:00:00Z.
inline RfidCard cardWithKey(const std::string& key) {
    RfidCard card;
    card.description = "Card " + key;
    card.tags.push_back(tagWithKey(key));
    card.lastAccessTime = card.lastModificationTime = at(1767225600);
    return card;
}

/// The same with a status.
inline RfidCard cardWithKey(const std::string& key, RfidCardStatus status) {
    RfidCard card = cardWithKey(key);
    card.status = status;
    return card;
}

/// The same with an id.
inline RfidCard cardWithId(unsigned id, const std::string& key) {
    RfidCard card = cardWithKey(key);
    card.id = id;
    return card;
}

/// An accepted card as an application makes it, for the manager: no hash, no times.
inline RfidCard newCard(const std::string& key) {
    RfidCard card;
    card.description = "Card " + key;
    card.tags = {RfidTag{"", key, std::nullopt}};
    return card;
}

/// The same with a status.
inline RfidCard newCard(const std::string& key, RfidCardStatus status) {
    RfidCard card = newCard(key);
    card.status = status;
    return card;
}

}  // namespace oru::kadi::authlist::test
