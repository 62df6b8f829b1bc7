// SPDX-License-Identifier: Apache-2.0
#include "Verdict.h"

#include <chrono>
#include <cstdint>

#include "authlist/AuthListManager.h"

namespace oru::kadi::authlist::tool {

bool lifetimeIsOver(const RfidCard& card) {
    return card.recordLifetime && secondsOf(card.lastModificationTime) + std::int64_t{*card.recordLifetime} <=
                                      secondsOf(std::chrono::system_clock::now());
}

Answer answerTo(const RfidCard& card, const TimeText& times) {
    if (lifetimeIsOver(card)) return {false, "the lifetime of the record is over"};
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
