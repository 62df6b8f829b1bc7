// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tools/authlist/ToolLists.h"

// update.

namespace oru::kadi::authlist::test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

using Change = std::function<void(RfidCard&)>;

class Updating : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards(), 42); }

    ToolResult update(Arguments arguments, const ToolSetting& setting = {}) const {
        arguments.insert(arguments.begin(), "update");
        return tool(arguments, setting);
    }

    /// Updates card 2 and checks that the change, and nothing else in the list, was made.
    void expectChange(Arguments options, const Change& change) const {
        std::vector<RfidCard> expected = stored().cards;
        change(expected.at(1));
        const TimePoint before = now();
        options.insert(options.begin(), {"--id", "2"});
        EXPECT_EQ(update(options).exitStatus, 0) << testing::PrintToString(options);
        const ListContent after = stored();
        EXPECT_EQ(after.version, 42U);
        EXPECT_GE(after.card(2).lastModificationTime, before);
        expected.at(1).lastModificationTime = after.card(2).lastModificationTime;
        expected.at(1).lastAccessTime = after.card(2).lastAccessTime;
        EXPECT_EQ(fieldsOf(after.cards), fieldsOf(expected)) << testing::PrintToString(options);
    }

    /// Checks that an update is refused and the list stays as it is.
    void expectRefused(const Arguments& arguments, int exitStatus, const std::string& culprit) const {
        const std::string before = listBytes();
        expectRefusal(update(arguments), exitStatus, culprit);
        EXPECT_EQ(listBytes(), before) << testing::PrintToString(arguments);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Updating, bothStores, byName);

TEST_P(Updating, ChangesOnlyTheFieldThatIsGiven) {
    expectChange({"--description", "Van 8"}, [](RfidCard& card) { card.description = "Van 8"; });
    expectChange({"--status", "Operator"}, [](RfidCard& card) { card.status = RfidCardStatus::Operator; });
    expectChange({"--expiry", "2027-01-31"}, [](RfidCard& card) { card.expiryDate = at(1801353600); });
    expectChange({"--parent", "DEPOT"}, [](RfidCard& card) { card.parentId = "DEPOT"; });
    expectChange({"--evse", "9"}, [](RfidCard& card) { card.evseId = 9; });
    expectChange({"--lifetime", "5000000"}, [](RfidCard& card) { card.recordLifetime = 5000000; });
    expectChange({"--extra-data", R"({"b":1})"}, [](RfidCard& card) { card.extraData = R"({"b":1})"; });
}

TEST_P(Updating, TakesFieldsAway) {
    expectChange({"--description", ""}, [](RfidCard& card) { card.description = ""; });
    expectChange({"--expiry", "never"}, [](RfidCard& card) { card.expiryDate.reset(); });
    expectChange({"--parent", ""}, [](RfidCard& card) { card.parentId.reset(); });
    expectChange({"--evse", "any"}, [](RfidCard& card) { card.evseId.reset(); });
    expectChange({"--lifetime", "none"}, [](RfidCard& card) { card.recordLifetime.reset(); });
    expectChange({"--extra-data", ""}, [](RfidCard& card) { card.extraData.reset(); });
}

TEST_P(Updating, ChangesSeveralFieldsAtOnce) {
    expectChange({"--status", "Accepted", "--expiry", "2027-01-31", "--evse", "any"}, [](RfidCard& card) {
        card.status = RfidCardStatus::Accepted;
        card.expiryDate = at(1801353600);
        card.evseId.reset();
    });
}

TEST_P(Updating, AddsAndTakesKeysAway) {
    expectChange({"--add-key", "04AAAAAA", "--add-key", "04BBBBBB"}, [](RfidCard& card) {
        card.tags.push_back(tagWithKey("04AAAAAA"));
        card.tags.push_back(tagWithKey("04BBBBBB"));
    });
    expectChange({"--remove-key", "VID:321994913B9B", "--remove-key", "04AAAAAA"}, [](RfidCard& card) {
        card.tags.erase(card.tags.begin());
        card.tags.erase(card.tags.begin() + 1);
    });
    expectChange({"--remove-key", "04BBBBBB", "--add-key", "04CCCCCC"},
                 [](RfidCard& card) { card.tags.back() = tagWithKey("04CCCCCC"); });
    EXPECT_EQ(tool({"authorize", "04CCCCCC"}).exitStatus, 1);
    EXPECT_EQ(tool({"authorize", "VID:321994913B9B"}).exitStatus, 3);
}

TEST_P(Updating, TakesAKeyAwayOfWhichOnlyTheHashIsStored) {
    EXPECT_EQ(update({"--id", "4", "--add-key", "04AAAAAA", "--remove-key", "SECRET-OF-FOUR"}).exitStatus, 0);
    const std::vector<RfidTag> tags = storedCard(4).tags;
    ASSERT_EQ(tags.size(), 1U);
    EXPECT_EQ(tags.front().key, "04AAAAAA");
}

