// SPDX-License-Identifier: Apache-2.0
// How long does it take to list the 20 accepted cards that were modified last?
#include <algorithm>

#include "support/Comparison.h"
#include "support/SampleCards.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

constexpr unsigned pageSize = 20;

std::vector<PlainCard> expectedPage(unsigned size) {
    std::vector<PlainCard> cards = plain(sampleCards(size));
    std::erase_if(cards, [](const PlainCard& card) { return card.status != "Accepted"; });
    std::sort(cards.begin(), cards.end(), [](const PlainCard& left, const PlainCard& right) {
        return left.lastModificationTime > right.lastModificationTime;
    });
    cards.resize(pageSize);
    return cards;
}

const Comparison rangePage{
    "RangePage", Wear::None,
    [](List& list) {
        return list.manager().getRange(pageSize, 0, SortingAndFilteringKey::Status, FilteringOperator::Equal,
                                       RfidCardStatus::Accepted, SortingAndFilteringKey::LastModificationTime,
                                       SortingOrder::Descending);
    },
    [](List& list) {
        return list.byHand().select(
            "SELECT * FROM rfid_card  WHERE rfid_card_status = \"Accepted\" ORDER BY last_modification_time DESC "
            "NULLS FIRST LIMIT 20  OFFSET 0");
    },
    [](List& list, const auto& page) { require(plain(page) == expectedPage(list.size()), "another page was read"); }};

}  // namespace
}  // namespace oru::kadi::authlist::benchmarks
