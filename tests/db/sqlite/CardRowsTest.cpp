// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <string>
#include <vector>

#include "authlist/Enumerations.h"
#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "db/sqlite/BuilderFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/ConnectionSpy.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

// How fetched rows become values, identifiers and cards, odd rows of other writers among them.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::at;
using test::fieldsOf;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* wrongType = "std::bad_variant_access: std::get: wrong index for variant";
const SqlValue null{};

class FetchedRows : public test::BuilderFixture {};

TEST_F(FetchedRows, ComeInTheirOrderWithOneValuePerColumn) {
    EXPECT_THAT(rowsOf("SELECT 1, 'a', NULL UNION ALL SELECT 2, '', 3"),
                ElementsAre(SqlRow{1, "a", null}, SqlRow{2, "", 3}));
    EXPECT_THAT(rowsOf("SELECT 1 WHERE 0"), IsEmpty());
}

TEST_F(FetchedRows, HoldIntegersAndTextsAndNullForAnythingElse) {
    EXPECT_THAT(rowsOf("SELECT -2147483648, '7', 1.5, x'41', NULL, x'', 2.0"),
                ElementsAre(SqlRow{-2147483647 - 1, "7", null, null, null, null, null}));
}

TEST_F(FetchedRows, HoldTheLowestBitsOfAWideInteger) {
    EXPECT_THAT(rowsOf("SELECT 4294967295, 2147483648, 4294967303"), ElementsAre(SqlRow{-1, -2147483647 - 1, 7}));
}

TEST_F(FetchedRows, HoldATextUpToItsFirstZeroByte) {
    EXPECT_THAT(rowsOf("SELECT CAST(x'6162006364' AS TEXT), CAST(x'00' AS TEXT)"), ElementsAre(SqlRow{"ab", ""}));
}

TEST_F(FetchedRows, AreNoneOfAStatementThatYieldsNone) {
    EXPECT_THAT(rowsOf("CREATE TABLE t(a)"), IsEmpty());
    EXPECT_THAT(rowsOf("INSERT INTO t VALUES(1), (2)"), IsEmpty());
    EXPECT_THAT(rowsOf("DELETE FROM t RETURNING a"), ElementsAre(SqlRow{1}, SqlRow{2}));
}

TEST_F(FetchedRows, AreLostWhenALaterStepFails) {
    EXPECT_EQ(thrownBy([&] { rowsOf("SELECT 1 UNION ALL SELECT abs(-9223372036854775808)"); }),
              "std::runtime_error: Sqlite operation failed: 1=integer overflow\n");
    EXPECT_EQ(statementsAlive(), 0);
}

TEST_F(FetchedRows, CannotBeFetchedWithoutAStatement) {
    mBuilder.executeQuery("SELECT 1");  // the connection's last words
    EXPECT_EQ(thrownBy([&] { mBuilder.unpackFields(SqliteStatement(nullptr)); }),
              "std::runtime_error: Sqlite operation failed: 21=not an error\n");
}

TEST_F(FetchedRows, TellWhetherThereWasAny) {
    EXPECT_TRUE(mBuilder.anyRowReturned(prepared("SELECT NULL")));
    EXPECT_TRUE(mBuilder.anyRowReturned(prepared("SELECT 1 UNION ALL SELECT 2")));
    EXPECT_FALSE(mBuilder.anyRowReturned(prepared("SELECT 1 WHERE 0")));
}

TEST_F(FetchedRows, AreAllDeletedBeforeTheAnswerIsGiven) {
    mBuilder.executeQuery("CREATE TABLE t(a); INSERT INTO t VALUES(1), (2), (3)");
    EXPECT_TRUE(mBuilder.anyRowReturned(prepared("DELETE FROM t WHERE a > 1 RETURNING a")));
    EXPECT_THAT(rowsOf("SELECT a FROM t"), ElementsAre(SqlRow{1}));
}

