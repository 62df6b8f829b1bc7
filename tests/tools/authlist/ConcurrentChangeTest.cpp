// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "support/Database.h"
#include "support/Eventually.h"
#include "support/FileState.h"
#include "tools/authlist/TerminalRun.h"
#include "tools/authlist/ToolLists.h"

// A list that others change while the tool asks a question, and changes of many cards that do not come through.

namespace oru::kadi::authlist::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr const char* question = "[y/N] ";

const std::vector<Arguments> asking = {
    {"update", "--filter", "id<5", "--description", "new"}, {"remove", "--filter", "id<5"}, {"clear"}};

std::vector<unsigned> idsOf(const ListContent& list) {
    std::vector<unsigned> ids;
    for (const RfidCard& card : list.cards) ids.push_back(*card.id);
    return ids;
}

class WhileADatabaseAsks : public OverSqlite {
protected:
    void SetUp() override { store(sampleCards(), 42); }
};

TEST_F(WhileADatabaseAsks, StatusesThatOthersSetStay) {
    TerminalRun update(onList({"update", "--filter", "id<5", "--description", "new"}));
    ASSERT_TRUE(update.waitFor(question));
    expectSuccess(tool({"update", "04A2B3C4D5", "--status", "Blocked", "--parent", "LOST"}));
    expectSuccess(tool({"update", "--id", "4", "--add-key", "NEW-KEY-1"}));
    update.type("y\n");
    const ToolResult result = update.finish();
    EXPECT_EQ(result.exitStatus, 0) << result.out;
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Blocked);
    EXPECT_EQ(storedCard(1).parentId, "LOST");
    EXPECT_THAT(storedCard(4).tags, SizeIs(2));
    for (const unsigned id : {1U, 2U, 3U, 4U}) EXPECT_EQ(storedCard(id).description, "new");
    EXPECT_EQ(storedCard(5).description, "Visitor");
}

TEST_F(WhileADatabaseAsks, CardsThatOthersRemoveStayAway) {
    TerminalRun update(onList({"update", "--filter", "id<5", "--description", "new"}));
    ASSERT_TRUE(update.waitFor(question));
    expectSuccess(tool({"remove", "--id", "2", "--id", "4"}));
    update.type("y\n");
    const ToolResult result = update.finish();
    EXPECT_EQ(result.exitStatus, 0) << result.out;
    EXPECT_THAT(result.out, HasSubstr("Updated 2 cards."));
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 3, 5, 6));
    EXPECT_EQ(storedCard(3).description, "new");
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
}

TEST_F(WhileADatabaseAsks, CardsThatPassTheFilterNoLongerAreLeftAlone) {
    TerminalRun removal(onList({"remove", "--filter", "status=Blocked"}));
    ASSERT_TRUE(removal.waitFor(question));
    expectSuccess(tool({"update", "--id", "2", "--status", "Accepted"}));
    removal.type("y\n");
    EXPECT_EQ(removal.finish().exitStatus, 0);
    EXPECT_EQ(storedCard(2).status, RfidCardStatus::Accepted);
    EXPECT_THAT(stored().cards, SizeIs(6));
}

TEST_F(WhileADatabaseAsks, CardsThatOthersAddAreNotRemovedByTheFilter) {
    TerminalRun removal(onList({"remove", "--filter", "id>4"}));
    ASSERT_TRUE(removal.waitFor(question));
    expectSuccess(tool({"add", "NEW-KEY-1", "--id", "10"}));
    removal.type("y\n");
    EXPECT_EQ(removal.finish().exitStatus, 0);
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 2, 3, 4, 10));
}

TEST_F(WhileADatabaseAsks, ClearCountsTheCardsThatItReallyRemoves) {
    TerminalRun clearing(onList({"clear"}));
    ASSERT_TRUE(clearing.waitFor(question));
    expectSuccess(tool({"add", "NEW-KEY-1"}));
    clearing.type("y\n");
    const ToolResult result = clearing.finish();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("Removed 7 cards."));
    EXPECT_THAT(stored().cards, SizeIs(0));
    EXPECT_EQ(stored().version, 42U);
}

TEST_F(WhileADatabaseAsks, ChangesOfOthersStayWhenTheAnswerIsNo) {
    for (const Arguments& command : asking) {
        TerminalRun run(onList(command));
        ASSERT_TRUE(run.waitFor(question));
        expectSuccess(tool({"add", "KEY-BESIDE-" + command.front(), "--id", "10"}));
        const std::string before = listBytes();
        run.type("n\n");
        EXPECT_EQ(run.finish().exitStatus, 1);
        EXPECT_EQ(listBytes(), before);
        expectSuccess(tool({"remove", "--id", "10"}));
    }
}

TEST_F(WhileADatabaseAsks, AListThatGotLockedIsNotChangedAtAll) {
    for (const Arguments& command : asking) {
        SCOPED_TRACE(command.front());
        const std::string before = listBytes();
        TerminalRun run(onList(command));
        ASSERT_TRUE(run.waitFor(question));
        const Database other(mList);
        other.execute("BEGIN IMMEDIATE");
        run.type("y\n");
        const ToolResult result = run.finish();
        EXPECT_EQ(result.exitStatus, 4) << result.out;
        EXPECT_THAT(result.out, HasSubstr(mList + ": "));
        EXPECT_THAT(result.out, HasSubstr("another program uses the list"));
        other.execute("ROLLBACK");
        EXPECT_EQ(listBytes(), before);
    }
}

class WhileAFileAsks : public OverFileStore {
protected:
    void SetUp() override {
        store(sampleCards(), 42);
        writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    }

    /// Checks that no other run of the tool changes the list now, and that each says so.
    void expectNobodyElseChangesIt() const {
        const FileState before = stateOf(mList);
        for (const Arguments& command :
             {Arguments{"add", "NEW-KEY-1"}, Arguments{"update", "--id", "1", "--status", "Blocked"},
              Arguments{"remove", "--id", "2"}, Arguments{"clear", "-y"}, Arguments{"version", "9"},
              Arguments{"import", mFolder.file("good.csv")}, Arguments{"authorize", "04A2B3C4D5"}}) {
            SCOPED_TRACE(testing::PrintToString(command));
            const ToolResult result = tool(command);
            expectRefusal(result, 4, mList);
            EXPECT_EQ(stateOf(mList), before);
        }
    }
};

TEST_F(WhileAFileAsks, NobodyElseChangesTheListUnseen) {
    for (const Arguments& command : asking) {
        SCOPED_TRACE(command.front());
        TerminalRun run(onList(command));
        ASSERT_TRUE(run.waitFor(question));
        expectNobodyElseChangesIt();
        run.type("n\n");
        EXPECT_EQ(run.finish().exitStatus, 1);
        EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
    }
}

TEST_F(WhileAFileAsks, TheListCanBeLookedAt) {
    for (const Arguments& command : asking) {
        TerminalRun run(onList(command));
        ASSERT_TRUE(run.waitFor(question));
        for (const Arguments& looking : {Arguments{"list"}, Arguments{"count"}, Arguments{"show", "--id", "1"},
                                         Arguments{"version"}, Arguments{"export"}, Arguments{"check"}}) {
            expectSuccess(tool(looking));
        }
    }
}

TEST_F(WhileAFileAsks, TheAnswerYesChangesWhatWasAskedFor) {
    TerminalRun run(onList(asking.front()));
    ASSERT_TRUE(run.waitFor(question));
    expectNobodyElseChangesIt();
    run.type("y\n");
    EXPECT_EQ(run.finish().exitStatus, 0);
    for (const unsigned id : {1U, 2U, 3U, 4U}) EXPECT_EQ(storedCard(id).description, "new");
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Accepted);
    EXPECT_THAT(stored().cards, SizeIs(6));
    expectSuccess(tool({"add", "NEW-KEY-1"}));
    EXPECT_THAT(stored().cards, SizeIs(7));
}

TEST_F(WhileAFileAsks, ARunThatIsKilledLeavesTheListFreeForOthers) {
    {
        TerminalRun run(onList({"clear"}));
        ASSERT_TRUE(run.waitFor(question));
    }
    expectSuccess(tool({"add", "NEW-KEY-1"}));
    EXPECT_THAT(stored().cards, SizeIs(7));
}

/// Changes of so many cards that they can be stopped midway.
class ChangingManyCards : public OverSqlite {
protected:
    void SetUp() override {
        std::string text;
        for (unsigned id = 1; id <= cardCount; ++id) {
            text += std::to_string(id) + ",old,KEY-" + std::to_string(id) + ",Accepted,*,,\n";
        }
        const TemporaryFolder folder;
        writeFile(folder.file("long.csv"), text);
        ASSERT_EQ(tool({"import", folder.file("long.csv")}).exitStatus, 0);
        mBefore = listBytes();
    }

    /// Runs command, and signals it once it has begun to write.
    ToolResult stopped(const Arguments& command, int signal) const {
        RunningTool run(onList(command));
        EXPECT_TRUE(eventually([this] { return namesIn(mFolder.path()).size() > 1; }));
        run.signal(signal);
        return run.finish();
    }

    static constexpr unsigned cardCount = 10000;
    const std::vector<Arguments> mCommands = {{"update", "--filter", "id>0", "--description", "new", "--yes"},
                                              {"remove", "--filter", "id>0", "--yes"}};
    std::string mBefore;
};

TEST_F(ChangingManyCards, LeavesTheListAsItWasWhenItIsInterrupted) {
    for (const Arguments& command : mCommands) {
        SCOPED_TRACE(command.front());
        expectRefusal(stopped(command, SIGINT), 130, mList);
        EXPECT_TRUE(listBytes() == mBefore);
        EXPECT_THAT(namesIn(mFolder.path()), SizeIs(1));
    }
}

TEST_F(ChangingManyCards, LeavesTheListAsItWasWhenItIsKilled) {
    for (const Arguments& command : mCommands) {
        SCOPED_TRACE(command.front());
        EXPECT_EQ(stopped(command, SIGKILL).exitStatus, 128 + SIGKILL);
        const Database list(mList);
        EXPECT_EQ(list.value("SELECT COUNT(*) FROM rfid_card WHERE description = 'old'"), std::to_string(cardCount));
        EXPECT_EQ(list.value("SELECT COUNT(*) FROM rfid_tag"), std::to_string(cardCount));
        EXPECT_EQ(tool({"check"}).exitStatus, 0);
    }
}

TEST_F(ChangingManyCards, ChangesAllOfThemWhenNobodyStopsIt) {
    EXPECT_EQ(tool(mCommands.front()).exitStatus, 0);
    EXPECT_EQ(Database(mList).value("SELECT COUNT(*) FROM rfid_card WHERE description = 'new'"),
              std::to_string(cardCount));
    EXPECT_EQ(tool(mCommands.back()).exitStatus, 0);
    EXPECT_EQ(Database(mList).value("SELECT COUNT(*) FROM rfid_tag"), "0");
}

}  // namespace
}  // namespace oru::kadi::authlist::test
