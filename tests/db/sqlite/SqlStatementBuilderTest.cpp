// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "authlist/Timestamp.h"
#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "db/sqlite/BuilderFixture.h"
#include "support/Cards.h"
#include "support/NamedCase.h"
#include "support/SqlText.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::at;
using test::onOneLine;
using test::thrownBy;
using test::withValues;
using testing::ElementsAre;

static_assert(std::is_same_v<SqlValue, std::variant<std::monostate, int, std::string>>);
static_assert(std::is_same_v<SqlRow, std::vector<SqlValue>> && std::is_same_v<SqlRows, std::list<SqlRow>>);
static_assert(static_cast<int>(DbTableType::Metadata) == 0 && static_cast<int>(DbTableType::RfidTag) == 1 &&
              static_cast<int>(DbTableType::RfidCard) == 2);
static_assert(noexcept(std::declval<const SqlStatementBuilder&>().createTagIndex()));

class SqlBuilder : public test::BuilderFixture {};

RfidCard fullCard() {
    RfidCard card;
    card.id = 4000000000;
    card.description = "it's Jörg";
    card.status = RfidCardStatus::Operator;
    card.expiryDate = at(1893456000);
    card.parentId = "12";
    card.evseId = 4294967295;
    card.extraData = "";
    card.lastAccessTime = at(1767225601);
    card.lastModificationTime = at(1767225602) + std::chrono::nanoseconds(999999999);
    card.recordLifetime = 0;
    return card;
}

RfidCard bareCard() {
    RfidCard card;
    card.lastAccessTime = card.lastModificationTime = at(0);
    return card;
}

const RfidTag fullTag{"00ff", "7", "\"x\""};
const RfidTag hashOnly{"00ff", std::nullopt, std::nullopt};

// Statements: the text (white space as one blank) and the text with the values that are bound.

struct Statement : test::NamedCase {
    std::function<SqliteStatement(const SqlStatementBuilder&)> build;
    const char* sql;
    const char* bound;
};

const std::vector<Statement> statements{
    {{"AllRecords"},
     [](const auto& builder) { return builder.getAllRecords(); },
     " SELECT * FROM rfid_card ",
     " SELECT * FROM rfid_card "},
    {{"RecordById"},
     [](const auto& builder) { return builder.getRecordById(4294967295); },
     " SELECT * FROM rfid_card WHERE id=? ",
     " SELECT * FROM rfid_card WHERE id=-1 "},
    {{"TagByCardId"},
     [](const auto& builder) { return builder.getRfidTagByCardId(-7); },
     " SELECT * FROM rfid_tag WHERE rfid_card=? ",
     " SELECT * FROM rfid_tag WHERE rfid_card=-7 "},
    {{"CardIdFromHash"},
     [](const auto& builder) { return builder.getRfidCardIdFromHashedKey("a'b"); },
     "SELECT DISTINCT rfid_card FROM rfid_tag WHERE hash = ?;",
     "SELECT DISTINCT rfid_card FROM rfid_tag WHERE hash = 'a''b';"},
    {{"FindTag"},
     [](const auto& builder) { return builder.getFindTagStatement("12"); },
     "SELECT hash FROM rfid_tag WHERE hash = ?;",
     "SELECT hash FROM rfid_tag WHERE hash = '12';"},
    {{"ReadVersion"},
     [](const auto& builder) { return builder.getReadVersionStatement(); },
     "SELECT version FROM metadata;",
     "SELECT version FROM metadata;"},
    {{"FirstVersion"},
     [](const auto& builder) { return builder.getUpdateVersionStatement(5); },
     "INSERT INTO metadata (version) VALUES (?);",
     "INSERT INTO metadata (version) VALUES (5);"},
    {{"CreateCardWithId"},
     [](const auto& builder) { return builder.getCreateRfidCardStatement(fullCard()); },
     "INSERT INTO rfid_card (id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
     "last_access_time, last_modification_time, record_lifetime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?);",
     "INSERT INTO rfid_card (id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
     "last_access_time, last_modification_time, record_lifetime) VALUES (-294967296, 'it''s Jörg', 'Operator', "
     "'2030-01-01T00:00:00Z', '12', -1, '', '2026-01-01T00:00:01Z', '2026-01-01T00:00:02Z', 0);"},
    {{"CreateCardWithoutId"},
     [](const auto& builder) { return builder.getCreateRfidCardStatement(bareCard()); },
     "INSERT INTO rfid_card (description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
     "last_access_time, last_modification_time, record_lifetime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?);",
     "INSERT INTO rfid_card (description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
     "last_access_time, last_modification_time, record_lifetime) VALUES ('', 'Accepted', NULL, NULL, NULL, NULL, "
     "'1970-01-01T00:00:00Z', '1970-01-01T00:00:00Z', NULL);"},
    {{"UpdateCard"},
     [](const auto& builder) { return builder.getUpdateRfidCardStatement(fullCard()); },
     "UPDATE rfid_card SET description = ?, rfid_card_status = ?, expiry_date = ?, parent_id = ?, evse_id = ?, "
     "extra_data = ?, last_access_time = ?, last_modification_time = ?, record_lifetime = ? WHERE id = ?;",
     "UPDATE rfid_card SET description = 'it''s Jörg', rfid_card_status = 'Operator', "
     "expiry_date = '2030-01-01T00:00:00Z', parent_id = '12', evse_id = -1, extra_data = '', "
     "last_access_time = '2026-01-01T00:00:01Z', last_modification_time = '2026-01-01T00:00:02Z', "
     "record_lifetime = 0 WHERE id = -294967296;"},
    {{"UpdateCardWithoutId"},
     [](const auto& builder) { return builder.getUpdateRfidCardStatement(bareCard()); },
     "UPDATE rfid_card SET description = ?, rfid_card_status = ?, expiry_date = ?, parent_id = ?, evse_id = ?, "
     "extra_data = ?, last_access_time = ?, last_modification_time = ?, record_lifetime = ? WHERE id = ?;",
     "UPDATE rfid_card SET description = '', rfid_card_status = 'Accepted', expiry_date = NULL, parent_id = NULL, "
     "evse_id = NULL, extra_data = NULL, last_access_time = '1970-01-01T00:00:00Z', "
     "last_modification_time = '1970-01-01T00:00:00Z', record_lifetime = NULL WHERE id = NULL;"},
    {{"CreateTag"},
     [](const auto& builder) { return builder.getCreateRfidTagStatement(fullTag, 2147483648); },
     "INSERT INTO rfid_tag (rfid_card, hash, key, extra_data) VALUES (?, ?, ?, ?);",
     "INSERT INTO rfid_tag (rfid_card, hash, key, extra_data) VALUES (-2147483648, '00ff', '7', '\"x\"');"},
    {{"CreateTagWithHashOnly"},
     [](const auto& builder) { return builder.getCreateRfidTagStatement(hashOnly, 3); },
     "INSERT INTO rfid_tag (rfid_card, hash, key, extra_data) VALUES (?, ?, ?, ?);",
     "INSERT INTO rfid_tag (rfid_card, hash, key, extra_data) VALUES (3, '00ff', NULL, NULL);"},
    {{"UpdateTag"},
     [](const auto& builder) { return builder.getUpdateRfidTagStatement(fullTag, 9); },
     "UPDATE rfid_tag SET hash = ?, key = ?, extra_data = ?WHERE id = ?;",
     "UPDATE rfid_tag SET hash = '00ff', key = '7', extra_data = '\"x\"'WHERE id = 9;"},
    {{"UpdateTagWithHashOnly"},
     [](const auto& builder) { return builder.getUpdateRfidTagStatement(hashOnly, 4294967295); },
     "UPDATE rfid_tag SET hash = ?, key = ?, extra_data = ?WHERE id = ?;",
     "UPDATE rfid_tag SET hash = '00ff', key = NULL, extra_data = NULLWHERE id = -1;"},
    {{"DeleteRecordById"},
     [](const auto& builder) { return builder.getDeleteRecordByIdStatement(3000000000); },
     "DELETE FROM rfid_card WHERE id = ?;",
     "DELETE FROM rfid_card WHERE id = -1294967296;"},
    {{"DeleteTagsByCardId"},
     [](const auto& builder) { return builder.getDeleteTagRecordsByCardIdStatement(3000000000); },
     "DELETE FROM rfid_tag WHERE rfid_card = ?;",
     "DELETE FROM rfid_tag WHERE rfid_card = -1294967296;"},
    {{"DeleteAllCards"},
     [](const auto& builder) { return builder.getDeleteAllCardsStatement(); },
     "DELETE FROM rfid_card;",
     "DELETE FROM rfid_card;"},
    {{"DeleteAllTags"},
     [](const auto& builder) { return builder.getDeleteAllTagsStatement(); },
     "DELETE FROM rfid_tag;",
     "DELETE FROM rfid_tag;"},
    {{"DeleteOldest"},
     [](const auto& builder) { return builder.getDeleteOldestStatement(); },
     "DELETE FROM rfid_card WHERE id IN ( SELECT id FROM rfid_card ORDER BY last_modification_time ASC LIMIT 1);",
     "DELETE FROM rfid_card WHERE id IN ( SELECT id FROM rfid_card ORDER BY last_modification_time ASC LIMIT 1);"},
    {{"DeleteBlockedOrInvalid"},
     [](const auto& builder) { return builder.getDeleteCategoryStatement(RecordRemovalCategory::BlockedOrInvalid); },
     R"(DELETE FROM rfid_card WHERE rfid_card_status = "Blocked" OR rfid_card_status = "Invalid" RETURNING *;)",
     R"(DELETE FROM rfid_card WHERE rfid_card_status = "Blocked" OR rfid_card_status = "Invalid" RETURNING *;)"},
    {{"DeleteExpiredStatus"},
     [](const auto& builder) { return builder.getDeleteCategoryStatement(RecordRemovalCategory::ExpiredStatus); },
     R"(DELETE FROM rfid_card WHERE rfid_card_status = "Expired" RETURNING *;)",
     R"(DELETE FROM rfid_card WHERE rfid_card_status = "Expired" RETURNING *;)"},
};

