// SPDX-License-Identifier: Apache-2.0
// A card is presented at the charger: how long does it take to find it and to record its access?
#include <optional>

#include "support/Comparison.h"
#include "support/SampleCards.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

const auto foundAndRecorded = [](List& list, const auto& found) {
    require(found.has_value(), "the card was not found");
    const PlainCard card = plain(*found);
    PlainCard expected = plain(sampleCard(list.currentCard()));
    expected.lastAccessTime = card.lastAccessTime;
    require(card == expected, "another card was found");
    require(card.lastAccessTime > sampleAccessTime, "the access time is old");
    const auto stored = list.accessor().readRecord(list.currentCard());
    require(stored && plain(*stored) == card, "the access was not stored");
};

// Each access is the first of its card for long, so each one changes the file.

const Comparison lookupByKey{"LookupByKey", Wear::AccessTimes,  //
                             [](List& list) { return list.manager().getByKey(list.key(list.nextCard())); },
                             [](List& list) { return list.byHand().lookUpByKey(list.key(list.nextCard())); },
                             foundAndRecorded};

const Comparison lookupByHash{"LookupByHash", Wear::AccessTimes,  //
                              [](List& list) { return list.manager().getByHash(list.hash(list.nextCard())); },
                              [](List& list) { return list.byHand().lookUpByHash(list.hash(list.nextCard())); },
                              foundAndRecorded};

const Comparison lookupById{"LookupById", Wear::AccessTimes,  //
                            [](List& list) { return list.manager().getById(list.nextCard()); },
                            [](List& list) { return list.byHand().lookUpById(static_cast<int>(list.nextCard())); },
                            foundAndRecorded};

// The same card over and over: nearly always the access time, stored to the second, is already there and SQLite leaves
// the file as it is. What remains is the work of the processor.

const Comparison repeatedLookupByKey{"RepeatedLookupByKey", Wear::None,  //
                                     [](List& list) { return list.manager().getByKey(list.key(list.middleCard())); },
                                     [](List& list) { return list.byHand().lookUpByKey(list.key(list.middleCard())); },
                                     foundAndRecorded};

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks
