// SPDX-License-Identifier: Apache-2.0
// Any text: the time reader finds no time, or one whose canonical text means the same time.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "Require.h"
#include "authlist/Timestamp.h"
#include "oru/common/time/UnixTime.h"

namespace oru::kadi::authlist::fuzz {
namespace {

using common::time::UnixTime;

UnixTime parsed(const std::string& text) {
    UnixTime time = UnixTime::UNDEFINED;
    time.parseIso8601(text);
    return time;
}

// Only an offset or a leap second on the first or the last day leads out of the years that have a text.
bool mayLeaveTheYears(const std::string& text) {
    return text.starts_with("0000-01-01") || text.starts_with("9999-12-31");
}

std::optional<std::string> canonicalText(const UnixTime& time, const std::string& text) {
    try {
        return time.toIso8601();
    } catch (const std::out_of_range&) {
        require(mayLeaveTheYears(text), "ISO 8601: a time of the years 0000 to 9999 has a text");
        return std::nullopt;
    }
}

void checkTime(const std::string& text) {
    const UnixTime time = parsed(text);
    if (time.isUndefined()) {
        require(time.toIso8601().empty() && time.toIntegralType() == 0, "ISO 8601: no time has no text and no seconds");
        return;
    }
    const auto canonical = canonicalText(time, text);
    if (!canonical) return;
    const UnixTime reparsed = parsed(*canonical);
    require(canonical->size() == 20, "ISO 8601: the canonical text has 20 characters");
    require(!reparsed.isUndefined(), "ISO 8601: the canonical text is a time");
    require(reparsed.toIntegralType() == time.toIntegralType(), "ISO 8601: the canonical text has the same seconds");
    require(reparsed.toIso8601() == *canonical, "ISO 8601: the canonical text stays as it is");
}

void checkTimestamp(const std::string& text) {
    const auto time = stringToTimestamp(text);
    require(time.has_value() == !parsed(text).isUndefined(), "Timestamp: every time becomes one, and nothing else");
    if (time) require(stringToTimestamp(timestampToString(time)) == time, "Timestamp: the text comes back as the time");
}

}  // namespace
}  // namespace oru::kadi::authlist::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace oru::kadi::authlist::fuzz;
    const std::string text(data, data + size);
    checkTime(text);
    checkTimestamp(text);
    return 0;
}
