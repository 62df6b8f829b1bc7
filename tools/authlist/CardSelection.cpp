// SPDX-License-Identifier: Apache-2.0
#include "CardSelection.h"

#include <CLI/CLI.hpp>
#include <set>

#include "Ascii.h"
#include "CardQuery.h"
#include "Numbers.h"
#include "Outcome.h"
#include "authlist/KeyHash.h"

namespace oru::kadi::authlist::tool {
namespace {

RfidCard required(std::optional<RfidCard> card, const OpenedList& list, const std::string& name) {
    if (!card) throw ToolError(ExitStatus::Unknown, list.path() + ": no card has the " + name);
    return *std::move(card);
}

// People try an id where a key is wanted.
std::string hintAtId(const std::string& text, const AuthListManager& manager) {
    if (text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) return {};
    const unsigned id = readNumber(text, "KEY");
    return manager.retrieveRecord(id) ? "; for the card with this id give --id" : "";
}

std::vector<RfidCard> distinct(std::vector<RfidCard> cards) {
    std::set<std::optional<unsigned>> seen;
    std::erase_if(cards, [&seen](const RfidCard& card) { return !seen.insert(card.id).second; });
    return cards;
}

}  // namespace

Filters readFilters(const std::vector<std::string>& texts, const Session& session) {
    Filters filters;
    for (const std::string& text : texts) {
        if (const auto filter = TextFilter::read(text)) {
            filters.texts.push_back(*filter);
        } else {
            filters.plain.push_back(Filter::read(text, session.times()));
        }
    }
    return filters;
}

std::string readHash(const std::string& text, const std::string& what) {
    if (isValidHashString(text)) return lowerCase(text);
    throw ToolError(ExitStatus::Usage, what + ": \"" + text + "\" is no hash (64 hexadecimal digits)");
}

void requireOwnId(const RfidCard& card, OpenedList& list, const Session& session) {
    const auto first = list.manager().retrieveRecord(card.id.value());
    if (first && !first->tags.empty() && !card.tags.empty() && first->tags.front().hash != card.tags.front().hash) {
        throw ToolError(ExitStatus::Refused,
                        list.path() + ": " + nameOf(*first, session) + " and " + nameOf(card, session) +
                            " have the same id, so one would be lost; export the list, change an id, import it");
    }
}

std::string nameOf(const RfidCard& card, const Session& session) {
    std::string name = "card " + std::to_string(card.id.value_or(0));
    if (!card.description.empty()) return name + " (" + card.description + ")";
    if (card.tags.empty() || !card.tags.front().key) return name;
    return name + " (" + session.keys()(*card.tags.front().key) + ")";
}

void CardSelection::addOptions(CLI::App& command, bool withFilters) {
    command.add_option("KEY", keys, "Plain keys, as they stand on the cards");
    command.add_option("--hash", hashes, "Hash of a key; may be repeated")->type_name("HASH")->allow_extra_args(false);
    command.add_option("--id", ids, "Id of a card; may be repeated")->type_name("N")->allow_extra_args(false);
    if (!withFilters) return;
    command.add_option("--filter", filters, "All cards that pass, instead; may be repeated; see list --help")
        ->type_name("FILTER")
        ->allow_extra_args(false);
}

void CardSelection::requireOneWay() const {
    if (isEmpty()) throw ToolError(ExitStatus::Usage, "which cards? give a KEY, --hash HASH or --id N");
    if (!filters.empty() && (!keys.empty() || !hashes.empty() || !ids.empty())) {
        throw ToolError(ExitStatus::Usage, "choose cards by KEY, --hash and --id, or by --filter, not by both");
    }
}

std::vector<RfidCard> CardSelection::resolve(OpenedList& list, const Session& session) const {
    requireOneWay();
    if (filters.empty()) return distinct(resolveSingly(list, session));
    std::vector<RfidCard> cards;
    forEachCard(list.manager(), {.filters = readFilters(filters, session), .sortKey = SortingAndFilteringKey::Id},
                [&cards](const RfidCard& card) { cards.push_back(card); });
    return cards;
}

std::vector<RfidCard> CardSelection::resolveSingly(OpenedList& list, const Session& session) const {
    const AuthListManager& manager = list.manager();
    std::vector<RfidCard> cards;
    for (const std::string& key : keys) {
        if (key.empty()) throw ToolError(ExitStatus::Usage, "KEY: a key must not be empty");
        cards.push_back(required(manager.retrieveRecord(key, KeyRepresentation::Key), list,
                                 "key " + session.keys()(key) + hintAtId(key, manager)));
    }
    for (const std::string& text : hashes) {
        // Lists from elsewhere may hold a hash in capitals, which counts as another one than in small letters.
        const std::string lower = readHash(text, "--hash");
        auto card = manager.retrieveRecord(text, KeyRepresentation::Hash);
        if (!card) card = manager.retrieveRecord(lower, KeyRepresentation::Hash);
        cards.push_back(required(std::move(card), list, "hash " + text));
    }
    for (const std::string& text : ids) {
        cards.push_back(required(manager.retrieveRecord(readNumber(text, "--id")), list, "id " + text));
    }
    return cards;
}

}  // namespace oru::kadi::authlist::tool