class SqlBuilderStatement : public test::BuilderFixture, public testing::WithParamInterface<Statement> {};

INSTANTIATE_TEST_SUITE_P(All, SqlBuilderStatement, testing::ValuesIn(statements), test::byName);

TEST_P(SqlBuilderStatement, HasItsTextAndItsValues) {
    createAllTables();
    const SqliteStatement statement = GetParam().build(mBuilder);
    EXPECT_EQ(onOneLine(sqlite3_sql(statement.get())), GetParam().sql);
    EXPECT_EQ(onOneLine(withValues(statement)), GetParam().bound);
}

TEST_P(SqlBuilderStatement, IsPreparedAfreshOnEveryCall) {
    createAllTables();
    {
        const SqliteStatement first = GetParam().build(mBuilder);
        const SqliteStatement second = GetParam().build(mBuilder);
        EXPECT_NE(first.get(), second.get());
        EXPECT_EQ(statementsAlive(), 2);
    }
    EXPECT_EQ(statementsAlive(), 0);
}

TEST_P(SqlBuilderStatement, CannotBePreparedWithoutItsTable) {
    EXPECT_THAT(thrownBy([&] { GetParam().build(mBuilder); }),
                testing::MatchesRegex("std::runtime_error: Sqlite operation failed: 1=no such table: [a-z_]+\n"));
    EXPECT_EQ(statementsAlive(), 0);
}

TEST_F(SqlBuilder, UpdatesTheVersionOnceThereIsOne) {
    createAllTables();
    mBuilder.executeQuery("INSERT INTO metadata (version) VALUES (5)");
    const SqliteStatement statement = mBuilder.getUpdateVersionStatement(4294967295);
    EXPECT_EQ(onOneLine(sqlite3_sql(statement.get())), "UPDATE metadata SET version = ?;");
    EXPECT_EQ(onOneLine(withValues(statement)), "UPDATE metadata SET version = -1;");
}