TEST_P(Updating, RefusesAKeyThatAnotherCardHas) {
    expectRefused({"--id", "2", "--description", "Changed", "--add-key", "04FFEE0102"}, 5, "");
    expectRefused({"--id", "2", "--add-key", "NEW-KEY-1", "--add-key", "SECRET-OF-FOUR"}, 5, "");
}

TEST_P(Updating, LeavesNoCardWithoutAnyKey) {
    const std::string before = listBytes();
    EXPECT_NE(update({"--id", "1", "--remove-key", "04A2B3C4D5"}).exitStatus, 0);
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Updating, RefusesToTakeAKeyAwayThatTheCardDoesNotHave) {
    const std::string before = listBytes();
    EXPECT_NE(update({"--id", "1", "--remove-key", "04FFEE0102"}).exitStatus, 0);
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Updating, ChangesSeveralCardsHoweverTheyAreChosen) {
    EXPECT_EQ(update({"04A2B3C4D5", "SECRET-OF-FOUR", "--hash", hashKey("04FFEE0102"), "--id", "5", "--parent", "ALL"})
                  .exitStatus,
              0);
    for (const unsigned id : {1U, 3U, 4U, 5U}) EXPECT_EQ(storedCard(id).parentId, "ALL") << id;
    EXPECT_EQ(storedCard(2).parentId, "FLEET");
    EXPECT_EQ(storedCard(6).parentId, std::nullopt);
}

TEST_P(Updating, ChangesNothingUnlessEveryCardIsFound) {
    expectRefused({"--id", "1", "--id", "77", "--status", "Blocked"}, 3, "77");
    expectRefused({"--hash", hashKey("nobody"), "04A2B3C4D5", "--status", "Blocked"}, 3,
                  hashKey("nobody").substr(0, 8));
}

TEST_P(Updating, ChangesTheCardsThatPassFiltersWithYes) {
    EXPECT_EQ(update({"--filter", "expiry<2026-01-01", "--filter", "status!=Accepted", "--expiry", "2030-01-01", "-y"})
                  .exitStatus,
              0);
    EXPECT_EQ(storedCard(6).expiryDate, at(1893456000));
    EXPECT_EQ(storedCard(5).expiryDate, at(1577836800));
    EXPECT_EQ(storedCard(2).expiryDate, at(1924988400));
}

TEST_P(Updating, RefusesAFilterWithoutTerminalAndYes) {
    const std::string before = listBytes();
    expectRefusal(update({"--filter", "id>3", "--status", "Blocked"}, typing("y\n")), 2, "--yes");
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Updating, AsksOnATerminalBeforeItChangesWhatAFilterChooses) {
    const Arguments block{"update", "--filter", "id<=3", "--status", "Blocked"};
    const std::string before = listBytes();
    EXPECT_EQ(onTerminal(block, typing("n\n")).exitStatus, 1);
    EXPECT_EQ(listBytes(), before);
    EXPECT_EQ(onTerminal(block, typing("y\n")).exitStatus, 0);
    for (const unsigned id : {1U, 2U, 3U}) EXPECT_EQ(storedCard(id).status, RfidCardStatus::Blocked) << id;
    EXPECT_EQ(storedCard(4).status, RfidCardStatus::Accepted);
}

TEST_P(Updating, KeepsAnExpiredCardExpiredAndSaysSo) {
    const ToolResult result = update({"--id", "6", "--expiry", "2035-01-01"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(storedCard(6).status, RfidCardStatus::Expired);
    EXPECT_EQ(storedCard(6).expiryDate, at(2051222400));
    EXPECT_THAT(result.out + result.err, HasSubstr("--status Accepted"));
}

TEST_P(Updating, RevivesAnExpiredCardWithANewStatus) {
    const ToolResult result = update({"--id", "6", "--expiry", "2035-01-01", "--status", "Accepted"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("--status Accepted")));
    EXPECT_EQ(tool({"authorize", "0466778899"}).exitStatus, 0);
}

TEST_P(Updating, RestartsTheLifetime) {
    RfidCard card = numbered(1, cardWithKey("04A2B3C4"));
    card.recordLifetime = 86400;
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {card});
    EXPECT_EQ(runTool({"-l", other, "update", "--id", "1", "--description", "Touched"}).exitStatus, 0);
    EXPECT_EQ(runTool({"-l", other, "authorize", "04A2B3C4"}).exitStatus, 0);
}

TEST_P(Updating, KeepsTheOrderAndContentOfALongList) {
    std::vector<RfidCard> cards;
    for (unsigned id = 1; id <= 100; ++id) cards.push_back(numbered(id, cardWithKey("KEY-" + std::to_string(id))));
    const std::string other = mFolder.file("other");
    writeBlobList(other, cards);
    EXPECT_EQ(runTool({"-l", other, "update", "--id", "50", "--description", "Changed"}).exitStatus, 0);
    const StoredList after = storedIn(other);
    ASSERT_EQ(after.cards.size(), 100U);
    for (unsigned i = 0; i < 100; ++i) EXPECT_EQ(after.cards[i].id, i + 1);
    EXPECT_EQ(after.cards[49].description, "Changed");
}

}  // namespace
}  // namespace oru::kadi::authlist::test
