// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "authlist/db/sqlite/SqliteStatement.h"
#include "db/sqlite/AccessorFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/ConnectionSpy.h"
#include "support/Database.h"
#include "support/Files.h"
#include "support/ForkedProcess.h"
#include "support/OpenFiles.h"
#include "support/OrdinaryRights.h"
#include "support/SqlText.h"
#include "support/ThrownBy.h"

// The database file: how it is opened, its schema, and in which column and form a card is stored. Other programs read
// and write it too.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::at;
using test::cardWithKey;
using test::contentOf;
using test::Database;
using test::fieldsOf;
using test::thrownBy;
using testing::ElementsAre;

class SqliteFile : public test::AccessorFixture {};

// Opening

TEST_F(SqliteFile, CreatesItsTablesInOneTransaction) {
    test::ConnectionSpy spy;
    const std::string file = mFolder.file("new.db");
    const auto accessor = spy.watch([&] { return std::make_unique<SqliteDbAccessor>(file); });
    EXPECT_THAT(spy.takeStatements(),
                ElementsAre("PRAGMA encoding;", "PRAGMA encoding = \"UTF-8\";", "PRAGMA foreign_keys = ON;",
                            "PRAGMA integrity_check;", "ROLLBACK;", "BEGIN TRANSACTION;",
                            testing::StartsWith("CREATE TABLE IF NOT EXISTS \"metadata\""),
                            testing::StartsWith("CREATE TABLE IF NOT EXISTS \"rfid_card\""),
                            testing::StartsWith("CREATE TABLE IF NOT EXISTS \"rfid_tag\""), "COMMIT;",
                            "CREATE INDEX IF NOT EXISTS \"rfid_tag_rfid_card\" ON \"rfid_tag\"(\"rfid_card\");"));
}

TEST_F(SqliteFile, ChangesNothingWhenItIsOpenedAgain) {
    mAccessor->createRecord(cardWithKey("A"));
    mAccessor->updateVersion(5);
    mAccessor.reset();
    const std::string before = contentOf(mFile);
    { const SqliteDbAccessor again(mFile); }
    EXPECT_EQ(contentOf(mFile), before);
}

TEST_F(SqliteFile, WritesNoVersionWhenItIsOpened) {
    reopen();
    EXPECT_EQ(committed("SELECT COUNT(*) FROM metadata"), "0");
    EXPECT_EQ(mAccessor->readVersion(), std::nullopt);
}

TEST_F(SqliteFile, RefusesToOpenWhatTheConnectorRefuses) {
    EXPECT_EQ(thrownBy([] { SqliteDbAccessor{""}; }),
              "std::runtime_error: Filename not specified during initialization");
    const std::string missing = mFolder.file("missing/list.db");
    EXPECT_EQ(thrownBy([&] { SqliteDbAccessor{missing}; }),
              "std::runtime_error: Cannot open DB connection, filename: " + missing);
    const std::string folder = mFolder.path().string();
    EXPECT_EQ(thrownBy([&] { SqliteDbAccessor{folder}; }),
              "std::runtime_error: Cannot open DB connection, filename: " + folder);
}

TEST_F(SqliteFile, RefusesToOpenAFileThatIsNoDatabase) {
    const std::string file = mFolder.file("notes.txt");
    test::writeFile(file, "Buy bread.");
    const test::ForkedRun run =
        test::runForked([&](const test::Reporter& report) { report(thrownBy([&] { SqliteDbAccessor{file}; })); });
    EXPECT_EQ(run.report, "std::runtime_error: Sqlite operation failed: 26=file is not a database\n");
}

TEST_F(SqliteFile, QuotesTheWholeScriptWhenItCannotCreateItsTables) {
    const std::string file = mFolder.file("old.db");
    Database(file).execute("CREATE TABLE t(a); CREATE INDEX rfid_card ON t(a)");
    EXPECT_THAT(thrownBy([&] { SqliteDbAccessor{file}; }),
                testing::AllOf(testing::StartsWith("std::runtime_error: Cannot execute query:  BEGIN TRANSACTION; "),
                               testing::HasSubstr("\"rfid_tag\""),
                               testing::EndsWith(" COMMIT; \nError: 1=there is already an index named rfid_card")));
    EXPECT_EQ(Database(file).value("SELECT COUNT(*) FROM sqlite_master"), "2");
}

