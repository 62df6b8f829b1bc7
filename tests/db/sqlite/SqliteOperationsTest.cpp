// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/sqlite/AccessorFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/ConnectionSpy.h"
#include "support/Database.h"
#include "support/ForkedProcess.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

// What holds for every operation of the accessor: which statements it runs in which order, that it leaves none of them
// and no transaction behind whatever fails, what it does while others lock the database, whom it calls virtually.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::cardWithKey;
using test::Database;
using test::fieldsOf;
using test::tagWithKey;
using test::thrownBy;

struct Operation : test::NamedCase {
    void (*run)(const IDbAccessor& accessor);
    bool writes;
    std::vector<std::string> statements;
};

RfidCard cardWithId(unsigned id, const std::string& key) {
    RfidCard card = cardWithKey(key);
    card.id = id;
    return card;
}

RfidCard firstCard() {
    RfidCard card = cardWithId(1, "A");
    card.tags.push_back(tagWithKey("B"));
    return card;
}

RfidCard firstCardWithOtherTags() {
    RfidCard card = firstCard();
    card.tags = {tagWithKey("B"), tagWithKey("C")};
    return card;
}

const std::string begin = "BEGIN TRANSACTION;";
const std::string commit = "COMMIT;";

std::string findCardId(const std::string& hash) {
    return "SELECT DISTINCT rfid_card FROM rfid_tag WHERE hash = '" + hash + "';";
}
std::string readCard(const std::string& id) { return "SELECT * FROM rfid_card WHERE id=" + id; }
std::string readTags(const std::string& id) { return "SELECT * FROM rfid_tag WHERE rfid_card=" + id; }
std::string deleteCard(const std::string& id) { return "DELETE FROM rfid_card WHERE id = " + id + ";"; }

const std::string cardValues =
    "'Accepted', NULL, NULL, NULL, NULL, '2026-01-01T00:00:00Z', '2026-01-01T00:00:00Z', NULL);";

std::string insertCard(const std::string& key) {
    return "INSERT INTO rfid_card(description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
           "last_access_time, last_modification_time, record_lifetime) VALUES('Card " +
           key + "', " + cardValues;
}
std::string insertCard(const std::string& id, const std::string& key) {
    return "INSERT INTO rfid_card(id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
           "last_access_time, last_modification_time, record_lifetime) VALUES(" +
           id + ", 'Card " + key + "', " + cardValues;
}
std::string insertTag(const std::string& card, const std::string& key) {
    return "INSERT INTO rfid_tag(rfid_card, hash, key, extra_data) VALUES(" + card + ", '" + hashKey(key) + "', '" +
           key + "', NULL);";
}
const std::string updateFirstCard =
    "UPDATE rfid_card SET description = 'Card A', rfid_card_status = 'Accepted', expiry_date = NULL, "
    "parent_id = NULL, evse_id = NULL, extra_data = NULL, last_access_time = '2026-01-01T00:00:00Z', "
    "last_modification_time = '2026-01-01T00:00:00Z', record_lifetime = NULL WHERE id = 1;";

