// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// authorize, show, stats and hash.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Authorizing : public OverBothStores {
protected:
    /// Stores one card, with key 04A2B3C4D5 and id 1, and asks about it.
    ToolResult authorize(const RfidCard& card) {
        store({numbered(1, card)});
        return tool({"authorize", "04A2B3C4D5"});
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Authorizing, bothStores, byName);

TEST_P(Authorizing, AcceptsAnAcceptedCard) {
    const ToolResult result = authorize(cardWithKey("04A2B3C4D5"));
    expectSuccess(result);
    EXPECT_THAT(result.out, AllOf(HasSubstr("Accepted"), Not(HasSubstr("Refused")), Not(HasSubstr("Unknown"))));
}

TEST_P(Authorizing, RefusesEveryOtherStatusAndGivesItAsTheReason) {
    const std::vector<std::pair<RfidCardStatus, const char*>> reasons = {{RfidCardStatus::Expired, "expired"},
                                                                         {RfidCardStatus::Blocked, "blocked"},
                                                                         {RfidCardStatus::Invalid, "invalid"},
                                                                         {RfidCardStatus::ConcurrentTx, "transaction"}};
    for (const auto& [status, reason] : reasons) {
        const ToolResult result = authorize(cardWithKey("04A2B3C4D5", status));
        EXPECT_EQ(result.exitStatus, 1) << result.out;
        EXPECT_EQ(result.err, "");
        EXPECT_THAT(result.out, AllOf(HasSubstr("Refused"), HasSubstr(reason)));
        EXPECT_EQ(storedCard(1).status, status);
        std::filesystem::remove(mList);
    }
}

TEST_P(Authorizing, PrintsDescriptionParentEvseAndExpiryDate) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.description = "Van 7";
    card.parentId = "FLEET";
    card.evseId = 31;
    card.expiryDate = at(3000000000);  // 2065-01-24T05:20:00Z
    EXPECT_THAT(authorize(card).out, AllOf(HasSubstr("Van 7"), HasSubstr("FLEET"), HasSubstr("31"),
                                           HasSubstr("2065-01-24"), HasSubstr("05:20:00")));
}

TEST_P(Authorizing, StoresTheAccessTimeAndNothingElse) {
    const TimePoint before = now();
    RfidCard card = cardWithKey("04A2B3C4D5");
    authorize(card);
    const RfidCard after = storedCard(1);
    EXPECT_GE(after.lastAccessTime, before);
    card.id = 1;
    card.lastAccessTime = after.lastAccessTime;
    EXPECT_EQ(fieldsOf(after), fieldsOf(card));
}

TEST_P(Authorizing, StoresTheAccessTimeOfARefusedCardToo) {
    const TimePoint before = now();
    authorize(cardWithKey("04A2B3C4D5", RfidCardStatus::Blocked));
    EXPECT_GE(storedCard(1).lastAccessTime, before);
}

TEST_P(Authorizing, RefusesACardPastItsExpiryDateAndStoresItAsExpired) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.expiryDate = at(1577836800);
    const ToolResult result = authorize(card);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.out, AllOf(HasSubstr("Refused"), HasSubstr("xpir"), HasSubstr("2020-01-01")));
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Expired);
}

TEST_P(Authorizing, LeavesABlockedCardBlockedPastItsExpiryDate) {
    RfidCard card = cardWithKey("04A2B3C4D5", RfidCardStatus::Blocked);
    card.expiryDate = at(1577836800);
    EXPECT_EQ(authorize(card).exitStatus, 1);
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Blocked);
}

TEST_P(Authorizing, RefusesAndRemovesACardWhoseLifetimeIsOver) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.recordLifetime = 60;
    const ToolResult result = authorize(card);
    EXPECT_EQ(result.exitStatus, 1) << result.out << result.err;
    EXPECT_THAT(result.out, AllOf(HasSubstr("Refused"), HasSubstr("lifetime")));
    EXPECT_TRUE(stored().cards.empty());
    EXPECT_EQ(tool({"authorize", "04A2B3C4D5"}).exitStatus, 3);
}

TEST_P(Authorizing, AcceptsACardWithinItsLifetime) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.recordLifetime = 4000000000;
    expectSuccess(authorize(card));
    EXPECT_EQ(stored().cards.size(), 1U);
}

TEST_P(Authorizing, KnowsACardOfWhichOnlyTheHashIsStored) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.tags.front().key.reset();
    const ToolResult result = authorize(card);
    expectSuccess(result);
    EXPECT_THAT(result.out, HasSubstr("Accepted"));
    EXPECT_EQ(storedCard(1).tags.front().key, std::nullopt);
}

TEST_P(Authorizing, KnowsEveryKeyOfACard) {
    store(sampleCards());
    EXPECT_EQ(tool({"authorize", "VID:321994913B9B"}).exitStatus, 1);
    EXPECT_EQ(tool({"authorize", "04C4D5E6F7"}).exitStatus, 1);
}

TEST_P(Authorizing, SaysUnknownOfACardThatIsNotInTheList) {
    store(sampleCards());
    const std::string before = listBytes();
    const ToolResult result = tool({"authorize", "04FFFFFFFF"});
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.out, HasSubstr("Unknown"));
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Authorizing, TellsCapitalLettersOfAKeyApart) {
    store({numbered(1, cardWithKey("04a2b3c4"))});
    EXPECT_EQ(tool({"authorize", "04A2B3C4"}).exitStatus, 3);
    EXPECT_EQ(tool({"authorize", "04a2b3c4"}).exitStatus, 0);
}

class Showing : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards()); }
};

INSTANTIATE_TEST_SUITE_P(Stores, Showing, bothStores, byName);

TEST_P(Showing, FindsCardsByKeyByHashAndById) {
    const std::vector<Arguments> choices = {
        {"show", "VID:321994913B9B"}, {"show", "--hash", hashKey("04C4D5E6F7")}, {"show", "--id", "2"}};
    for (const Arguments& choice : choices) {
        const ToolResult result = tool(choice);
        expectSuccess(result);
        EXPECT_THAT(result.out, AllOf(HasSubstr("Van 7"), HasSubstr("Blocked"), HasSubstr("FLEET"), HasSubstr("floor"),
                                      HasSubstr("4000000000"), Not(HasSubstr("Main door"))));
    }
}

TEST_P(Showing, FindsACardOfWhichOnlyTheHashIsStored) {
    EXPECT_THAT(tool({"show", "SECRET-OF-FOUR"}).out,
                AllOf(HasSubstr("Hash only"), HasSubstr(hashKey("SECRET-OF-FOUR"))));
}

TEST_P(Showing, TakesSeveralCardsAtOnce) {
    const ToolResult result = tool({"show", "04A2B3C4D5", "--id", "3", "--id", "4", "--hash", hashKey("0401020305")});
    expectSuccess(result);
    EXPECT_THAT(result.out, AllOf(HasSubstr("Main door"), HasSubstr("Tür Süd"), HasSubstr("Hash only"),
                                  HasSubstr("Visitor"), Not(HasSubstr("Van 7"))));
}

TEST_P(Showing, ChangesNothing) {
    const std::string before = listBytes();
    expectSuccess(tool({"show", "--id", "5"}));
    expectSuccess(tool({"show", "--id", "1", "--id", "2", "--id", "6"}));
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Showing, ChangesNothingOfACardWhoseLifetimeIsOver) {
    RfidCard card = cardWithKey("04A2B3C4");
    card.recordLifetime = 1;
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {numbered(1, card)});
    const std::string before = contentOf(other);
    expectSuccess(runTool({"-l", other, "show", "04A2B3C4"}));
    EXPECT_EQ(contentOf(other), before);
}

TEST_P(Showing, NamesTheCardThatIsNotInTheList) {
    const ToolResult result = tool({"show", "--id", "1", "--id", "77"});
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.err, AllOf(testing::StartsWith("authlist: "), HasSubstr("77")));
    EXPECT_EQ(tool({"show", "04FFFFFFFF"}).exitStatus, 3);
    EXPECT_EQ(tool({"show", "--hash", hashKey("04FFFFFFFF")}).exitStatus, 3);
}

class Summing : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, Summing, bothStores, byName);

TEST_P(Summing, CountsAllCards) {
    store(sampleCards());
    const ToolResult result = tool({"count"});
    expectSuccess(result);
    EXPECT_EQ(result.out, "6\n");
}

TEST_P(Summing, CountsNoneInAnEmptyList) {
    store({});
    EXPECT_EQ(tool({"count"}).out, "0\n");
}

TEST_P(Summing, GivesStatistics) {
    std::vector<RfidCard> cards = sampleCards();
    for (unsigned id = 10; id < 23; ++id) {
        cards.push_back(numbered(id, cardWithKey("SOON" + std::to_string(id), RfidCardStatus::Invalid)));
        cards.back().expiryDate = now() + std::chrono::hours(24 * 29);
    }
    store(cards);
    const std::string before = listBytes();
    const ToolResult result = tool({"stats"});
    expectSuccess(result);
    // 13 invalid cards expire in the next 30 days; the list holds 20 tags in 19 cards.
    EXPECT_THAT(result.out, AllOf(HasSubstr("19"), HasSubstr("20"), HasSubstr("13"), HasSubstr("Invalid"),
                                  HasSubstr("Accepted"), HasSubstr("Operator")));
    EXPECT_EQ(listBytes(), before);
}

TEST(Hashing, PrintsTheHashOfEachKeyOnALine) {
    const ToolResult result = runTool({"hash", "04A2B3", "Tür", " "});
    expectSuccess(result);
    EXPECT_EQ(result.out, hashKey("04A2B3") + "\n" + hashKey("Tür") + "\n" + hashKey(" ") + "\n");
}

}  // namespace
}  // namespace oru::kadi::authlist::test
