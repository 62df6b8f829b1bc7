// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "TimeText.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// What a controller would answer to a card now, as the words for people, and why.
struct Answer {
    bool isAccepted;
    std::string reason;

    const char* word() const { return isAccepted ? "Accepted" : "Refused"; }
};

/// Looks at the card alone: a lookup by the library also changes what is stored.
Answer answerTo(const RfidCard& card, const TimeText& times);

/// Counts as a lookup does: to the nanosecond, and the deadline itself still belongs to the lifetime.
bool lifetimeIsOver(const RfidCard& card, TimePoint now);

}  // namespace oru::kadi::authlist::tool
