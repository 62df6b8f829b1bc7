// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string>
#include <utility>

#include "oru/common/time/UnixTime.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"
#include "support/TimeZone.h"

namespace oru::common::time {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::GroupingLocale;
using kadi::authlist::test::NamedCase;
using kadi::authlist::test::thrownBy;
using kadi::authlist::test::TimeZone;
using testing::StartsWith;
using namespace std::string_literals;

UnixTime parsed(const std::string& text) {
    UnixTime time = UnixTime::UNDEFINED;
    time.parseIso8601(text);
    return time;
}

UnixTime atSecond(double seconds) { return UnixTime(seconds, UnixTime::defined); }

// The low 32 bits of a count of seconds.
std::uint32_t narrowed(std::int64_t seconds) { return static_cast<std::uint32_t>(seconds); }

struct Reading : NamedCase {
    std::string text;
    std::string canonical;
};

class AcceptedTime : public testing::TestWithParam<Reading> {};

TEST_P(AcceptedTime, ReadsAsItsCanonicalText) {
    const UnixTime time = parsed(GetParam().text);
    ASSERT_FALSE(time.isUndefined()) << GetParam().text;
    EXPECT_EQ(time.toIso8601(), GetParam().canonical);
}

TEST_P(AcceptedTime, IsTheSameTimeAsItsCanonicalText) {
    EXPECT_EQ(parsed(GetParam().text).toIntegralType(), parsed(GetParam().canonical).toIntegralType());
}

const Reading forms[] = {
    {{"Canonical"}, "2026-03-04T05:06:07Z", "2026-03-04T05:06:07Z"},
    {{"LowerCaseT"}, "2026-03-04t05:06:07Z", "2026-03-04T05:06:07Z"},
    {{"BlankForT"}, "2026-03-04 05:06:07Z", "2026-03-04T05:06:07Z"},
    {{"LowerCaseZ"}, "2026-03-04T05:06:07z", "2026-03-04T05:06:07Z"},
    {{"NoZone"}, "2026-03-04T05:06:07", "2026-03-04T05:06:07Z"},
    {{"NoSeconds"}, "2026-03-04T05:06Z", "2026-03-04T05:06:00Z"},
    {{"NoSecondsNoZone"}, "2026-03-04T05:06", "2026-03-04T05:06:00Z"},
    {{"DateAlone"}, "2026-03-04", "2026-03-04T00:00:00Z"},
    {{"PointFraction"}, "2026-03-04T05:06:07.5Z", "2026-03-04T05:06:07Z"},
    {{"CommaFraction"}, "2026-03-04T05:06:07,5Z", "2026-03-04T05:06:07Z"},
    {{"FractionIsCutNotRounded"}, "2026-03-04T05:06:07.999999999999999999Z", "2026-03-04T05:06:07Z"},
    {{"FractionOfZero"}, "2026-03-04T05:06:07.0Z", "2026-03-04T05:06:07Z"},
    {{"FractionWithoutZone"}, "2026-03-04T05:06:07.25", "2026-03-04T05:06:07Z"},
    {{"FractionBeforeAnOffset"}, "2026-03-04T05:06:07.25+01:00", "2026-03-04T04:06:07Z"},
    {{"VeryLongFraction"}, "2026-03-04T05:06:07." + std::string(5000, '9') + "Z", "2026-03-04T05:06:07Z"},
    {{"PlusHoursAndMinutes"}, "2026-03-04T05:06:07+01:30", "2026-03-04T03:36:07Z"},
    {{"PlusWithoutColon"}, "2026-03-04T05:06:07+0130", "2026-03-04T03:36:07Z"},
    {{"PlusHoursOnly"}, "2026-03-04T05:06:07+01", "2026-03-04T04:06:07Z"},
    {{"MinusHoursAndMinutes"}, "2026-03-04T05:06:07-01:30", "2026-03-04T06:36:07Z"},
    {{"MinusWithoutColon"}, "2026-03-04T05:06:07-0130", "2026-03-04T06:36:07Z"},
    {{"MinusHoursOnly"}, "2026-03-04T05:06:07-01", "2026-03-04T06:06:07Z"},
    {{"PlusZero"}, "2026-03-04T05:06:07+00:00", "2026-03-04T05:06:07Z"},
    {{"MinusZero"}, "2026-03-04T05:06:07-00:00", "2026-03-04T05:06:07Z"},
    {{"OffsetWithoutSeconds"}, "2026-03-04T05:06-01:30", "2026-03-04T06:36:00Z"},
    {{"BlankAndNoZone"}, "2026-03-04 05:06", "2026-03-04T05:06:00Z"},
    {{"LargestOffset"}, "2026-03-04T05:06:07+23:59", "2026-03-03T05:07:07Z"},
    {{"SmallestOffset"}, "2026-03-04T05:06:07-23:59", "2026-03-05T05:05:07Z"},
    {{"FirstSecondOfADay"}, "2026-03-04T00:00:00Z", "2026-03-04T00:00:00Z"},
    {{"LastSecondOfADay"}, "2026-03-04T23:59:59Z", "2026-03-04T23:59:59Z"},
};

INSTANTIATE_TEST_SUITE_P(Form, AcceptedTime, testing::ValuesIn(forms), byName);

const Reading calendarTimes[] = {
    {{"LeapDay2000"}, "2000-02-29T12:00:00Z", "2000-02-29T12:00:00Z"},
    {{"LeapDay2024"}, "2024-02-29T12:00:00Z", "2024-02-29T12:00:00Z"},
    {{"LeapDayOfYearZero"}, "0000-02-29T12:00:00Z", "0000-02-29T12:00:00Z"},
    {{"OffsetOutOfALeapDay"}, "2024-02-29T23:30:00-01:00", "2024-03-01T00:30:00Z"},
    {{"OffsetIntoALeapDay"}, "2024-03-01T00:30:00+01:00", "2024-02-29T23:30:00Z"},
    {{"OffsetOverTheEndOfFebruary1900"}, "1900-02-28T23:30:00-01:00", "1900-03-01T00:30:00Z"},
    {{"OffsetOverTheEndOfFebruary2100"}, "2100-02-28T23:30:00-01:00", "2100-03-01T00:30:00Z"},
    {{"OffsetIntoTheNextDay"}, "2026-03-04T23:30:00-00:45", "2026-03-05T00:15:00Z"},
    {{"OffsetIntoTheDayBefore"}, "2026-03-04T00:15:00+00:45", "2026-03-03T23:30:00Z"},
    {{"OffsetIntoTheNextMonth"}, "2026-04-30T23:30:00-01", "2026-05-01T00:30:00Z"},
    {{"OffsetIntoTheNextYear"}, "2025-12-31T23:30:00-01:00", "2026-01-01T00:30:00Z"},
    {{"OffsetIntoTheYearBefore"}, "2026-01-01T00:30:00+01:00", "2025-12-31T23:30:00Z"},
    {{"Second60IsTheNextMinute"}, "2026-03-04T05:06:60Z", "2026-03-04T05:07:00Z"},
    {{"Second60AtTheEndOfAnHour"}, "2026-03-04T05:59:60Z", "2026-03-04T06:00:00Z"},
    {{"Second60AtTheEndOfAYear"}, "2016-12-31T23:59:60Z", "2017-01-01T00:00:00Z"},
    {{"Second60WithAFraction"}, "2016-12-31T23:59:60.9Z", "2017-01-01T00:00:00Z"},
    {{"Second60WithAnOffset"}, "2017-01-01T00:59:60+01:00", "2017-01-01T00:00:00Z"},
    {{"FirstYear"}, "0000-01-01T00:00:00Z", "0000-01-01T00:00:00Z"},
    {{"LastSecondOfTheLastYear"}, "9999-12-31T23:59:59Z", "9999-12-31T23:59:59Z"},
    {{"JustBeforeTheEpoch"}, "1969-12-31T23:59:59Z", "1969-12-31T23:59:59Z"},
    {{"Epoch"}, "1970-01-01T00:00:00Z", "1970-01-01T00:00:00Z"},
    {{"AfterTheSigned32BitSeconds"}, "2038-01-19T03:14:08Z", "2038-01-19T03:14:08Z"},
    {{"AfterTheUnsigned32BitSeconds"}, "2106-02-07T06:28:16Z", "2106-02-07T06:28:16Z"},
};

INSTANTIATE_TEST_SUITE_P(Calendar, AcceptedTime, testing::ValuesIn(calendarTimes), byName);

struct Refusal : NamedCase {
    std::string text;
};

class RefusedTime : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedTime, LeavesNoTime) {
    EXPECT_TRUE(parsed(GetParam().text).isUndefined()) << GetParam().text;
    UnixTime time = atSecond(12);
    time.parseIso8601(GetParam().text);
    EXPECT_TRUE(time.isUndefined()) << "a time that was there before: " << GetParam().text;
}

