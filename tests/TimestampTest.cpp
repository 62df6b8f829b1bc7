// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <ratio>
#include <string>
#include <type_traits>

#include "authlist/Timestamp.h"
#include "support/Cards.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/TimeZone.h"

namespace oru::kadi::authlist {
namespace {

using std::chrono::nanoseconds;
using test::at;

static_assert(std::is_same_v<decltype(&stringToTimestamp), std::optional<TimePoint> (*)(std::optional<std::string>)>);
static_assert(std::is_same_v<decltype(&timestampToString), std::optional<std::string> (*)(std::optional<TimePoint>)>);
static_assert(
    std::is_same_v<TimePoint,
                   std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<long long, std::nano>>>);
static_assert(sizeof(TimePoint) == 8);

// Reading

TEST(StringToTimestamp, FindsNoTimeInAnAbsentText) { EXPECT_EQ(stringToTimestamp(std::nullopt), std::nullopt); }

TEST(StringToTimestamp, FindsNoTimeInAnEmptyText) { EXPECT_EQ(stringToTimestamp(""), std::nullopt); }

TEST(StringToTimestamp, FindsNoTimeInOtherTextsAndThrowsNothing) {
    using namespace std::string_literals;
    for (const std::string& text :
         {"never"s, " "s, "0"s, "1767225600"s, "2026-13-01T00:00:00Z"s, "2026-01-32T00:00:00Z"s,
          "2026-01-01T25:00:00Z"s, "2026-01-01T00:00:00Zebra"s, "<n/a>"s, "\0"s, std::string(100000, '2')}) {
        EXPECT_EQ(stringToTimestamp(text), std::nullopt) << text.substr(0, 40);
    }
}

struct TimeText : test::NamedCase {
    const char* text;
    std::int64_t seconds;
};

class TimeTexts : public testing::TestWithParam<TimeText> {};

INSTANTIATE_TEST_SUITE_P(All, TimeTexts,
                         testing::Values(TimeText{{"Epoch"}, "1970-01-01T00:00:00Z", 0},
                                         TimeText{{"Billionth"}, "2001-09-09T01:46:40Z", 1000000000},
                                         TimeText{{"LeapDay"}, "2024-02-29T23:59:59Z", 1709251199},
                                         TimeText{{"Usual"}, "2026-01-01T00:00:00Z", 1767225600},
                                         TimeText{{"LastSigned32"}, "2038-01-19T03:14:07Z", 2147483647},
                                         TimeText{{"FirstBeyondSigned32"}, "2038-01-19T03:14:08Z", 2147483648},
                                         TimeText{{"LastUnsigned32"}, "2106-02-07T06:28:15Z", 4294967295}),
                         test::byName);

TEST_P(TimeTexts, AreReadAsWholeSecondsOfUnixTime) {
    EXPECT_EQ(stringToTimestamp(GetParam().text), at(GetParam().seconds));
}

TEST_P(TimeTexts, AreWrittenForTheirTime) { EXPECT_EQ(timestampToString(at(GetParam().seconds)), GetParam().text); }

TEST_P(TimeTexts, AreWrittenForTheLastNanosecondOfTheirSecondToo) {
    EXPECT_EQ(timestampToString(at(GetParam().seconds) + nanoseconds(999999999)), GetParam().text);
}

TEST(StringToTimestamp, CutsOffAFractionOfASecond) {
    EXPECT_EQ(stringToTimestamp("2026-01-01T00:00:00.999999999Z"), at(1767225600));
}

TEST(StringToTimestamp, HeedsAZoneOffset) { EXPECT_EQ(stringToTimestamp("2026-01-01T02:00:00+02:00"), at(1767225600)); }

// Writing

TEST(TimestampToString, HasNoTextForAnAbsentTime) { EXPECT_EQ(timestampToString(std::nullopt), std::nullopt); }

TEST(TimestampToString, GivesTheCanonicalTextOfWhatWasRead) {
    for (const char* text : {"2026-01-01T00:00:00Z", "2026-01-01T00:00:00.75Z", "2026-01-01T02:00:00+02:00",
                             "2025-12-31T19:00-05:00", "2026-01-01"}) {
        EXPECT_EQ(timestampToString(stringToTimestamp(text)), "2026-01-01T00:00:00Z") << text;
    }
    EXPECT_EQ(timestampToString(stringToTimestamp("never")), std::nullopt);
}

// Narrowing to unsigned 32-bit seconds is deliberate, in both directions.

TEST(StringToTimestamp, ReducesSecondsModulo32Bits) {
    EXPECT_EQ(stringToTimestamp("2106-02-07T06:28:16Z"), at(0));
    EXPECT_EQ(stringToTimestamp("2106-02-07T06:28:17Z"), at(1));
    EXPECT_EQ(stringToTimestamp("1969-12-31T23:59:59Z"), at(4294967295));
    EXPECT_EQ(stringToTimestamp("1901-12-13T20:45:52Z"), at(2147483648));
}

TEST(TimestampToString, ReducesSecondsModulo32Bits) {
    EXPECT_EQ(timestampToString(at(4294967296)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timestampToString(at(4294967296 + 1767225600)), "2026-01-01T00:00:00Z");
    EXPECT_EQ(timestampToString(at(-1)), "2106-02-07T06:28:15Z");
    EXPECT_EQ(timestampToString(at(-4294967296)), "1970-01-01T00:00:00Z");
}

TEST(TimestampToString, CutsNegativeTimesTowardZero) {
    EXPECT_EQ(timestampToString(at(0) - nanoseconds(1)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timestampToString(at(0) - nanoseconds(999999999)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timestampToString(at(-1) - nanoseconds(1)), "2106-02-07T06:28:15Z");
    EXPECT_EQ(timestampToString(at(-2) + nanoseconds(1)), "2106-02-07T06:28:15Z");
    EXPECT_EQ(timestampToString(at(-2)), "2106-02-07T06:28:14Z");
}

TEST(TimestampToString, ReducesTheLargestAndTheSmallestTimeToo) {
    EXPECT_EQ(timestampToString(TimePoint::max()), "1990-01-27T10:50:44Z");
    EXPECT_EQ(timestampToString(TimePoint::min()), "2086-01-10T19:37:32Z");
}

TEST(Timestamps, DoNotSurviveTheRoundTripOutside1970ToEarly2106) {
    EXPECT_EQ(stringToTimestamp(timestampToString(at(4294967295))), at(4294967295));
    EXPECT_EQ(stringToTimestamp(timestampToString(at(4294967296))), at(0));
    EXPECT_EQ(stringToTimestamp(timestampToString(at(-1))), at(4294967295));
}

// Surroundings

TEST(Timestamps, AreTheSameInEveryTimeZone) {
    for (const char* zone : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "IST-5:30", ""}) {
        SCOPED_TRACE(zone);
        const test::TimeZone inZone(zone);
        EXPECT_EQ(timestampToString(at(1767225600)), "2026-01-01T00:00:00Z");
        EXPECT_EQ(timestampToString(at(1782864000)), "2026-07-01T00:00:00Z");
        EXPECT_EQ(stringToTimestamp("2026-01-01T00:00:00Z"), at(1767225600));
        EXPECT_EQ(stringToTimestamp("2026-07-01T00:00:00"), at(1782864000));
    }
}

TEST(Timestamps, AreTheSameInEveryLocale) {
    const test::GroupingLocale grouping;
    EXPECT_EQ(timestampToString(at(1767225600)), "2026-01-01T00:00:00Z");
    EXPECT_EQ(stringToTimestamp("2026-01-01T00:00:00.5Z"), at(1767225600));
}

}  // namespace
}  // namespace oru::kadi::authlist
