// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "authlist/Export.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist {

/// The time that an ISO 8601 text names (the forms of oru::common::time::UnixTime::parseIso8601), or none when text is
/// absent, empty or not a time. Whole seconds, reduced modulo 2^32: only 1970 to early 2106 survives.
ORU_AUTHLIST_EXPORT std::optional<TimePoint> stringToTimestamp(std::optional<std::string> text);

/// The canonical text YYYY-MM-DDThh:mm:ssZ of time, or none when time is absent. Fractions of a second are cut off
/// toward zero and the seconds reduced modulo 2^32.
ORU_AUTHLIST_EXPORT std::optional<std::string> timestampToString(std::optional<TimePoint> time);

}  // namespace oru::kadi::authlist