TEST_F(SqlBuilder, UpdatesTheVersionInEveryRowThatThereIs) {
    createAllTables();
    mBuilder.executeQuery("INSERT INTO metadata (version) VALUES (5), (6)");
    mBuilder.unpackFields(mBuilder.getUpdateVersionStatement(7));
    EXPECT_THAT(rowsOf("SELECT version FROM metadata"), ElementsAre(SqlRow{7}, SqlRow{7}));
}

TEST_F(SqlBuilder, DeletesPastExpiryByTheTextOfTheCurrentTime) {
    createAllTables();
    const auto nowText = [] { return timestampToString(std::chrono::system_clock::now()).value(); };
    for (const bool byCategory : {false, true}) {
        const std::string before = nowText();
        const SqliteStatement statement =
            byCategory ? mBuilder.getDeleteCategoryStatement(RecordRemovalCategory::PastExpiryDate)
                       : mBuilder.getDeletePastExpiryStatement();
        const std::string after = nowText();
        EXPECT_EQ(onOneLine(sqlite3_sql(statement.get())),
                  R"(DELETE FROM rfid_card WHERE expiry_date < ? AND expiry_date != "" RETURNING *;)");
        const std::string sql = onOneLine(withValues(statement));
        const std::string bound = sql.substr(sql.find('\'') + 1, before.size());
        EXPECT_EQ(sql,
                  "DELETE FROM rfid_card WHERE expiry_date < '" + bound + R"(' AND expiry_date != "" RETURNING *;)");
        EXPECT_LE(before, bound);
        EXPECT_LE(bound, after);
    }
}

TEST_F(SqlBuilder, PreparesNothingForAnUnknownCategory) {
    for (const int category : {-1, 3, 1000}) {
        const SqliteStatement statement =
            mBuilder.getDeleteCategoryStatement(static_cast<RecordRemovalCategory>(category));
        EXPECT_EQ(statement.get(), nullptr);
        EXPECT_EQ(thrownBy([&] { mBuilder.anyRowReturned(statement); }),
                  "std::runtime_error: Sqlite operation failed: 21=not an error\n");
    }
}

TEST_F(SqlBuilder, RefusesACardWhoseStatusHasNoText) {
    createAllTables();
    RfidCard card = fullCard();
    for (const int status : {-1, 6}) {
        card.status = static_cast<RfidCardStatus>(status);
        const std::string refusal = "std::invalid_argument: " + std::to_string(status) +
                                    " was not found in N3oru4kadi8authlist14RfidCardStatusE";
        EXPECT_EQ(thrownBy([&] { mBuilder.getCreateRfidCardStatement(card); }), refusal);
        EXPECT_EQ(thrownBy([&] { mBuilder.getUpdateRfidCardStatement(card); }), refusal);
        EXPECT_EQ(statementsAlive(), 0);
    }
}

// Preparing and binding

TEST_F(SqlBuilder, BindsNullIntegersAndTextsInTheirOrder) {
    const SqliteStatement statement = mBuilder.prepareStatement(
        "SELECT ?, ?, ?, ?, typeof(?1), typeof(?2), typeof(?3), typeof(?4)", {std::monostate{}, -5, "5", ""});
    EXPECT_THAT(mBuilder.unpackFields(statement),
                ElementsAre(SqlRow{std::monostate{}, -5, "5", "", "null", "integer", "text", "text"}));
}

TEST_F(SqlBuilder, BindsTheWholeTextWithItsZeroBytes) {
    const SqliteStatement statement = mBuilder.prepareStatement("SELECT hex(?), typeof(?1)", {std::string("a\0b", 3)});
    EXPECT_THAT(mBuilder.unpackFields(statement), ElementsAre(SqlRow{"610062", "text"}));
}

