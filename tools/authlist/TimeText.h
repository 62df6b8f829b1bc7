// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// Times as people write and read them: UTC, or the local time zone.
class TimeText {
public:
    explicit TimeText(bool isLocal) : mIsLocal(isLocal) {}

    /// ISO 8601 to the second, with Z or the local zone's offset.
    std::string show(TimePoint time) const;

    /// Reads ISO 8601 (without a zone: UTC, or local), "now" and spans from now such as +1d. Throws ToolError naming
    /// what (an option, a filter) for a text that is no time and for times that a list cannot carry.
    TimePoint read(const std::string& text, const std::string& what) const;

private:
    bool mIsLocal;
};

/// The time that an ISO 8601 text names; none for other texts and for times that a list cannot carry, which the library
/// would take for another time.
std::optional<TimePoint> exactTimestamp(const std::string& text);

/// The whole seconds since 1970.
std::int64_t secondsOf(TimePoint time);

}  // namespace oru::kadi::authlist::tool
