// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>

#include "Answer.h"

namespace oru::kadi::authlist::tool::test {
namespace {

using namespace std::chrono_literals;

constexpr TimePoint modified{1'700'000'000'900'000'000ns};

RfidCard lastingFor(std::uint32_t seconds) {
    RfidCard card;
    card.lastModificationTime = modified;
    card.recordLifetime = seconds;
    return card;
}

TEST(Answer, HasTheDeadlineItselfWithinTheLifetime) {
    EXPECT_FALSE(lifetimeIsOver(lastingFor(60), modified + 60s - 1ns));
    EXPECT_FALSE(lifetimeIsOver(lastingFor(60), modified + 60s));
    EXPECT_TRUE(lifetimeIsOver(lastingFor(60), modified + 60s + 1ns));
}

TEST(Answer, CountsALifetimeOnFromWithinASecond) {
    EXPECT_FALSE(lifetimeIsOver(lastingFor(60), modified + 60s - 500ms));
}

TEST(Answer, EndsTheLongestLifetimeAfterMoreThanAHundredYears) {
    EXPECT_FALSE(lifetimeIsOver(lastingFor(std::numeric_limits<std::uint32_t>::max()), modified + 24h * 365 * 100));
}

TEST(Answer, EndsNoLifetimeThatIsNotSet) {
    RfidCard card = lastingFor(0);
    EXPECT_TRUE(lifetimeIsOver(card, modified + 1ns));
    card.recordLifetime.reset();
    EXPECT_FALSE(lifetimeIsOver(card, TimePoint::max()));
}

}  // namespace
}  // namespace oru::kadi::authlist::tool::test