TEST_F(SqliteFile, IsClosedWithTheAccessor) {
    EXPECT_EQ(test::openDescriptorsOf(mFile), 1);
    mAccessor.reset();
    EXPECT_EQ(test::openDescriptorsOf(mFile), 0);
}

// The schema

std::vector<std::string> tableDefinitions() {
    return {
        R"(CREATE TABLE "metadata" ("id" INTEGER NOT NULL UNIQUE, "version" INTEGER NOT NULL DEFAULT 0, )"
        R"(PRIMARY KEY("id" AUTOINCREMENT)))",
        R"(CREATE TABLE "rfid_card" ("id" INTEGER NOT NULL UNIQUE, "description" TEXT NOT NULL DEFAULT "", )"
        R"("rfid_card_status" TEXT NOT NULL, "expiry_date" TEXT, "parent_id" TEXT, "evse_id" INTEGER, )"
        R"("extra_data" TEXT DEFAULT NULL, "last_access_time" TEXT NOT NULL, "last_modification_time" TEXT NOT NULL, )"
        R"("record_lifetime" INTEGER, PRIMARY KEY("id" AUTOINCREMENT)))",
        R"(CREATE TABLE "rfid_tag" ("id" INTEGER NOT NULL UNIQUE, "rfid_card" INTEGER NOT NULL, )"
        R"("hash" TEXT UNIQUE, "key" TEXT, "extra_data" TEXT DEFAULT NULL, )"
        R"(FOREIGN KEY("rfid_card") REFERENCES "rfid_card"("id") ON DELETE CASCADE, PRIMARY KEY("id" AUTOINCREMENT)))",
    };
}

TEST_F(SqliteFile, HasExactlyTheseTables) {
    std::vector<std::string> definitions;
    for (const auto& row : committedRows(
             "SELECT sql FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER BY name")) {
        definitions.push_back(test::squeezed(row.front()));
    }
    std::vector<std::string> expected;
    for (const std::string& definition : tableDefinitions()) expected.push_back(test::squeezed(definition));
    EXPECT_EQ(definitions, expected);
    EXPECT_EQ(committedRows("SELECT type, name FROM sqlite_master WHERE sql IS NOT NULL AND type != 'table'"),
              (Database::Rows{{"index", "rfid_tag_rfid_card"}}));
}

TEST_F(SqliteFile, HasTheColumnsInTheirOrder) {
    EXPECT_EQ(committedRows("SELECT cid, name, type, \"notnull\", dflt_value, pk FROM pragma_table_info('metadata')"),
              (Database::Rows{{"0", "id", "INTEGER", "1", "NULL", "1"}, {"1", "version", "INTEGER", "1", "0", "0"}}));
    EXPECT_EQ(committedRows("SELECT cid, name, type, \"notnull\", dflt_value, pk FROM pragma_table_info('rfid_card')"),
              (Database::Rows{{"0", "id", "INTEGER", "1", "NULL", "1"},
                              {"1", "description", "TEXT", "1", "\"\"", "0"},
                              {"2", "rfid_card_status", "TEXT", "1", "NULL", "0"},
                              {"3", "expiry_date", "TEXT", "0", "NULL", "0"},
                              {"4", "parent_id", "TEXT", "0", "NULL", "0"},
                              {"5", "evse_id", "INTEGER", "0", "NULL", "0"},
                              {"6", "extra_data", "TEXT", "0", "NULL", "0"},
                              {"7", "last_access_time", "TEXT", "1", "NULL", "0"},
                              {"8", "last_modification_time", "TEXT", "1", "NULL", "0"},
                              {"9", "record_lifetime", "INTEGER", "0", "NULL", "0"}}));
    EXPECT_EQ(committedRows("SELECT cid, name, type, \"notnull\", dflt_value, pk FROM pragma_table_info('rfid_tag')"),
              (Database::Rows{{"0", "id", "INTEGER", "1", "NULL", "1"},
                              {"1", "rfid_card", "INTEGER", "1", "NULL", "0"},
                              {"2", "hash", "TEXT", "0", "NULL", "0"},
                              {"3", "key", "TEXT", "0", "NULL", "0"},
                              {"4", "extra_data", "TEXT", "0", "NULL", "0"}}));
}