TEST_F(SqlBuilder, CopiesTheTextsThatItBinds) {
    auto text = std::make_unique<std::string>(1000, 'x');
    SqliteStatement statement = prepared("SELECT ?");
    mBuilder.bindFields({*text}, statement);
    text->assign(1000, 'y');
    text.reset();
    EXPECT_THAT(mBuilder.unpackFields(statement), ElementsAre(SqlRow{std::string(1000, 'x')}));
}

TEST_F(SqlBuilder, LeavesParametersWithoutValueNull) {
    const SqliteStatement statement = mBuilder.prepareStatement("SELECT ?, ?", {1});
    EXPECT_THAT(mBuilder.unpackFields(statement), ElementsAre(SqlRow{1, std::monostate{}}));
}

TEST_F(SqlBuilder, FinalizesAStatementThatHasNoPlaceForAValue) {
    for (const SqlValue& tooMuch : {SqlValue{}, SqlValue{2}, SqlValue{"2"}}) {
        EXPECT_EQ(thrownBy([&] {
                      mBuilder.prepareStatement("SELECT ?", {1, tooMuch});
                  }),
                  "std::runtime_error: Sqlite operation failed: 25=column index out of range\n");
        EXPECT_EQ(statementsAlive(), 0);
    }
}

TEST_F(SqlBuilder, RefusesToPrepareWhatIsNoSql) {
    EXPECT_EQ(thrownBy([&] { prepared("NONSENSE"); }),
              "std::runtime_error: Sqlite operation failed: 1=near \"NONSENSE\": syntax error\n");
    EXPECT_EQ(statementsAlive(), 0);
}

TEST_F(SqlBuilder, PreparesAnEmptyTextToNoStatement) { EXPECT_EQ(prepared("").get(), nullptr); }

// Scripts

TEST_F(SqlBuilder, RunsAScriptAndIgnoresItsRows) {
    EXPECT_EQ(mBuilder.executeQuery("CREATE TABLE t(a); INSERT INTO t VALUES(1), (2); SELECT * FROM t"), 0);
    EXPECT_THAT(rowsOf("SELECT a FROM t"), ElementsAre(SqlRow{1}, SqlRow{2}));
    EXPECT_EQ(mBuilder.executeQuery(""), 0);
}

TEST_F(SqlBuilder, QuotesTheWholeScriptThatFailed) {
    EXPECT_EQ(thrownBy([&] { mBuilder.executeQuery(" CREATE TABLE t(a);\n\tNONSENSE; "); }),
              "std::runtime_error: Cannot execute query:  CREATE TABLE t(a);\n\tNONSENSE; \n"
              "Error: 1=near \"NONSENSE\": syntax error");
    EXPECT_EQ(thrownBy([&] { mBuilder.executeQuery("CREATE TABLE t(a)"); }),
              "std::runtime_error: Cannot execute query: CREATE TABLE t(a)\nError: 1=table t already exists");
}

TEST_F(SqlBuilder, NamesTheConstraintThatAScriptBreaks) {
    mBuilder.executeQuery("CREATE TABLE t(a UNIQUE); INSERT INTO t VALUES(1)");
    EXPECT_EQ(thrownBy([&] { mBuilder.executeQuery("INSERT INTO t VALUES(1)"); }),
              "std::runtime_error: Cannot execute query: INSERT INTO t VALUES(1)\n"
              "Error: 19=UNIQUE constraint failed: t.a");
}

TEST_F(SqlBuilder, CommitsAndRollsBackTransactions) {
    mBuilder.executeQuery("CREATE TABLE t(a)");
    mBuilder.beginTransaction();
    mBuilder.executeQuery("INSERT INTO t VALUES(1)");
    EXPECT_EQ(test::Database(mFile).value("SELECT COUNT(*) FROM t"), "0");
    mBuilder.commitTransaction();
    EXPECT_EQ(test::Database(mFile).value("SELECT COUNT(*) FROM t"), "1");
    mBuilder.beginTransaction();
    mBuilder.executeQuery("INSERT INTO t VALUES(2)");
    mBuilder.rollbackTransaction();
    EXPECT_THAT(rowsOf("SELECT a FROM t"), ElementsAre(SqlRow{1}));
}

