// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/BlobBytes.h"
#include "support/Database.h"
#include "support/FileState.h"
#include "tools/authlist/ToolLists.h"

// check and tune.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Checking : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, Checking, bothStores, byName);

TEST_P(Checking, FindsNothingWrongInASoundList) {
    store(sampleCards(), 42);
    const std::string before = listBytes();
    expectSuccess(tool({"check"}));
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Checking, FindsNothingWrongInAnEmptyList) {
    store({});
    expectSuccess(tool({"check"}));
}

TEST_P(Checking, FindsHashesThatNoKeyCanMatch) {
    std::vector<RfidCard> cards = sampleCards();
    cards[3].tags.front().hash = "NOT-A-HASH";
    cards[0].tags.front().hash = hashKey("another key");
    store(cards);
    const std::string before = listBytes();
    const ToolResult result = tool({"check"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.out, AllOf(HasSubstr("4"), HasSubstr("1")));
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("04A2B3C4D5")));
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Checking, FindsAHashInCapitalLetters) {
    std::vector<RfidCard> cards = sampleCards();
    cards[3].id = 404;
    cards[3].tags.front().hash[0] = 'A';
    store(cards);
    const ToolResult result = tool({"check"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.out, HasSubstr("404"));
}

class CheckingSqlite : public OverSqlite {
protected:
    void SetUp() override {
        std::vector<RfidCard> cards = sampleCards();
        cards[4].id = 555;
        store(cards, 42);
    }

    void change(const std::string& sql) const { Database(mList).execute(sql); }

    void expectFinding(const testing::Matcher<std::string>& finding) const {
        const std::string before = listBytes();
        const ToolResult result = tool({"check"});
        EXPECT_EQ(result.exitStatus, 1) << result.err;
        EXPECT_THAT(result.out, finding);
        EXPECT_EQ(listBytes(), before);
    }
};

TEST_F(CheckingSqlite, FindsAnUnknownStatus) {
    change("UPDATE rfid_card SET rfid_card_status = 'Lost' WHERE id = 555");
    expectFinding(AllOf(HasSubstr("555"), HasSubstr("Lost")));
}

TEST_F(CheckingSqlite, FindsEveryDamagedRecord) {
    change("UPDATE rfid_card SET rfid_card_status = 'Lost' WHERE id = 555");
    change("UPDATE rfid_card SET last_access_time = 'yesterday' WHERE id = 3");
    change("UPDATE rfid_tag SET hash = NULL WHERE rfid_card = 6");
    expectFinding(AllOf(HasSubstr("555"), HasSubstr("3"), HasSubstr("6")));
}

TEST_F(CheckingSqlite, FindsATagWithoutCard) {
    change("PRAGMA foreign_keys = OFF; DELETE FROM rfid_card WHERE id = 555");
    expectFinding(HasSubstr(hashKey("0401020305")));
}

TEST_F(CheckingSqlite, FindsADamagedPage) {
    std::vector<RfidCard> cards;
    for (unsigned id = 1; id <= 300; ++id) cards.push_back(numbered(id, cardWithKey("KEY-" + std::to_string(id))));
    mList = mFolder.file("large");
    store(cards);
    const std::size_t page = std::stoul(Database(mList).value(
        "SELECT pageno FROM dbstat WHERE name = 'rfid_card' AND pagetype = 'leaf' ORDER BY pageno DESC LIMIT 1"));
    std::string bytes = listBytes();
    for (std::size_t i = (page - 1) * 4096; i < page * 4096; ++i) bytes[i] = static_cast<char>(0x5A);
    writeFile(mList, bytes);
    const ToolResult result = tool({"check"});
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_NE(result.out, "");
    EXPECT_TRUE(listBytes() == bytes);
}

TEST_F(CheckingSqlite, FindsADoubledVersion) {
    change("INSERT INTO metadata(version) VALUES(43)");
    expectFinding(HasSubstr("version"));
}

TEST_F(CheckingSqlite, IsContentOnceTheDamagedRecordIsRemovedByItsId) {
    change("UPDATE rfid_card SET rfid_card_status = 'Lost' WHERE id = 555");
    EXPECT_EQ(tool({"remove", "--id", "555"}).exitStatus, 0);
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 5U);
}

TEST_F(CheckingSqlite, LeavesTheListUsableForOtherCards) {
    change("UPDATE rfid_card SET rfid_card_status = 'Lost' WHERE id = 555");
    EXPECT_EQ(tool({"show", "--id", "1"}).exitStatus, 0);
    EXPECT_EQ(tool({"authorize", "04A2B3C4D5"}).exitStatus, 0);
    const std::string before = listBytes();
    expectRefusal(tool({"list"}), 4, "Lost");
    expectRefusal(tool({"export"}), 4, "Lost");
    expectRefusal(tool({"update", "--id", "555", "--evse", "1"}), 4, "Lost");
    EXPECT_EQ(listBytes(), before);
}

