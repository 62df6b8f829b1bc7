// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/sqlite/AccessorFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/Database.h"
#include "support/Files.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

// What the SQLite backend does beyond what every backend does: what it keeps after a failure, its own rule for age.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::at;
using test::cardWithKey;
using test::contentOf;
using test::Database;
using test::fieldsOf;
using test::tagWithKey;
using test::thrownBy;
using testing::ElementsAre;

class SqliteBackend : public test::AccessorFixture {};

// Creating

TEST_F(SqliteBackend, NeverHandsOutTheIdOfADeletedCardAgain) {
    mAccessor->createRecord(cardWithKey("A"));
    mAccessor->createRecord(cardWithKey("B"));
    mAccessor->deleteRecord(2);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("B")), 3U);
    mAccessor->deleteAllRecords();
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("C")), 4U);
    mAccessor->deleteAllRecords();
    reopen();
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("D")), 5U);
}

TEST_F(SqliteBackend, ContinuesAfterTheHighestIdEver) {
    RfidCard card = cardWithKey("A");
    card.id = 10;
    mAccessor->createRecord(card);
    card = cardWithKey("B");
    card.id = 5;
    EXPECT_EQ(mAccessor->createRecord(card), 5U);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("C")), 11U);
}

// The next id has no room in 32 bits with a sign. Its card stays without tags; no other card gets them.
TEST_F(SqliteBackend, GivesTagsToNoOtherCardWhenTheIdsRunOut) {
    RfidCard card = cardWithKey("A");
    card.id = 2147483647;
    mAccessor->createRecord(card);
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(cardWithKey("B")); }),
              "std::runtime_error: Sqlite operation failed: 19=FOREIGN KEY constraint failed\n");
    EXPECT_EQ(committedRows("SELECT rfid_card, key FROM rfid_tag"), (Database::Rows{{"2147483647", "A"}}));
    EXPECT_FALSE(mAccessor->readRecord("B", KeyRepresentation::Key));
}

TEST_F(SqliteBackend, CommitsNothingWhenAnIdIsInUse) {
    mAccessor->createRecord(cardWithKey("A"));
    const std::string before = contentOf(mFile);
    RfidCard card = cardWithKey("B");
    card.id = 1;
    mSpy.takeStatements();
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(card); }),
              "std::runtime_error: Cannot create new record in DB: 19SQL constraint violation");
    EXPECT_THAT(mSpy.takeStatements(),
                ElementsAre("BEGIN TRANSACTION;", testing::StartsWith("INSERT INTO rfid_card"), "COMMIT;"));
    EXPECT_EQ(contentOf(mFile), before);
}

TEST_F(SqliteBackend, KeepsACardWithTheTagsBeforeTheOneThatWasRefused) {
    mAccessor->createRecord(cardWithKey("taken"));
    RfidCard card = cardWithKey("A");
    card.tags = {tagWithKey("A"), tagWithKey("taken"), tagWithKey("C")};
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(card); }),
              "std::runtime_error: Sqlite operation failed: 19=UNIQUE constraint failed: rfid_tag.hash\n");
    card.id = 2;
    card.tags.resize(1);
    EXPECT_FALSE(inTransaction());
    EXPECT_EQ(fieldsOf(SqliteDbAccessor(mFile).readRecord(2).value()), fieldsOf(card));
    EXPECT_EQ(mAccessor->readRecord("taken", KeyRepresentation::Key).value().id, 1U);
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("C")));
}

TEST_F(SqliteBackend, RefusesTheSameHashTwiceInOneCard) {
    RfidCard card = cardWithKey("A");
    card.tags.push_back(tagWithKey("A"));
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(card); }),
              "std::runtime_error: Sqlite operation failed: 19=UNIQUE constraint failed: rfid_tag.hash\n");
    EXPECT_EQ(mAccessor->readRecord(1).value().tags.size(), 1U);
}

TEST_F(SqliteBackend, StoresNothingOfACardWhoseStatusHasNoText) {
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(cardWithKey("A", static_cast<RfidCardStatus>(6))); }),
              "std::invalid_argument: 6 was not found in N3oru4kadi8authlist14RfidCardStatusE");
    EXPECT_EQ(committed("SELECT COUNT(*) FROM rfid_card"), "0");
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("A")), 1U);
}

