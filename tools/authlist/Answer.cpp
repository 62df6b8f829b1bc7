// SPDX-License-Identifier: Apache-2.0
#include "Answer.h"

#include <chrono>
#include <cstdint>

#include "authlist/AuthListManager.h"

namespace oru::kadi::authlist::tool {

bool lifetimeIsOver(const RfidCard& card, TimePoint now) {
    if (!card.recordLifetime) return false;
    // As unsigned numbers, where an overflow is defined.
    const auto modified = static_cast<std::uint64_t>(card.lastModificationTime.time_since_epoch().count());
    const auto deadline = static_cast<std::int64_t>(modified + std::uint64_t{*card.recordLifetime} * 1'000'000'000U);
    return deadline < now.time_since_epoch().count();
}

Answer answerTo(const RfidCard& card, const TimeText& times) {
    if (lifetimeIsOver(card, std::chrono::system_clock::now())) return {false, "the lifetime of the record is over"};
    const bool isExpired = AuthListManager::dateExpired(card);
    switch (card.status) {
        case RfidCardStatus::Accepted:
            if (isExpired) return {false, "the card expired on " + times.show(*card.expiryDate)};
            return {true, card.evseId ? "the card may charge at EVSE " + std::to_string(*card.evseId) + " only"
                                      : "the card may charge"};
        case RfidCardStatus::Expired:
            return {false, isExpired ? "the card expired on " + times.show(*card.expiryDate)
                                     : "the card is marked as expired"};
        case RfidCardStatus::Blocked:
            return {false, "the card is blocked"};
        case RfidCardStatus::Invalid:
            return {false, "the card is marked as invalid"};
        case RfidCardStatus::ConcurrentTx:
            return {false, "the card is in another transaction"};
        case RfidCardStatus::Operator:
            return {false, "the card is one of the operator's staff; what it may do is the controller's decision"};
    }
    return {false, "the record has a status that does not exist"};
}

}  // namespace oru::kadi::authlist::tool