// On a list that holds firstCard() and, as card 2, a blocked one with the key X; version 5.
const std::vector<Operation> operations{
    {{"CreateRecord"},
     [](const auto& accessor) { accessor.createRecord(cardWithKey("N")); },
     true,
     {begin, insertCard("N"), "SELECT last_insert_rowid() FROM rfid_card", insertTag("3", "N"), commit}},
    {{"CreateRecordWithId"},
     [](const auto& accessor) { accessor.createRecord(cardWithId(9, "N")); },
     true,
     {begin, insertCard("9", "N"), insertTag("9", "N"), commit}},
    {{"UpdateRecordWithTheSameTags"},
     [](const auto& accessor) { accessor.updateRecord(firstCard()); },
     true,
     {readCard("1"), readTags("1"), begin, updateFirstCard, commit}},
    {{"UpdateRecordWithOtherTags"},
     [](const auto& accessor) { accessor.updateRecord(firstCardWithOtherTags()); },
     true,
     {readCard("1"), readTags("1"), begin, updateFirstCard, "DELETE FROM rfid_tag WHERE rfid_card = 1;",
      insertTag("1", "B"), insertTag("1", "C"), commit}},
    {{"UpdateRecordOfAnUnknownId"},
     [](const auto& accessor) { accessor.updateRecord(cardWithId(40, "N")); },
     true,
     {readCard("40"), begin, insertCard("40", "N"), insertTag("40", "N"), commit}},
    {{"ReadRecordByKey"},
     [](const auto& accessor) { accessor.readRecord("B", KeyRepresentation::Key); },
     false,
     {findCardId(hashKey("B")), readCard("1"), readTags("1")}},
    {{"ReadRecordByHash"},
     [](const auto& accessor) { accessor.readRecord(hashKey("B"), KeyRepresentation::Hash); },
     false,
     {findCardId(hashKey("B")), readCard("1"), readTags("1")}},
    {{"ReadRecordByAnUnknownHash"},
     [](const auto& accessor) { accessor.readRecord("B", KeyRepresentation::Hash); },
     false,
     {findCardId("B")}},
    {{"ReadRecordById"}, [](const auto& accessor) { accessor.readRecord(2); }, false, {readCard("2"), readTags("2")}},
    {{"ReadRecordByAnUnknownId"}, [](const auto& accessor) { accessor.readRecord(3); }, false, {readCard("3")}},
    {{"ReadRecordRange"},
     [](const auto& accessor) {
         accessor.readRecordRange(5, 0, SortingAndFilteringKey::Id, FilteringOperator::GreaterOrEqual, CardValue{1U},
                                  SortingAndFilteringKey::Id, SortingOrder::Descending);
     },
     false,
     {"SELECT * FROM rfid_card WHERE id >= 1 ORDER BY id DESC NULLS FIRST LIMIT 5 OFFSET 0", readTags("2"),
      readTags("1")}},
    {{"ReadAllRecords"},
     [](const auto& accessor) { accessor.readAllRecords(); },
     false,
     {"SELECT * FROM rfid_card", readTags("1"), readTags("2")}},
    {{"DeleteAllRecords"},
     [](const auto& accessor) { accessor.deleteAllRecords(); },
     true,
     {begin, "DELETE FROM rfid_card;", commit}},
    {{"DeleteRecordByKey"},
     [](const auto& accessor) { accessor.deleteRecord("X", KeyRepresentation::Key); },
     true,
     {findCardId(hashKey("X")), begin, deleteCard("2"), commit}},
    {{"DeleteRecordByHash"},
     [](const auto& accessor) { accessor.deleteRecord(hashKey("X"), KeyRepresentation::Hash); },
     true,
     {findCardId(hashKey("X")), begin, deleteCard("2"), commit}},
    {{"DeleteRecordByAnUnknownHash"},
     [](const auto& accessor) { accessor.deleteRecord("X", KeyRepresentation::Hash); },
     false,
     {findCardId("X")}},
    {{"DeleteRecordById"},
     [](const auto& accessor) { accessor.deleteRecord(1); },
     true,
     {begin, deleteCard("1"), commit}},
    {{"DeleteBlockedOrInvalid"},
     [](const auto& accessor) { accessor.deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid); },
     true,
     {begin, R"(DELETE FROM rfid_card WHERE rfid_card_status = "Blocked" OR rfid_card_status = "Invalid" RETURNING *;)",
      commit}},
    {{"DeleteExpiredStatus"},
     [](const auto& accessor) { accessor.deleteRecordCategory(RecordRemovalCategory::ExpiredStatus); },
     true,
     {begin, R"(DELETE FROM rfid_card WHERE rfid_card_status = "Expired" RETURNING *;)", commit}},
    {{"DeleteOldestRecord"},
     [](const auto& accessor) { accessor.deleteOldestRecord(); },
     true,
     {begin, "DELETE FROM rfid_card WHERE id IN(SELECT id FROM rfid_card ORDER BY last_modification_time ASC LIMIT 1);",
      commit}},
    {{"CountRecords"},
     [](const auto& accessor) { accessor.countRecords(); },
     false,
     {"SELECT COUNT(id) FROM rfid_card"}},
    {{"TagIsKnown"},
     [](const auto& accessor) { accessor.tagIsKnown("aa"); },
     false,
     {"SELECT hash FROM rfid_tag WHERE hash = 'aa';"}},
    {{"ReadVersion"}, [](const auto& accessor) { accessor.readVersion(); }, false, {"SELECT version FROM metadata;"}},
    {{"UpdateVersion"},
     [](const auto& accessor) { accessor.updateVersion(6); },
     true,
     {"SELECT COUNT(*) FROM metadata", begin, "UPDATE metadata SET version = 6;", commit}},
};

