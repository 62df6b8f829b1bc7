// SPDX-License-Identifier: Apache-2.0
#include "ChosenCards.h"

#include <utility>

#include "Outcome.h"

namespace oru::kadi::authlist::tool {

bool confirmed(const CardSelection& selection, const std::string& question, bool isConfirmed, const Session& session) {
    return selection.filters.empty() || isConfirmed || session.confirm(question);
}

std::vector<RfidCard> presentStates(const std::vector<RfidCard>& chosen, const CardSelection& selection,
                                    OpenedList& list, const Session& session) {
    const Filters filters = readFilters(selection.filters, session);
    std::vector<RfidCard> cards;
    for (const RfidCard& card : chosen) {
        auto present = list.manager().retrieveRecord(card.id.value());
        if (!present && filters.isEmpty()) {
            throw ToolError(ExitStatus::Unknown, list.path() + ": " + nameOf(card, session) + " is gone meanwhile");
        }
        if (present && filters.pass(*present)) cards.push_back(*std::move(present));
    }
    return cards;
}

}  // namespace oru::kadi::authlist::tool
