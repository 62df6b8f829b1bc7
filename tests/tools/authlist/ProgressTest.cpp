// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <optional>
#include <sstream>
#include <string>

#include "output/DisplayText.h"
#include "output/Progress.h"
#include "support/Eventually.h"
#include "support/GroupingLocale.h"

namespace oru::kadi::authlist::tool {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr auto tenSeconds = 10'004ms;
constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();
const std::string wipe = "\r\x1B[K";

std::string importLine(std::size_t width) { return Progress::line("Importing", 12'345, 20'000, tenSeconds, width); }

TEST(ProgressLine, TellsTitleBarCountsRateAndTimeLeft) {
    EXPECT_EQ(importLine(80), "Importing [############--------] 12,345/20,000  1,234/s  0:06 left");
}

TEST(ProgressLine, HasABarOfTwentyAtMost) { EXPECT_EQ(importLine(100'000), importLine(80)); }

TEST(ProgressLine, GivesUpTheLengthOfTheBarFirst) {
    EXPECT_EQ(importLine(66), "Importing [############--------] 12,345/20,000  1,234/s  0:06 left");
    EXPECT_EQ(importLine(65), "Importing [###########--------] 12,345/20,000  1,234/s  0:06 left");
    EXPECT_EQ(importLine(51), "Importing [###--] 12,345/20,000  1,234/s  0:06 left");
}

TEST(ProgressLine, ThenGivesUpTheRateTheTimeTheBarAndTheTitle) {
    EXPECT_EQ(importLine(50), "Importing [########-----] 12,345/20,000  0:06 left");
    EXPECT_EQ(importLine(42), "Importing [###--] 12,345/20,000  0:06 left");
    EXPECT_EQ(importLine(41), "Importing [#########------] 12,345/20,000");
    EXPECT_EQ(importLine(31), "Importing [###--] 12,345/20,000");
    EXPECT_EQ(importLine(30), "Importing 12,345/20,000");
    EXPECT_EQ(importLine(23), "Importing 12,345/20,000");
    EXPECT_EQ(importLine(22), "12,345/20,000");
    EXPECT_EQ(importLine(13), "12,345/20,000");
    EXPECT_EQ(importLine(12), "");
    EXPECT_EQ(importLine(0), "");
}

TEST(ProgressLine, IsNeverWiderThanAsked) {
    for (const std::size_t total : {std::size_t{0}, std::size_t{1}, std::size_t{20'000}, largest}) {
        for (const std::size_t done : {std::size_t{0}, std::size_t{1}, std::size_t{12'345}, largest}) {
            for (const Progress::Clock::duration elapsed :
                 {Progress::Clock::duration(0), Progress::Clock::duration(1), Progress::Clock::duration(1h)}) {
                for (std::size_t width = 0; width < 120; ++width) {
                    const std::string line = Progress::line("Prüfe 漢字", done, total, elapsed, width);
                    ASSERT_LE(displayWidth(line), width) << line;
                }
            }
        }
    }
}

TEST(ProgressLine, CountsColumnsOfTheTitleNotBytes) {
    EXPECT_EQ(Progress::line("漢字", 1, 2, 0s, 20), "漢字 [####-----] 1/2");
}

TEST(ProgressLine, BeginsWithTheBarWithoutATitle) { EXPECT_EQ(Progress::line("", 1, 2, 0s, 12), "[###---] 1/2"); }

TEST(ProgressLine, TellsNoRateBeforeAnythingWasDone) {
    EXPECT_EQ(Progress::line("Importing", 0, 2'000, 5s, 80), "Importing [--------------------] 0/2,000");
}

TEST(ProgressLine, TellsNoRateWhenNoTimeHasPassed) {
    EXPECT_EQ(Progress::line("Importing", 500, 2'000, 0s, 80), "Importing [#####---------------] 500/2,000");
}

TEST(ProgressLine, TellsNoRateBelowOneASecond) {
    EXPECT_EQ(Progress::line("Importing", 1, 4, 10s, 80), "Importing [#####---------------] 1/4  0:30 left");
}

TEST(ProgressLine, TellsNoTimeLeftAtTheEnd) {
    EXPECT_EQ(Progress::line("Importing", 20, 20, 10s, 80), "Importing [####################] 20/20  2/s");
}

TEST(ProgressLine, HasAFullBarBeyondTheEnd) {
    EXPECT_EQ(Progress::line("Importing", 30, 20, 10s, 80), "Importing [####################] 30/20  3/s");
}

TEST(ProgressLine, HasAFullBarForATotalOfNothing) {
    EXPECT_EQ(Progress::line("Importing", 0, 0, 0s, 80), "Importing [####################] 0/0");
    EXPECT_EQ(Progress::line("Importing", 10, 0, 5s, 80), "Importing [####################] 10/0  2/s");
}

TEST(ProgressLine, TakesTheLargestCounts) {
    const std::string counts = sizeof(std::size_t) == 8 ? "18,446,744,073,709,551,615" : "4,294,967,295";
    EXPECT_EQ(Progress::line("", largest, largest, 0s, 200), "[####################] " + counts + "/" + counts);
    EXPECT_THAT(Progress::line("", largest, largest, 1ns, 200), EndsWith("/s"));
}

TEST(ProgressLine, TellsHoursLeft) {
    EXPECT_THAT(Progress::line("", 10'000, 46'010'000, 10s, 80), EndsWith("  1,000/s  12:46:40 left"));
    EXPECT_THAT(Progress::line("", 1'000, 3'600'999, 1s, 80), EndsWith("  1,000/s  1:00:00 left"));
    EXPECT_THAT(Progress::line("", 1'000, 3'600'000, 1s, 80), EndsWith("  1,000/s  59:59 left"));
}

TEST(ProgressLine, TellsNoTimeLeftThatIsNoEstimate) {
    EXPECT_THAT(Progress::line("", 1, 359'999, 1s, 80), EndsWith("  1/s  99:59:58 left"));
    EXPECT_THAT(Progress::line("", 1, 360'001, 1s, 80), EndsWith("  1/s"));
    EXPECT_THAT(Progress::line("", 1, largest, 1h, 80), Not(HasSubstr("left")));
}

TEST(ProgressLine, GroupsDigitsTheSameUnderEveryLocale) {
    const std::string expected = importLine(80);
    const test::GroupingLocale grouping;
    EXPECT_EQ(importLine(80), expected);
}

std::size_t drawsIn(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find("\x1B[K"); at != std::string::npos; at = text.find("\x1B[K", at + 1)) ++count;
    return count;
}

Terminal terminalOf(std::optional<std::size_t> width) {
    return {.isTerminal = true, .width = width, .hasColour = false};
}

TEST(Progress, DrawsItsLineAndWipesItAtTheEnd) {
    std::ostringstream out;
    {
        Progress progress(out, terminalOf(26), "Importing", 2'000);
        progress.advanceTo(0);
        EXPECT_EQ(out.str(), "\rImporting [-----] 0/2,000\x1B[K");
        out.str("");
    }
    EXPECT_EQ(out.str(), wipe);
}

TEST(Progress, LeavesTheLastColumnFree) {
    std::ostringstream out;
    Progress progress(out, terminalOf(25), "Importing", 2'000);
    progress.advanceTo(0);
    EXPECT_EQ(out.str(), "\rImporting 0/2,000\x1B[K");
}

TEST(Progress, TakesAUsualWidthWhereTheTerminalHasNone) {
    std::ostringstream out;
    Progress progress(out, terminalOf(std::nullopt), "Importing", 2'000);
    progress.advanceTo(0);
    EXPECT_EQ(out.str(), "\rImporting [--------------------] 0/2,000\x1B[K");
}

TEST(Progress, WritesNothingWhereTheStreamIsNoTerminal) {
    std::ostringstream out;
    {
        Progress progress(out, {.isTerminal = false, .width = 80, .hasColour = false}, "Importing", 2'000);
        progress.advanceTo(0);
        progress.advanceTo(2'000);
    }
    EXPECT_EQ(out.str(), "");
}

TEST(Progress, WritesNothingWhenNothingAdvanced) {
    std::ostringstream out;
    { const Progress progress(out, terminalOf(80), "Importing", 2'000); }
    EXPECT_EQ(out.str(), "");
}

TEST(Progress, MakesItsTitlePrintable) {
    std::ostringstream out;
    Progress progress(out, terminalOf(80), "a\x1B[2J", 2);
    progress.advanceTo(0);
    EXPECT_THAT(out.str(), StartsWith("\ra\\x1B[2J ["));
}

TEST(Progress, IsRedrawnAtMostTenTimesASecond) {
    std::ostringstream out;
    Progress progress(out, terminalOf(80), "Importing", 100);
    const auto begin = Progress::Clock::now();
    while (Progress::Clock::now() - begin < 350ms) progress.advanceTo(1);
    const auto passed = Progress::Clock::now() - begin;
    EXPECT_GE(drawsIn(out.str()), 1U);
    EXPECT_LE(drawsIn(out.str()), 1U + static_cast<std::size_t>(passed / 100ms));
}

TEST(Progress, IsRedrawnAsTimePasses) {
    std::ostringstream out;
    Progress progress(out, terminalOf(80), "Importing", 200);
    progress.advanceTo(0);
    EXPECT_TRUE(test::eventually([&] {
        progress.advanceTo(100);
        return drawsIn(out.str()) == 2;
    }));
    EXPECT_THAT(out.str(), AllOf(StartsWith("\rImporting [--------------------] 0/200\x1B[K"),
                                 HasSubstr("\rImporting [##########----------] 100/200")));
}

}  // namespace
}  // namespace oru::kadi::authlist::tool
