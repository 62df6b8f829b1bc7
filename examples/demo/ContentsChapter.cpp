// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <string>

#include "Chapters.h"
#include "Presentation.h"

namespace demo {

using namespace oru::kadi::authlist;

namespace {

constexpr std::array statuses{RfidCardStatus::Accepted, RfidCardStatus::Expired,      RfidCardStatus::Blocked,
                              RfidCardStatus::Invalid,  RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator};

struct Property {
    const char* title;
    bool (*holds)(const RfidCard&);
};

constexpr std::array properties{
    Property{"with several tags", [](const RfidCard& card) { return card.tags.size() > 1; }},
    Property{"known by hash only", [](const RfidCard& card) { return !hasPlainKey(card); }},
    Property{"with an expiry date", [](const RfidCard& card) { return card.expiryDate.has_value(); }},
    Property{"with a lifetime", [](const RfidCard& card) { return card.recordLifetime.has_value(); }},
    Property{"with extra data", hasExtraData}};

std::string countOf(const std::vector<RfidCard>& cards, const Property& property) {
    return std::to_string(std::count_if(cards.begin(), cards.end(), property.holds));
}

}  // namespace

void showContents(const AuthListManager& site, const AuthListManager& carPark) {
    heading("2  What the two lists hold now");
    const auto siteCards = allCards(site);
    const auto carParkCards = allCards(carPark);
    Table table({{"Cards"}, {"site.json", Align::Right}, {"site.csv", Align::Right}});
    table.add({"in all", std::to_string(siteCards.size()), std::to_string(carParkCards.size())});
    std::size_t counted = 0;
    for (const RfidCardStatus status : statuses) {
        const std::size_t ofSite = cardsWithStatus(site, status).size();
        const std::size_t ofCarPark = cardsWithStatus(carPark, status).size();
        table.add({"  " + std::string(statusToText(status)), std::to_string(ofSite), std::to_string(ofCarPark)});
        counted += ofSite + ofCarPark;
    }
    expect(counted == siteCards.size() + carParkCards.size(), "one status for every card");
    for (const Property& property : properties) {
        table.add({property.title, countOf(siteCards, property), countOf(carParkCards, property)});
    }
    table.print();
    gap();
    say("The statuses are those of OCPP, and Operator for the staff of the charging stations.");
}

}  // namespace demo
