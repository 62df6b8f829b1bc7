// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>

#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteStatement.h"
#include "support/ConnectionSpy.h"
#include "support/Database.h"
#include "support/Files.h"
#include "support/ForkedProcess.h"
#include "support/OpenFiles.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::contentOf;
using test::Database;
using test::openDescriptorsOf;
using test::thrownBy;
using testing::ElementsAre;

static_assert(!std::is_copy_constructible_v<SqliteConnector> && !std::is_copy_assignable_v<SqliteConnector>);

class SqliteConnection : public testing::Test {
protected:
    // A file that is no database.
    std::string textFile() const {
        const std::string file = mFolder.file("notes.txt");
        test::writeFile(file, std::string(2048, 'x'));
        return file;
    }

    // The only value that a query yields on the connector's own connection.
    static std::string valueOn(SqliteConnector& connector, const std::string& sql) {
        std::string value;
        const auto keep = [](void* text, int, char** values, char**) {
            *static_cast<std::string*>(text) = values[0];
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(connector.getDb(), sql.c_str(), keep, &value, nullptr), SQLITE_OK);
        return value;
    }

    test::TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list.db");
};

// Opening

TEST_F(SqliteConnection, RefusesAnEmptyFileNameAndOpensNothing) {
    test::ConnectionSpy spy;
    EXPECT_EQ(thrownBy([&] { spy.watch([] { return std::make_unique<SqliteConnector>(""); }); }),
              "std::runtime_error: Filename not specified during initialization");
    EXPECT_EQ(spy.connection(), nullptr);
}