const Refusal impossibleTimes[] = {
    {{"Hour24"}, "2026-03-04T24:00:00Z"},
    {{"Hour24WithoutSeconds"}, "2026-03-04T24:00"},
    {{"Hour25"}, "2026-03-04T25:00:00Z"},
    {{"Minute60"}, "2026-03-04T05:60:00Z"},
    {{"Second61"}, "2026-03-04T05:06:61Z"},
    {{"Second99"}, "2026-03-04T05:06:99Z"},
    {{"Month0"}, "2026-00-04T05:06:07Z"},
    {{"Month13"}, "2026-13-04T05:06:07Z"},
    {{"Day0"}, "2026-03-00T05:06:07Z"},
    {{"Day32"}, "2026-03-32T05:06:07Z"},
    {{"TheThirtyFirstOfApril"}, "2026-04-31T05:06:07Z"},
    {{"TheThirtyFirstOfJune"}, "2026-06-31"},
    {{"TheThirtyFirstOfSeptember"}, "2026-09-31"},
    {{"TheThirtyFirstOfNovember"}, "2026-11-31"},
    {{"TheThirtiethOfFebruary"}, "2024-02-30T05:06:07Z"},
    {{"LeapDayInACommonYear"}, "2026-02-29T05:06:07Z"},
    {{"LeapDay1900"}, "1900-02-29T05:06:07Z"},
    {{"LeapDay2100"}, "2100-02-29T05:06:07Z"},
    {{"OffsetOf24Hours"}, "2026-03-04T05:06:07+24:00"},
    {{"OffsetOf60Minutes"}, "2026-03-04T05:06:07+01:60"},
};