TEST_F(FetchedRows, YieldTheIdInTheOnlyRow) {
    EXPECT_EQ(mBuilder.retrieveRfidId(prepared("SELECT 7, 8")), 7U);
    EXPECT_EQ(mBuilder.retrieveRfidId(prepared("SELECT -1")), 4294967295U);
    EXPECT_EQ(mBuilder.retrieveRfidId(prepared("SELECT 7 WHERE 0")), std::nullopt);
}

TEST_F(FetchedRows, YieldNoIdWhenThereAreSeveral) {
    const char* refusal = "std::invalid_argument: Rfid key passed as argument points to multiple rfid cards!";
    EXPECT_EQ(thrownBy([&] { mBuilder.retrieveRfidId(prepared("SELECT 7 UNION ALL SELECT 8")); }), refusal);
    EXPECT_EQ(thrownBy([&] { mBuilder.retrieveRfidId(prepared("SELECT 7 UNION ALL SELECT 7")); }), refusal);
}

TEST_F(FetchedRows, YieldNoIdFromAColumnThatIsNoInteger) {
    for (const std::string value : {"'7'", "NULL", "7.0", "x'37'"}) {
        EXPECT_EQ(thrownBy([&] { mBuilder.retrieveRfidId(prepared("SELECT " + value)); }), wrongType) << value;
    }
    EXPECT_EQ(thrownBy([&] { mBuilder.retrieveRfidId(prepared("SELECT 7 UNION ALL SELECT 'x'")); }), wrongType);
}

TEST_F(FetchedRows, AreAllThereBeforeTheFirstYieldsItsId) {
    mBuilder.executeQuery("CREATE TABLE t(a); INSERT INTO t VALUES(1)");
    const SqliteStatement statement = prepared("SELECT 'x' UNION ALL SELECT abs(-9223372036854775807 - a) FROM t");
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);  // it is the second step that fails
    ASSERT_EQ(sqlite3_reset(statement.get()), SQLITE_OK);
    EXPECT_EQ(thrownBy([&] { mBuilder.retrieveRfidId(statement); }),
              "std::runtime_error: Sqlite operation failed: 1=integer overflow\n");
}

// Tables of another writer, in which every column takes any value.
class CardRow : public test::BuilderFixture {
protected:
    CardRow() {
        mBuilder.executeQuery(
            "CREATE TABLE rfid_card(id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
            "last_access_time, last_modification_time, record_lifetime, one_more);"
            "INSERT INTO rfid_card VALUES(1, 'Door', 'Blocked', '2030-01-01T00:00:00Z', 'Staff', 2, '{}',"
            " '2026-01-01T00:00:01Z', '2026-01-01T00:00:02Z', 60, 'ignored');"
            "CREATE TABLE rfid_tag(id, rfid_card, hash, key, extra_data, one_more);"
            "INSERT INTO rfid_tag VALUES(1, 1, 'aa', 'A', 'x', 'ignored')");
    }

    void setCard(const std::string& column, const std::string& value) const {
        mBuilder.executeQuery("UPDATE rfid_card SET " + column + " = " + value);
    }
    void setTag(const std::string& column, const std::string& value) const {
        mBuilder.executeQuery("UPDATE rfid_tag SET " + column + " = " + value);
    }

    std::vector<RfidCard> read() const { return mBuilder.retrieveRfidCards(mBuilder.getAllRecords()); }

    std::string failure() const {
        const std::string thrown = thrownBy([&] { read(); });
        EXPECT_EQ(statementsAlive(), 0);
        return thrown;
    }

    // The card that the constructor's rows hold.
    static RfidCard card() {
        RfidCard card;
        card.id = 1;
        card.description = "Door";
        card.tags = {RfidTag{"aa", "A", "x"}};
        card.status = RfidCardStatus::Blocked;
        card.expiryDate = at(1893456000);
        card.parentId = "Staff";
        card.evseId = 2;
        card.extraData = "{}";
        card.lastAccessTime = at(1767225601);
        card.lastModificationTime = at(1767225602);
        card.recordLifetime = 60;
        return card;
    }
};

