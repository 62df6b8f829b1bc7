// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <utility>

#include "CardFields.h"
#include "CardSelection.h"
#include "CardTags.h"
#include "Numbers.h"
#include "commands/Commands.h"

namespace oru::kadi::authlist::tool {
namespace {

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
        if (hasTag(card, tag.hash)) {
            throw ToolError(ExitStatus::Usage, "the " + nameOf(tag, session.keys()) + " is given twice");
        }
        if (options.hashOnly) tag.key.reset();
        card.tags.push_back(std::move(tag));
    };
    for (const std::string& key : options.keys) append(tagOf(key));
    for (const std::string& hash : options.hashes) append({readHash(hash, "--hash"), std::nullopt, std::nullopt});
    if (card.tags.empty()) throw ToolError(ExitStatus::Usage, "which card? give a KEY or --hash HASH");
    if (card.tags.size() > ListStorage::largestTagCount) {
        throw ToolError(ExitStatus::Usage, "a card has at most 65,535 keys");
    }
    return card.tags;
}

// The store's own next id may be one that is in use, or beyond what it can look up.
unsigned nextId(const OpenedList& list) {
    const auto last = list.accessor().readRecordRange(1, 0, std::nullopt, std::nullopt, std::nullopt,
                                                      SortingAndFilteringKey::Id, SortingOrder::Descending);
    const unsigned largest = last.empty() ? 0 : last.front().id.value_or(0);
    if (largest < ListStorage::largestId) return largest + 1;
    throw ToolError(ExitStatus::Refused, list.path() + ": the largest id is taken; give a free one with --id");
}

void requireRoom(const RfidCard& card, OpenedList& list, const Session& session) {
    for (const RfidTag& tag : card.tags) requireFree(tag, list, std::nullopt, session);
    if (card.id && list.manager().retrieveRecord(*card.id)) {
        throw ToolError(ExitStatus::Refused,
                        list.path() + ": there is a card with the id " + std::to_string(*card.id) + " already");
    }
    if (list.manager().isDatabaseFull()) {
        throw ToolError(ExitStatus::Refused, list.path() + ": the list is full; a file of the file store takes " +
                                                 withThousands(list.storage().capacity()) + " cards");
    }
}

std::string keysText(const RfidCard& card, const Session& session) {
    std::string text;
    for (const RfidTag& tag : card.tags) text += (text.empty() ? "the " : ", the ") + nameOf(tag, session.keys());
    return text;
}

// A reader gives a key as plain digits.
void noteOddKeys(const AddOptions& options, const Session& session) {
    for (const std::string& key : options.keys) {
        if (key.find_first_of(" \t") == std::string::npos) continue;
        session.note("the key " + session.keys()(key) +
                     " has blanks in it, which readers rarely report; a name goes into --description");
    }
}

ExitStatus add(const Session& session, const AddOptions& options) {
    RfidCard card;
    card.tags = tagsOf(options, session);
    if (options.id) card.id = readNumber(*options.id, "--id", 1, ListStorage::largestId);
    options.fields.apply(card, session);

    OpenedList list(session.listOrNew(), session);
    requireRoom(card, list, session);
    if (!card.id) card.id = nextId(list);
    const unsigned id = list.manager().emplace(card, false, false);
    list.settle();
    const auto stored = list.manager().retrieveRecord(card.tags.front().hash, KeyRepresentation::Hash);
    if (!stored || stored->id != id) {
        throw ToolError(ExitStatus::Storage, list.path() + ": the card" + notStored);
    }
    session.say("Added card " + std::to_string(id) + " with " + keysText(card, session) +
                (list.storage().isNew() ? " to the new list " + list.path() : "") + ".");
    noteOddKeys(options, session);
    return ExitStatus::Done;
}

}  // namespace

void addAddCommand(CommandLine& line) {
    const auto options = std::make_shared<AddOptions>();
    CLI::App& command = line.add("add", "Adds a card and says which id it has",
                                 "-l site.db add 04A2B3C4 --description 'Anna, flat 3'\n"
                                 "-l site.db add 04FFEE01 --description Visitor --expiry +1d\n"
                                 "-l site.db add 04A2B3C4 04D5E6F7 --hash-only --evse 2",
                                 [options](const Session& session) { return add(session, *options); });
    command.add_option("KEY", options->keys, "The card's plain keys");
    command.add_option("--hash", options->hashes, "A tag of which only the hash is known; may be repeated")
        ->type_name("HASH")
        ->allow_extra_args(false);
    command.add_flag("--hash-only", options->hashOnly, "Store only the hashes of the keys");
    command.add_option("--id", options->id, "The card's id; otherwise one more than the largest")->type_name("N");
    options->fields.addOptions(command);
}

}  // namespace oru::kadi::authlist::tool