INSTANTIATE_TEST_SUITE_P(Impossible, RefusedTime, testing::ValuesIn(impossibleTimes), byName);

const Refusal malformedTimes[] = {
    {{"Empty"}, ""},
    {{"Word"}, "yesterday"},
    {{"YearAlone"}, "2026"},
    {{"YearAndMonth"}, "2026-03"},
    {{"TwoDigitYear"}, "26-03-04T05:06:07Z"},
    {{"FiveDigitYear"}, "12026-03-04T05:06:07Z"},
    {{"SignedYear"}, "+2026-03-04T05:06:07Z"},
    {{"NegativeYear"}, "-0001-03-04T05:06:07Z"},
    {{"OneDigitMonth"}, "2026-3-04T05:06:07Z"},
    {{"OneDigitDay"}, "2026-03-4T05:06:07Z"},
    {{"OneDigitHour"}, "2026-03-04T5:06:07Z"},
    {{"OneDigitMinute"}, "2026-03-04T05:6:07Z"},
    {{"OneDigitSecond"}, "2026-03-04T05:06:7Z"},
    {{"OneDigitOffsetHour"}, "2026-03-04T05:06:07+1"},
    {{"OneDigitOffsetMinute"}, "2026-03-04T05:06:07+01:0"},
    {{"ThreeDigitOffset"}, "2026-03-04T05:06:07+013"},
    {{"BasicFormat"}, "20260304T050607Z"},
    {{"BasicDate"}, "20260304"},
    {{"BasicTimeOfDay"}, "2026-03-04T050607Z"},
    {{"WeekDate"}, "2026-W10-3"},
    {{"OrdinalDate"}, "2026-063"},
    {{"Slashes"}, "2026/03/04"},
    {{"BlankInFront"}, " 2026-03-04T05:06:07Z"},
    {{"BlankBehind"}, "2026-03-04T05:06:07Z "},
    {{"BlankBehindADate"}, "2026-03-04 "},
    {{"BlankBeforeTheZone"}, "2026-03-04T05:06:07 Z"},
    {{"TwoBlanksForT"}, "2026-03-04  05:06:07Z"},
    {{"TabForT"}, "2026-03-04\t05:06:07Z"},
    {{"LineFeedBehind"}, "2026-03-04T05:06:07Z\n"},
    {{"TrailingText"}, "2026-03-04T05:06:07Zx"},
    {{"TrailingTextBehindADate"}, "2026-03-04x"},
    {{"TwoZones"}, "2026-03-04T05:06:07ZZ"},
    {{"ZoneBehindADate"}, "2026-03-04Z"},
    {{"OffsetBehindADate"}, "2026-03-04+01:00"},
    {{"TWithoutTime"}, "2026-03-04T"},
    {{"TAndZoneWithoutTime"}, "2026-03-04TZ"},
    {{"HourAlone"}, "2026-03-04T05"},
    {{"HourAndZone"}, "2026-03-04T05Z"},
    {{"ColonBehindTheMinute"}, "2026-03-04T05:06:"},
    {{"ColonAndZoneBehindTheMinute"}, "2026-03-04T05:06:Z"},
    {{"ColonBehindTheOffsetHour"}, "2026-03-04T05:06:07+01:"},
    {{"PlusWithoutOffset"}, "2026-03-04T05:06:07+"},
    {{"OffsetBehindZ"}, "2026-03-04T05:06:07Z+01:00"},
    {{"TrailingTextBehindAnOffset"}, "2026-03-04T05:06:07+01:000"},
    {{"OffsetWithSeconds"}, "2026-03-04T05:06:07+01:00:00"},
    {{"NamedZone"}, "2026-03-04T05:06:07 UTC"},
    {{"FractionWithoutDigits"}, "2026-03-04T05:06:07.Z"},
    {{"FractionWithoutDigitsAndZone"}, "2026-03-04T05:06:07."},
    {{"FractionOfAMinute"}, "2026-03-04T05:06.5Z"},
    {{"TwoFractions"}, "2026-03-04T05:06:07.5.5Z"},
    {{"SignInAField"}, "2026-+3-04T05:06:07Z"},
    {{"BlankInAField"}, "2026- 3-04T05:06:07Z"},
    {{"HexadecimalDigit"}, "2026-0A-04T05:06:07Z"},
    {{"CharacterBehindNine"}, "2026-03-04T05:06:0:Z"},
    {{"CharacterBeforeZero"}, "2026-03-04T05:06:0/Z"},
    {{"ZeroByteBehind"}, "2026-03-04T05:06:07Z\0"s},
    {{"ZeroByteBehindADate"}, "2026-03-04\0"s},
    {{"ZeroByteAndMoreBehindADate"}, "2026-03-04\0T05:06:07Z"s},
    {{"ZeroByteForT"},
     "2026-03-04\0"
     "05:06:07Z"s},
    {{"ZeroByteInFront"},
     "\0"
     "2026-03-04"s},
    {{"ZeroByteInAField"}, "2026-0\0-04"s},
    {{"ZeroByteInTheFraction"}, "2026-03-04T05:06:07.5\0Z"s},
    {{"ArabicIndicDigit"}, "202\u0666-03-04T05:06:07Z"},
    {{"FullWidthDigit"}, "202\uFF16-03-04T05:06:07Z"},
    {{"SuperscriptDigitInLatin1"}, "202\xB2-03-04T05:06:07Z"},
    {{"MinusSignFromUnicode"}, "2026-03-04T05:06:07\u221201:00"},
    {{"HighBytes"}, "\xFF\xFF\xFF\xFF-03-04"},
    {{"ByteOrderMark"}, "\uFEFF2026-03-04"},
};