class SqliteOperation : public test::AccessorFixture, public testing::WithParamInterface<Operation> {
protected:
    SqliteOperation() {
        fill(*mAccessor);
        mSpy.takeStatements();
    }

    static void fill(const IDbAccessor& accessor) {
        accessor.createRecord(firstCard());
        accessor.createRecord(cardWithKey("X", RfidCardStatus::Blocked));
        accessor.updateVersion(5);
    }

    void run() const { GetParam().run(*mAccessor); }

    // Everything that is stored, as another connection sees it.
    Database::Rows everything() const {
        Database::Rows all = committedRows("SELECT * FROM rfid_card");
        for (const char* sql : {"SELECT * FROM rfid_tag ORDER BY id", "SELECT * FROM metadata"}) {
            for (auto& row : committedRows(sql)) all.push_back(std::move(row));
        }
        return all;
    }
};

class SqliteWrite : public SqliteOperation {};

std::vector<Operation> writingOperations() {
    std::vector<Operation> writing;
    std::copy_if(operations.begin(), operations.end(), std::back_inserter(writing),
                 [](const Operation& operation) { return operation.writes; });
    return writing;
}

INSTANTIATE_TEST_SUITE_P(All, SqliteOperation, testing::ValuesIn(operations), test::byName);
INSTANTIATE_TEST_SUITE_P(All, SqliteWrite, testing::ValuesIn(writingOperations()), test::byName);

TEST_P(SqliteOperation, RunsItsStatementsInTheirOrder) {
    run();
    EXPECT_EQ(mSpy.takeStatements(), GetParam().statements);
}

TEST_P(SqliteOperation, LeavesNoStatementAndNoTransactionBehind) {
    run();
    EXPECT_EQ(test::liveStatements(connection()), 0);
    EXPECT_FALSE(inTransaction());
}

// SQLite asks before it prepares each part of a statement; here one answer after the other is no.
TEST_P(SqliteOperation, LeavesNoStatementAndNoTransactionBehindWhereverItIsRefused) {
    mAccessor.reset();
    const std::string filled = mFolder.file("filled.db");
    std::filesystem::rename(mFile, filled);
    for (int refused = 0;; ++refused) {
        mAccessor.reset();
        std::filesystem::copy_file(filled, mFile, std::filesystem::copy_options::overwrite_existing);
        mAccessor = mSpy.watch([this] { return std::make_unique<SqliteDbAccessor>(mFile); });
        test::spareTheDisk(connection());
        int asked = 0;
        std::string outcome;
        {
            const test::Refusal refusal(connection(), [&](int, const std::string&) { return asked++ == refused; });
            outcome = thrownBy([&] { run(); });
        }
        EXPECT_EQ(test::liveStatements(connection()), 0) << refused;
        EXPECT_FALSE(inTransaction()) << refused;
        EXPECT_THAT(outcome,
                    testing::AnyOf("nothing", testing::StartsWith("std::runtime_error: Sqlite operation failed: "),
                                   testing::StartsWith("std::runtime_error: Cannot execute query: ")));
        EXPECT_EQ(mAccessor->updateRecord(cardWithId(50, "still usable")), 50U) << refused;
        if (asked <= refused) break;
    }
}

TEST_P(SqliteWrite, PassesOnThatItCannotBegin) {
    const auto before = everything();
    {
        const test::Refusal refusal(connection(), [](int action, const std::string& subject) {
            return action == SQLITE_TRANSACTION && subject == "BEGIN";
        });
        EXPECT_EQ(thrownBy([&] { run(); }),
                  "std::runtime_error: Cannot execute query:  BEGIN TRANSACTION; \nError: 23=not authorized");
    }
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(test::liveStatements(connection()), 0);
    EXPECT_EQ(thrownBy([&] { run(); }), "nothing");
}

