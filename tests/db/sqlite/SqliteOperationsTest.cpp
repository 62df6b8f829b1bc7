// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/sqlite/AccessorFixture.h"
#include "db/sqlite/OperationFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/ConnectionSpy.h"
#include "support/Database.h"
#include "support/ForkedProcess.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

// What holds for every operation of the accessor: which statements it runs in which order, that it leaves none of them
// and no transaction behind whatever fails, what it does while others lock the database, when it prepares and
// finalizes, whom it calls virtually.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::cardWithId;
using test::Database;
using test::fieldsOf;
using test::Operation;
using test::operationsThat;
using test::tagWithKey;
using test::thrownBy;
using test::sql::begin;
using test::sql::commit;
using testing::ElementsAre;

// The time against which expiry dates are held is another one in each run.
std::string withoutTheTime(std::string statement) {
    const std::string before = "WHERE expiry_date < '";
    const auto found = statement.find(before);
    if (found == std::string::npos) return statement;
    return statement.replace(found + before.size(), std::strlen("2026-01-01T00:00:00Z"), "now");
}

bool write(const Operation& operation) { return operation.writes; }

class SqliteOperation : public test::OperationFixture {};
class SqliteWrite : public test::OperationFixture {};

INSTANTIATE_TEST_SUITE_P(All, SqliteOperation, testing::ValuesIn(test::operations), test::byName);
INSTANTIATE_TEST_SUITE_P(All, SqliteWrite, testing::ValuesIn(operationsThat(write)), test::byName);

TEST_P(SqliteOperation, RunsItsStatementsInTheirOrder) {
    run();
    std::vector<std::string> ran = mSpy.takeStatements();
    std::transform(ran.begin(), ran.end(), ran.begin(), withoutTheTime);
    EXPECT_EQ(ran, GetParam().statements);
}

TEST_P(SqliteOperation, LeavesNoStatementAndNoTransactionBehind) {
    run();
    EXPECT_EQ(test::liveStatements(connection()), 0);
    EXPECT_FALSE(inTransaction());
}

// SQLite asks before it prepares each part of a statement; here one answer after the other is no.
TEST_P(SqliteOperation, LeavesNoStatementAndNoTransactionBehindWhereverItIsRefused) {
    for (int refused = 0;; ++refused) {
        startOver();
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
        const auto accessor = filledInChild(spy);
        const test::Refusal refusal(spy.connection(), [](int action, const std::string& subject) {
            return action == SQLITE_TRANSACTION && subject != "BEGIN";
        });
        GetParam().run(*accessor);
    });
    EXPECT_TRUE(run.diedBySignal(SIGABRT)) << run.status;
    EXPECT_EQ(run.report, "std::runtime_error: Cannot execute query:  ROLLBACK; \nError: 23=not authorized");
}

// The order of preparing and beginning, which the statements that run do not show.

bool storeACard(const Operation& operation) {
    const std::string_view name = operation.name;
    return name.starts_with("CreateRecord") || name.starts_with("UpdateRecord");
}
bool writeOtherwise(const Operation& operation) { return operation.writes && !storeACard(operation); }

bool isToWrite(int action) { return action == SQLITE_INSERT || action == SQLITE_UPDATE || action == SQLITE_DELETE; }

// Whether this is what SQLite asks before it prepares the statement.
bool isAbout(const std::string& statement, int action, const std::string& table) {
    if (!isToWrite(action)) return false;
    const char* verb = action == SQLITE_INSERT ? "INSERT INTO " : action == SQLITE_UPDATE ? "UPDATE " : "DELETE FROM ";
    return statement.starts_with(verb + table);
}

class SqlitePreparation : public test::OperationFixture {
protected:
    static const std::vector<std::string>& statements() { return GetParam().statements; }

    static std::size_t indexOf(const std::string& statement) {
        const auto found = std::find(statements().begin(), statements().end(), statement);
        return static_cast<std::size_t>(found - statements().begin());
    }

    static std::vector<std::string> statementsBefore(std::size_t index) {
        return {statements().begin(), statements().begin() + static_cast<std::ptrdiff_t>(index)};
    }

    // The statements that run when preparing this one is refused.
    std::vector<std::string> statementsWhenRefused(std::size_t index) {
        const std::string statement = statements()[index];
        const std::string opening = statement.substr(0, statement.find('('));
        const std::vector<std::string> earlier = statementsBefore(index);
        auto alike = std::count_if(earlier.begin(), earlier.end(),
                                   [&](const std::string& each) { return each.starts_with(opening); });
        const test::Refusal refusal(connection(), [&](int action, const std::string& table) {
            return isAbout(statement, action, table) && alike-- == 0;
        });
        EXPECT_EQ(thrownBy([&] { run(); }), "std::runtime_error: Sqlite operation failed: 23=not authorized\n");
        return mSpy.takeStatements();
    }
};

class SqlitePreparesBeforeItBegins : public SqlitePreparation {};
class SqliteBeginsBeforeItPrepares : public SqlitePreparation {};

INSTANTIATE_TEST_SUITE_P(All, SqlitePreparesBeforeItBegins, testing::ValuesIn(operationsThat(writeOtherwise)),
                         test::byName);
