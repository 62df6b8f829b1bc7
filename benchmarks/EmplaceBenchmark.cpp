// SPDX-License-Identifier: Apache-2.0
// How long does it take to add a card with a new key to a list that has room?
#include "authlist/KeyHash.h"
#include "support/Comparison.h"
#include "support/SampleCards.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

unsigned added = 0;

unsigned addByLibrary(List& list) {
    RfidCard card = newCard(++added);
    return list.manager().emplace(card, true, false);
}

unsigned addByHand(List& list) {
    return static_cast<unsigned>(list.byHand().emplace(plain(newCard(++added)), static_cast<int>(List::capacity)));
}

void wasAdded(List& list, unsigned id) {
    const auto stored = list.accessor().readRecord(id);
    require(list.accessor().countRecords() == list.size() + 1 && stored.has_value(), "the card was not stored");
    RfidCard expected = newCard(added);
    expected.id = id;
    expected.tags.at(0).hash = hashKey(*expected.tags.at(0).key);
    expected.lastAccessTime = stored->lastAccessTime;
    expected.lastModificationTime = stored->lastModificationTime;
    require(plain(*stored) == plain(expected), "another card was stored");
    require(plain(*stored).lastModificationTime > sampleAccessTime, "the modification time is old");
}

const Comparison emplace{"Emplace", Wear::NewCards, addByLibrary, addByHand, wasAdded};

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks
