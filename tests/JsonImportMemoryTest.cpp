// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "authlist/JsonExchange.h"
#include "authlist/KeyHash.h"
#include "support/PeakMemory.h"

namespace oru::kadi::authlist {
namespace {

constexpr unsigned cardCount = 20'000;

/// A card as a fleet operator's list holds it, one tag in three without its plain key.
std::string cardText(unsigned number) {
    const std::string digits = std::to_string(100'000 + number);
    const std::string key = "04A2B3C4" + digits;
    const std::string keyOrNothing = number % 3 == 0 ? "" : key;
    return R"({"id":)" + std::to_string(number + 1) + R"(,"description":"Badge )" + digits +
           R"(, field service north","status":"Accepted","lastAccessTime":"2026-01-01T06:30:00Z",)"
           R"("lastModificationTime":"2025-11-17T14:05:09Z","tags":[{"hash":")" +
           hashKey(key) + R"(","key":")" + keyOrNothing + R"(","extraData":{"medium":"ISO14443"}}],"evseId":)" +
           std::to_string(number % 8 + 1) + R"(,"expiryDate":"2027-12-31T23:59:59Z","extraData":{"holder":"Employee )" +
           digits + R"(","department":"Field service north-east","costCentre":"4711-)" + digits +
           R"(","vehicle":"Van 12, long wheelbase, ladder rack"},"parentId":"FLEET-0042","recordLifetime":31536000})";
}

std::string listText() {
    std::string text = R"({"listVersion":17,"localAuthorizationList":[)";
    for (unsigned number = 0; number < cardCount; ++number) text += (number == 0 ? "" : ",") + cardText(number);
    return text + "]}";
}

std::string summaryOf(const std::vector<RfidCard>& cards) {
    if (cards.empty()) return "no cards";
    return std::to_string(cards.size()) + " cards, the last one " + std::to_string(cards.back().id.value()) + " " +
           cards.back().tags.at(0).extraData.value();
}

TEST(JsonImport, NeedsAtMostSixTimesTheMemoryOfTheText) {
    const std::string text = listText();
    ASSERT_NEAR(static_cast<double>(text.size()) / cardCount, 570, 15);
    const std::string expected = R"(20000 cards, the last one 20000 {"medium":"ISO14443"})";

    if (!test::memoryCanBeMeasured) {
        EXPECT_EQ(summaryOf(deserializeRfidsFromJson(text)), expected);
        GTEST_SKIP() << "Read well, but a sanitizer's own memory hides the import's.";
    }
    const test::MeasuredRun run = test::runMeasured([&text] { return summaryOf(deserializeRfidsFromJson(text)); });
    EXPECT_EQ(run.result, expected);
    RecordProperty("PeakGrowthPerCent", static_cast<int>(100 * run.peakGrowth / text.size()));
    // The text itself, which the caller holds, counts too. What the cards alone take keeps the test from measuring
    // nothing.
    EXPECT_LE(text.size() + run.peakGrowth, 6 * text.size());
    EXPECT_GE(run.peakGrowth, text.size() / 2);
}

}  // namespace
}  // namespace oru::kadi::authlist
