// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "db/sqlite/BuilderFixture.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

// The clauses of a range query and the statement that they make up, character by character.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::thrownBy;
using Key = SortingAndFilteringKey;
using Op = FilteringOperator;
using Order = SortingOrder;

constexpr const char* noSuchKey = " was not found in N3oru4kadi8authlist22SortingAndFilteringKeyE";
constexpr const char* noSuchOperator = " was not found in N3oru4kadi8authlist17FilteringOperatorE";
constexpr const char* noSuchOrder = " was not found in N3oru4kadi8authlist12SortingOrderE";
constexpr const char* noSuchStatus = " was not found in N3oru4kadi8authlist14RfidCardStatusE";

TEST(LimitClause, AlwaysHasBothParts) {
    EXPECT_EQ(SqlStatementBuilder::buildLimitClause(10, 0), " LIMIT 10  OFFSET 0");
    EXPECT_EQ(SqlStatementBuilder::buildLimitClause(0, 7), " LIMIT 0  OFFSET 7");
    EXPECT_EQ(SqlStatementBuilder::buildLimitClause(4294967295, 4294967295), " LIMIT 4294967295  OFFSET 4294967295");
}

TEST(OrderClause, NamesTheColumnAndPutsMissingValuesAsTheLargest) {
    const auto& build = SqlStatementBuilder::buildOrderByClause;
    EXPECT_EQ(build(Key::Id, Order::Ascending), " ORDER BY id ASC NULLS LAST");
    EXPECT_EQ(build(Key::Id, Order::Descending), " ORDER BY id DESC NULLS FIRST");
    EXPECT_EQ(build(Key::Status, Order::Ascending), " ORDER BY rfid_card_status ASC NULLS LAST");
    EXPECT_EQ(build(Key::Status, Order::Descending), " ORDER BY rfid_card_status DESC NULLS FIRST");
    EXPECT_EQ(build(Key::ExpiryDate, Order::Ascending), " ORDER BY expiry_date ASC NULLS LAST");
    EXPECT_EQ(build(Key::ExpiryDate, Order::Descending), " ORDER BY expiry_date DESC NULLS FIRST");
    EXPECT_EQ(build(Key::LastAccessTime, Order::Ascending), " ORDER BY last_access_time ASC NULLS LAST");
    EXPECT_EQ(build(Key::LastAccessTime, Order::Descending), " ORDER BY last_access_time DESC NULLS FIRST");
    EXPECT_EQ(build(Key::LastModificationTime, Order::Ascending), " ORDER BY last_modification_time ASC NULLS LAST");
    EXPECT_EQ(build(Key::LastModificationTime, Order::Descending), " ORDER BY last_modification_time DESC NULLS FIRST");
}

TEST(OrderClause, RefusesUnknownKeysAndOrders) {
    const auto failure = [](int key, int order) {
        return thrownBy(
            [&] { SqlStatementBuilder::buildOrderByClause(static_cast<Key>(key), static_cast<Order>(order)); });
    };
    EXPECT_EQ(failure(5, 0), std::string("std::invalid_argument: 5") + noSuchKey);
    EXPECT_EQ(failure(-1, 1), std::string("std::invalid_argument: -1") + noSuchKey);
    EXPECT_EQ(failure(0, 2), std::string("std::invalid_argument: 2") + noSuchOrder);
    EXPECT_EQ(failure(4, -1), std::string("std::invalid_argument: -1") + noSuchOrder);
}

TEST(OrderClause, LooksAtTheKeyBeforeTheOrder) {
    EXPECT_EQ(thrownBy([] { SqlStatementBuilder::buildOrderByClause(static_cast<Key>(5), static_cast<Order>(2)); }),
              std::string("std::invalid_argument: 5") + noSuchKey);
}

struct Where : test::NamedCase {
    Key key;
    Op op;
    CardValue value;
    const char* clause;
};

