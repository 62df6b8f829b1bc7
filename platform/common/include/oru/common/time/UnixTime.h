// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "oru/common/Export.h"

namespace oru::common::time {

/// A time in seconds since the Unix epoch, UTC without leap seconds, or no time at all. A plain value.
class ORU_COMMON_EXPORT UnixTime {
public:
    /// The flag of a time that is set. Every other flag value means that the object holds no time.
    static constexpr std::uint8_t defined = 0;

    /// Holds no time.
    static const UnixTime UNDEFINED;

    UnixTime(double seconds, std::uint8_t flag) : mSeconds(seconds), mFlag(flag) {}

    /// Reads an ISO 8601 date-time; afterwards the object is undefined when the text is not one of these forms:
    /// a date YYYY-MM-DD alone (midnight UTC), or a date, then T, t or one blank, then hh:mm with an optional :ss,
    /// which may carry a fraction after '.' or ',' that is cut off, then Z, z, +hh:mm, +hhmm, +hh (or with '-'), or
    /// nothing for UTC. Second 60 is the first second of the next minute. Years run from 0000 to 9999, zone offsets to
    /// 23:59.
    void parseIso8601(const std::string& text);

    bool isUndefined() const;

    /// The whole seconds, rounded down and reduced modulo 2^32 to a 32-bit value: times before 1970 and from
    /// 2106-02-07T06:28:16Z on come back as other times, the same on every machine. 0 when undefined or not finite.
    std::uint32_t toIntegralType() const;

    /// The canonical text YYYY-MM-DDThh:mm:ssZ, always 20 characters, so that texts compare as times do; a fraction of
    /// a second is cut off. Empty when undefined. Throws std::out_of_range outside the years 0000 to 9999.
    std::string toIso8601() const;

private:
    double mSeconds;
    std::uint8_t mFlag;
};

}  // namespace oru::common::time