INSTANTIATE_TEST_SUITE_P(All, SqliteBeginsBeforeItPrepares, testing::ValuesIn(operationsThat(storeACard)),
                         test::byName);

TEST_P(SqlitePreparesBeforeItBegins, TheStatementThatWrites) {
    const std::size_t beginning = indexOf(begin);
    EXPECT_EQ(statementsWhenRefused(beginning + 1), statementsBefore(beginning));
}

// The time against which expiry dates are held is bound like any other value: it has been read by then.
TEST_P(SqlitePreparesBeforeItBegins, AStatementWithAllItsValues) {
    const test::LiveStatementsWhenPreparing beginning(connection(), SQLITE_TRANSACTION, "BEGIN");
    run();
    const std::string written = mSpy.takeStatements().at(indexOf(begin) + 1);
    EXPECT_THAT(beginning.noted(), ElementsAre(ElementsAre(written)));
}

TEST_P(SqliteBeginsBeforeItPrepares, EachStatementThatWrites) {
    for (std::size_t index = indexOf(begin) + 1; statements()[index] != commit; ++index) {
        if (statements()[index].starts_with("SELECT")) continue;
        startOver();
        std::vector<std::string> expected = statementsBefore(index);
        expected.push_back(commit);
        EXPECT_EQ(statementsWhenRefused(index), expected);
    }
}

// The order of finalizing and committing, which they do not show either.

class SqliteFinalizesAfterItCommits : public test::OperationFixture {};
class SqliteFinalizesBeforeItCommits : public test::OperationFixture {};

INSTANTIATE_TEST_SUITE_P(All, SqliteFinalizesAfterItCommits, testing::ValuesIn(operationsThat(writeOtherwise)),
                         test::byName);
INSTANTIATE_TEST_SUITE_P(All, SqliteFinalizesBeforeItCommits, testing::ValuesIn(operationsThat(storeACard)),
                         test::byName);

TEST_P(SqliteFinalizesAfterItCommits, TheStatementThatWrote) {
    const test::LiveStatementsWhenPreparing committing(connection(), SQLITE_TRANSACTION, "COMMIT");
    run();
    const std::vector<std::string> ran = mSpy.takeStatements();
    EXPECT_THAT(committing.noted(), ElementsAre(ElementsAre(ran.at(ran.size() - 2))));
}

TEST_P(SqliteFinalizesBeforeItCommits, EveryStatement) {
    const test::LiveStatementsWhenPreparing committing(connection(), SQLITE_TRANSACTION, "COMMIT");
    run();
    EXPECT_THAT(committing.noted(), ElementsAre(testing::IsEmpty()));
}

class SqliteFinalizes : public test::AccessorFixture {};

TEST_F(SqliteFinalizes, TheStatementOfATagBeforeThatOfTheNext) {
    const test::LiveStatementsWhenPreparing tags(connection(), SQLITE_INSERT, "rfid_tag");
    mAccessor->createRecord(test::firstCard());
    const std::vector<std::string> card{test::sql::insertCard("1", "A")};
    EXPECT_THAT(tags.noted(), ElementsAre(card, card));
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
    EXPECT_THAT(mRecording.takeCalls(), ElementsAre("readRecord 5", "createRecord 5"));
}

TEST_F(SqliteVirtualCalls, UpdateComparesWithTheTagsOfTheCardThatItRead) {
    mRecording.mAnswer = cardWithId(5, "A");
    mRecording.mAnswer->tags = {tagWithKey("B")};
    EXPECT_EQ(mRecording.updateRecord(cardWithId(5, "A")), 5U);
    EXPECT_EQ(committed("SELECT id FROM rfid_tag"), "2");
    mRecording.mAnswer->tags = {tagWithKey("A")};
    EXPECT_EQ(mRecording.updateRecord(cardWithId(5, "A")), 5U);
    EXPECT_EQ(committed("SELECT id FROM rfid_tag"), "2");
    EXPECT_THAT(mRecording.takeCalls(), ElementsAre("readRecord 5", "readRecord 5"));
}

TEST_F(SqliteVirtualCalls, ReadByKeyReadsById) {
    mRecording.mAnswer = cardWithId(9, "B");
    EXPECT_EQ(fieldsOf(mRecording.readRecord("A", KeyRepresentation::Key).value()), fieldsOf(cardWithId(9, "B")));
    mRecording.readRecord(hashKey("A"), KeyRepresentation::Hash);
    mRecording.readRecord("unknown", KeyRepresentation::Key);
    EXPECT_THAT(mRecording.takeCalls(), ElementsAre("readRecord 5", "readRecord 5"));
}

TEST_F(SqliteVirtualCalls, DeleteByKeyDeletesById) {
    mRecording.deleteRecord("A", KeyRepresentation::Key);
    mRecording.deleteRecord(hashKey("A"), KeyRepresentation::Hash);
    mRecording.deleteRecord("unknown", KeyRepresentation::Key);
    EXPECT_THAT(mRecording.takeCalls(), ElementsAre("deleteRecord 5", "deleteRecord 5"));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
