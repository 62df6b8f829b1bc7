// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "authlist/db/sqlite/SqliteStatement.h"
#include "db/sqlite/AccessorFixture.h"
#include "db/sqlite/OperationFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/ConnectionSpy.h"
#include "support/ForkedProcess.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::cardWithKey;
using test::fieldsOf;
using test::Operation;
using test::tagWithKey;
using test::thrownBy;

class SharedSqliteBackend : public test::AccessorFixture {
protected:
    static constexpr int threadCount = 4;
    static constexpr int cardsPerThread = 20;

    static std::string keyOf(int thread, int number) {
        return "Thread " + std::to_string(thread) + " card " + std::to_string(number);
    }

    static RfidCard cardOf(int thread, int number) {
        RfidCard card = cardWithKey(keyOf(thread, number));
        card.tags.push_back(tagWithKey(keyOf(thread, number) + " spare"));
        return card;
    }

    // Runs action with the number of each thread, all at once, and expects that none of them throws.
    static void onThreads(const std::function<void(int)>& action) {
        std::atomic<int> ready{0};
        std::vector<std::string> outcomes(threadCount);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([&, thread] {
                ++ready;
                while (ready < threadCount) std::this_thread::yield();
                outcomes[static_cast<std::size_t>(thread)] = thrownBy([&] { action(thread); });
            });
        }
        for (std::thread& each : threads) each.join();
        EXPECT_THAT(outcomes, testing::Each("nothing"));
    }

    // Whether no transaction began within another and each kept its statements together.
    void expectWholeTransactions() {
        bool within = false;
        std::string card;
        for (const std::string& statement : mSpy.takeStatements()) {
            if (statement.starts_with("BEGIN")) {
                EXPECT_FALSE(within);
                within = true;
            } else if (statement.starts_with("COMMIT")) {
                EXPECT_TRUE(within);
                within = false;
            } else if (statement.starts_with("INSERT INTO rfid_card")) {
                EXPECT_TRUE(within);
                card = statement.substr(statement.find("'Card ") + 6);
                card.resize(card.find('\''));
            } else if (statement.starts_with("INSERT INTO rfid_tag")) {
                EXPECT_TRUE(within);
                EXPECT_THAT(statement, testing::HasSubstr("'" + card));
            }
            EXPECT_FALSE(statement.starts_with("ROLLBACK"));
        }
        EXPECT_FALSE(within);
    }
};

TEST_F(SharedSqliteBackend, StoresEveryCardOfEveryThreadWithItsOwnTags) {
    std::mutex mutex;
    std::set<unsigned> ids;
    onThreads([&](int thread) {
        for (int number = 0; number < cardsPerThread; ++number) {
            const unsigned id = mAccessor->createRecord(cardOf(thread, number));
            const std::lock_guard lock(mutex);
            EXPECT_TRUE(ids.insert(id).second);
        }
    });
    expectWholeTransactions();
    EXPECT_EQ(ids.size(), static_cast<std::size_t>(threadCount * cardsPerThread));
    for (int thread = 0; thread < threadCount; ++thread) {
        for (int number = 0; number < cardsPerThread; ++number) {
            RfidCard card = cardOf(thread, number);
            const RfidCard stored = mAccessor->readRecord(card.tags[1].hash, KeyRepresentation::Hash).value();
            EXPECT_TRUE(ids.contains(stored.id.value()));
            card.id = stored.id;
            EXPECT_EQ(fieldsOf(stored), fieldsOf(card));
        }
    }
}

TEST_F(SharedSqliteBackend, LetsEveryThreadWorkOnCardsOfItsOwn) {
    onThreads([&](int thread) {
        for (int number = 0; number < cardsPerThread / 2; ++number) {
            RfidCard card = cardOf(thread, number);
            card.id = mAccessor->createRecord(card);
            card.description = "Changed";
            card.tags.pop_back();
            EXPECT_EQ(mAccessor->updateRecord(card), *card.id);
            EXPECT_EQ(fieldsOf(mAccessor->readRecord(*card.id).value()), fieldsOf(card));
            EXPECT_TRUE(mAccessor->tagIsKnown(card.tags[0].hash));
            if (number % 2 == 0) mAccessor->deleteRecord(keyOf(thread, number), KeyRepresentation::Key);
        }
    });
    EXPECT_FALSE(inTransaction());
    EXPECT_EQ(mAccessor->countRecords(), static_cast<unsigned>(threadCount * cardsPerThread / 4));
    EXPECT_EQ(committed("SELECT COUNT(*) FROM rfid_tag"), std::to_string(threadCount * cardsPerThread / 4));
}

TEST_F(SharedSqliteBackend, AnswersReadsWhileOtherThreadsWrite) {
    for (int number = 0; number < 5; ++number) mAccessor->createRecord(cardOf(threadCount, number));
    mAccessor->updateVersion(1);
    onThreads([&](int thread) {
        for (int number = 0; number < cardsPerThread; ++number) {
            if (thread == 0) {
                mAccessor->createRecord(cardOf(thread, number));
            } else if (thread == 1) {
                mAccessor->updateVersion(static_cast<unsigned>(number));
            } else {
                EXPECT_TRUE(mAccessor->readRecord(keyOf(threadCount, 3), KeyRepresentation::Key));
                EXPECT_GE(mAccessor->readAllRecords().size(), 5U);
                EXPECT_GE(mAccessor->countRecords(), 5U);
                EXPECT_TRUE(mAccessor->readVersion());
                EXPECT_EQ(mAccessor->readRecordRange(2, 1, {}, {}, {}, {}, {}).size(), 2U);
            }
        }
    });
    EXPECT_EQ(mAccessor->countRecords(), static_cast<unsigned>(5 + cardsPerThread));
    EXPECT_EQ(mAccessor->readVersion(), static_cast<unsigned>(cardsPerThread - 1));
}

