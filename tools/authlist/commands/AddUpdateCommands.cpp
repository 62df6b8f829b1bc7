// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>
#include <ostream>
#include <utility>

#include "CardDifference.h"
#include "CardFields.h"
#include "CardSelection.h"
#include "Numbers.h"
#include "authlist/KeyHash.h"
#include "commands/Commands.h"

namespace oru::kadi::authlist::tool {
namespace {

constexpr unsigned largestId = 2147483646;
constexpr const char* notStored = " could not be stored (is the list read-only, full or in use?)";

RfidTag tagOf(const std::string& key) {
    if (key.empty()) throw ToolError(ExitStatus::Usage, "KEY: a key must not be empty");
    return {hashKey(key), key, std::nullopt};
}

std::string nameOf(const RfidTag& tag, const Session& session) {
    return tag.key ? "key " + session.keys()(*tag.key) : "hash " + tag.hash;
}

// Besides the card that owner is.
void requireFree(const RfidTag& tag, OpenedList& list, std::optional<unsigned> owner, const Session& session) {
    const auto other = list.manager().retrieveRecord(tag.hash, KeyRepresentation::Hash);
    if (!other || (owner && other->id == owner)) return;
    throw ToolError(ExitStatus::Refused,
                    list.path() + ": " + nameOf(*other, session) + " has the " + nameOf(tag, session) + " already");
}

bool has(const RfidCard& card, const std::string& hash) {
    return std::any_of(card.tags.begin(), card.tags.end(), [&hash](const RfidTag& tag) { return tag.hash == hash; });
}

// add

struct AddOptions {
    std::vector<std::string> keys;
    std::vector<std::string> hashes;
    bool hashOnly = false;
    std::optional<std::string> id;
    CardFields fields;
};

std::vector<RfidTag> tagsOf(const AddOptions& options, const Session& session) {
    RfidCard card;
    const auto append = [&](RfidTag tag) {
        if (has(card, tag.hash)) throw ToolError(ExitStatus::Usage, "the " + nameOf(tag, session) + " is given twice");
        if (options.hashOnly) tag.key.reset();
        card.tags.push_back(std::move(tag));
    };
    for (const std::string& key : options.keys) append(tagOf(key));
    for (const std::string& hash : options.hashes) append({readHash(hash, "--hash"), std::nullopt, std::nullopt});
    if (card.tags.empty()) throw ToolError(ExitStatus::Usage, "which card? give a KEY or --hash HASH");
    return card.tags;
}

ExitStatus add(const Session& session, const AddOptions& options) {
    RfidCard card;
    card.tags = tagsOf(options, session);
    if (options.id) card.id = readNumber(*options.id, "--id", 1, largestId);
    options.fields.apply(card, session);

    OpenedList list(session.listOrNew(), session);
    for (const RfidTag& tag : card.tags) requireFree(tag, list, std::nullopt, session);
    if (card.id && list.manager().retrieveRecord(*card.id)) {
        throw ToolError(ExitStatus::Refused, list.path() + ": there is a card with the id " + *options.id + " already");
    }
    if (list.manager().isDatabaseFull()) {
        throw ToolError(ExitStatus::Refused, list.path() + ": the list is full: a file of the file store takes " +
                                                 withThousands(list.storage().capacity()) + " cards");
    }
    if (!card.id) card.id = list.storage().nextId(list.accessor());
    const unsigned id = list.manager().emplace(card, false, false);
    list.settle();
    const auto stored = list.manager().retrieveRecord(card.tags.front().hash, KeyRepresentation::Hash);
    if (!stored || stored->id != id) throw ToolError(ExitStatus::Storage, list.path() + ": the card" + notStored);
    session.out() << "Added card " << id << ".\n";
    return ExitStatus::Done;
}

// update

struct UpdateOptions {
    CardSelection selection;
    CardFields fields;
    std::vector<std::string> keysToAdd;
    std::vector<std::string> keysToRemove;
    bool isConfirmed = false;
};

void changeTags(RfidCard& card, const UpdateOptions& options, OpenedList& list, const Session& session) {
    for (const std::string& key : options.keysToAdd) {
        RfidTag tag = tagOf(key);
        requireFree(tag, list, card.id, session);
        if (has(card, tag.hash)) {
            throw ToolError(ExitStatus::Refused, list.path() + ": " + nameOf(card, session) + " has the " +
                                                     nameOf(tag, session) + " already");
        }
        card.tags.push_back(std::move(tag));
    }
    for (const std::string& key : options.keysToRemove) {
        const RfidTag tag = tagOf(key);
        if (std::erase_if(card.tags, [&tag](const RfidTag& own) { return own.hash == tag.hash; }) == 0) {
            throw ToolError(ExitStatus::Unknown,
                            list.path() + ": " + nameOf(card, session) + " does not have the " + nameOf(tag, session));
        }
    }
    if (card.tags.empty()) {
        throw ToolError(ExitStatus::Refused, list.path() + ": " + nameOf(card, session) +
                                                 " would have no key left; remove the card instead");
    }
}

void requireChange(const UpdateOptions& options) {
    if (options.fields.isEmpty() && options.keysToAdd.empty() && options.keysToRemove.empty()) {
        throw ToolError(ExitStatus::Usage, "what is to change? see update --help");
    }
}

bool staysExpired(const RfidCard& card, const UpdateOptions& options) {
    return options.fields.expiry && !options.fields.status && card.status == RfidCardStatus::Expired &&
           !AuthListManager::dateExpired(card);
}

void requireStored(const RfidCard& card, OpenedList& list, const Session& session) {
    const auto stored = list.accessor().readRecord(card.id.value());
    if (!stored || !differencesOf(*stored, card, false, session.keys(), session.times()).empty()) {
        throw ToolError(ExitStatus::Storage, list.path() + ": " + nameOf(card, session) + notStored);
    }
}

void store(RfidCard card, OpenedList& list, const Session& session) {
    card.lastAccessTime = std::chrono::system_clock::now();
    card.lastModificationTime = card.lastAccessTime;
    list.accessor().updateRecord(card);
    requireStored(card, list, session);  // a commit that meets a reader is rolled back without an error
}

void storeAll(const std::vector<RfidCard>& cards, OpenedList& list, const Session& session) {
    std::size_t done = 0;
    try {
        for (const RfidCard& card : cards) {
            store(card, list, session);
            ++done;
        }
    } catch (const std::exception& error) {
        if (done == 0) throw;
        throw ToolError(ExitStatus::Storage, std::string(error.what()) + "; " + withThousands(done) + " of " +
                                                 withThousands(cards.size()) + " cards are changed");
    }
    list.settle();
    for (const RfidCard& card : cards) requireStored(card, list, session);
}

ExitStatus update(const Session& session, const UpdateOptions& options) {
    requireChange(options);
    RfidCard anyCard;
    options.fields.apply(anyCard, session);  // refuses bad values before the list is looked at
    OpenedList list(session.list(), session);
    auto cards = options.selection.resolve(list, session);
    if (cards.size() > 1 && !options.keysToAdd.empty()) {
        throw ToolError(ExitStatus::Usage, "--add-key: a key belongs to one card; choose one");
    }
    for (RfidCard& card : cards) {
        requireOwnId(card, list, session);
        options.fields.apply(card, session);
        changeTags(card, options, list, session);
    }
    const std::string number = withThousands(cards.size()) + (cards.size() == 1 ? " card" : " cards");
    if (!options.selection.filters.empty() && !options.isConfirmed && !cards.empty() &&
        !session.confirm("Update " + number + " of " + list.path() + "?")) {
        session.note("nothing was changed");
        return ExitStatus::No;
    }
    if (!cards.empty()) storeAll(cards, list, session);
    session.out() << "Updated " << number << ".\n";
    const auto expired =
        std::count_if(cards.begin(), cards.end(), [&](const RfidCard& card) { return staysExpired(card, options); });
    if (expired > 0) {
        session.note(withThousands(static_cast<std::uint64_t>(expired)) +
                     " of them keep the status Expired; give --status Accepted too to let them charge");
    }
    return ExitStatus::Done;
}

}  // namespace

void addAddUpdateCommands(CommandLine& line) {
    const auto added = std::make_shared<AddOptions>();
    CLI::App& addition = line.add("add", "Adds a card and prints its id",
                                  "-l site.db add 04A2B3C4 --description 'Anna, flat 3'\n"
                                  "-l site.db add 04FFEE01 --description Visitor --expiry +1d\n"
                                  "-l site.db add 04A2B3C4 04D5E6F7 --hash-only --evse 2",
                                  [added](const Session& session) { return add(session, *added); });
    addition.add_option("KEY", added->keys, "The card's plain keys");
    addition.add_option("--hash", added->hashes, "A tag of which only the hash is known")
        ->type_name("HASH")
        ->allow_extra_args(false);
    addition.add_flag("--hash-only", added->hashOnly, "Store only the hashes of the keys");
    addition.add_option("--id", added->id, "The card's id; otherwise a new one is given")->type_name("N");
    added->fields.addOptions(addition);

    const auto updated = std::make_shared<UpdateOptions>();
    CLI::App& change = line.add("update", "Changes the given fields of cards",
                                "-l site.db update 04A2B3C4 --status Blocked\n"
                                "-l site.db update --id 7 --add-key 04D5E6F7 --remove-key 04A2B3C4\n"
                                "-l site.db update --filter 'expiry<2026-12-01' --expiry 2027-12-01 --status Accepted",
                                [updated](const Session& session) { return update(session, *updated); });
    updated->selection.addOptions(change, true);
    updated->fields.addOptions(change);
    change.add_option("--add-key", updated->keysToAdd, "Give the card one more key")
        ->type_name("KEY")
        ->allow_extra_args(false);
    change.add_option("--remove-key", updated->keysToRemove, "Take a key away")
        ->type_name("KEY")
        ->allow_extra_args(false);
    change.add_flag("-y,--yes", updated->isConfirmed, "Do not ask before --filter changes cards");
}

}  // namespace oru::kadi::authlist::tool
