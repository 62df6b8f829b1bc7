// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CardSelection.h"

namespace oru::kadi::authlist::tool {

/// Asks whether to go on where filters chose the cards, unless that was answered on the command line. True to go on.
bool confirmed(const CardSelection& selection, const std::string& question, bool isConfirmed, const Session& session);

/// Changes the chosen cards one by one, each as it is stored now: while a question was waiting for its answer others
/// may have changed the list, and cards that no longer pass the filters are left alone. change stores one card;
/// progress is shown, and ^C ends the work between two cards. Returns how many were changed. Throws ToolError that says
/// how many were changed, when one fails.
std::size_t changeOneByOne(const std::vector<RfidCard>& cards, const CardSelection& selection, OpenedList& list,
                           const Session& session, const char* title, const std::function<void(RfidCard)>& change);

}  // namespace oru::kadi::authlist::tool
