// SPDX-License-Identifier: Apache-2.0
#include "oru/common/time/UnixTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace oru::common::time {
namespace {

constexpr std::uint8_t undefined = 1;
constexpr std::int64_t secondsPerDay = 86400;

std::int64_t secondsOf(int hours, int minutes) { return (std::int64_t{hours} * 60 + minutes) * 60; }

// The functions below take what they read from the front of text and leave the rest.

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool take(std::string_view& text, std::string_view anyOf) {
    if (text.empty() || anyOf.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

std::optional<int> takeNumber(std::string_view& text, std::size_t digits, int maximum) {
    if (text.size() < digits || !std::all_of(text.begin(), text.begin() + static_cast<int>(digits), isDigit)) return {};
    int value = 0;
    for (const char c : text.substr(0, digits)) value = value * 10 + (c - '0');
    if (value > maximum) return {};
    text.remove_prefix(digits);
    return value;
}

std::optional<std::int64_t> takeDate(std::string_view& text) {
    const auto year = takeNumber(text, 4, 9999);
    if (!year || !take(text, "-")) return {};
    const auto month = takeNumber(text, 2, 12);
    if (!month || !take(text, "-")) return {};
    const auto day = takeNumber(text, 2, 31);
    if (!day) return {};
    const std::chrono::year_month_day date{std::chrono::year{*year}, std::chrono::month{static_cast<unsigned>(*month)},
                                           std::chrono::day{static_cast<unsigned>(*day)}};
    if (!date.ok()) return {};
    return secondsPerDay * std::int64_t{std::chrono::sys_days{date}.time_since_epoch().count()};
}

// A fraction needs seconds and at least one digit; its value does not matter.
bool takeFraction(std::string_view& text) {
    if (!take(text, ".,")) return true;
    const auto digits = std::find_if_not(text.begin(), text.end(), isDigit) - text.begin();
    text.remove_prefix(static_cast<std::size_t>(digits));
    return digits > 0;
}

std::optional<std::int64_t> takeTimeOfDay(std::string_view& text) {
    const auto hour = takeNumber(text, 2, 23);
    if (!hour || !take(text, ":")) return {};
    const auto minute = takeNumber(text, 2, 59);
    if (!minute) return {};
    std::optional<int> second = 0;
    if (take(text, ":")) {
        second = takeNumber(text, 2, 60);
        if (!second || !takeFraction(text)) return {};
    }
    return secondsOf(*hour, *minute) + *second;
}

// The seconds by which the zone is ahead of UTC.
std::optional<std::int64_t> takeZone(std::string_view& text) {
    if (text.empty() || take(text, "Zz")) return 0;
    const int sign = text.front() == '-' ? -1 : 1;
    if (!take(text, "+-")) return {};
    const auto hours = takeNumber(text, 2, 23);
    if (!hours) return {};
    std::optional<int> minutes = 0;
    if (take(text, ":") || !text.empty()) minutes = takeNumber(text, 2, 59);
    if (!minutes) return {};
    return sign * secondsOf(*hours, *minutes);
}

std::optional<std::int64_t> readIso8601(std::string_view text) {
    const auto date = takeDate(text);
    if (!date || text.empty()) return date;
    if (!take(text, "Tt ")) return {};
    const auto timeOfDay = takeTimeOfDay(text);
    if (!timeOfDay) return {};
    const auto zone = takeZone(text);
    if (!zone || !text.empty()) return {};
    return *date + *timeOfDay - *zone;
}

void putNumber(std::string& text, std::size_t position, std::size_t digits, std::int64_t value) {
    for (auto i = position + digits; i > position; value /= 10) text[--i] = static_cast<char>('0' + value % 10);
}

}  // namespace

const UnixTime UnixTime::UNDEFINED{0.0, undefined};

void UnixTime::parseIso8601(const std::string& text) {
    const auto seconds = readIso8601(text);
    *this = seconds ? UnixTime{static_cast<double>(*seconds), defined} : UNDEFINED;
}

bool UnixTime::isUndefined() const { return mFlag != defined; }

std::uint32_t UnixTime::toIntegralType() const {
    constexpr double modulus = 4294967296.0;
    if (isUndefined() || !std::isfinite(mSeconds)) return 0;
    // Through a signed 64-bit value: converting a negative or large double to unsigned differs between machines.
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::fmod(std::floor(mSeconds), modulus)));
}

std::string UnixTime::toIso8601() const {
    constexpr double firstSecond = -62167219200.0;  // 0000-01-01T00:00:00Z
    constexpr double endSecond = 253402300800.0;    // 10000-01-01T00:00:00Z
    if (isUndefined()) return {};
    if (!(mSeconds >= firstSecond && mSeconds < endSecond)) {
        throw std::out_of_range("Time outside the years 0000 to 9999");
    }
    const std::chrono::sys_seconds time{std::chrono::seconds{static_cast<std::int64_t>(std::floor(mSeconds))}};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date{day};
    const std::int64_t second = (time - day).count();
    std::string text = "YYYY-MM-DDThh:mm:ssZ";
    putNumber(text, 0, 4, int{date.year()});
    putNumber(text, 5, 2, unsigned{date.month()});
    putNumber(text, 8, 2, unsigned{date.day()});
    putNumber(text, 11, 2, second / 3600);
    putNumber(text, 14, 2, second / 60 % 60);
    putNumber(text, 17, 2, second % 60);
    return text;
}

}  // namespace oru::common::time
