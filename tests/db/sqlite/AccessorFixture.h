// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "authlist/db/sqlite/SqliteStatement.h"
#include "support/ConnectionSpy.h"
#include "support/Database.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::test {

/// An accessor on a new database, with a hold on its connection and on the statements that it runs.
class AccessorFixture : public testing::Test {
protected:
    AccessorFixture() {
        spareTheDisk(connection());
        mSpy.takeStatements();
    }

    sqlite3* connection() const { return mSpy.connection(); }
    bool inTransaction() const { return sqlite3_get_autocommit(connection()) == 0; }

    /// Looks at what is committed, from another connection.
    std::string committed(const std::string& sql) const { return Database(mFile).value(sql); }
    Database::Rows committedRows(const std::string& sql) const { return Database(mFile).rows(sql); }

    /// Changes the database from another connection.
    void change(const std::string& script) const { Database(mFile).execute(script); }

    static db::sqlite::SqliteStatement prepared(sqlite3* db, const char* sql) {
        sqlite3_stmt* handle = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &handle, nullptr), SQLITE_OK);
        return db::sqlite::SqliteStatement(handle);
    }
    /// A statement on the accessor's own connection.
    db::sqlite::SqliteStatement prepared(const char* sql) const { return prepared(connection(), sql); }

    void reopen() {
        mAccessor.reset();
        mAccessor = std::make_unique<db::sqlite::SqliteDbAccessor>(mFile);
    }

    static std::vector<unsigned> idsOf(const std::vector<RfidCard>& cards) {
        std::vector<unsigned> ids;
        for (const RfidCard& card : cards) ids.push_back(card.id.value());
        return ids;
    }
    std::vector<unsigned> storedIds() const { return idsOf(mAccessor->readAllRecords()); }

    TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list.db");
    ConnectionSpy mSpy;
    std::unique_ptr<db::sqlite::SqliteDbAccessor> mAccessor =
        mSpy.watch([this] { return std::make_unique<db::sqlite::SqliteDbAccessor>(mFile); });
};

}  // namespace oru::kadi::authlist::test