TEST_F(SqlBuilder, RefusesATransactionWithinATransaction) {
    mBuilder.beginTransaction();
    EXPECT_EQ(thrownBy([&] { mBuilder.beginTransaction(); }),
              "std::runtime_error: Cannot execute query:  BEGIN TRANSACTION; \n"
              "Error: 1=cannot start a transaction within a transaction");
    mBuilder.rollbackTransaction();
}

TEST_F(SqlBuilder, RefusesToEndATransactionThatWasNotBegun) {
    EXPECT_EQ(thrownBy([&] { mBuilder.commitTransaction(); }),
              "std::runtime_error: Cannot execute query:  COMMIT; \n"
              "Error: 1=cannot commit - no transaction is active");
    EXPECT_EQ(thrownBy([&] { mBuilder.rollbackTransaction(); }),
              "std::runtime_error: Cannot execute query:  ROLLBACK; \n"
              "Error: 1=cannot rollback - no transaction is active");
}

// Creating tables

constexpr const char* metadataTable =
    R"(CREATE TABLE IF NOT EXISTS "metadata" ("id" INTEGER NOT NULL UNIQUE, "version" INTEGER NOT NULL DEFAULT 0, )"
    R"(PRIMARY KEY("id" AUTOINCREMENT));)";
constexpr const char* cardTable =
    R"(CREATE TABLE IF NOT EXISTS "rfid_card" ("id" INTEGER NOT NULL UNIQUE, "description" TEXT NOT NULL DEFAULT "", )"
    R"("rfid_card_status" TEXT NOT NULL, "expiry_date" TEXT, "parent_id" TEXT, "evse_id" INTEGER, )"
    R"("extra_data" TEXT DEFAULT NULL, "last_access_time" TEXT NOT NULL, "last_modification_time" TEXT NOT NULL, )"
    R"("record_lifetime" INTEGER, PRIMARY KEY("id" AUTOINCREMENT));)";
constexpr const char* tagTable =
    R"(CREATE TABLE IF NOT EXISTS "rfid_tag" ("id" INTEGER NOT NULL UNIQUE, "rfid_card" INTEGER NOT NULL, )"
    R"("hash" TEXT UNIQUE, "key" TEXT, "extra_data" TEXT DEFAULT NULL, )"
    R"(FOREIGN KEY("rfid_card") REFERENCES "rfid_card"("id") ON DELETE CASCADE, PRIMARY KEY("id" AUTOINCREMENT));)";

class SqlBuilderTables : public test::BuilderFixture {
protected:
    // The script that createTables runs, as its failure within a transaction quotes it.
    std::string scriptFor(const std::vector<DbTableType>& tables) const {
        mBuilder.beginTransaction();
        std::string failure = thrownBy([&] { mBuilder.createTables(tables); });
        mBuilder.rollbackTransaction();
        const std::string head = "std::runtime_error: Cannot execute query: ";
        const std::string tail = "\nError: 1=cannot start a transaction within a transaction";
        EXPECT_TRUE(failure.starts_with(head) && failure.ends_with(tail)) << failure;
        return failure.substr(head.size(), failure.size() - head.size() - tail.size());
    }

    std::vector<std::string> tableNames() const {
        std::vector<std::string> names;
        for (const auto& row : test::Database(mFile).rows("SELECT name FROM sqlite_master WHERE type = 'table' AND "
                                                          "name NOT LIKE 'sqlite_%' ORDER BY rowid")) {
            names.push_back(row.front());
        }
        return names;
    }
};

TEST_F(SqlBuilderTables, AreCreatedByOneScriptInTheOrderGiven) {
    using enum DbTableType;
    EXPECT_EQ(test::squeezed(scriptFor({Metadata, RfidCard, RfidTag})),
              test::squeezed(std::string("BEGIN TRANSACTION; ") + metadataTable + cardTable + tagTable + "COMMIT;"));
    EXPECT_EQ(test::squeezed(scriptFor({RfidTag, Metadata})),
              test::squeezed(std::string("BEGIN TRANSACTION; ") + tagTable + metadataTable + "COMMIT;"));
    EXPECT_EQ(scriptFor({}), " BEGIN TRANSACTION;  COMMIT; ");
}