TEST_F(CardRow, IsReadByThePositionsOfItsColumns) {
    EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{card()}));
    mBuilder.executeQuery(
        "ALTER TABLE rfid_card RENAME COLUMN description TO a; ALTER TABLE rfid_tag RENAME COLUMN hash TO b");
    EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{card()}));
}

TEST_F(CardRow, OfAnyStatusIsRead) {
    for (int status = 0; status <= 5; ++status) {
        setCard("rfid_card_status", "'" + std::string(statusToText(static_cast<RfidCardStatus>(status))) + "'");
        EXPECT_EQ(static_cast<int>(read().at(0).status), status);
    }
}

TEST_F(CardRow, WithAStatusThatNobodyKnowsIsRefused) {
    for (const std::string text : {"Lost", "accepted", "", " Accepted", "2"}) {
        setCard("rfid_card_status", "'" + text + "'");
        const std::string refusal = thrownBy([&] { statusFromText(text); });
        EXPECT_THAT(refusal, testing::StartsWith("std::invalid_argument: "));
        EXPECT_EQ(failure(), refusal);
    }
}

TEST_F(CardRow, WithTheWrongTypeInARequiredColumnIsRefused) {
    for (const std::string column : {"description", "rfid_card_status", "last_access_time", "last_modification_time"}) {
        for (const std::string value : {"NULL", "7", "1.5", "x'41'"}) {
            setCard(column, value);
            EXPECT_EQ(failure(), wrongType) << column << " = " << value;
        }
        setCard(column, column == "rfid_card_status" ? "'Blocked'" : "'2026-01-01T00:00:01Z'");
        EXPECT_EQ(failure(), "nothing");
    }
    for (const std::string value : {"NULL", "'1'", "1.0", "x'31'"}) {
        setCard("id", value);
        EXPECT_EQ(failure(), wrongType) << value;
    }
}

TEST_F(CardRow, WithAnAccessOrModificationTimeThatIsNoTimeIsRefused) {
    for (const std::string column : {"last_access_time", "last_modification_time"}) {
        for (const std::string value : {"''", "'yesterday'", "'1767225601'"}) {
            setCard(column, value);
            EXPECT_EQ(failure(), "std::bad_optional_access: bad optional access") << column << " = " << value;
        }
        setCard(column, "'2026-01-01T00:00:01Z'");
    }
}

TEST_F(CardRow, WithoutAUsableExpiryDateHasNone) {
    RfidCard expected = card();
    expected.expiryDate.reset();
    for (const std::string value : {"NULL", "''", "'never'", "1893456000", "1.5", "x'41'"}) {
        setCard("expiry_date", value);
        EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected})) << value;
    }
}

TEST_F(CardRow, WithAnotherTypeInAnOptionalTextHasNoText) {
    RfidCard expected = card();
    expected.parentId.reset();
    expected.extraData.reset();
    for (const std::string value : {"NULL", "7", "1.5", "x'41'"}) {
        setCard("parent_id", value);
        setCard("extra_data", value);
        EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected})) << value;
    }
}

TEST_F(CardRow, WithAnotherTypeInAnOptionalNumberHasNoNumber) {
    RfidCard expected = card();
    expected.evseId.reset();
    expected.recordLifetime.reset();
    for (const std::string value : {"NULL", "'7'", "7.0", "x'37'"}) {
        setCard("evse_id", value);
        setCard("record_lifetime", value);
        EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected})) << value;
    }
}

TEST_F(CardRow, HoldsUnsignedNumbersWhicheverWayTheyWereStored) {
    RfidCard expected = card();
    expected.evseId = expected.recordLifetime = 4294967295;
    for (const std::string value : {"-1", "4294967295"}) {
        setCard("evse_id", value);
        setCard("record_lifetime", value);
        EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected})) << value;
    }
}

