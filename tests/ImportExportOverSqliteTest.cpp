// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/JsonExchange.h"
#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/CardFields.h"
#include "support/ExchangedCards.h"
#include "support/Files.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::cardWithId;
using test::contentOf;
using test::fieldsOf;
using test::fullCard;
using test::thrownBy;

constexpr auto CSV = ExchangeDataType::CSV;
constexpr auto JSON = ExchangeDataType::JSON;

const std::string csvLine = "7,Main door,04A2B3,Accepted,*,,";
const std::string emptyJson = R"({"listVersion":"","localAuthorizationList":[]})";

class ImportExportOverSqlite : public testing::Test {
protected:
    std::vector<RfidCard> stored() const { return mManager.buildDatabaseFromString(mManager.exportStr(JSON), JSON); }

    test::TemporaryFolder mFolder;
    const std::string mDatabase = mFolder.file("list.db");
    AuthListManager mManager{AuthListConfiguration{10, mDatabase, {}, {}, {}}};
};

TEST_F(ImportExportOverSqlite, KeepsEverythingThroughAJsonFile) {
    RfidCard hashOnly = cardWithId(3, "x");
    hashOnly.tags[0].key.reset();
    RfidCard card = fullCard();
    card.description = "Main, \"red\"\ndoor; DROP TABLE rfid_card; 'ä'";
    const std::string text = serializeRfidsAsJson({hashOnly, card, cardWithId(71, "last")}, 5);
    const std::string file = mFolder.file("list.json");
    mManager.setVersion(5);
    mManager.importStr(text, JSON);
    EXPECT_EQ(mManager.exportStr(JSON), text);
    mManager.exportFile(file, JSON, false, "");
    EXPECT_EQ(contentOf(file), text);
    mManager.clearAll();
    mManager.importFile(file, JSON, false, "");
    EXPECT_EQ(mManager.exportStr(JSON), text);
    EXPECT_EQ(fieldsOf(mManager.retrieveRecord(70).value()), fieldsOf(card));
}

TEST_F(ImportExportOverSqlite, KeepsOfACsvFileWhatItsColumnsCarry) {
    RfidCard card = fullCard();
    card.tags = {test::tagWithKey("04A2B3"), test::tagWithKey("04A2B4")};
    card.tags[0].hash = hashKey("stored under another hash");
    card.tags[0].extraData = R"({"b":2})";
    RfidCard hashOnly = cardWithId(71, "x");
    hashOnly.tags[0].key.reset();
    const db::sqlite::SqliteDbAccessor accessor(mDatabase);
    accessor.createRecord(card);
    accessor.createRecord(hashOnly);

    const std::string file = mFolder.file("list.csv");
    mManager.exportFile(file, CSV, false, "");
    const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    mManager.importFile(file, CSV, false, "");
    const auto after = std::chrono::system_clock::now();

    const std::vector<RfidCard> read = stored();
    ASSERT_EQ(read.size(), 1U) << "the card without plain key is gone";
    for (const TimePoint time : {read[0].lastAccessTime, read[0].lastModificationTime}) {
        EXPECT_LE(before, time);
        EXPECT_LE(time, after);
    }
    card.tags = {test::tagWithKey("04A2B3"), test::tagWithKey("04A2B4")};
    card.lastAccessTime = read[0].lastAccessTime;
    card.lastModificationTime = read[0].lastModificationTime;
    card.extraData.reset();
    card.recordLifetime.reset();
    EXPECT_EQ(fieldsOf(read[0]), fieldsOf(card));
}

TEST_F(ImportExportOverSqlite, ReplacesTheListBeyondItsCapacity) {
    RfidCard old = test::cardWithKey("old");
    mManager.emplace(old, false, false);
    std::string text;
    for (int i = 1; i <= 12; ++i) text += std::to_string(i) + ",d,k" + std::to_string(i) + ",Accepted,*,,\n";
    mManager.importStr(text, CSV);
    EXPECT_EQ(mManager.countRecords(), 12U);
    EXPECT_FALSE(mManager.getByKey("old").has_value());
    EXPECT_EQ(mManager.getByKey("k12").value().id, 12U);
}

TEST_F(ImportExportOverSqlite, LeavesTheVersionUntouchedBothWays) {
    mManager.importStr(R"({"listVersion":7,"localAuthorizationList":[]})", JSON);
    EXPECT_EQ(mManager.exportStr(JSON), emptyJson);
    EXPECT_EQ(mManager.getVersion(), std::nullopt);
    mManager.setVersion(3);
    mManager.importStr(R"({"listVersion":7,"localAuthorizationList":[]})", JSON);
    mManager.importStr(csvLine, CSV);
    mManager.exportStr(JSON);
    EXPECT_EQ(mManager.getVersion(), 3U);
}

TEST_F(ImportExportOverSqlite, StopsAtAHashThatTheTextHoldsTwice) {
    mManager.importStr("9,old,old,Accepted,*,,", CSV);
    EXPECT_EQ(thrownBy([&] {
                  mManager.importStr("1,d,a,Accepted,*,,\n2,d,b,Accepted,*,,\n3,d,a,Accepted,*,,\n4,d,c,Accepted,*,,",
                                     CSV);
              }),
              "std::runtime_error: Sqlite operation failed: 19=UNIQUE constraint failed: rfid_tag.hash\n");
    EXPECT_EQ(mManager.retrieveRecord(hashKey("a"), KeyRepresentation::Hash).value().id, 1U);
    EXPECT_EQ(mManager.retrieveRecord(hashKey("b"), KeyRepresentation::Hash).value().id, 2U);
    EXPECT_FALSE(mManager.retrieveRecord("c", KeyRepresentation::Key).has_value());
    EXPECT_FALSE(mManager.retrieveRecord(4).has_value());
    EXPECT_FALSE(mManager.retrieveRecord(9).has_value());
    EXPECT_THAT(mManager.retrieveRecord(3).value().tags, testing::IsEmpty()) << "written before its tag was refused";
}

TEST_F(ImportExportOverSqlite, StopsAtAnIdThatTheTextHoldsTwice) {
    EXPECT_EQ(thrownBy([&] { mManager.importStr("1,d,a,Accepted,*,,\n1,d,b,Accepted,*,,\n2,d,c,Accepted,*,,", CSV); }),
              "std::runtime_error: Cannot create new record in DB: 19SQL constraint violation");
    EXPECT_EQ(mManager.countRecords(), 1U);
    EXPECT_TRUE(mManager.retrieveRecord("a", KeyRepresentation::Key).has_value());
}

TEST_F(ImportExportOverSqlite, KeepsTheListWhenTheTextIsMalformed) {
    mManager.importStr(csvLine, CSV);
    const std::string before = mManager.exportStr(JSON);
    EXPECT_NE(thrownBy([&] { mManager.importStr("x", JSON); }), "nothing");
    EXPECT_NE(thrownBy([&] { mManager.importStr(csvLine + "\nx", CSV); }), "nothing");
    EXPECT_EQ(mManager.exportStr(JSON), before);
}

TEST_F(ImportExportOverSqlite, ExportsAnEmptyList) {
    EXPECT_EQ(mManager.exportStr(CSV), "");
    EXPECT_EQ(mManager.exportStr(JSON), emptyJson);
}

}  // namespace
}  // namespace oru::kadi::authlist