TEST_F(SqliteFile, HasTheKeysAndIndexesOfItsDefinitions) {
    const Database reference(mFolder.file("reference.db"));
    for (const std::string& definition : tableDefinitions()) reference.execute(definition);
    for (const std::string table : {"metadata", "rfid_card", "rfid_tag"}) {
        const std::string indexes = "SELECT name, \"unique\", origin, partial FROM pragma_index_list('" + table +
                                    "') WHERE name != 'rfid_tag_rfid_card' ORDER BY name";
        const std::string keys = "SELECT * FROM pragma_foreign_key_list('" + table + "')";
        EXPECT_EQ(committedRows(indexes), reference.rows(indexes)) << table;
        EXPECT_EQ(committedRows(keys), reference.rows(keys)) << table;
    }
    EXPECT_EQ(committedRows("SELECT \"table\", \"from\", \"to\", on_delete FROM pragma_foreign_key_list('rfid_tag')"),
              (Database::Rows{{"rfid_card", "rfid_card", "id", "CASCADE"}}));
    EXPECT_EQ(committed("SELECT COUNT(*) FROM pragma_index_list('rfid_tag') l, pragma_index_info(l.name) i "
                        "WHERE l.\"unique\" = 1 AND i.name = 'hash'"),
              "1");
}

TEST_F(SqliteFile, RefusesATagOfACardThatIsNotThere) {
    const SqliteStatement statement = prepared("INSERT INTO rfid_tag(rfid_card, hash) VALUES(9, 'aa')");
    EXPECT_EQ(thrownBy([&] { mAccessor->performNonReturningStatement(statement.get()); }),
              "std::runtime_error: Sqlite operation failed: 19=FOREIGN KEY constraint failed\n");
    EXPECT_EQ(committed("SELECT COUNT(*) FROM rfid_tag"), "0");
}

// How a card is stored

TEST_F(SqliteFile, StoresEachFieldInItsColumn) {
    RfidCard card;
    card.description = "12";
    card.status = RfidCardStatus::ConcurrentTx;
    card.expiryDate = at(1893456000);
    card.parentId = "7";
    card.evseId = 3;
    card.extraData = "8";
    card.lastAccessTime = at(1767225601);
    card.lastModificationTime = at(1767225602);
    card.recordLifetime = 60;
    card.tags = {RfidTag{"90", "91", "92"}, RfidTag{"93", std::nullopt, std::nullopt}};
    mAccessor->createRecord(card);
    EXPECT_EQ(committedRows("SELECT quote(id), quote(description), quote(rfid_card_status), quote(expiry_date), "
                            "quote(parent_id), quote(evse_id), quote(extra_data), quote(last_access_time), "
                            "quote(last_modification_time), quote(record_lifetime) FROM rfid_card"),
              (Database::Rows{{"1", "'12'", "'ConcurrentTx'", "'2030-01-01T00:00:00Z'", "'7'", "3", "'8'",
                               "'2026-01-01T00:00:01Z'", "'2026-01-01T00:00:02Z'", "60"}}));
    EXPECT_EQ(committedRows("SELECT quote(id), quote(rfid_card), quote(hash), quote(key), quote(extra_data) "
                            "FROM rfid_tag"),
              (Database::Rows{{"1", "1", "'90'", "'91'", "'92'"}, {"2", "1", "'93'", "NULL", "NULL"}}));
}

TEST_F(SqliteFile, StoresAbsentFieldsAsNull) {
    mAccessor->createRecord(RfidCard{});
    EXPECT_EQ(committedRows("SELECT quote(description), quote(expiry_date), quote(parent_id), quote(evse_id), "
                            "quote(extra_data), quote(record_lifetime) FROM rfid_card"),
              (Database::Rows{{"''", "NULL", "NULL", "NULL", "NULL", "NULL"}}));
}

