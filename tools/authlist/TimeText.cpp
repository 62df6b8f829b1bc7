// SPDX-License-Identifier: Apache-2.0
#include "TimeText.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <stdexcept>

#include "Outcome.h"
#include "authlist/Timestamp.h"
#include "oru/common/time/UnixTime.h"

namespace oru::kadi::authlist::tool {
namespace {

constexpr std::int64_t lastSecond = std::numeric_limits<std::uint32_t>::max();  // 2106-02-07T06:28:15Z
constexpr std::int64_t secondsOfDay = 86400;
constexpr std::size_t dateLength = 10;  // of YYYY-MM-DD

TimePoint timeAt(std::int64_t seconds) { return TimePoint(std::chrono::seconds(seconds)); }

// The one use of time_t: the C library knows the local time zone, nothing else does.
std::int64_t localOffset(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm local{};
    return localtime_r(&time, &local) != nullptr ? local.tm_gmtoff : 0;
}

// Where clocks are put back, an hour comes twice; the first of the two is taken.
std::int64_t localToUtc(std::int64_t seconds) {
    const std::int64_t earlier = seconds - localOffset(seconds - secondsOfDay);
    if (earlier + localOffset(earlier) == seconds) return earlier;
    return seconds - localOffset(seconds + secondsOfDay);
}

bool namesZone(const std::string& text) { return text.find_first_of("Zz+-", dateLength) != std::string::npos; }

std::optional<std::int64_t> secondsOfUnit(char unit) {
    switch (unit) {
        case 'h':
            return 3600;
        case 'd':
            return secondsOfDay;
        case 'w':
            return 7 * secondsOfDay;
        default:
            return std::nullopt;
    }
}

// Of "+1d" and the like; none for another text.
std::optional<std::int64_t> readSpan(const std::string& text) {
    if (text.size() < 3 || (text.front() != '+' && text.front() != '-')) return std::nullopt;
    const auto unit = secondsOfUnit(text.back());
    std::uint32_t count = 0;
    const char* const end = text.data() + text.size() - 1;
    const auto [stop, error] = std::from_chars(text.data() + 1, end, count);
    if (!unit || error != std::errc{} || stop != end) return std::nullopt;
    return (text.front() == '-' ? -1 : 1) * *unit * std::int64_t{count};
}

std::string twoDigits(std::int64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); }

std::string zoneText(std::int64_t offset) {
    const std::int64_t minutes = std::abs(offset) / 60;
    return (offset < 0 ? "-" : "+") + twoDigits(minutes / 60) + ':' + twoDigits(minutes % 60);
}

[[noreturn]] void refuse(const std::string& what, const std::string& text, const char* reason) {
    throw ToolError(ExitStatus::Usage, what + ": \"" + text + "\" " + reason);
}

constexpr const char* noTime = "is no time; write 2027-01-31, 2027-01-31T18:00Z, now or +1d (hours h, days d, weeks w)";
constexpr const char* outOfRange = "is no time that a list can carry (1970-01-01 to 2106-02-07T06:28:15Z)";

}  // namespace

std::int64_t secondsOf(TimePoint time) {
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

std::optional<TimePoint> exactTimestamp(const std::string& text) {
    common::time::UnixTime parsed = common::time::UnixTime::UNDEFINED;
    parsed.parseIso8601(text);
    const auto time = stringToTimestamp(text);
    if (parsed.isUndefined() || !time) return std::nullopt;
    try {
        if (parsed.toIso8601() != timestampToString(time)) return std::nullopt;
    } catch (const std::out_of_range&) {  // a zone led out of the years that have four digits
        return std::nullopt;
    }
    return time;
}

std::string TimeText::show(TimePoint time) const {
    if (!mIsLocal) return timestampToString(time).value();
    const std::int64_t seconds = secondsOf(time);
    const std::int64_t offset = localOffset(seconds);
    std::string text = timestampToString(timeAt(seconds + offset)).value();
    text.pop_back();  // the Z
    return text + zoneText(offset);
}

TimePoint TimeText::read(const std::string& text, const std::string& what) const {
    const TimePoint now = timeAt(secondsOf(std::chrono::system_clock::now()));
    if (text == "now") return now;
    std::int64_t seconds = 0;
    if (const auto span = readSpan(text)) {
        seconds = secondsOf(now) + *span;
    } else {
        const auto time = exactTimestamp(text);
        if (!time) refuse(what, text, stringToTimestamp(text) ? outOfRange : noTime);
        seconds = secondsOf(*time);
        if (mIsLocal && (text.size() <= dateLength || !namesZone(text))) seconds = localToUtc(seconds);
    }
    if (seconds < 0 || seconds > lastSecond) refuse(what, text, outOfRange);
    return timeAt(seconds);
}

}  // namespace oru::kadi::authlist::tool