TEST_F(SqliteBackend, TakesAnyBrokenConstraintOfACardForAUsedId) {
    change("CREATE UNIQUE INDEX one_per_door ON rfid_card(description)");
    mAccessor->createRecord(cardWithKey("A"));
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(cardWithKey("A")); }),
              "std::runtime_error: Cannot create new record in DB: 19SQL constraint violation");
}

// Updating

class SqliteBackendUpdate : public SqliteBackend {
protected:
    SqliteBackendUpdate() {
        mAccessor->createRecord(cardWithKey("other"));
        mCard = cardWithKey("A");
        mCard.tags.push_back({hashKey("B"), std::nullopt, "{}"});
        mCard.id = mAccessor->createRecord(mCard);
    }

    Database::Rows tagRowsOfTheCard() const {
        return committedRows("SELECT id, key FROM rfid_tag WHERE rfid_card = 2 ORDER BY id");
    }

    RfidCard mCard;
};

TEST_F(SqliteBackendUpdate, KeepsTheTagRowsWhenTheTagsAreTheSame) {
    const auto before = committedRows("SELECT * FROM rfid_tag");
    mCard.description = "Changed";
    mCard.status = RfidCardStatus::Blocked;
    mAccessor->updateRecord(mCard);
    EXPECT_EQ(committedRows("SELECT * FROM rfid_tag"), before);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(2).value()), fieldsOf(mCard));
}

TEST_F(SqliteBackendUpdate, LeavesTheRowOfTheOtherCardAlone) {
    mCard.tags.pop_back();
    const auto before = committedRows("SELECT * FROM rfid_card c, rfid_tag t WHERE c.id = 1 AND t.rfid_card = 1");
    mAccessor->updateRecord(mCard);
    EXPECT_EQ(committedRows("SELECT * FROM rfid_card c, rfid_tag t WHERE c.id = 1 AND t.rfid_card = 1"), before);
}

struct TagChange : test::NamedCase {
    void (*apply)(std::vector<RfidTag>& tags);
};

class SqliteBackendUpdateOfTags : public SqliteBackendUpdate, public testing::WithParamInterface<TagChange> {};

INSTANTIATE_TEST_SUITE_P(All, SqliteBackendUpdateOfTags,
                         testing::Values(TagChange{{"OtherHash"}, [](auto& tags) { tags[1].hash = hashKey("C"); }},
                                         TagChange{{"OtherKey"}, [](auto& tags) { tags[0].key = "a"; }},
                                         TagChange{{"KeyGone"}, [](auto& tags) { tags[0].key.reset(); }},
                                         TagChange{{"KeyAdded"}, [](auto& tags) { tags[1].key = "B"; }},
                                         TagChange{{"EmptyKeyAdded"}, [](auto& tags) { tags[1].key = ""; }},
                                         TagChange{{"OtherExtraData"}, [](auto& tags) { tags[1].extraData = "{ }"; }},
                                         TagChange{{"ExtraDataGone"}, [](auto& tags) { tags[1].extraData.reset(); }},
                                         TagChange{{"EmptyExtraDataAdded"}, [](auto& tags) { tags[0].extraData = ""; }},
                                         TagChange{{"OtherOrder"}, [](auto& tags) { std::swap(tags[0], tags[1]); }},
                                         TagChange{{"OneMore"}, [](auto& tags) { tags.push_back(tagWithKey("C")); }},
                                         TagChange{{"OneLess"}, [](auto& tags) { tags.pop_back(); }},
                                         TagChange{{"None"}, [](auto& tags) { tags.clear(); }}),
                         test::byName);

TEST_P(SqliteBackendUpdateOfTags, InsertsAllTagsOfTheCardAgain) {
    ASSERT_EQ(committed("SELECT MAX(id) FROM rfid_tag"), "3");
    GetParam().apply(mCard.tags);
    mAccessor->updateRecord(mCard);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(2).value()), fieldsOf(mCard));
    const auto rows = tagRowsOfTheCard();
    ASSERT_EQ(rows.size(), mCard.tags.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        EXPECT_EQ(rows[index].at(0), std::to_string(4 + index));
        EXPECT_EQ(rows[index].at(1), mCard.tags[index].key.value_or("NULL"));
    }
}