INSTANTIATE_TEST_SUITE_P(Malformed, RefusedTime, testing::ValuesIn(malformedTimes), byName);

TEST(UnixTimeParsing, RefusesEveryShortenedTextThatIsNoFormOfItsOwn) {
    const std::string whole = "2026-03-04T05:06:07.25+01:30";
    const std::string complete[] = {"2026-03-04",
                                    "2026-03-04T05:06",
                                    "2026-03-04T05:06:07",
                                    "2026-03-04T05:06:07.2",
                                    "2026-03-04T05:06:07.25",
                                    "2026-03-04T05:06:07.25+01",
                                    whole};
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::string text = whole.substr(0, length);
        const bool isForm = std::find(std::begin(complete), std::end(complete), text) != std::end(complete);
        EXPECT_EQ(parsed(text).isUndefined(), !isForm) << text;
    }
}

TEST(UnixTimeParsing, ReplacesTheTimeThatWasThere) {
    UnixTime time = atSecond(1e9);
    time.parseIso8601("1970-01-01T00:00:05Z");
    EXPECT_EQ(time.toIntegralType(), 5U);
}

TEST(UnixTimeParsing, LeavesTheUndefinedConstantAsItIs) {
    EXPECT_FALSE(parsed("2026-03-04").isUndefined());
    EXPECT_TRUE(UnixTime::UNDEFINED.isUndefined());
}

