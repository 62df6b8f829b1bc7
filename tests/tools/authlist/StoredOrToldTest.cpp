// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "support/Database.h"
#include "support/FileState.h"
#include "support/ForkedProcess.h"
#include "support/SmallDisk.h"
#include "tools/authlist/ToolLists.h"

// What is said to be done is stored; what is not done is told, with the file that it is about.

namespace oru::kadi::authlist::test {
namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

/// One line that names the file first, and holds no SQL, no name of a type and no line feed spelt out.
void expectPlainRefusal(const ToolResult& result, int exitStatus, const std::string& file) {
    expectRefusal(result, exitStatus, file);
    EXPECT_THAT(result.err, StartsWith("authlist: " + file + ": "));
    for (const char* odd : {"\\n", "\\x", "CREATE", "TRANSACTION", "N3oru", ": : "}) {
        EXPECT_THAT(result.err, Not(HasSubstr(odd)));
    }
}

// Ids

class NearTheLastId : public OverBothStores {
protected:
    void expectOnlyCard(const std::string& key) const {
        expectSuccess(tool({"authorize", key}));
        EXPECT_THAT(stored().cards, SizeIs(1));
        expectSuccess(tool({"check"}));
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, NearTheLastId, bothStores, byName);

TEST_P(NearTheLastId, CardsCanBeAddedAfterOthersWereRemoved) {
    store({});
    expectSuccess(tool({"add", "KEY-A", "--id", "2147483646"}));
    for (const char* key : {"KEY-B", "KEY-C", "KEY-D"}) {
        ASSERT_EQ(tool({"clear", "-y"}).exitStatus, 0);
        expectSuccess(tool({"add", key}));
        expectOnlyCard(key);
    }
}

TEST_P(NearTheLastId, ARefusedCardLeavesNothing) {
    store({numbered(2147483645, cardWithKey("KEY-A"))});
    expectSuccess(tool({"add", "KEY-B"}));
    const std::string before = listBytes();
    expectPlainRefusal(tool({"add", "KEY-C"}), 5, mList);
    EXPECT_EQ(listBytes(), before);
    expectSuccess(tool({"add", "KEY-C", "--id", "1"}));
    EXPECT_THAT(stored().cards, SizeIs(3));
    expectSuccess(tool({"check"}));
}

TEST_F(OverSqlite, TakesCardsOnceTheIdsOfTheDatabaseAreUsedUp) {
    store({numbered(1, cardWithKey("KEY-A"))});
    Database(mList).execute("UPDATE sqlite_sequence SET seq = 2147483647 WHERE name = 'rfid_card'");
    expectSuccess(tool({"add", "KEY-B"}));
    expectSuccess(tool({"authorize", "KEY-B"}));
    EXPECT_THAT(stored().cards, SizeIs(2));
    expectSuccess(tool({"check"}));
}

TEST_F(OverSqlite, IsNotSoundWithARecordThatNoLookupFinds) {
    store({numbered(1, cardWithKey("KEY-A"))});
    Database(mList).execute(
        "INSERT INTO rfid_card SELECT 2147483648, description, rfid_card_status, expiry_date, parent_id, evse_id, "
        "extra_data, last_access_time, last_modification_time, record_lifetime FROM rfid_card");
    const ToolResult result = tool({"check"});
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_THAT(result.out, HasSubstr("2147483648"));
}

// Lists that are in use or cannot be written

TEST_F(OverSqlite, IsInUseAndNotDamagedWhileItIsLocked) {
    store(sampleCards());
    const Database other(mList);
    other.execute("BEGIN EXCLUSIVE");
    const ToolResult result = tool({"check"});
    expectPlainRefusal(result, 4, mList);
    EXPECT_THAT(result.err, HasSubstr("another program uses the list"));
    other.execute("ROLLBACK");
    expectSuccess(tool({"check"}));
}

TEST_F(OverSqlite, SaysWhatAWriteAheadLogNeedsInAReadOnlyFolder) {
    store(sampleCards());
    ASSERT_EQ(tool({"tune", "--write-ahead-log", "on"}).exitStatus, 0);
    fs::permissions(mFolder.path(), fs::perms::owner_read | fs::perms::owner_exec);
    for (const Arguments& command : {Arguments{"check"}, Arguments{"list"}, Arguments{"count"}, Arguments{"export"},
                                     Arguments{"tune"}, Arguments{"authorize", "04A2B3C4D5"}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        const ToolResult result = tool(command);
        expectPlainRefusal(result, 4, mList);
        EXPECT_THAT(result.err, HasSubstr("write-ahead log"));
    }
    fs::permissions(mFolder.path(), fs::perms::owner_all);
    expectSuccess(tool({"check"}));
}

class InAReadOnlyFolder : public OverBothStores {
protected:
    /// Asks about the key of the only card, 04A2B3C4D5, in a list that cannot be written; it stays as it is.
    ToolResult authorize(const RfidCard& card) {
        store({numbered(1, card)});
        const FileState before = stateOf(mList);
        fs::permissions(mList, fs::perms::owner_read);
        fs::permissions(mFolder.path(), fs::perms::owner_read | fs::perms::owner_exec);
        ToolResult result = tool({"authorize", "04A2B3C4D5"});
        fs::permissions(mFolder.path(), fs::perms::owner_all);
        EXPECT_EQ(contentOf(mList), before.content);
        EXPECT_EQ(stateOf(mList).inode, before.inode);
        return result;
    }

    /// The verdict is the controller's, or there is none; and it is said that nothing was stored.
    void expectNothingStoredAndSaid(const ToolResult& result, int exitStatus, const std::string& verdict) const {
        if (mStore == sqliteStore) {
            expectPlainRefusal(result, 4, mList);
            return;
        }
        EXPECT_EQ(result.exitStatus, exitStatus);
        EXPECT_THAT(result.out, StartsWith(verdict));
        EXPECT_THAT(result.err, StartsWith("authlist: " + mList + ": "));
        EXPECT_THAT(result.err, HasSubstr("could not be stored"));
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, InAReadOnlyFolder, bothStores, byName);

TEST_P(InAReadOnlyFolder, AnAccessThatIsNotStoredIsTold) {
    expectNothingStoredAndSaid(authorize(cardWithKey("04A2B3C4D5")), 0, "Accepted");
}

TEST_P(InAReadOnlyFolder, ACardThatExpiresWithoutBeingStoredIsTold) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.expiryDate = at(1577836800);
    expectNothingStoredAndSaid(authorize(card), 1, "Refused");
}

TEST_P(InAReadOnlyFolder, ACardWhoseLifetimeIsOverIsNotSaidToBeRemoved) {
    RfidCard card = cardWithKey("04A2B3C4D5");
    card.recordLifetime = 60;
    const ToolResult result = authorize(card);
    EXPECT_THAT(result.out, Not(HasSubstr("removed")));
    expectPlainRefusal(result, 4, mList);
}

/// Runs the tool with a standard output that takes nothing, and gives its exit status. Its errors go to a file.
int statusWithFullOutput(const std::string& words, const std::string& errors) {
    std::string command;
    std::istringstream parts(AUTHLIST_TOOL);
    for (std::string part; std::getline(parts, part, ';');) {
        if (!part.empty()) command += "'" + part + "' ";
    }
    const int status = std::system((command + words + " >/dev/full 2>'" + errors + "'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class FullOutput : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, FullOutput, bothStores, byName);

TEST_P(FullOutput, ThatCannotBeWrittenIsTold) {
    const std::string errors = mFolder.file("errors");
    store(sampleCards());
    for (const std::string words :
         {"--help", "add --help", "--version", "hash A", "--list LIST list", "--list LIST count", "--list LIST export",
          "--list LIST check", "--list LIST -o json list"}) {
        SCOPED_TRACE(words);
        std::string command = words;
        if (const auto mark = command.find("LIST"); mark != std::string::npos) command.replace(mark, 4, mList);
        EXPECT_EQ(statusWithFullOutput(command, errors), 4);
        EXPECT_EQ(contentOf(errors), "authlist: standard output cannot be written\n");
    }
}

// Errors name their file

class NamedFiles : public OverBothStores {
protected:
    void SetUp() override {
        std::vector<RfidCard> cards;
        for (unsigned id = 1; id <= 200; ++id) cards.push_back(numbered(id, cardWithKey("KEY-" + std::to_string(id))));
        store(cards);
        writeFile(mCut, listBytes().substr(0, listBytes().size() / 2));
    }

    std::string mCut = mFolder.file("cut");
};

INSTANTIATE_TEST_SUITE_P(Stores, NamedFiles, bothStores, byName);

TEST_P(NamedFiles, InADifferenceAreThoseOfTheDamagedSide) {
    expectPlainRefusal(runTool({"diff", mCut, mList}), 4, mCut);
    expectPlainRefusal(runTool({"diff", mList, mCut}), 4, mCut);
    expectPlainRefusal(tool({"diff", mCut}), 4, mCut);
}

TEST_P(NamedFiles, AreThoseOfADamagedListWithAnAdviceThatHelps) {
    for (const Arguments& command :
         {Arguments{"list"}, Arguments{"export"}, Arguments{"update", "--filter", "id>0", "--evse", "2", "-y"}}) {
        Arguments arguments{"-l", mCut};
        arguments.insert(arguments.end(), command.begin(), command.end());
        const ToolResult result = runTool(arguments);
        expectPlainRefusal(result, 4, mCut);
        EXPECT_THAT(result.err, HasSubstr("\"check\" tells"));
    }
    EXPECT_EQ(runTool({"-l", mCut, "check"}).exitStatus, 1);
}

TEST(CheckedFile, ThatIsNoDatabaseIsNotSentToCheckAgain) {
    const TemporaryFolder folder;
    const std::string file = folder.file("list");
    writeFile(file, std::string("SQLite format 3\0", 16) + std::string(8176, 'x'));
    const ToolResult result = runTool({"-l", file, "check"});
    EXPECT_THAT(result.exitStatus, testing::AnyOf(1, 4));
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("\"check\"")));
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("\\n")));
}

// A disk without room

class FullDisk : public OverSqlite {
protected:
    void SetUp() override {
        std::vector<RfidCard> cards;
        for (unsigned id = 1; id <= 80; ++id) {
            cards.push_back(numbered(id, cardWithKey("KEY-" + std::to_string(id))));
            cards.back().description = std::string(3000, 'd');
        }
        store(cards);
        fs::create_directory(mDisk);
    }

    /// Runs work with a small disk of its own at mDisk; what it expects counts. Skips where that is impossible.
    void onSmallDisk(const std::function<void()>& work) const {
        const ForkedRun run = runForked([&](const Reporter& report) {
            const std::string obstacle = mountDiskOf("600k", mDisk);
            if (!obstacle.empty()) {
                report("impossible: " + obstacle);
                return;
            }
            work();
            const auto& own = *testing::UnitTest::GetInstance()->current_test_info()->result();
            for (int i = 0; i < own.total_part_count(); ++i) report(std::string(own.GetTestPartResult(i).message()));
        });
        if (run.report.starts_with("impossible")) GTEST_SKIP() << run.report;
        EXPECT_TRUE(run.finished());
        EXPECT_EQ(run.report, "");
    }

    std::string mDisk = mFolder.file("disk");
};

TEST_F(FullDisk, IsToldOfTheCopyAndLeavesNone) {
    onSmallDisk([this] {
        const std::string target = mDisk + "/copy.db";
        writeFile(mDisk + "/rest", std::string(400000, 'x'));
        const ToolResult result = tool({"copy", target});
        expectPlainRefusal(result, 4, target);
        EXPECT_THAT(result.err, HasSubstr("full"));
        EXPECT_THAT(namesIn(mDisk), SizeIs(1));
    });
}

TEST_F(FullDisk, LeavesTheListAsItWasBeforeManyChanges) {
    onSmallDisk([this] {
        const std::string list = mDisk + "/list.db";
        fs::copy_file(mList, list);
        const std::string before = contentOf(list);
        const ToolResult result =
            runTool({"-l", list, "update", "--filter", "id>0", "-y", "--description", std::string(3500, 'n')});
        expectPlainRefusal(result, 4, list);
        EXPECT_TRUE(contentOf(list) == before);
    });
}

// Damaged records

class DamagedRecords : public OverSqlite {
protected:
    void SetUp() override {
        std::vector<RfidCard> cards = sampleCards();
        cards[4].id = 555;
        store(cards, 42);
        damage("UPDATE rfid_card SET rfid_card_status = 'Lost' WHERE id = 555");
    }