TEST_F(SqlBuilderTables, AppearInTheOrderGiven) {
    mBuilder.createTables({DbTableType::RfidTag, DbTableType::RfidCard, DbTableType::Metadata});
    EXPECT_THAT(tableNames(), ElementsAre("rfid_tag", "rfid_card", "metadata"));
}

TEST_F(SqlBuilderTables, AreOnlyThoseThatAreAskedFor) {
    mBuilder.createTables({DbTableType::RfidCard});
    EXPECT_THAT(tableNames(), ElementsAre("rfid_card"));
}

TEST_F(SqlBuilderTables, AreCreatedWithoutTheUnknownOnesOfTheList) {
    mBuilder.createTables({static_cast<DbTableType>(3), DbTableType::RfidCard, static_cast<DbTableType>(-1),
                           DbTableType::Metadata, static_cast<DbTableType>(1000)});
    EXPECT_THAT(tableNames(), ElementsAre("rfid_card", "metadata"));
}

TEST_F(SqlBuilderTables, StayAsTheyAreWhenTheyExist) {
    const test::Database other(mFile);
    other.execute("CREATE TABLE rfid_card(anything); INSERT INTO rfid_card VALUES('kept')");
    createAllTables();
    EXPECT_EQ(other.value("SELECT sql FROM sqlite_master WHERE name = 'rfid_card'"),
              "CREATE TABLE rfid_card(anything)");
    EXPECT_EQ(other.value("SELECT anything FROM rfid_card"), "kept");
    EXPECT_THAT(tableNames(), ElementsAre("rfid_card", "metadata", "rfid_tag"));
}

// Counting and the last identifier

TEST_F(SqlBuilder, CountsTheCards) {
    createAllTables();
    EXPECT_EQ(mBuilder.countAllRecords(), 0);
    for (int count = 1; count <= 3; ++count) {
        mBuilder.unpackFields(mBuilder.getCreateRfidCardStatement(bareCard()));
        EXPECT_EQ(mBuilder.countAllRecords(), count);
    }
}

TEST_F(SqlBuilder, FailsToCountWithoutTheTable) {
    EXPECT_EQ(thrownBy([&] { mBuilder.countAllRecords(); }),
              "std::runtime_error: Sqlite operation failed: 1=no such table: rfid_card\n");
    EXPECT_EQ(thrownBy([&] { mBuilder.getIdFromLastAddedCard(); }),
              "std::runtime_error: Sqlite operation failed: 1=no such table: rfid_card\n");
    EXPECT_EQ(thrownBy([&] { mBuilder.getUpdateVersionStatement(1); }),
              "std::runtime_error: Sqlite operation failed: 1=no such table: metadata\n");
}

TEST_F(SqlBuilder, KnowsTheIdOfTheCardInsertedLast) {
    createAllTables();
    for (const unsigned id : {7U, 3U, 2147483647U, 2147483648U, 4294967295U}) {
        RfidCard card = bareCard();
        card.id = id;
        mBuilder.unpackFields(mBuilder.getCreateRfidCardStatement(card));
        EXPECT_EQ(static_cast<unsigned>(mBuilder.getIdFromLastAddedCard()), id);
    }
}

TEST_F(SqlBuilder, ReadsTheFirstColumnOfARowInItsCallback) {
    const auto read = [](std::string first) {
        std::string second = "99";
        char* values[] = {first.data(), second.data()};
        int result = 5;
        EXPECT_EQ(SqlStatementBuilder::callbackForExec(&result, 2, values, nullptr), 0);
        return result;
    };
    EXPECT_EQ(read("42"), 42);
    EXPECT_EQ(read("-7"), -7);
    EXPECT_EQ(read("12 and more"), 12);
    EXPECT_EQ(read("none"), 0);
    EXPECT_EQ(read("2147483648"), -2147483647 - 1);
    EXPECT_EQ(read("4294967295"), -1);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
