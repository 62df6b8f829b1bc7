// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>

#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteStatement.h"
#include "support/Database.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::test {

/// A statement builder on a new database without tables. No statement may be left when the test ends.
class BuilderFixture : public testing::Test {
protected:
    BuilderFixture() { spareTheDisk(mConnector->getDb()); }
    ~BuilderFixture() override { EXPECT_EQ(statementsAlive(), 0) << "A statement was not finalized"; }

    void createAllTables() const {
        using db::sqlite::DbTableType;
        mBuilder.createTables({DbTableType::Metadata, DbTableType::RfidCard, DbTableType::RfidTag});
    }

    db::sqlite::SqliteStatement prepared(const std::string& sql) const { return mBuilder.prepareStatement(sql, {}); }
    db::sqlite::SqlRows rowsOf(const std::string& sql) const { return mBuilder.unpackFields(prepared(sql)); }
    int statementsAlive() const { return liveStatements(mConnector->getDb()); }

    TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list.db");
    std::shared_ptr<db::sqlite::SqliteConnector> mConnector = std::make_shared<db::sqlite::SqliteConnector>(mFile);
    db::sqlite::SqlStatementBuilder mBuilder{mConnector};
};

/// The statement's text with the values of its parameters in their places.
inline std::string withValues(const db::sqlite::SqliteStatement& statement) {
    const std::unique_ptr<char, void (*)(void*)> sql(sqlite3_expanded_sql(statement.get()), sqlite3_free);
    return sql == nullptr ? "" : sql.get();
}

}  // namespace oru::kadi::authlist::test