    void damage(const std::string& sql) const { Database(mList).execute(sql); }
    std::string cardCount() const { return Database(mList).value("SELECT COUNT(*) FROM rfid_card"); }
    std::string tagCount() const { return Database(mList).value("SELECT COUNT(*) FROM rfid_tag"); }
};

TEST_F(DamagedRecords, AreNamedByTheStatusAndTheCommandThatFindsThem) {
    for (const Arguments& command :
         {Arguments{"list"}, Arguments{"export"}, Arguments{"show", "--id", "555"},
          Arguments{"update", "--id", "555", "--evse", "1"}, Arguments{"copy", mFolder.file("target")}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        const ToolResult result = tool(command);
        expectPlainRefusal(result, 4, mList);
        EXPECT_THAT(result.err, AllOf(HasSubstr("Lost"), HasSubstr("\"check\"")));
    }
}

TEST_F(DamagedRecords, CanBeRemovedByTheirIds) {
    expectSuccess(tool({"remove", "--id", "555"}));
    EXPECT_EQ(cardCount(), "5");
    EXPECT_EQ(tagCount(), "6");
    expectSuccess(tool({"list"}));
    expectSuccess(tool({"check"}));
}

TEST_F(DamagedRecords, CanBeRemovedWhateverIsDamaged) {
    damage("UPDATE rfid_card SET last_access_time = 'yesterday' WHERE id = 3");
    damage("UPDATE rfid_tag SET hash = NULL WHERE rfid_card = 6");
    expectSuccess(tool({"remove", "--id", "555", "--id", "3", "--id", "6", "--id", "1"}));
    EXPECT_EQ(cardCount(), "2");
    expectSuccess(tool({"check"}));
}

TEST_F(DamagedRecords, StayWhenAnotherCardOfTheCommandIsNotFound) {
    const std::string before = listBytes();
    expectRefusal(tool({"remove", "--id", "555", "--id", "77"}), 3, "77");
    expectRefusal(tool({"remove", "--id", "555", "NO-SUCH-KEY"}), 3, mList);
    EXPECT_EQ(listBytes(), before);
}

TEST_F(DamagedRecords, StayWhenTheCommandIsRefused) {
    const std::string before = listBytes();
    expectRefusal(tool({"remove", "--id", "555", "--id", "1x"}), 2, "1x");
    expectRefusal(tool({"remove", "--id", "555", "--hash", "12ab"}), 2, "12ab");
    expectRefusal(tool({"remove", "--id", "555", "--filter", "id=2", "--yes"}), 2, "--filter");
    EXPECT_EQ(listBytes(), before);
}

TEST_P(NamedFiles, AreThoseOfATextWithMixedUpColumnsWithoutItsKeys) {
    const std::string file = mFolder.file("mixed.csv");
    writeFile(file, "1,d,Accepted,04A2B3C4,*,,\n");
    const ToolResult result = tool({"import", file});
    expectPlainRefusal(result, 5, file);
    EXPECT_THAT(result.err, Not(HasSubstr("04A2B3C4")));
}

// Differences

class DifferencesOfNone : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, DifferencesOfNone, bothStores, byName);

TEST_P(DifferencesOfNone, AreSeenFromATextThatReadsSo) {
    const std::string plain = mFolder.file("plain");
    writeList(mStore, plain, {numbered(1, cardWithKey("KEY-1"))});
    RfidCard withParent = numbered(1, cardWithKey("KEY-1"));
    withParent.parentId = "none";
    RfidCard withData = numbered(1, cardWithKey("KEY-1"));
    withData.extraData = "none";
    for (const RfidCard& card : {withParent, withData}) {
        fs::remove(mList);
        store({card});
        const ToolResult result = runTool({"diff", plain, mList});
        EXPECT_EQ(result.exitStatus, 1) << result.out;
        EXPECT_THAT(result.out, Not(HasSubstr("No differences")));
        EXPECT_EQ(runTool({"diff", mList, plain}).exitStatus, 1);
        EXPECT_EQ(runTool({"diff", mList, mList}).exitStatus, 0);
    }
}

}  // namespace
}  // namespace oru::kadi::authlist::test