TEST(UndefinedUnixTime, HasNoTextAndNoSeconds) {
    EXPECT_TRUE(UnixTime::UNDEFINED.isUndefined());
    EXPECT_EQ(UnixTime::UNDEFINED.toIso8601(), "");
    EXPECT_EQ(UnixTime::UNDEFINED.toIntegralType(), 0U);
}

TEST(UndefinedUnixTime, HasAnyFlagButTheOneOfASetTime) {
    EXPECT_FALSE(UnixTime(12.0, 0).isUndefined());
    for (const std::uint8_t flag : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{128}, std::uint8_t{255}}) {
        const UnixTime time(12.0, flag);
        EXPECT_TRUE(time.isUndefined()) << int{flag};
        EXPECT_EQ(time.toIso8601(), "") << int{flag};
        EXPECT_EQ(time.toIntegralType(), 0U) << int{flag};
    }
}

TEST(UnixTimeText, HasTwentyCharactersInEveryYear) {
    for (const char* text : {"0000-01-01T00:00:00Z", "0001-02-03T04:05:06Z", "0999-12-31T23:59:59Z",
                             "1969-12-31T23:59:59Z", "9999-12-31T23:59:59Z"}) {
        EXPECT_EQ(parsed(text).toIso8601(), text);
    }
}

TEST(UnixTimeText, LeavesAFractionOfASecondOut) {
    EXPECT_EQ(atSecond(1767225600.0).toIso8601(), "2026-01-01T00:00:00Z");
    EXPECT_EQ(atSecond(1767225600.999).toIso8601(), "2026-01-01T00:00:00Z");
    EXPECT_EQ(atSecond(1767225599.999).toIso8601(), "2025-12-31T23:59:59Z");
}