TEST_F(CardRow, HasTextsUpToTheirFirstZeroByte) {
    RfidCard expected = card();
    expected.description = expected.tags[0].hash = "ab";
    expected.parentId = expected.extraData = expected.tags[0].key = expected.tags[0].extraData = "ab";
    const std::string text = "CAST(x'61620063' AS TEXT)";
    for (const std::string column : {"description", "parent_id", "extra_data"}) setCard(column, text);
    for (const std::string column : {"hash", "key", "extra_data"}) setTag(column, text);
    EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected}));
}

TEST_F(CardRow, WithATagWhoseHashIsNoTextIsRefused) {
    for (const std::string value : {"NULL", "7", "1.5", "x'41'"}) {
        setTag("hash", value);
        EXPECT_EQ(failure(), wrongType) << value;
    }
}

TEST_F(CardRow, HasNoKeyAndNoExtraDataFromATagWhereTheyAreNoText) {
    RfidCard expected = card();
    expected.tags[0].key.reset();
    expected.tags[0].extraData.reset();
    for (const std::string value : {"NULL", "7", "1.5", "x'41'"}) {
        setTag("key", value);
        setTag("extra_data", value);
        EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected})) << value;
    }
}

TEST_F(CardRow, HasTheTagsThatNameItInTheirOrder) {
    mBuilder.executeQuery(
        "INSERT INTO rfid_tag VALUES(9, 2, 'dd', NULL, NULL, 0), (5, 1, 'cc', NULL, NULL, 0),"
        " (3, 1, 'bb', NULL, NULL, 0)");
    RfidCard expected = card();
    expected.tags.push_back({"cc", std::nullopt, std::nullopt});
    expected.tags.push_back({"bb", std::nullopt, std::nullopt});
    EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected}));
}

TEST_F(CardRow, MayHaveNoTag) {
    mBuilder.executeQuery("DELETE FROM rfid_tag");
    RfidCard expected = card();
    expected.tags.clear();
    EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{expected}));
}

TEST_F(CardRow, IsOneOfSeveralInTheOrderOfTheStatement) {
    mBuilder.executeQuery(
        "INSERT INTO rfid_card SELECT 3, description, rfid_card_status, expiry_date, parent_id, "
        "evse_id, extra_data, last_access_time, last_modification_time, record_lifetime, 0 "
        "FROM rfid_card; INSERT INTO rfid_tag VALUES(2, 3, 'bb', NULL, NULL, 0)");
    RfidCard second = card();
    second.id = 3;
    second.tags = {RfidTag{"bb", std::nullopt, std::nullopt}};
    EXPECT_EQ(fieldsOf(read()), fieldsOf(std::vector{card(), second}));
    EXPECT_EQ(fieldsOf(mBuilder.retrieveRfidCards(prepared("SELECT * FROM rfid_card ORDER BY id DESC"))),
              fieldsOf(std::vector{second, card()}));
}

TEST_F(CardRow, IsConvertedOnlyWhenAllRowsAreThere) {
    setCard("rfid_card_status", "'Lost'");
    const SqliteStatement statement = prepared(
        "SELECT * FROM rfid_card UNION ALL "
        "SELECT abs(-9223372036854775807 - id), 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 FROM rfid_card");
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);  // it is the second step that fails
    ASSERT_EQ(sqlite3_reset(statement.get()), SQLITE_OK);
    EXPECT_EQ(thrownBy([&] { mBuilder.retrieveRfidCards(statement); }),
              "std::runtime_error: Sqlite operation failed: 1=integer overflow\n");
}

TEST_F(CardRow, LeavesNoStatementOfItsTagsToTheNextCard) {
    mBuilder.executeQuery("INSERT INTO rfid_card SELECT * FROM rfid_card");
    const test::LiveStatementsWhenPreparing queries(mConnector->getDb(), SQLITE_SELECT, "");
    ASSERT_EQ(read().size(), 2U);
    // The first query is the one for the cards, the others are those for the tags of each card.
    const std::vector<std::string> cards{"SELECT * FROM rfid_card"};
    EXPECT_THAT(queries.noted(), ElementsAre(IsEmpty(), cards, cards));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