TEST_F(SqliteBackendUpdate, KeepsWhatItWroteBeforeATagWasRefused) {
    mCard.description = "Changed";
    mCard.tags = {tagWithKey("C"), tagWithKey("other"), tagWithKey("D")};
    EXPECT_EQ(thrownBy([&] { mAccessor->updateRecord(mCard); }),
              "std::runtime_error: Sqlite operation failed: 19=UNIQUE constraint failed: rfid_tag.hash\n");
    mCard.tags.resize(1);
    EXPECT_FALSE(inTransaction());
    EXPECT_EQ(fieldsOf(SqliteDbAccessor(mFile).readRecord(2).value()), fieldsOf(mCard));
}

TEST_F(SqliteBackendUpdate, WritesNothingOfACardWhoseStatusHasNoText) {
    const std::string before = contentOf(mFile);
    mCard.status = static_cast<RfidCardStatus>(-1);
    mCard.tags.clear();
    EXPECT_EQ(thrownBy([&] { mAccessor->updateRecord(mCard); }),
              "std::invalid_argument: -1 was not found in N3oru4kadi8authlist14RfidCardStatusE");
    EXPECT_EQ(contentOf(mFile), before);
    EXPECT_FALSE(inTransaction());
}

TEST_F(SqliteBackendUpdate, DoesNothingAtAllForACardWithoutId) {
    mCard.id.reset();
    mSpy.takeStatements();
    EXPECT_EQ(thrownBy([&] { mAccessor->updateRecord(mCard); }), "std::bad_optional_access: bad optional access");
    EXPECT_THAT(mSpy.takeStatements(), testing::IsEmpty());
}

// Finding

TEST_F(SqliteBackend, RefusesAHashThatLeadsToSeveralCards) {
    mAccessor->createRecord(cardWithKey("A"));
    mAccessor->createRecord(cardWithKey("B"));
    change(
        "DROP TABLE rfid_tag; CREATE TABLE rfid_tag(id, rfid_card, hash TEXT, key, extra_data);"
        "INSERT INTO rfid_tag VALUES(1, 1, 'aa', NULL, NULL), (2, 2, 'aa', NULL, NULL)");
    const char* refusal = "std::invalid_argument: Rfid key passed as argument points to multiple rfid cards!";
    EXPECT_EQ(thrownBy([&] { mAccessor->readRecord("aa", KeyRepresentation::Hash); }), refusal);
    EXPECT_EQ(thrownBy([&] { mAccessor->deleteRecord("aa", KeyRepresentation::Hash); }), refusal);
    EXPECT_THAT(storedIds(), ElementsAre(1, 2));
    EXPECT_TRUE(mAccessor->tagIsKnown("aa"));
}

TEST_F(SqliteBackend, FindsACardThatHasTheSameHashTwice) {
    mAccessor->createRecord(cardWithKey("A"));
    change(
        "DROP TABLE rfid_tag; CREATE TABLE rfid_tag(id, rfid_card, hash TEXT, key, extra_data);"
        "INSERT INTO rfid_tag VALUES(1, 1, 'aa', NULL, NULL), (2, 1, 'aa', NULL, NULL)");
    EXPECT_EQ(mAccessor->readRecord("aa", KeyRepresentation::Hash).value().tags.size(), 2U);
}

TEST_F(SqliteBackend, FindsNothingByATagOfACardThatIsGone) {
    change("INSERT INTO rfid_tag(rfid_card, hash) VALUES(9, 'aa')");
    EXPECT_FALSE(mAccessor->readRecord("aa", KeyRepresentation::Hash));
    EXPECT_TRUE(mAccessor->tagIsKnown("aa"));
}

