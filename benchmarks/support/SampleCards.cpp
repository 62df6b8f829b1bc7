// SPDX-License-Identifier: Apache-2.0
#include "support/SampleCards.h"

#include <array>
#include <chrono>
#include <cstdio>

#include "authlist/KeyHash.h"
#include "authlist/Timestamp.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

// Neighbours get distant keys and modification times, and no two cards the same.
unsigned keyNumber(unsigned number) { return number * 2654435761U; }
std::chrono::seconds age(unsigned number) { return std::chrono::seconds{number * 7919ULL % 10'000'019U}; }

std::string numbered(const char* format, unsigned number) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

RfidCard card(unsigned number, const std::string& key) {
    RfidCard result;
    result.description = numbered("Van %06u of the northern depot", number);
    result.tags.push_back({{}, key, std::nullopt});
    result.status = number % 10 == 0 ? RfidCardStatus::Blocked : RfidCardStatus::Accepted;
    result.expiryDate = stringToTimestamp("2037-12-31T23:00:00Z");
    result.parentId = numbered("FLEET-%02u", number % 100);
    result.evseId = 1 + number % 8;
    result.extraData = numbered("{\"plate\":\"XM-L %06u\"}", number);
    result.lastAccessTime = stringToTimestamp(sampleAccessTime).value();
    result.lastModificationTime = stringToTimestamp("2026-01-01T00:00:00Z").value() - age(number);
    return result;
}

}  // namespace

RfidCard sampleCard(unsigned number) {
    RfidCard result = card(number, numbered("04%08X5D80", keyNumber(number)));
    result.id = number;
    result.tags.front().hash = hashKey(*result.tags.front().key);
    return result;
}

std::vector<RfidCard> sampleCards(unsigned count) {
    std::vector<RfidCard> cards;
    cards.reserve(count);
    for (unsigned number = 1; number <= count; ++number) cards.push_back(sampleCard(number));
    return cards;
}

RfidCard newCard(unsigned number) { return card(number, numbered("NEW-%08X", number)); }

}  // namespace oru::kadi::authlist::benchmarks
