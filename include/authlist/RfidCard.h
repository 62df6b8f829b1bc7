// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <ratio>
#include <string>
#include <vector>

#include "authlist/Enumerations.h"
#include "authlist/Export.h"
#include "authlist/RfidTag.h"

namespace oru::kadi::authlist {

/// The time stamp of a record: system clock, signed 64-bit nanoseconds, on every machine.
using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<long long, std::nano>>;

/// One record of the OCPP local authorization list: its tags, its status, what storage keeps about it.
/// A plain value: copies are deep and nothing checks itself; AuthListManager::emplace validates it.
/// A new card is accepted, without limits, with both times at the Unix epoch.
struct RfidCard {
    std::optional<unsigned> id;  ///< absent until a backend has stored the card
    std::string description;
    std::vector<RfidTag> tags;  ///< a card without tags cannot be stored through the manager
    RfidCardStatus status = RfidCardStatus::Accepted;
    std::optional<TimePoint> expiryDate;  ///< expired from this instant on; absent: never
    std::optional<std::string> parentId;  ///< OCPP parent (group) identifier
    std::optional<unsigned> evseId;       ///< the only EVSE that the card may use; absent: any
    std::optional<std::string> extraData;
    TimePoint lastAccessTime{};              ///< the last store or lookup
    TimePoint lastModificationTime{};        ///< the last store or update
    std::optional<unsigned> recordLifetime;  ///< seconds since lastModificationTime; absent: no limit
};

/// Writes the card on one line for log files, plain keys included. Throws std::invalid_argument for a status outside
/// the enumeration; what was written before stays written.
ORU_AUTHLIST_EXPORT std::ostream& operator<<(std::ostream& out, const RfidCard& card);

}  // namespace oru::kadi::authlist
