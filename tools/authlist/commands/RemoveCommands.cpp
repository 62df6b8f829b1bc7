// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "ChosenCards.h"
#include "Numbers.h"
#include "commands/Commands.h"

namespace oru::kadi::authlist::tool {
namespace {

bool isReadable(const OpenedList& list, unsigned id) {
    try {
        list.accessor().readRecord(id);
        return true;
    } catch (const std::runtime_error&) {
        throw;  // of the list as a whole, such as one that is in use
    } catch (const std::exception&) {
        return false;
    }
}

// A damaged record keeps the whole list from being shown and exported, so it must be possible to remove it.
std::vector<unsigned> takeDamaged(CardSelection& selection, const OpenedList& list) {
    std::vector<unsigned> damaged;
    std::erase_if(selection.ids, [&](const std::string& text) {
        const unsigned id = readNumber(text, "--id");
        if (isReadable(list, id)) return false;
        damaged.push_back(id);
        return true;
    });
    return damaged;
}

ExitStatus remove(const Session& session, CardSelection selection, bool isConfirmed) {
    selection.requireOneWay();
    OpenedList list(session.listToChange(), session);
    std::vector<unsigned> ids = takeDamaged(selection, list);
    const auto cards = selection.isEmpty() ? std::vector<RfidCard>() : selection.resolve(list, session);
    for (const RfidCard& card : cards) requireOwnId(card, list, session);
    if (!cards.empty() && !confirmed(selection, "Remove " + cardsText(cards.size()) + " from " + list.path() + "?",
                                     isConfirmed, session)) {
        session.note("nothing was removed");
        return ExitStatus::No;
    }
    for (const RfidCard& card : presentStates(cards, selection, list, session)) ids.push_back(card.id.value());
    list.changeAll({}, ids, "Removing");
    session.say("Removed " +
                (ids.size() == 1 && cards.size() == 1 ? nameOf(cards.front(), session) : cardsText(ids.size())) + ".");
    return ExitStatus::Done;
}

ExitStatus clear(const Session& session, bool isConfirmed) {
    OpenedList list(session.listToChange(), session);
    const std::string question = "Remove all " + cardsText(list.manager().countRecords()) + " of " + list.path() + "?";
    if (!isConfirmed && !session.confirm(question)) {
        session.note("nothing was removed");
        return ExitStatus::No;
    }
    const std::string number = cardsText(list.manager().countRecords());  // maybe others than before the question
    list.manager().clearAll();
    list.settle();
    if (list.manager().countRecords() != 0)
        throw ToolError(ExitStatus::Storage, list.path() + ": the change" + notStored);
    session.out() << "Removed " << number << ".\n";
    return ExitStatus::Done;
}

}  // namespace

void addRemoveCommands(CommandLine& line) {
    const auto selection = std::make_shared<CardSelection>();
    const auto isConfirmed = std::make_shared<bool>(false);
    CLI::App& removal = line.add(
        "remove", "Removes cards",
        "-l site.db remove 04A2B3C4\n"
        "-l site.db remove --filter 'expiry<2026-01-01' --yes",
        [selection, isConfirmed](const Session& session) { return remove(session, *selection, *isConfirmed); });
    selection->addOptions(removal, true);
    removal.add_flag("-y,--yes", *isConfirmed, "Do not ask");

    const auto clearIsConfirmed = std::make_shared<bool>(false);
    line.add("clear", "Removes every card; the list version stays", "-l site.db clear --yes",
             [clearIsConfirmed](const Session& session) { return clear(session, *clearIsConfirmed); })
        .add_flag("-y,--yes", *clearIsConfirmed, "Do not ask");
}

}  // namespace oru::kadi::authlist::tool