TEST(UnixTimeText, IsRefusedOutsideTheFourDigitYears) {
    EXPECT_EQ(atSecond(-62167219200.0).toIso8601(), "0000-01-01T00:00:00Z");
    EXPECT_EQ(atSecond(253402300799.0).toIso8601(), "9999-12-31T23:59:59Z");
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {-62167219201.0, 253402300800.0, -1e300, 1e300, -infinity, infinity,
                                 std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THAT(thrownBy([seconds] { return atSecond(seconds).toIso8601(); }), StartsWith("std::out_of_range: "))
            << seconds;
    }
}

TEST(UnixTimeText, IsRefusedWhereAnOffsetOrALeapSecondLeavesTheFourDigitYears) {
    for (const char* text :
         {"0000-01-01T00:00:00+00:01", "0000-01-01T23:58:00+23:59", "9999-12-31T23:59:60Z", "9999-12-31T23:59-00:01"}) {
        const UnixTime time = parsed(text);
        EXPECT_FALSE(time.isUndefined()) << text;
        EXPECT_THAT(thrownBy([&time] { return time.toIso8601(); }), StartsWith("std::out_of_range: ")) << text;
    }
    EXPECT_EQ(parsed("0000-01-01T00:00:00+00:01").toIntegralType(), narrowed(-62167219260));
    EXPECT_EQ(parsed("9999-12-31T23:59:60Z").toIntegralType(), narrowed(253402300800));
}

struct Narrowing : NamedCase {
    std::string text;
    std::uint32_t seconds;
};

class UnixTimeSeconds : public testing::TestWithParam<Narrowing> {};

TEST_P(UnixTimeSeconds, AreTheLow32Bits) { EXPECT_EQ(parsed(GetParam().text).toIntegralType(), GetParam().seconds); }

const Narrowing narrowings[] = {
    {{"Epoch"}, "1970-01-01T00:00:00Z", 0},
    {{"OneSecondLater"}, "1970-01-01T00:00:01Z", 1},
    {{"StartOf2026"}, "2026-01-01T00:00:00Z", 1767225600},
    {{"LastSigned32BitSecond"}, "2038-01-19T03:14:07Z", 2147483647},
    {{"FirstSecondBeyondSigned32Bits"}, "2038-01-19T03:14:08Z", 2147483648},
    {{"LastUnsigned32BitSecond"}, "2106-02-07T06:28:15Z", 4294967295},
    {{"FirstSecondBeyond32Bits"}, "2106-02-07T06:28:16Z", 0},
    {{"OneSecondBeforeTheEpoch"}, "1969-12-31T23:59:59Z", 4294967295},
    {{"TheWrapBeforeTheEpoch"}, "1833-11-24T17:31:44Z", 0},
    {{"YearZero"}, "0000-01-01T00:00:00Z", narrowed(-62167219200)},
    {{"EndOfYear9999"}, "9999-12-31T23:59:59Z", narrowed(253402300799)},
};

INSTANTIATE_TEST_SUITE_P(Of, UnixTimeSeconds, testing::ValuesIn(narrowings), byName);

TEST(UnixTimeSecondsOfADouble, AreRoundedDown) {
    EXPECT_EQ(atSecond(5.999).toIntegralType(), 5U);
    EXPECT_EQ(atSecond(-0.25).toIntegralType(), 4294967295U);
    EXPECT_EQ(atSecond(-1.0).toIntegralType(), 4294967295U);
    EXPECT_EQ(atSecond(-1.5).toIntegralType(), 4294967294U);
}

TEST(UnixTimeSecondsOfADouble, WrapOnEveryMachineAlike) {
    EXPECT_EQ(atSecond(4294967296.0).toIntegralType(), 0U);
    EXPECT_EQ(atSecond(4294967297.0).toIntegralType(), 1U);
    EXPECT_EQ(atSecond(3 * 4294967296.0 + 7).toIntegralType(), 7U);
    EXPECT_EQ(atSecond(-4294967296.0).toIntegralType(), 0U);
    EXPECT_EQ(atSecond(9007199254740991.0).toIntegralType(), 4294967295U) << "the largest odd double";
}

