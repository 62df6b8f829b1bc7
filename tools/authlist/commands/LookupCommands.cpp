// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>
#include <ostream>

#include "Answer.h"
#include "Ascii.h"
#include "CardPrinter.h"
#include "CardSelection.h"
#include "FieldText.h"
#include "commands/Commands.h"
#include "output/DisplayText.h"
#include "output/Json.h"

namespace oru::kadi::authlist::tool {
namespace {

struct Verdict {
    const char* word;
    std::string reason;
    ExitStatus status;
    std::optional<RfidCard> card;
};

// Readers and people differ over capitals, and storage counts them.
std::string reasonForUnknown(const std::string& key, const OpenedList& list) {
    for (const std::string& other : {upperCase(key), lowerCase(key)}) {
        if (list.accessor().readRecord(other, KeyRepresentation::Key)) {
            return "no card of the list has this key, but one has it in other letter case";
        }
    }
    return "no card of the list has this key";
}

Verdict lookUp(OpenedList& list, const std::string& key, const Session& session) {
    const auto stored = list.manager().retrieveRecord(key, KeyRepresentation::Key);
    if (!stored) return {"Unknown", reasonForUnknown(key, list), ExitStatus::Unknown, std::nullopt};
    requireOwnId(*stored, list, session);
    auto card = list.manager().getByKey(key);
    list.settle();
    if (card) {
        const Answer answer = answerTo(*card, session.times());
        return {answer.word(), answer.reason, answer.isAccepted ? ExitStatus::Done : ExitStatus::No, card};
    }
    // The library says nothing about why; either the record is gone now, or it could not be written.
    const bool isOver = lifetimeIsOver(*stored, std::chrono::system_clock::now());
    if (isOver && !list.manager().retrieveRecord(key, KeyRepresentation::Key)) {
        return {"Refused", "the lifetime of the record is over; it was removed", ExitStatus::No, stored};
    }
    throw ToolError(ExitStatus::Storage, list.path() +
                                             ": the access cannot be stored, so the controller would refuse " +
                                             nameOf(*stored, session) + " (is the list read-only or in use?)");
}

void print(const Verdict& verdict, const Session& session) {
    const CardPrinter printer(session);
    const auto& card = verdict.card;
    if (session.options.output == OutputFormat::Json) {
        session.out() << session.data(JsonObject()
                                          .text("verdict", verdict.word)
                                          .text("reason", verdict.reason)
                                          .json("card", card ? printer.json(*card) : "null")
                                          .str())
                      << '\n';
        return;
    }
    if (session.options.output == OutputFormat::Csv) {
        std::vector<std::string> values{verdict.word, verdict.reason, "", "", "", "", ""};
        if (card) {
            values = {verdict.word,
                      verdict.reason,
                      numberOr(card->id, ""),
                      card->description,
                      card->parentId.value_or(""),
                      numberOr(card->evseId, ""),
                      card->expiryDate ? session.times().show(*card->expiryDate) : ""};
        }
        session.out() << "verdict,reason,id,description,parentId,evseId,expiryDate\n"
                      << session.data(csvLine(values)) << '\n';
        return;
    }
    const Colour colour = verdict.status == ExitStatus::Done ? Colour::Green : Colour::Red;
    session.out() << (session.outTerminal().hasColour ? coloured(verdict.word, colour) : verdict.word) << ": "
                  << verdict.reason << '\n';
    if (!card) return;
    session.out() << "Description  " << printable(card->description) << '\n'
                  << "Parent       " << printable(card->parentId.value_or("none")) << '\n'
                  << "EVSE         " << numberOr(card->evseId, "any") << '\n'
                  << "Expiry       " << printer.expiry(*card) << '\n';
}

// The library does not tell when a write gets lost.
void noteLostAccess(const Verdict& verdict, OpenedList& list, const Session& session) {
    if (!verdict.card || !verdict.card->id) return;
    const auto stored = list.manager().retrieveRecord(*verdict.card->id);
    if (!stored || secondsOf(stored->lastAccessTime) >= secondsOf(verdict.card->lastAccessTime)) return;
    session.note(list.path() + ": the access" + notStored);
}

ExitStatus authorize(const Session& session, const std::string& key) {
    if (key.empty()) throw ToolError(ExitStatus::Usage, "KEY: an empty key cannot be looked up");
    OpenedList list(session.listToChange(), session);
    const Verdict verdict = lookUp(list, key, session);
    print(verdict, session);
    noteLostAccess(verdict, list, session);
    return verdict.status;
}

ExitStatus show(const Session& session, const CardSelection& selection) {
    OpenedList list(session.list(), session);
    const auto cards = selection.resolve(list, session);
    const CardPrinter printer(session);
    if (session.options.output == OutputFormat::Table) {
        for (const RfidCard& card : cards) {
            if (&card != cards.data()) session.out() << '\n';
            printer.printDetails(card);
        }
        return ExitStatus::Done;
    }
    RecordsOutput output(session, CardPrinter::columns(), CardPrinter::csvNames());
    for (const RfidCard& card : cards) output.print({printer.record(card)});
    output.finish("");
    return ExitStatus::Done;
}

}  // namespace

void addLookupCommands(CommandLine& line) {
    const auto key = std::make_shared<std::string>();
    line.add("authorize", "What the controller answers to a card, and why; counts as an access",
             "-l site.db authorize 04A2B3C4", [key](const Session& session) { return authorize(session, *key); })
        .add_option("KEY", *key, "The presented card's key")
        ->required();

    const auto selection = std::make_shared<CardSelection>();
    selection->addOptions(line.add("show", "Everything that is stored about cards; changes nothing",
                                   "-l site.db show 04A2B3C4\n"
                                   "-l site.db show --id 7 --id 8\n"
                                   "-l site.db show 04A2B3C4 --show-keys --output json",
                                   [selection](const Session& session) { return show(session, *selection); }),
                          false);
}

}  // namespace oru::kadi::authlist::tool