const std::vector<Where> whereClauses{
    {{"IdEqual"}, Key::Id, Op::Equal, 7U, " WHERE id = 7"},
    {{"IdLess"}, Key::Id, Op::Less, 7U, " WHERE id < 7"},
    {{"IdGreater"}, Key::Id, Op::Greater, 7U, " WHERE id > 7"},
    {{"IdLessOrEqual"}, Key::Id, Op::LessOrEqual, 7U, " WHERE id <= 7"},
    {{"IdGreaterOrEqual"}, Key::Id, Op::GreaterOrEqual, 7U, " WHERE id >= 7"},
    {{"IdNotEqual"}, Key::Id, Op::NotEqual, 4294967295U, " WHERE id != 4294967295"},
    {{"IdAsText"}, Key::Id, Op::Equal, "7", " WHERE id = \"7\""},
    {{"Status"}, Key::Status, Op::NotEqual, RfidCardStatus::Blocked, " WHERE rfid_card_status != \"Blocked\""},
    {{"StatusOperator"}, Key::Status, Op::Equal, RfidCardStatus::Operator, " WHERE rfid_card_status = \"Operator\""},
    {{"StatusAsText"}, Key::Status, Op::Less, "Blocked", " WHERE rfid_card_status < \"Blocked\""},
    {{"StatusAsNumber"}, Key::Status, Op::Equal, 2U, " WHERE rfid_card_status = 2"},
    {{"ExpiryDateEqual"}, Key::ExpiryDate, Op::Equal, "T", " WHERE expiry_date = \"T\""},
    {{"ExpiryDateNotEqual"}, Key::ExpiryDate, Op::NotEqual, "T", " WHERE expiry_date != \"T\""},
    {{"ExpiryDateLess"}, Key::ExpiryDate, Op::Less, "T", " WHERE expiry_date < \"T\" AND expiry_date IS NOT NULL"},
    {{"ExpiryDateLessOrEqual"},
     Key::ExpiryDate,
     Op::LessOrEqual,
     "T",
     " WHERE expiry_date <= \"T\" AND expiry_date IS NOT NULL"},
    {{"ExpiryDateGreater"}, Key::ExpiryDate, Op::Greater, "T", " WHERE expiry_date > \"T\" OR expiry_date IS NULL"},
    {{"ExpiryDateGreaterOrEqual"},
     Key::ExpiryDate,
     Op::GreaterOrEqual,
     "T",
     " WHERE expiry_date >= \"T\" OR expiry_date IS NULL"},
    {{"AccessTime"}, Key::LastAccessTime, Op::Greater, "T", " WHERE last_access_time > \"T\""},
    {{"AccessTimeLess"}, Key::LastAccessTime, Op::Less, "T", " WHERE last_access_time < \"T\""},
    {{"ModificationTime"}, Key::LastModificationTime, Op::LessOrEqual, "T", " WHERE last_modification_time <= \"T\""},
    {{"EmptyText"}, Key::LastAccessTime, Op::Equal, "", " WHERE last_access_time = \"\""},
    {{"QuotesUnescaped"}, Key::LastAccessTime, Op::Equal, R"(a"b'c)", R"( WHERE last_access_time = "a"b'c")"},
};

class WhereClause : public test::BuilderFixture, public testing::WithParamInterface<Where> {};

INSTANTIATE_TEST_SUITE_P(All, WhereClause, testing::ValuesIn(whereClauses), test::byName);

TEST_P(WhereClause, ComparesTheColumnWithTheValue) {
    const Where& where = GetParam();
    EXPECT_EQ(mBuilder.buildWhereClause(where.key, where.value, where.op), where.clause);
}

class RangeStatement : public test::BuilderFixture {
protected:
    RangeStatement() { createAllTables(); }

    static std::string sqlOf(const SqliteStatement& statement) { return sqlite3_sql(statement.get()); }
};

TEST_F(RangeStatement, RefusesFiltersWithUnknownEnumerators) {
    const auto failure = [&](int key, int op, const CardValue& value) {
        return thrownBy([&] { mBuilder.buildWhereClause(static_cast<Key>(key), value, static_cast<Op>(op)); });
    };
    EXPECT_EQ(failure(5, 0, 1U), std::string("std::invalid_argument: 5") + noSuchKey);
    EXPECT_EQ(failure(-2, 0, 1U), std::string("std::invalid_argument: -2") + noSuchKey);
    EXPECT_EQ(failure(0, 6, 1U), std::string("std::invalid_argument: 6") + noSuchOperator);
    EXPECT_EQ(failure(0, -1, 1U), std::string("std::invalid_argument: -1") + noSuchOperator);
    EXPECT_EQ(failure(1, 0, static_cast<RfidCardStatus>(9)), std::string("std::invalid_argument: 9") + noSuchStatus);
}

