// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <type_traits>
#include <utility>

#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteStatement.h"
#include "support/Database.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::liveStatements;

static_assert(!std::is_copy_constructible_v<SqliteStatement> && !std::is_copy_assignable_v<SqliteStatement>);
static_assert(std::is_nothrow_move_constructible_v<SqliteStatement>);

class PreparedStatement : public testing::Test {
protected:
    sqlite3_stmt* prepare(const char* sql) {
        sqlite3_stmt* handle = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(mConnector.getDb(), sql, -1, &handle, nullptr), SQLITE_OK);
        return handle;
    }

    SqliteConnector mConnector{":memory:"};
};

TEST_F(PreparedStatement, IsFinalizedWithItsOwner) {
    {
        const SqliteStatement statement(prepare("SELECT 1"));
        EXPECT_EQ(liveStatements(mConnector.getDb()), 1);
        EXPECT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    }
    EXPECT_EQ(liveStatements(mConnector.getDb()), 0);
}

TEST_F(PreparedStatement, IsFinalizedOnceWhenItsOwnerMoved) {
    std::optional<SqliteStatement> first(prepare("SELECT 1"));
    sqlite3_stmt* const handle = first->get();
    std::optional<SqliteStatement> second(std::move(*first));
    EXPECT_EQ(second->get(), handle);
    first.reset();
    EXPECT_EQ(liveStatements(mConnector.getDb()), 1);
    EXPECT_EQ(sqlite3_step(second->get()), SQLITE_ROW);
    second.reset();
    EXPECT_EQ(liveStatements(mConnector.getDb()), 0);
}

TEST_F(PreparedStatement, GivesWayToTheOneThatIsAssigned) {
    SqliteStatement statement(prepare("SELECT 1"));
    statement = SqliteStatement(prepare("SELECT 2"));
    EXPECT_EQ(liveStatements(mConnector.getDb()), 1);
    EXPECT_STREQ(sqlite3_sql(statement.get()), "SELECT 2");
}

TEST_F(PreparedStatement, MayBeNone) {
    const SqliteStatement statement(prepare(""));
    EXPECT_EQ(statement.get(), nullptr);
    EXPECT_EQ(liveStatements(mConnector.getDb()), 0);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