TEST_F(SqliteBackend, RefusesToReadACardWithATagWithoutHash) {
    mAccessor->createRecord(cardWithKey("A"));
    change("UPDATE rfid_tag SET hash = NULL");
    const char* refusal = "std::bad_variant_access: std::get: wrong index for variant";
    EXPECT_EQ(thrownBy([&] { mAccessor->readRecord(1); }), refusal);
    EXPECT_EQ(thrownBy([&] { mAccessor->readAllRecords(); }), refusal);
    EXPECT_EQ(test::liveStatements(connection()), 0);
}

TEST_F(SqliteBackend, ReadsAllCardsByAscendingId) {
    for (const unsigned id : {7U, 3U, 9U, 1U}) {
        RfidCard card = cardWithKey(std::to_string(id));
        card.id = id;
        mAccessor->createRecord(card);
    }
    EXPECT_THAT(storedIds(), ElementsAre(1, 3, 7, 9));
    EXPECT_THAT(idsOf(mAccessor->readRecordRange({}, {}, {}, {}, {}, {}, {})), ElementsAre(1, 3, 7, 9));
}

// Deleting

TEST_F(SqliteBackend, DeletesTheTagRowsWithTheirCard) {
    mAccessor->createRecord(cardWithKey("A"));
    mAccessor->createRecord(cardWithKey("B"));
    mAccessor->deleteRecord(1);
    EXPECT_EQ(committedRows("SELECT rfid_card, key FROM rfid_tag"), (Database::Rows{{"2", "B"}}));
    mAccessor->deleteAllRecords();
    EXPECT_EQ(committed("SELECT COUNT(*) FROM rfid_tag"), "0");
}

TEST_F(SqliteBackend, DeletesTheOldestByModificationAndNotByAccess) {
    RfidCard modifiedFirst = cardWithKey("A");
    modifiedFirst.lastModificationTime = at(100);
    modifiedFirst.lastAccessTime = at(900);
    RfidCard accessedFirst = cardWithKey("B");
    accessedFirst.lastModificationTime = at(200);
    accessedFirst.lastAccessTime = at(300);
    mAccessor->createRecord(accessedFirst);
    mAccessor->createRecord(modifiedFirst);
    mAccessor->deleteOldestRecord();
    EXPECT_THAT(storedIds(), ElementsAre(1));
}

TEST_F(SqliteBackend, DeletesOneCardOfSeveralThatAreEquallyOld) {
    for (const std::string key : {"A", "B", "C"}) mAccessor->createRecord(cardWithKey(key));
    RfidCard newer = cardWithKey("D");
    newer.lastModificationTime += std::chrono::seconds(1);
    mAccessor->createRecord(newer);
    for (unsigned left = 3; left > 0; --left) {
        mAccessor->deleteOldestRecord();
        EXPECT_EQ(mAccessor->countRecords(), left);
        EXPECT_TRUE(mAccessor->readRecord(4));
    }
}

TEST_F(SqliteBackend, DeletesByTheTextOfTheExpiryDateButNeverAnEmptyOne) {
    for (const std::string key : {"A", "B", "C", "D"}) mAccessor->createRecord(cardWithKey(key));
    change("UPDATE rfid_card SET expiry_date = CASE id WHEN 1 THEN '' WHEN 2 THEN '1' WHEN 3 THEN 'never' END");
    EXPECT_TRUE(mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_THAT(storedIds(), ElementsAre(1, 3, 4));
}

TEST_F(SqliteBackend, KeepsACardThatExpiresInTheCurrentSecond) {
    const auto second = [] { return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()); };
    RfidCard card = cardWithKey("A");
    card.id = 1;
    bool sameSecond = false;
    bool deleted = false;
    for (int attempt = 0; attempt < 100 && !sameSecond; ++attempt) {  // again when the second changed meanwhile
        const auto now = second();
        card.expiryDate = now;
        mAccessor->updateRecord(card);
        deleted = mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate);
        sameSecond = second() == now;
    }
    ASSERT_TRUE(sameSecond);
    EXPECT_FALSE(deleted);
    EXPECT_EQ(mAccessor->countRecords(), 1U);
}

