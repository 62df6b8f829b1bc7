// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

#include "CardSelection.h"
#include "Numbers.h"
#include "commands/Commands.h"
#include "output/DisplayText.h"

namespace oru::kadi::authlist::tool {
namespace {

constexpr const char* notStored = ": the change could not be stored (is the list read-only, full or in use?)";

ExitStatus remove(const Session& session, const CardSelection& selection, bool isConfirmed) {
    OpenedList list(session.list(), session);
    const auto cards = selection.resolve(list, session);
    const std::string number = withThousands(cards.size()) + (cards.size() == 1 ? " card" : " cards");
    if (!selection.filters.empty() && !isConfirmed && !cards.empty() &&
        !session.confirm("Remove " + number + " from " + list.path() + "?")) {
        session.note("nothing was removed");
        return ExitStatus::No;
    }
    for (const RfidCard& card : cards) requireOwnId(card, list, session);
    for (const RfidCard& card : cards) list.manager().deleteById(card.id.value());
    list.settle();
    for (const RfidCard& card : cards) {
        if (list.manager().retrieveRecord(card.id.value()))
            throw ToolError(ExitStatus::Storage, list.path() + notStored);
    }
    session.out() << "Removed " << number << ".\n";
    return ExitStatus::Done;
}

ExitStatus clear(const Session& session, bool isConfirmed) {
    OpenedList list(session.list(), session);
    const std::string number = withThousands(list.manager().countRecords()) + " cards";
    if (!isConfirmed && !session.confirm("Remove all " + number + " of " + list.path() + "?")) {
        session.note("nothing was removed");
        return ExitStatus::No;
    }
    list.manager().clearAll();
    list.settle();
    if (list.manager().countRecords() != 0) throw ToolError(ExitStatus::Storage, list.path() + notStored);
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
