// SPDX-License-Identifier: Apache-2.0
#include "authlist/Timestamp.h"

#include <cstdint>

#include "oru/common/time/UnixTime.h"

namespace oru::kadi::authlist {
namespace {

using common::time::UnixTime;

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

}  // namespace

std::optional<TimePoint> stringToTimestamp(std::optional<std::string> text) {
    if (!text || text->empty()) return std::nullopt;
    UnixTime time = UnixTime::UNDEFINED;
    time.parseIso8601(*text);
    if (time.isUndefined()) return std::nullopt;
    const std::int64_t nanoseconds = std::int64_t{time.toIntegralType()} * nanosecondsPerSecond;
    return TimePoint{TimePoint::duration{nanoseconds}};
}

std::optional<std::string> timestampToString(std::optional<TimePoint> time) {
    if (!time) return std::nullopt;
    const std::int64_t seconds = time->time_since_epoch().count() / nanosecondsPerSecond;
    return UnixTime{static_cast<double>(static_cast<std::uint32_t>(seconds)), UnixTime::defined}.toIso8601();
}

}  // namespace oru::kadi::authlist