class CheckingBlobs : public OverFileStore {
protected:
    ToolResult check(const std::string& bytes) const {
        writeFile(mList, bytes);
        ToolResult result = tool({"check"});
        EXPECT_EQ(listBytes(), bytes);
        return result;
    }

    static std::string blobOf(const std::vector<RfidCard>& cards) {
        db::filestorage::RecordsBlob blob;
        blob.getRecords().assign(cards.begin(), cards.end());
        return bytesOf(blob);
    }
};

TEST_F(CheckingBlobs, FindsWhereABlobIsCutOff) {
    const std::string bytes = blobOf(sampleCards());
    for (const std::size_t length : {bytes.size() - 1, bytes.size() / 2}) {
        const ToolResult result = check(bytes.substr(0, length));
        EXPECT_EQ(result.exitStatus, 1) << result.err;
        EXPECT_NE(result.out, "");
    }
}

TEST_F(CheckingBlobs, FindsTrailingBytes) {
    const ToolResult result = check(blobOf(sampleCards()) + "tail");
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_THAT(result.out, HasSubstr("4"));
}

TEST_F(CheckingBlobs, FindsDoubledIds) {
    std::vector<RfidCard> cards = sampleCards();
    cards[0].id = cards[5].id = 606;
    const ToolResult result = check(blobOf(cards));
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_THAT(result.out, HasSubstr("606"));
}

TEST_F(CheckingBlobs, FindsDoubledTags) {
    std::vector<RfidCard> cards = sampleCards();
    cards[5].id = 606;
    cards[5].tags = cards[0].tags;
    const ToolResult result = check(blobOf(cards));
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_THAT(result.out, AllOf(HasSubstr("606"), Not(HasSubstr("04A2B3C4D5"))));
}

TEST_F(CheckingBlobs, FindsAnUnknownStatus) {
    std::vector<RfidCard> cards = sampleCards();
    cards[5].id = 606;
    cards[5].status = static_cast<RfidCardStatus>(17);
    const ToolResult result = check(blobOf(cards));
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_THAT(result.out, HasSubstr("606"));
}

TEST_F(CheckingBlobs, FindsARecordWithoutId) {
    std::vector<RfidCard> cards = sampleCards();
    cards[5].id.reset();
    const ToolResult result = check(blobOf(cards));
    EXPECT_EQ(result.exitStatus, 1) << result.err;
    EXPECT_NE(result.out, "");
}

// tune

class Tuning : public OverSqlite {
protected:
    void SetUp() override { store(sampleCards(), 42); }

    std::string journalMode() const { return Database(mList).value("PRAGMA journal_mode"); }
};

TEST_F(Tuning, SwitchesTheWriteAheadLogOnAndOff) {
    EXPECT_EQ(tool({"tune", "--write-ahead-log", "on"}).exitStatus, 0);
    EXPECT_EQ(journalMode(), "wal");
    EXPECT_EQ(tool({"tune", "--write-ahead-log", "off"}).exitStatus, 0);
    EXPECT_EQ(journalMode(), "delete");
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
    EXPECT_THAT(namesIn(mFolder.path()), testing::SizeIs(1));
}

TEST_F(Tuning, ShowsTheModeWithoutChangingIt) {
    const std::string before = listBytes();
    const ToolResult off = tool({"tune"});
    expectSuccess(off);
    EXPECT_EQ(listBytes(), before);
    EXPECT_EQ(tool({"tune", "--write-ahead-log", "on"}).exitStatus, 0);
    const ToolResult on = tool({"tune"});
    expectSuccess(on);
    EXPECT_EQ(journalMode(), "wal");
    EXPECT_NE(on.out, off.out);
}

TEST_F(Tuning, LeavesAListWithWriteAheadLogUsable) {
    EXPECT_EQ(tool({"tune", "--write-ahead-log", "on"}).exitStatus, 0);
    EXPECT_EQ(tool({"add", "NEW-KEY-1", "--id", "10"}).exitStatus, 0);
    EXPECT_EQ(tool({"count"}).out, "7\n");
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    EXPECT_EQ(tool({"import", mFolder.file("good.csv")}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 1U);
    EXPECT_EQ(journalMode(), "wal");
}

TEST_F(OverFileStore, HasNothingToTune) {
    store(sampleCards());
    const std::string before = listBytes();
    for (const Arguments& command : {Arguments{"tune"}, Arguments{"tune", "--write-ahead-log", "on"}}) {
        expectRefusal(tool(command), 2, mList);
        EXPECT_EQ(listBytes(), before);
    }
}

}  // namespace
}  // namespace oru::kadi::authlist::test