TEST_F(SqliteConnection, OpensAFileThatDoesNotExistYet) {
    SqliteConnector connector(mFile);
    EXPECT_EQ(sqlite3_exec(connector.getDb(), "CREATE TABLE t(a)", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(Database(mFile).value("SELECT name FROM sqlite_master"), "t");
}

TEST_F(SqliteConnection, OpensAFileWhoseNameHasBlanksAndUmlauts) {
    const std::string file = mFolder.file("Liste für 'Jörg' 100%.db");
    const SqliteConnector connector(file);
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(SqliteConnection, RefusesAFileInAMissingFolder) {
    const std::string file = mFolder.file("missing/list.db");
    EXPECT_EQ(thrownBy([&] { SqliteConnector{file}; }),
              "std::runtime_error: Cannot open DB connection, filename: " + file);
    EXPECT_FALSE(std::filesystem::exists(mFolder.file("missing")));
}

TEST_F(SqliteConnection, RefusesAFolder) {
    const std::string folder = mFolder.path().string();
    EXPECT_EQ(thrownBy([&] { SqliteConnector{folder}; }),
              "std::runtime_error: Cannot open DB connection, filename: " + folder);
}

TEST_F(SqliteConnection, ClosesTheHandleOfAFileThatItCannotOpen) {
    const auto failToOpen = [&] { EXPECT_THROW(SqliteConnector{mFolder.file("missing/list.db")}, std::runtime_error); };
    failToOpen();  // what SQLite allocates once
    const sqlite3_int64 before = sqlite3_memory_used();
    for (int count = 0; count < 10; ++count) failToOpen();
    EXPECT_EQ(sqlite3_memory_used(), before);
}

TEST_F(SqliteConnection, RefusesAFileThatIsNoDatabaseAndLeavesItAsItIs) {
    const std::string file = textFile();
    const std::string before = contentOf(file);
    const test::ForkedRun run =
        test::runForked([&](const test::Reporter& report) { report(thrownBy([&] { SqliteConnector{file}; })); });
    EXPECT_EQ(run.report, "std::runtime_error: Sqlite operation failed: 26=file is not a database\n");
    EXPECT_TRUE(run.finished());
    EXPECT_EQ(contentOf(file), before);
}

// In a process of its own, because there is no way to close a handle that nobody has.
TEST_F(SqliteConnection, LeavesTheHandleOpenWhenTheConfigurationFails) {
    const std::string file = textFile();
    const test::ForkedRun run = test::runForked([&](const test::Reporter& report) {
        report(std::to_string(openDescriptorsOf(file)) + " ");
        thrownBy([&] { SqliteConnector{file}; });
        report(std::to_string(openDescriptorsOf(file)));
    });
    EXPECT_EQ(run.report, "0 1");
    EXPECT_TRUE(run.finished());
}

TEST_F(SqliteConnection, FailsToOpenADatabaseThatAnotherConnectionLocks) {
    const Database other(mFile);
    other.execute("CREATE TABLE t(a); BEGIN EXCLUSIVE");
    const test::ForkedRun run =
        test::runForked([&](const test::Reporter& report) { report(thrownBy([&] { SqliteConnector{mFile}; })); });
    EXPECT_EQ(run.report, "std::runtime_error: Sqlite operation failed: 5=database is locked\n");
}

// Configuring

TEST_F(SqliteConnection, IsConfiguredInFourStepsAndClearedOfATransaction) {
    test::ConnectionSpy spy;
    const auto connector = spy.watch([&] { return std::make_unique<SqliteConnector>(mFile); });
    EXPECT_THAT(spy.takeStatements(), ElementsAre("PRAGMA encoding;", "PRAGMA encoding = \"UTF-8\";",
                                                  "PRAGMA foreign_keys = ON;", "PRAGMA integrity_check;", "ROLLBACK;"));
    EXPECT_NE(sqlite3_get_autocommit(connector->getDb()), 0);
}

TEST_F(SqliteConnection, EnforcesForeignKeys) {
    SqliteConnector connector(mFile);
    EXPECT_EQ(valueOn(connector, "PRAGMA foreign_keys"), "1");
}

TEST_F(SqliteConnection, DoesNotWaitForLocks) {
    SqliteConnector connector(mFile);
    EXPECT_EQ(valueOn(connector, "PRAGMA busy_timeout"), "0");
}

TEST_F(SqliteConnection, StoresTextAsUtf8InANewDatabase) {
    SqliteConnector connector(mFile);
    EXPECT_EQ(valueOn(connector, "CREATE TABLE t(a); PRAGMA encoding"), "UTF-8");
}

TEST_F(SqliteConnection, KeepsTheEncodingOfADatabaseThatHasATable) {
    Database(mFile).execute("PRAGMA encoding = 'UTF-16le'; CREATE TABLE t(a)");
    SqliteConnector connector(mFile);
    EXPECT_EQ(valueOn(connector, "PRAGMA encoding"), "UTF-16le");
}

TEST_F(SqliteConnection, OpensADatabaseOfWhichTheIntegrityCheckComplains) {
    Database(mFile).execute(
        "CREATE TABLE t(a); INSERT INTO t VALUES(NULL); PRAGMA writable_schema = ON;"
        "UPDATE sqlite_master SET sql = 'CREATE TABLE t(a NOT NULL)'");
    ASSERT_EQ(Database(mFile).value("PRAGMA integrity_check"), "NULL value in t.a");
    SqliteConnector connector(mFile);
    EXPECT_EQ(valueOn(connector, "SELECT COUNT(*) FROM t"), "1");
}

TEST_F(SqliteConnection, DoesNotChangeADatabaseByOpeningIt) {
    Database(mFile).execute("CREATE TABLE t(a); INSERT INTO t VALUES('x')");
    const std::string before = contentOf(mFile);
    { const SqliteConnector connector(mFile); }
    EXPECT_EQ(contentOf(mFile), before);
}

// Closing

TEST_F(SqliteConnection, ClosesWithItsLastOwner) {
    auto connector = std::make_shared<SqliteConnector>(mFile);
    auto builder = std::make_unique<SqlStatementBuilder>(connector);
    builder->executeQuery("CREATE TABLE t(a)");
    connector.reset();
    EXPECT_EQ(openDescriptorsOf(mFile), 1);
    EXPECT_EQ(builder->executeQuery("INSERT INTO t VALUES(1)"), 0);
    builder.reset();
    EXPECT_EQ(openDescriptorsOf(mFile), 0);
}

TEST_F(SqliteConnection, IgnoresThatItCannotCloseWhileAStatementLives) {
    auto connector = std::make_unique<SqliteConnector>(mFile);
    sqlite3* const db = connector->getDb();
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT 1", -1, &statement, nullptr), SQLITE_OK);
    EXPECT_NO_THROW(connector.reset());
    EXPECT_EQ(sqlite3_close(db), SQLITE_BUSY);
    EXPECT_EQ(sqlite3_finalize(statement), SQLITE_OK);
    EXPECT_EQ(sqlite3_close(db), SQLITE_OK);
}

// Result codes

TEST_F(SqliteConnection, AcceptsOkAndDone) {
    SqliteConnector connector(mFile);
    EXPECT_NO_THROW(connector.checkReturnStatement(SQLITE_OK));
    EXPECT_NO_THROW(connector.checkReturnStatement(SQLITE_DONE));
}

TEST_F(SqliteConnection, RefusesEveryOtherCodeWithTheMessageOfTheConnection) {
    SqliteConnector connector(mFile);
    ASSERT_EQ(sqlite3_exec(connector.getDb(), "SELECT 1", nullptr, nullptr, nullptr), SQLITE_OK);
    for (int code = -1; code <= 102; ++code) {
        if (code == SQLITE_OK || code == SQLITE_DONE) continue;
        EXPECT_EQ(thrownBy([&] { connector.checkReturnStatement(code); }),
                  "std::runtime_error: Sqlite operation failed: " + std::to_string(code) + "=not an error\n");
    }
}

TEST_F(SqliteConnection, RefusesARow) {
    SqliteConnector connector(mFile);
    sqlite3_stmt* handle = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(connector.getDb(), "SELECT 1", -1, &handle, nullptr), SQLITE_OK);
    const SqliteStatement statement(handle);
    const int result = sqlite3_step(handle);
    EXPECT_EQ(thrownBy([&] { connector.checkReturnStatement(result); }),
              "std::runtime_error: Sqlite operation failed: 100=another row available\n");
}

TEST_F(SqliteConnection, TellsWhatSqliteSaysOfAFailure) {
    SqliteConnector connector(mFile);
    const auto execute = [&](const char* sql) {
        connector.checkReturnStatement(sqlite3_exec(connector.getDb(), sql, nullptr, nullptr, nullptr));
    };
    execute("CREATE TABLE t(a UNIQUE); INSERT INTO t VALUES(1)");
    EXPECT_EQ(thrownBy([&] { execute("INSERT INTO t VALUES(1)"); }),
              "std::runtime_error: Sqlite operation failed: 19=UNIQUE constraint failed: t.a\n");
    EXPECT_EQ(thrownBy([&] { execute("SELECT b FROM t"); }),
              "std::runtime_error: Sqlite operation failed: 1=no such column: b\n");
}

TEST_F(SqliteConnection, StaysUsableAfterAFailure) {
    SqliteConnector connector(mFile);
    EXPECT_NE(sqlite3_exec(connector.getDb(), "NONSENSE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(valueOn(connector, "SELECT 7"), "7");
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
