// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

#include "Chapters.h"
#include "Presentation.h"

namespace demo {

using namespace oru::kadi::authlist;

namespace {

using Cards = std::vector<RfidCard>;

constexpr unsigned capacity = 10;

/// What a full list looks for, and how many such cards this one starts with.
struct Category {
    const char* title;
    bool (*holds)(const RfidCard&);
    std::size_t count;
};

bool isBlockedOrInvalid(const RfidCard& card) {
    return card.status == RfidCardStatus::Blocked || card.status == RfidCardStatus::Invalid;
}

bool isExpired(const RfidCard& card) { return card.status == RfidCardStatus::Expired; }

/// In the order of preference.
constexpr std::array categories{Category{"1. past expiry date", AuthListManager::dateExpired, 3},
                                Category{"2. Blocked or Invalid", isBlockedOrInvalid, 2},
                                Category{"3. status Expired", isExpired, 2}};

/// The first category that holds for the card; categories.size() for a card in good order.
std::size_t categoryOf(const RfidCard& card) {
    std::size_t category = 0;
    while (category < categories.size() && !categories.at(category).holds(card)) ++category;
    return category;
}

Cards ofCategory(const Cards& cards, std::size_t category) {
    Cards chosen;
    std::copy_if(cards.begin(), cards.end(), std::back_inserter(chosen),
                 [category](const RfidCard& card) { return categoryOf(card) == category; });
    return chosen;
}

/// As many cards of each category as it says, the rest in good order.
Cards chooseCards(const Cards& cards) {
    Cards chosen;
    for (std::size_t category = 0; category <= categories.size(); ++category) {
        Cards some = ofCategory(cards, category);
        const std::size_t count =
            category < categories.size() ? categories.at(category).count : capacity - chosen.size();
        expect(some.size() >= count, "enough cards of each kind in the sample");
        some.resize(count);
        chosen.insert(chosen.end(), some.begin(), some.end());
    }
    return chosen;
}

RfidCard newcomer(const std::string& name) {
    RfidCard card;
    card.description = name;
    card.tags.push_back(RfidTag{"", "KEY OF " + name, std::nullopt});
    return card;
}

void showRefusal(AuthListManager& list) {
    RfidCard card = newcomer("Newcomer");
    try {
        list.emplace(card, false, false);
    } catch (const std::runtime_error& error) {
        expect(std::string(error.what()) == "Database full", "a refusal because the list is full");
        say("Adding a card without making room is refused: \"" + std::string(error.what()) + "\".");
        return;
    }
    expect(false, "a full list to refuse a card");
}

/// The cards that have to go when a list with these cards makes room for the step-th time.
Cards dueForRemoval(std::size_t step, const Cards& cards) {
    if (step < categories.size()) return ofCategory(cards, step);
    return {*std::min_element(cards.begin(), cards.end(), [](const RfidCard& left, const RfidCard& right) {
        return left.lastModificationTime < right.lastModificationTime;
    })};
}

void addRow(Table& table, std::size_t step, const RfidCard& gone, bool first) {
    const std::string wanted = step < categories.size() ? categories.at(step).title : "4. the oldest card";
    table.add({first ? wanted : "", gone.description, std::string(statusToText(gone.status)),
               gone.expiryDate ? dateOf(*gone.expiryDate) : "never", dateOf(gone.lastModificationTime)});
}

/// Adds a card to the full list and shows which cards had to go for it.
void makeRoomOnce(AuthListManager& list, std::size_t step, Table& table) {
    const Cards due = dueForRemoval(step, allCards(list));
    const std::size_t before = list.countRecords();
    RfidCard card = newcomer("Newcomer " + std::to_string(step));
    list.emplace(card, true, false);
    for (const RfidCard& gone : due) {
        expect(!list.retrieveRecord(gone.id.value()), gone.description + " to be removed");
        addRow(table, step, gone, &gone == due.data());
    }
    expect(list.countRecords() == before - due.size() + 1, "no other card to be removed");
}

void fillUp(AuthListManager& list, std::size_t step) {
    for (unsigned stored = list.countRecords(); stored < capacity; ++stored) {
        RfidCard card = newcomer("Filler " + std::to_string(step) + '.' + std::to_string(stored));
        list.emplace(card, false, false);
    }
    expect(list.isDatabaseFull(), "the list full again");
}

}  // namespace

void fillAndMakeRoom(const AuthListManager& site, const std::filesystem::path& work) {
    heading("6  A full list: room for ten cards, and ten cards of the site in it");
    AuthListManager list(listIn(work / "full.db", capacity));
    // An import keeps the times of the cards, which emplace would set to now: one of them has to be the oldest.
    list.importStr(list.buildStringFromDatabase(chooseCards(allCards(site)), ExchangeDataType::JSON),
                   ExchangeDataType::JSON);
    expect(list.isDatabaseFull(), "a full list");
    showRefusal(list);
    say("With making room, the first kind that is found goes as a whole. Four times in a row:");
    gap();
    Table table({{"Removed in this order"}, {"Card", Align::Left, 30}, {"Status"}, {"Expires"}, {"Changed"}});
    for (std::size_t step = 0; step <= categories.size(); ++step) {
        makeRoomOnce(list, step, table);
        fillUp(list, step);
    }
    table.print();
}

}  // namespace demo