TEST_F(SqliteBackend, RefusesAnUnknownCategoryWithinATransactionThatIsCommittedEmpty) {
    mAccessor->createRecord(cardWithKey("A", RfidCardStatus::Blocked));
    mSpy.takeStatements();
    for (const int category : {-1, 3}) {
        EXPECT_EQ(thrownBy([&] { mAccessor->deleteRecordCategory(static_cast<RecordRemovalCategory>(category)); }),
                  "std::runtime_error: Sqlite operation failed: 21=not an error\n");
        EXPECT_THAT(mSpy.takeStatements(), ElementsAre("BEGIN TRANSACTION;", "COMMIT;"));
    }
    EXPECT_EQ(mAccessor->countRecords(), 1U);
}

// The list version

TEST_F(SqliteBackend, KeepsTheVersionInOneRow) {
    mAccessor->updateVersion(5);
    mAccessor->updateVersion(6);
    mAccessor->deleteAllRecords();
    EXPECT_EQ(committedRows("SELECT id, version FROM metadata"), (Database::Rows{{"1", "6"}}));
}

TEST_F(SqliteBackend, RefusesToReadTheVersionFromTwoRows) {
    change("INSERT INTO metadata(version) VALUES(5), (6)");
    const char* refusal = "std::runtime_error: Sqlite operation failed: 100=another row available\n";
    EXPECT_EQ(thrownBy([&] { mAccessor->readVersion(); }), refusal);
    EXPECT_EQ(test::liveStatements(connection()), 0);
    mAccessor->updateVersion(7);
    EXPECT_EQ(committedRows("SELECT version FROM metadata"), (Database::Rows{{"7"}, {"7"}}));
    EXPECT_EQ(thrownBy([&] { mAccessor->readVersion(); }), refusal);
}

// Several accessors

TEST_F(SqliteBackend, SeesWhatAnotherAccessorOfTheFileCommitted) {
    const SqliteDbAccessor other(mFile);
    RfidCard card = cardWithKey("A");
    card.id = mAccessor->createRecord(card);
    EXPECT_EQ(fieldsOf(other.readRecord(1).value()), fieldsOf(card));
    card.description = "Changed";
    card.tags = {tagWithKey("B")};
    other.updateRecord(card);
    other.updateVersion(9);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
    EXPECT_EQ(mAccessor->readVersion(), 9U);
    EXPECT_EQ(other.createRecord(cardWithKey("C")), 2U);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("D")), 3U);
    mAccessor->deleteAllRecords();
    EXPECT_EQ(other.countRecords(), 0U);
}

// Statements of the caller's own

TEST_F(SqliteBackend, PerformsAStatementAsOneTransaction) {
    const SqliteStatement statement = prepared("INSERT INTO metadata(version) VALUES(3)");
    mAccessor->performNonReturningStatement(statement.get());
    EXPECT_THAT(mSpy.takeStatements(),
                ElementsAre("BEGIN TRANSACTION;", "INSERT INTO metadata(version) VALUES(3)", "COMMIT;"));
    EXPECT_EQ(committed("SELECT version FROM metadata"), "3");
}

TEST_F(SqliteBackend, RefusesToPerformAStatementThatYieldsARow) {
    {
        const SqliteStatement statement = prepared("SELECT 1");
        EXPECT_EQ(thrownBy([&] { mAccessor->performNonReturningStatement(statement.get()); }),
                  "std::runtime_error: Sqlite operation failed: 100=another row available\n");
    }
    EXPECT_FALSE(inTransaction());
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("A")), 1U);
}

TEST_F(SqliteBackend, RefusesToPerformNoStatement) {
    EXPECT_EQ(thrownBy([&] { mAccessor->performNonReturningStatement(nullptr); }),
              "std::runtime_error: Sqlite operation failed: 21=not an error\n");
    EXPECT_FALSE(inTransaction());
}

TEST_F(SqliteBackend, ReadsTheIntegerInTheFirstColumnOfTheCurrentRow) {
    SqliteStatement statement = prepared("SELECT -7, 8 UNION ALL SELECT '9', 10");
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(SqliteDbAccessor::getCardIdFromTagRowFromStatement(statement), -7);
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(SqliteDbAccessor::getCardIdFromTagRowFromStatement(statement), 9);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