TEST_F(SharedSqliteBackend, KeepsOneVersionRowWhenThreadsUpdateAVersionThatExists) {
    mAccessor->updateVersion(0);
    onThreads([&](int thread) {
        for (int number = 0; number < cardsPerThread; ++number) {
            mAccessor->updateVersion(static_cast<unsigned>(thread));
        }
    });
    EXPECT_EQ(committed("SELECT COUNT(*) FROM metadata"), "1");
    EXPECT_LT(mAccessor->readVersion().value(), static_cast<unsigned>(threadCount));
}

// The rows of metadata are counted before the lock is taken. Two that write the very first version at once may both
// find none; which then happens, in the only order that matters, is played here step by step.
TEST_F(SharedSqliteBackend, CannotReadAVersionThatTwoWroteFirstAtTheSameTime) {
    const SqlStatementBuilder one(std::make_shared<SqliteConnector>(mFile));
    const SqlStatementBuilder another(std::make_shared<SqliteConnector>(mFile));
    const SqliteStatement first = one.getUpdateVersionStatement(5);
    const SqliteStatement second = another.getUpdateVersionStatement(6);
    EXPECT_EQ(sqlite3_step(first.get()), SQLITE_DONE);
    EXPECT_EQ(sqlite3_step(second.get()), SQLITE_DONE);
    EXPECT_EQ(committed("SELECT COUNT(*) FROM metadata"), "2");
    EXPECT_EQ(thrownBy([&] { mAccessor->readVersion(); }),
              "std::runtime_error: Sqlite operation failed: 100=another row available\n");
}

// Who takes the lock. It is not recursive: whoever asks for it on the thread that writes waits for ever.

class SqliteWithinAWrite : public test::OperationFixture {
protected:
    // What comes of the operation, while SQLite refuses this, when an SQL function calls it within a statement that the
    // accessor performs. In a process of its own, which a signal ends when it waits.
    std::string outcomeWithinAWrite(const test::Refusal::Refuses& refuses) const {
        const test::ForkedRun run = test::runForked([&](const test::Reporter& report) {
            alarm(30);
            test::ConnectionSpy spy;
            const auto accessor = filledInChild(spy);
            std::function<void()> operation = [&] {
                const test::Refusal refusal(spy.connection(), refuses);
                report(thrownBy([&] { GetParam().run(*accessor); }));
            };
            sqlite3_create_function(spy.connection(), "operation", 0, SQLITE_UTF8, &operation, call, nullptr, nullptr);
            const SqliteStatement write =
                prepared(spy.connection(), "DELETE FROM rfid_card WHERE id = 1 AND operation()");
            accessor->performNonReturningStatement(write.get());
        });
        EXPECT_TRUE(run.finished()) << run.status;
        return run.report;
    }

private:
    static void call(sqlite3_context* context, int /*count*/, sqlite3_value** /*arguments*/) {
        (*static_cast<std::function<void()>*>(sqlite3_user_data(context)))();
        sqlite3_result_int(context, 0);
    }
};

class SqliteReadWithinAWrite : public SqliteWithinAWrite {};
class SqliteWriteWithinAWrite : public SqliteWithinAWrite {};

bool onlyRead(const Operation& operation) { return !operation.writes; }

// What creates a card has nothing to do before it takes the lock.
bool writeButCreateNoCard(const Operation& operation) {
    return operation.writes && std::none_of(operation.statements.begin(), operation.statements.end(),
                                            [](const auto& each) { return each.starts_with("INSERT INTO rfid_card"); });
}

INSTANTIATE_TEST_SUITE_P(All, SqliteReadWithinAWrite, testing::ValuesIn(test::operationsThat(onlyRead)), test::byName);
INSTANTIATE_TEST_SUITE_P(All, SqliteWriteWithinAWrite, testing::ValuesIn(test::operationsThat(writeButCreateNoCard)),
                         test::byName);

TEST_P(SqliteReadWithinAWrite, TakesNoLock) {
    EXPECT_EQ(outcomeWithinAWrite([](int, const std::string&) { return false; }), "nothing");
}

// What it prepares last before its transaction is refused, so that it does not come to the lock.
TEST_P(SqliteWriteWithinAWrite, TakesNoLockForWhatPrecedesItsTransaction) {
    const auto refuses = [](int action, const std::string& table) {
        const bool isToWrite = action == SQLITE_INSERT || action == SQLITE_UPDATE || action == SQLITE_DELETE;
        return isToWrite || (action == SQLITE_READ && table == "rfid_tag");
    };
    EXPECT_THAT(outcomeWithinAWrite(refuses), testing::StartsWith("std::runtime_error: Sqlite operation failed: 23="));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