TEST_F(SqliteFile, StoresLargeNumbersAsTheSame32Bits) {
    RfidCard card = cardWithKey("A");
    card.id = 3000000000;
    card.evseId = card.recordLifetime = 4294967295;
    mAccessor->createRecord(card);
    mAccessor->updateVersion(2147483648);
    EXPECT_EQ(committedRows("SELECT id, evse_id, record_lifetime FROM rfid_card"),
              (Database::Rows{{"-1294967296", "-1", "-1"}}));
    EXPECT_EQ(committed("SELECT rfid_card FROM rfid_tag"), "-1294967296");
    EXPECT_EQ(committed("SELECT version FROM metadata"), "-2147483648");
}

TEST_F(SqliteFile, CutsTimesToWholeSeconds) {
    RfidCard card = cardWithKey("A");
    card.lastAccessTime = at(100) + std::chrono::nanoseconds(999999999);
    card.expiryDate = at(200) + std::chrono::milliseconds(500);
    const RfidCard stored = mAccessor->readRecord(mAccessor->createRecord(card)).value();
    EXPECT_EQ(stored.lastAccessTime, at(100));
    EXPECT_EQ(stored.expiryDate, at(200));
}

TEST_F(SqliteFile, StoresAWholeTextButReadsItUpToItsFirstZeroByte) {
    RfidCard card = cardWithKey("A");
    card.description = std::string("ab\0cd", 5);
    mAccessor->createRecord(card);
    EXPECT_EQ(committed("SELECT hex(description) FROM rfid_card"), "6162006364");
    EXPECT_EQ(mAccessor->readRecord(1).value().description, "ab");
}

TEST_F(SqliteFile, ReadsADatabaseOfAnotherEncoding) {
    const std::string file = mFolder.file("utf16.db");
    Database(file).execute("PRAGMA encoding = 'UTF-16le'; CREATE TABLE anything(a)");
    const SqliteDbAccessor accessor(file);
    RfidCard card = cardWithKey("Schlüssel 🔑");
    card.id = accessor.createRecord(card);
    EXPECT_EQ(fieldsOf(accessor.readRecord("Schlüssel 🔑", KeyRepresentation::Key).value()), fieldsOf(card));
}

// Files that cannot be written

TEST_F(SqliteFile, ReadsButCannotWriteAReadOnlyFile) {
    RfidCard card = cardWithKey("A");
    card.id = mAccessor->createRecord(card);
    mAccessor->updateVersion(5);
    mAccessor.reset();
    std::filesystem::permissions(mFile, std::filesystem::perms::owner_read);
    const test::OrdinaryRights rights;
    const SqliteDbAccessor accessor(mFile);
    EXPECT_EQ(fieldsOf(accessor.readRecord("A", KeyRepresentation::Key).value()), fieldsOf(card));
    EXPECT_EQ(accessor.readVersion(), 5U);
    const char* refusal = "std::runtime_error: Sqlite operation failed: 8=attempt to write a readonly database\n";
    EXPECT_EQ(thrownBy([&] { accessor.createRecord(cardWithKey("B")); }), refusal);
    EXPECT_EQ(thrownBy([&] { accessor.updateRecord(card); }), refusal);
    EXPECT_EQ(thrownBy([&] { accessor.updateVersion(6); }), refusal);
    EXPECT_EQ(thrownBy([&] { accessor.deleteAllRecords(); }), refusal);
    EXPECT_EQ(fieldsOf(accessor.readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_F(SqliteFile, CannotCreateItsTablesInAReadOnlyFile) {
    const std::string file = mFolder.file("empty.db");
    test::writeFile(file, "");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const test::OrdinaryRights rights;
    EXPECT_THAT(thrownBy([&] { SqliteDbAccessor{file}; }),
                testing::AllOf(testing::StartsWith("std::runtime_error: Cannot execute query:  BEGIN TRANSACTION; "),
                               testing::EndsWith(" COMMIT; \nError: 8=attempt to write a readonly database")));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
