// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "CardSelection.h"

namespace oru::kadi::authlist::tool {

/// Asks whether to go on where filters chose the cards, unless that was answered on the command line. True to go on.
bool confirmed(const CardSelection& selection, const std::string& question, bool isConfirmed, const Session& session);

/// The chosen cards as they are stored now: while a question was waiting for its answer others may have changed the
/// list. Cards that no longer pass the filters are left out; throws ToolError when one that was chosen singly is gone.
std::vector<RfidCard> presentStates(const std::vector<RfidCard>& chosen, const CardSelection& selection,
                                    OpenedList& list, const Session& session);

}  // namespace oru::kadi::authlist::tool
