// SPDX-License-Identifier: Apache-2.0
#include "ChosenCards.h"

#include <utility>

#include "Interruption.h"
#include "Numbers.h"
#include "Outcome.h"
#include "output/Progress.h"

namespace oru::kadi::authlist::tool {
namespace {

ExitStatus statusOf(const std::exception& error) {
    const auto* const toolError = dynamic_cast<const ToolError*>(&error);
    return toolError != nullptr ? toolError->status() : ExitStatus::Storage;
}

// None where a filter no longer chooses it.
std::optional<RfidCard> presentState(const RfidCard& card, const std::vector<Filter>& filters, OpenedList& list,
                                     const Session& session) {
    auto present = list.manager().retrieveRecord(card.id.value());
    if (!present && filters.empty()) {
        throw ToolError(ExitStatus::Unknown, list.path() + ": " + nameOf(card, session) + " is gone meanwhile");
    }
    if (!present || !passesAll(filters, *present)) return std::nullopt;
    return present;
}

}  // namespace

bool confirmed(const CardSelection& selection, const std::string& question, bool isConfirmed, const Session& session) {
    return selection.filters.empty() || isConfirmed || session.confirm(question);
}

std::size_t changeOneByOne(const std::vector<RfidCard>& cards, const CardSelection& selection, OpenedList& list,
                           const Session& session, const char* title, const std::function<void(RfidCard)>& change) {
    const std::vector<Filter> filters = readFilters(selection.filters, session);
    const Interruption interruption;
    Progress progress(session.err(), session.errTerminal(), title, cards.size());
    std::size_t seen = 0;
    std::size_t changed = 0;
    try {
        for (const RfidCard& card : cards) {
            Interruption::throwIfRequested();
            if (auto present = presentState(card, filters, list, session)) {
                change(*std::move(present));
                ++changed;
            }
            if (cards.size() > 1) progress.advanceTo(++seen);
        }
    } catch (const std::exception& error) {
        if (cards.size() == 1) throw;
        throw ToolError(statusOf(error), reasonOf(error) + "; " + withThousands(changed) + " of " +
                                             withThousands(cards.size()) + " cards are changed");
    }
    return changed;
}

}  // namespace oru::kadi::authlist::tool
