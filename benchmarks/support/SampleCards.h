// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::benchmarks {

/// Card number n of every list: its id is n, it has one tag with key and hash, a parent, an EVSE, extra data and an
/// expiry date far ahead; one in ten is blocked. Access times are the same for all, modification times differ.
RfidCard sampleCard(unsigned number);

/// Cards 1 to count.
std::vector<RfidCard> sampleCards(unsigned count);

/// Card number n of those that are added: as above, without id and hash, with a key that no other card has.
RfidCard newCard(unsigned number);

/// The access time that every sample card has, as it is stored.
inline constexpr const char* sampleAccessTime = "2026-03-01T00:00:00Z";

}  // namespace oru::kadi::authlist::benchmarks
