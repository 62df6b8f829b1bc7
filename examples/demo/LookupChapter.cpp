// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <chrono>
#include <optional>
#include <string>

#include "Chapters.h"
#include "Presentation.h"

namespace demo {

using namespace oru::kadi::authlist;

namespace {

/// What a lookup may end with.
enum class Outcome { Accepted, AcceptedByHash, Staff, Refused, JustExpired, LifetimeOver, Unknown };

struct Presented {
    const char* key;
    const char* who;
    Outcome expected;
};

constexpr std::array presentedCards{Presented{"3E2CFB4C", "Van 01, the driver's fob", Outcome::Accepted},
                                    Presented{"VID:321994913B9B", "Van 01, the van itself", Outcome::Accepted},
                                    Presented{"04D9D342D13A4E", "Quellwies Labor, employee", Outcome::AcceptedByHash},
                                    Presented{"04B08E3128FD53", "charging station service", Outcome::Staff},
                                    Presented{"E5443E00", "Van 14, lost fob", Outcome::Refused},
                                    Presented{"043948F3062531", "Truck 16", Outcome::JustExpired},
                                    Presented{"D83504B2", "Visitor pass 01", Outcome::LifetimeOver},
                                    Presented{"04A2B3", "a stranger", Outcome::Unknown}};

/// One lookup: the record as it was stored before, what the lookup returned, and its time.
struct Lookup {
    std::optional<RfidCard> before;
    std::optional<RfidCard> found;
    std::chrono::microseconds took;
};

Lookup lookUp(const AuthListManager& list, const std::string& key) {
    Lookup lookup;
    lookup.before = list.retrieveRecord(key, KeyRepresentation::Key);
    const auto start = std::chrono::steady_clock::now();
    lookup.found = list.getByKey(key);
    lookup.took = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    return lookup;
}

Outcome outcomeOf(const Lookup& lookup) {
    if (!lookup.before) return Outcome::Unknown;
    if (!lookup.found) return Outcome::LifetimeOver;
    if (lookup.found->status != lookup.before->status) return Outcome::JustExpired;
    if (lookup.found->status == RfidCardStatus::Operator) return Outcome::Staff;
    if (lookup.found->status != RfidCardStatus::Accepted) return Outcome::Refused;
    return lookup.found->tags.at(0).key ? Outcome::Accepted : Outcome::AcceptedByHash;
}

std::string lifetimeEnd(const RfidCard& card) {
    return dateOf(card.lastModificationTime + std::chrono::seconds{card.recordLifetime.value()});
}

std::string reasonFor(Outcome outcome, const Lookup& lookup) {
    switch (outcome) {
        case Outcome::Accepted:
            return "Accepted" + (lookup.found->expiryDate ? " until " + dateOf(*lookup.found->expiryDate) : "");
        case Outcome::AcceptedByHash:
            return "Accepted, known by hash";
        case Outcome::Staff:
        case Outcome::Refused:
            return std::string(statusToText(lookup.found->status));
        case Outcome::JustExpired:
            return "Expired on " + dateOf(lookup.found->expiryDate.value());
        case Outcome::LifetimeOver:
            return "lifetime ended " + lifetimeEnd(*lookup.before);
        case Outcome::Unknown:
            return "not in the list";
    }
    return "";
}

bool mayCharge(Outcome outcome) {
    return outcome == Outcome::Accepted || outcome == Outcome::AcceptedByHash || outcome == Outcome::Staff;
}

/// What the list holds for a presented key.
std::string stored(const std::optional<RfidCard>& card) {
    return card ? std::string(statusToText(card->status)) : "removed";
}

}  // namespace

void presentCards(const AuthListManager& site) {
    heading("3  At the charging station: may this card charge?");
    Table verdicts({{"Presented key"}, {"Who it is"}, {"Verdict"}, {"Reason"}, {"Lookup", Align::Right}});
    Table changes({{"Card"}, {"Stored before"}, {"Stored now"}});
    const unsigned cardsBefore = site.countRecords();
    for (const Presented& card : presentedCards) {
        const Lookup lookup = lookUp(site, card.key);
        const Outcome outcome = outcomeOf(lookup);
        expect(outcome == card.expected, std::string("another verdict on ") + card.who);
        verdicts.add({card.key, card.who, mayCharge(outcome) ? "accept" : "refuse", reasonFor(outcome, lookup),
                      std::to_string(lookup.took.count()) + " µs"});
        const std::string now = stored(site.retrieveRecord(card.key, KeyRepresentation::Key));
        expect(now == stored(lookup.found), std::string("the list to hold what the lookup returned for ") + card.who);
        if (now != stored(lookup.before)) changes.add({card.who, stored(lookup.before), now});
    }
    verdicts.print();
    gap();
    say("The list finds the card; this application lets Accepted and Operator charge.");
    say("A card known by its hash only is found by its key all the same.");
    say("Most of the time goes into storing durably when a card was seen (once a second at most).");

    heading("4  What these lookups changed in the list");
    changes.print();
    gap();
    expect(site.countRecords() == cardsBefore - 1, "one card less, the one whose lifetime is over");
    say("The list holds " + counted(site.countRecords(), "card") + ", one less than before.");
}

}  // namespace demo
