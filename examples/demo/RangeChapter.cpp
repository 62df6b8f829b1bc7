// SPDX-License-Identifier: Apache-2.0
#include <optional>
#include <string>

#include "Chapters.h"
#include "Presentation.h"

namespace demo {

using namespace oru::kadi::authlist;

namespace {

constexpr unsigned cardsPerPage = 5;
constexpr const char* deadline = "2026-01-01T00:00:00Z";

/// The cards that expired before the deadline, the latest first.
std::vector<RfidCard> expiredCards(const AuthListManager& list, std::optional<unsigned> limit,
                                   std::optional<unsigned> offset) {
    return list.getRange(limit, offset, SortingAndFilteringKey::ExpiryDate, FilteringOperator::Less, deadline,
                         SortingAndFilteringKey::ExpiryDate, SortingOrder::Descending);
}

void checkOrder(const std::vector<RfidCard>& cards) {
    for (std::size_t i = 1; i < cards.size(); ++i) {
        expect(cards[i].expiryDate <= cards[i - 1].expiryDate, "the latest expiry date first");
    }
}

}  // namespace

void pageThroughExpiryDates(const AuthListManager& site) {
    heading("5  Ranges: filtered, sorted and page by page");
    say("Expiry date before 2026, the latest first, five cards a page:");
    gap();
    Table table({{"Page"}, {"Id", Align::Right}, {"Card", Align::Left, 40}, {"Status"}, {"Expiry date"}});
    std::vector<RfidCard> seen;
    for (unsigned page = 0;; ++page) {
        const auto cards = expiredCards(site, cardsPerPage, page * cardsPerPage);
        for (const RfidCard& card : cards) {
            table.add({&card == cards.data() ? std::to_string(page + 1) : "", std::to_string(card.id.value()),
                       card.description, std::string(statusToText(card.status)), dateOf(card.expiryDate.value())});
            seen.push_back(card);
        }
        expect(seen.size() <= site.countRecords(), "no card on two pages");
        if (cards.size() < cardsPerPage) break;
    }
    table.print();
    expect(seen.size() > cardsPerPage, "more than one page");
    expect(seen.size() == expiredCards(site, std::nullopt, std::nullopt).size(), "every card on one page");
    checkOrder(seen);
    gap();
    say("A range shows cards as stored: one past its date stays Accepted until a lookup finds it.");
}

}  // namespace demo