TEST(UnixTimeSecondsOfADouble, WrapBeyond64BitsToo) {
    for (const double multipleOf2To32 : {9223372036854775808.0, 1e300, -1e300}) {
        EXPECT_EQ(atSecond(multipleOf2To32).toIntegralType(), 0U) << multipleOf2To32;
    }
}

TEST(UnixTimeCalendar, AgreesWithCountingTheDaysOfTenThousandYears) {
    constexpr int daysOfMonth[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::int64_t day = -719528;  // 0000-01-01
    for (int year = 0; year <= 9999; ++year) {
        const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
        for (int month = 1; month <= 12; ++month) {
            const int days = daysOfMonth[month - 1] + (month == 2 && isLeap ? 1 : 0);
            char first[32];
            char last[32];
            std::snprintf(first, sizeof first, "%04d-%02d-01T00:00:00Z", year, month);
            std::snprintf(last, sizeof last, "%04d-%02d-%02dT23:59:59Z", year, month, days);
            ASSERT_EQ(parsed(first).toIntegralType(), narrowed(day * 86400)) << first;
            ASSERT_EQ(parsed(first).toIso8601(), first);
            day += days;
            ASSERT_EQ(parsed(last).toIntegralType(), narrowed(day * 86400 - 1)) << last;
            ASSERT_EQ(parsed(last).toIso8601(), last);
            std::snprintf(last, sizeof last, "%04d-%02d-%02d", year, month, days + 1);
            ASSERT_TRUE(parsed(last).isUndefined()) << last;
        }
    }
}

// Expects texts and seconds that a time zone or a locale of the process could change.
void expectUsualResults() {
    EXPECT_EQ(parsed("2026-07-01T12:00:00Z").toIntegralType(), 1782907200U);
    EXPECT_EQ(parsed("2026-07-01T12:00:00").toIntegralType(), 1782907200U);
    EXPECT_EQ(parsed("2026-07-01").toIntegralType(), 1782864000U);
    EXPECT_EQ(parsed("2026-03-29T02:30:00").toIso8601(), "2026-03-29T02:30:00Z") << "an hour that summer time skips";
    EXPECT_EQ(parsed("2026-01-15T01:02:03.5+05:30").toIso8601(), "2026-01-14T19:32:03Z");
    EXPECT_EQ(parsed("2016-12-31T23:59:60Z").toIso8601(), "2017-01-01T00:00:00Z");
    EXPECT_EQ(atSecond(1782907200.75).toIso8601(), "2026-07-01T12:00:00Z");
    EXPECT_EQ(atSecond(0.0).toIso8601(), "1970-01-01T00:00:00Z");
}

TEST(UnixTimeInAnyTimeZone, GivesTheSameResults) {
    for (const char* name : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "IST-5:30", "XXX-14",
                             "YYY12", "Europe/Berlin", "Pacific/Kiritimati", "right/UTC", "No/Such_Zone", ""}) {
        SCOPED_TRACE(name);
        const TimeZone zone(name);
        expectUsualResults();
    }
}

// Sets the C locale, and puts the old one back.
class CLocale {
public:
    explicit CLocale(const char* name)
        : mPrevious(std::setlocale(LC_ALL, nullptr)), mIsSet(std::setlocale(LC_ALL, name) != nullptr) {}
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;
    ~CLocale() { std::setlocale(LC_ALL, mPrevious.c_str()); }

    bool isSet() const { return mIsSet; }

private:
    std::string mPrevious;
    bool mIsSet;
};

TEST(UnixTimeInAnyLocale, GivesTheSameResultsWithGroupedDigits) {
    const GroupingLocale grouping;
    expectUsualResults();
}

TEST(UnixTimeInAnyLocale, GivesTheSameResultsWhereACommaIsTheDecimalPoint) {
    const CLocale german("de_DE.UTF-8");
    if (!german.isSet()) GTEST_SKIP() << "de_DE.UTF-8 is not installed here";
    expectUsualResults();
}

}  // namespace
}  // namespace oru::common::time