// A transaction that was begun on the connection behind the accessor's back.
TEST_P(SqliteWrite, RefusesToWriteWithinATransactionOfSomebodyElse) {
    ASSERT_EQ(sqlite3_exec(connection(), "BEGIN", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(thrownBy([&] { run(); }),
              "std::runtime_error: Cannot execute query:  BEGIN TRANSACTION; \n"
              "Error: 1=cannot start a transaction within a transaction");
    EXPECT_TRUE(inTransaction());
    ASSERT_EQ(sqlite3_exec(connection(), "ROLLBACK", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(thrownBy([&] { run(); }), "nothing");
}

TEST_P(SqliteOperation, ReadsButCannotWriteWhileAnotherConnectionWrites) {
    const auto before = everything();
    {
        const Database other(mFile);
        other.execute("BEGIN IMMEDIATE");
        EXPECT_EQ(thrownBy([&] { run(); }), GetParam().writes
                                                ? "std::runtime_error: Sqlite operation failed: 5=database is locked\n"
                                                : "nothing");
        EXPECT_EQ(test::liveStatements(connection()), 0);
        EXPECT_FALSE(inTransaction());
        other.execute("ROLLBACK");
    }
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(thrownBy([&] { run(); }), "nothing");
}

TEST_P(SqliteOperation, CannotEvenReadWhileAnotherConnectionLocksTheFile) {
    const auto before = everything();
    {
        const Database other(mFile);
        other.execute("BEGIN EXCLUSIVE");
        EXPECT_EQ(thrownBy([&] { run(); }), "std::runtime_error: Sqlite operation failed: 5=database is locked\n");
        EXPECT_EQ(test::liveStatements(connection()), 0);
        EXPECT_FALSE(inTransaction());
        other.execute("ROLLBACK");
    }
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(thrownBy([&] { run(); }), "nothing");
}

// SQLite lets a writer commit only when nobody reads; releasing the transaction never throws, so nobody is told.
TEST_P(SqliteOperation, RollsBackInSilenceWhenAReaderKeepsItFromCommitting) {
    const auto before = everything();
    {
        const Database reader(mFile);
        reader.execute("BEGIN; SELECT * FROM rfid_card");
        EXPECT_EQ(thrownBy([&] { run(); }), "nothing");
        EXPECT_FALSE(inTransaction());
        EXPECT_EQ(test::liveStatements(connection()), 0);
        reader.execute("COMMIT");
    }
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(thrownBy([&] { run(); }), "nothing");
}

TEST_P(SqliteWrite, EndsTheProcessWhenNeitherCommitNorRollbackWorks) {
    const test::ForkedRun run = test::runForked([&](const test::Reporter& report) {
        static const test::Reporter* toParent = nullptr;
        toParent = &report;
        std::set_terminate([] {
            (*toParent)(thrownBy([] { std::rethrow_exception(std::current_exception()); }));
            std::abort();
        });
        test::ConnectionSpy spy;
        const auto accessor =
            spy.watch([this] { return std::make_unique<SqliteDbAccessor>(mFolder.file("child.db")); });
        fill(*accessor);
        const test::Refusal refusal(spy.connection(), [](int action, const std::string& subject) {
            return action == SQLITE_TRANSACTION && subject != "BEGIN";
        });
        GetParam().run(*accessor);
    });
    EXPECT_TRUE(run.diedBySignal(SIGABRT)) << run.status;
    EXPECT_EQ(run.report, "std::runtime_error: Cannot execute query:  ROLLBACK; \nError: 23=not authorized");
}

// The order of preparing and beginning, which the statements that run do not show.

class SqlitePreparation : public SqliteOperation {
protected:
    // The statements that run when preparing to write to this table is refused.
    std::vector<std::string> statementsWhenRefused(int action, const std::string& table) {
        const test::Refusal refusal(connection(), [=](int refusedAction, const std::string& subject) {
            return refusedAction == action && subject == table;
        });
        EXPECT_EQ(thrownBy([&] { run(); }), "std::runtime_error: Sqlite operation failed: 23=not authorized\n");
        return mSpy.takeStatements();
    }
};

class SqlitePreparesBeforeItBegins : public SqlitePreparation {};
class SqliteBeginsBeforeItPrepares : public SqlitePreparation {};

std::vector<Operation> operationsNamed(const std::vector<std::string>& names) {
    std::vector<Operation> found;
    for (const std::string& name : names) {
        for (const Operation& operation : operations) {
            if (operation.name == name) found.push_back(operation);
        }
    }
    return found;
}

INSTANTIATE_TEST_SUITE_P(Deletions, SqlitePreparesBeforeItBegins,
                         testing::ValuesIn(operationsNamed({"DeleteAllRecords", "DeleteRecordById",
                                                            "DeleteBlockedOrInvalid", "DeleteExpiredStatus",
                                                            "DeleteOldestRecord"})),
                         test::byName);
INSTANTIATE_TEST_SUITE_P(Insertions, SqliteBeginsBeforeItPrepares,
                         testing::ValuesIn(operationsNamed({"CreateRecord", "CreateRecordWithId"})), test::byName);

TEST_P(SqlitePreparesBeforeItBegins, TheStatementThatDeletes) {
    EXPECT_THAT(statementsWhenRefused(SQLITE_DELETE, "rfid_card"), testing::IsEmpty());
}

TEST_P(SqliteBeginsBeforeItPrepares, TheStatementThatInserts) {
    EXPECT_THAT(statementsWhenRefused(SQLITE_INSERT, "rfid_card"), testing::ElementsAre(begin, commit));
}

// Calls through the interface

class Recording : public SqliteDbAccessor {
public:
    using SqliteDbAccessor::SqliteDbAccessor;

    unsigned createRecord(const RfidCard& card) const override {
        note("createRecord " + std::to_string(card.id.value_or(0)));
        return 77;
    }
    using SqliteDbAccessor::readRecord;
    std::optional<RfidCard> readRecord(unsigned id) const override {
        note("readRecord " + std::to_string(id));
        return mAnswer;
    }
    using SqliteDbAccessor::deleteRecord;
    void deleteRecord(unsigned id) const override { note("deleteRecord " + std::to_string(id)); }

    std::vector<std::string> takeCalls() const { return std::exchange(mCalls, {}); }

    std::optional<RfidCard> mAnswer;

private:
    void note(const std::string& call) const { mCalls.push_back(call); }

    mutable std::vector<std::string> mCalls;
};

class SqliteVirtualCalls : public test::AccessorFixture {
protected:
    SqliteVirtualCalls() { mAccessor->createRecord(cardWithId(5, "A")); }

    Recording mRecording{mFile};
};

TEST_F(SqliteVirtualCalls, UpdateReadsTheStoredCardAndCreatesAnUnknownOne) {
    EXPECT_EQ(mRecording.updateRecord(cardWithId(5, "A")), 77U);
    EXPECT_THAT(mRecording.takeCalls(), testing::ElementsAre("readRecord 5", "createRecord 5"));
}

TEST_F(SqliteVirtualCalls, UpdateComparesWithTheTagsOfTheCardThatItRead) {
    mRecording.mAnswer = cardWithId(5, "A");
    mRecording.mAnswer->tags = {tagWithKey("B")};
    EXPECT_EQ(mRecording.updateRecord(cardWithId(5, "A")), 5U);
    EXPECT_EQ(committed("SELECT id FROM rfid_tag"), "2");
    mRecording.mAnswer->tags = {tagWithKey("A")};
    EXPECT_EQ(mRecording.updateRecord(cardWithId(5, "A")), 5U);
    EXPECT_EQ(committed("SELECT id FROM rfid_tag"), "2");
    EXPECT_THAT(mRecording.takeCalls(), testing::ElementsAre("readRecord 5", "readRecord 5"));
}

TEST_F(SqliteVirtualCalls, ReadByKeyReadsById) {
    mRecording.mAnswer = cardWithId(9, "B");
    EXPECT_EQ(fieldsOf(mRecording.readRecord("A", KeyRepresentation::Key).value()), fieldsOf(cardWithId(9, "B")));
    mRecording.readRecord(hashKey("A"), KeyRepresentation::Hash);
    mRecording.readRecord("unknown", KeyRepresentation::Key);
    EXPECT_THAT(mRecording.takeCalls(), testing::ElementsAre("readRecord 5", "readRecord 5"));
}

TEST_F(SqliteVirtualCalls, DeleteByKeyDeletesById) {
    mRecording.deleteRecord("A", KeyRepresentation::Key);
    mRecording.deleteRecord(hashKey("A"), KeyRepresentation::Hash);
    mRecording.deleteRecord("unknown", KeyRepresentation::Key);
    EXPECT_THAT(mRecording.takeCalls(), testing::ElementsAre("deleteRecord 5", "deleteRecord 5"));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
