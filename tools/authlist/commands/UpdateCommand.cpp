// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>
#include <ostream>
#include <utility>

#include "CardFields.h"
#include "CardTags.h"
#include "ChosenCards.h"
#include "Numbers.h"
#include "commands/Commands.h"

namespace oru::kadi::authlist::tool {
namespace {

struct UpdateOptions {
    CardSelection selection;
    CardFields fields;
    std::vector<std::string> keysToAdd;
    std::vector<std::string> keysToRemove;
    bool isConfirmed = false;
};

void addKeys(RfidCard& card, const UpdateOptions& options, OpenedList& list, const Session& session) {
    for (const std::string& key : options.keysToAdd) {
        RfidTag tag = tagOf(key);
        requireFree(tag, list, card.id, session);
        if (hasTag(card, tag.hash)) {
            throw ToolError(ExitStatus::Refused, list.path() + ": " + nameOf(card, session) + " has the " +
                                                     nameOf(tag, session.keys()) + " already");
        }
        card.tags.push_back(std::move(tag));
    }
}

void removeKeys(RfidCard& card, const UpdateOptions& options, const OpenedList& list, const Session& session) {
    const std::string name = list.path() + ": " + nameOf(card, session);
    for (const std::string& key : options.keysToRemove) {
        const RfidTag tag = tagOf(key);
        if (std::erase_if(card.tags, [&tag](const RfidTag& own) { return own.hash == tag.hash; }) == 0) {
            throw ToolError(ExitStatus::Unknown, name + " does not have the " + nameOf(tag, session.keys()));
        }
    }
    if (card.tags.empty() && !options.keysToRemove.empty()) {
        throw ToolError(ExitStatus::Refused, name + " would have no key left; remove the card instead");
    }
}

RfidCard updated(RfidCard card, const UpdateOptions& options, OpenedList& list, const Session& session) {
    addKeys(card, options, list, session);
    removeKeys(card, options, list, session);
    options.fields.apply(card, session);
    card.lastModificationTime = std::chrono::system_clock::now();
    return card;
}

// The date that a span such as +30d came to, which counts from now and not from the date that a card has.
std::string expiryText(const UpdateOptions& options, const std::vector<RfidCard>& before, const Session& session) {
    if (!options.fields.expiry) return {};
    RfidCard wanted;
    options.fields.apply(wanted, session);
    if (!wanted.expiryDate) return ", without expiry date";
    const auto later = std::count_if(before.begin(), before.end(), [&wanted](const RfidCard& card) {
        return !card.expiryDate || *card.expiryDate > *wanted.expiryDate;
    });
    return ", with the expiry date " + session.times().show(*wanted.expiryDate) +
           (later > 0 ? " (earlier than before for " + withThousands(static_cast<std::uint64_t>(later)) + ")" : "");
}

void requireChange(const UpdateOptions& options) {
    if (options.fields.isEmpty() && options.keysToAdd.empty() && options.keysToRemove.empty()) {
        throw ToolError(ExitStatus::Usage, "what is to change? see update --help");
    }
}

void noteExpired(const std::vector<RfidCard>& cards, const UpdateOptions& options, const Session& session) {
    if (!options.fields.expiry || options.fields.status) return;
    const auto expired = std::count_if(cards.begin(), cards.end(), [](const RfidCard& card) {
        return card.status == RfidCardStatus::Expired && !AuthListManager::dateExpired(card);
    });
    if (expired == 0) return;
    session.note(withThousands(static_cast<std::uint64_t>(expired)) +
                 " of them keep the status Expired; give --status Accepted too to let them charge");
}

ExitStatus update(const Session& session, const UpdateOptions& options) {
    requireChange(options);
    RfidCard anyCard;
    options.fields.apply(anyCard, session);  // refuses bad values before the list is looked at
    OpenedList list(session.listToChange(), session);
    const auto chosen = options.selection.resolve(list, session);
    if (chosen.size() > 1 && !options.keysToAdd.empty()) {
        throw ToolError(ExitStatus::Usage, "--add-key: a key belongs to one card; choose one");
    }
    for (const RfidCard& card : chosen) {
        requireOwnId(card, list, session);
        updated(card, options, list, session);  // refuses what cannot be done before anything is
    }
    if (!chosen.empty() && !confirmed(options.selection,
                                      "Update " + cardsText(chosen.size()) + " of " + list.path() +
                                          expiryText(options, chosen, session) + "?",
                                      options.isConfirmed, session)) {
        session.note("nothing was changed");
        return ExitStatus::No;
    }
    auto cards = presentStates(chosen, options.selection, list, session);
    for (RfidCard& card : cards) card = updated(card, options, list, session);
    list.changeAll(cards, {}, "Updating");
    session.say("Updated " + (cards.size() == 1 ? nameOf(cards.front(), session) : cardsText(cards.size())) +
                expiryText(options, chosen, session) + ".");
    noteExpired(cards, options, session);
    return ExitStatus::Done;
}

}  // namespace

void addUpdateCommand(CommandLine& line) {
    const auto options = std::make_shared<UpdateOptions>();
    CLI::App& command =
        line.add("update", "Changes the given fields of cards",
                 "-l site.db update 04A2B3C4 --status Blocked\n"
                 "-l site.db update --id 7 --add-key 04D5E6F7 --remove-key 04A2B3C4\n"
                 "-l site.db update --filter 'expiry>=2026-11-01' --filter 'expiry<2026-12-01' --expiry 2027-12-01",
                 [options](const Session& session) { return update(session, *options); });
    options->selection.addOptions(command, true);
    options->fields.addOptions(command);
    command.add_option("--add-key", options->keysToAdd, "Give the card one more key; may be repeated")
        ->type_name("KEY")
        ->allow_extra_args(false);
    command.add_option("--remove-key", options->keysToRemove, "Take a key away; may be repeated")
        ->type_name("KEY")
        ->allow_extra_args(false);
    command.add_flag("-y,--yes", options->isConfirmed, "Do not ask before --filter changes cards");
}

}  // namespace oru::kadi::authlist::tool