TEST_F(RangeStatement, LooksAtTheKeyThenAtTheOperatorThenAtTheValueOfAFilter) {
    const CardValue noStatus = static_cast<RfidCardStatus>(9);
    EXPECT_EQ(thrownBy([&] { mBuilder.buildWhereClause(static_cast<Key>(5), noStatus, static_cast<Op>(6)); }),
              std::string("std::invalid_argument: 5") + noSuchKey);
    EXPECT_EQ(thrownBy([&] { mBuilder.buildWhereClause(Key::Status, noStatus, static_cast<Op>(6)); }),
              std::string("std::invalid_argument: 6") + noSuchOperator);
}

TEST_F(RangeStatement, WithoutArgumentsIsOrderedById) {
    const SqliteStatement statement = mBuilder.getRangeStatement({}, {}, {}, {}, {}, {}, {});
    EXPECT_EQ(sqlOf(statement), "SELECT * FROM rfid_card  ORDER BY id ASC NULLS LAST");
}

TEST_F(RangeStatement, HasFilterOrderAndLimitInThisOrder) {
    const SqliteStatement statement = mBuilder.getRangeStatement(
        10, 20, Key::Status, Op::Equal, CardValue{RfidCardStatus::Accepted}, Key::LastAccessTime, Order::Descending);
    EXPECT_EQ(sqlOf(statement),
              "SELECT * FROM rfid_card  WHERE rfid_card_status = \"Accepted\""
              " ORDER BY last_access_time DESC NULLS FIRST LIMIT 10  OFFSET 20");
    EXPECT_EQ(sqlite3_bind_parameter_count(statement.get()), 0);
}

TEST_F(RangeStatement, IgnoresAnIncompleteFilter) {
    const CardValue one{1U};
    const std::string unfiltered = "SELECT * FROM rfid_card  ORDER BY id ASC NULLS LAST";
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, {}, Key::Id, Op::Equal, {}, {}, {})), unfiltered);
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, {}, Key::Id, {}, one, {}, {})), unfiltered);
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, {}, {}, Op::Equal, one, {}, {})), unfiltered);
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, {}, static_cast<Key>(5), static_cast<Op>(6), {}, {}, {})),
              unfiltered);
}

TEST_F(RangeStatement, SortsAscendingUnlessTold) {
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, {}, {}, {}, {}, Key::ExpiryDate, {})),
              "SELECT * FROM rfid_card  ORDER BY expiry_date ASC NULLS LAST");
}

TEST_F(RangeStatement, SortsByIdUnlessTold) {
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, {}, {}, {}, {}, {}, Order::Descending)),
              "SELECT * FROM rfid_card  ORDER BY id DESC NULLS FIRST");
}

TEST_F(RangeStatement, StartsAtTheFirstRowWithoutOffset) {
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement(2, {}, {}, {}, {}, {}, {})),
              "SELECT * FROM rfid_card  ORDER BY id ASC NULLS LAST LIMIT 2  OFFSET 0");
}

TEST_F(RangeStatement, IgnoresAnOffsetWithoutLimit) {
    EXPECT_EQ(sqlOf(mBuilder.getRangeStatement({}, 3, {}, {}, {}, {}, {})),
              "SELECT * FROM rfid_card  ORDER BY id ASC NULLS LAST");
}

TEST_F(RangeStatement, RefusesUnknownSorting) {
    EXPECT_EQ(thrownBy([&] { mBuilder.getRangeStatement({}, {}, {}, {}, {}, static_cast<Key>(5), {}); }),
              std::string("std::invalid_argument: 5") + noSuchKey);
    EXPECT_EQ(thrownBy([&] { mBuilder.getRangeStatement({}, {}, {}, {}, {}, {}, static_cast<Order>(2)); }),
              std::string("std::invalid_argument: 2") + noSuchOrder);
}

TEST_F(RangeStatement, LooksAtTheFilterBeforeTheSorting) {
    EXPECT_EQ(thrownBy([&] {
                  mBuilder.getRangeStatement({}, {}, static_cast<Key>(6), Op::Equal, CardValue{1U}, static_cast<Key>(5),
                                             {});
              }),
              std::string("std::invalid_argument: 6") + noSuchKey);
}

TEST_F(RangeStatement, FailsToBePreparedWithAQuoteInTheFilterText) {
    EXPECT_EQ(thrownBy([&] {
                  mBuilder.getRangeStatement({}, {}, Key::LastAccessTime, Op::Equal, CardValue{R"(")"}, {}, {});
              }),
              "std::runtime_error: Sqlite operation failed: 1=unrecognized token: "
              "\"\"\"\" ORDER BY id ASC NULLS LAST\"\n");
    EXPECT_EQ(statementsAlive(), 0);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
