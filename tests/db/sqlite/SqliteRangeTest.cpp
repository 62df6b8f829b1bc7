// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/sqlite/AccessorFixture.h"
#include "support/Cards.h"
#include "support/ThrownBy.h"

// The SQLite backend's own rules for range queries: it compares texts, and it writes the filter's text into the query.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::at;
using test::cardWithKey;
using test::thrownBy;
using testing::ElementsAre;
using Key = SortingAndFilteringKey;
using Op = FilteringOperator;
using Order = SortingOrder;

class SqliteBackendRange : public test::AccessorFixture {
protected:
    // A card of every status, ids 1 to 6 in the order of the enumeration; cards 2 and 5 expire, in 2030 and in 2025.
    SqliteBackendRange() {
        for (int status = 0; status < 6; ++status) {
            RfidCard card = cardWithKey(std::to_string(status), static_cast<RfidCardStatus>(status));
            if (status == 1) card.expiryDate = at(1893456000);
            if (status == 4) card.expiryDate = at(1735689600);
            mAccessor->createRecord(card);
        }
    }

    std::vector<unsigned> filtered(Key key, Op op, const CardValue& value) const {
        return idsOf(mAccessor->readRecordRange({}, {}, key, op, value, {}, {}));
    }

    std::vector<unsigned> sorted(std::optional<Key> key, std::optional<Order> order) const {
        return idsOf(mAccessor->readRecordRange({}, {}, {}, {}, {}, key, order));
    }
};

TEST_F(SqliteBackendRange, IgnoresAnOffsetWithoutLimit) {
    EXPECT_THAT(idsOf(mAccessor->readRecordRange({}, 3, {}, {}, {}, {}, {})), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(SqliteBackendRange, SortsByIdWhenOnlyTheOrderIsGiven) {
    EXPECT_THAT(sorted({}, Order::Descending), ElementsAre(6, 5, 4, 3, 2, 1));
}

TEST_F(SqliteBackendRange, SortsStatusesByTheirTexts) {
    EXPECT_THAT(sorted(Key::Status, Order::Ascending), ElementsAre(1, 3, 5, 2, 4, 6));
    EXPECT_THAT(sorted(Key::Status, Order::Descending), ElementsAre(6, 4, 2, 5, 3, 1));
}

TEST_F(SqliteBackendRange, ComparesStatusesByTheirTexts) {
    EXPECT_THAT(filtered(Key::Status, Op::Less, RfidCardStatus::Expired), ElementsAre(1, 3, 5));
    EXPECT_THAT(filtered(Key::Status, Op::Greater, RfidCardStatus::Expired), ElementsAre(4, 6));
    EXPECT_THAT(filtered(Key::Status, Op::Equal, "Nonsense"), testing::IsEmpty());
}

TEST_F(SqliteBackendRange, SortsMissingExpiryDatesAsTheLatest) {
    const auto ascending = sorted(Key::ExpiryDate, Order::Ascending);
    EXPECT_EQ(std::vector(ascending.begin(), ascending.begin() + 2), (std::vector{5U, 2U}));
    EXPECT_THAT(std::vector(ascending.begin() + 2, ascending.end()), testing::UnorderedElementsAre(1, 3, 4, 6));
    const auto descending = sorted(Key::ExpiryDate, Order::Descending);
    EXPECT_THAT(std::vector(descending.begin(), descending.begin() + 4), testing::UnorderedElementsAre(1, 3, 4, 6));
    EXPECT_EQ(std::vector(descending.begin() + 4, descending.end()), (std::vector{2U, 5U}));
}

TEST_F(SqliteBackendRange, LeavesMissingExpiryDatesOutOfEqualAndNotEqual) {
    EXPECT_THAT(filtered(Key::ExpiryDate, Op::NotEqual, "2030-01-01T00:00:00Z"), ElementsAre(5));
    EXPECT_THAT(filtered(Key::ExpiryDate, Op::Equal, "2030-01-01T00:00:00Z"), ElementsAre(2));
}

TEST_F(SqliteBackendRange, ComparesTimesAsTexts) {
    EXPECT_THAT(filtered(Key::ExpiryDate, Op::Less, "2026"), ElementsAre(5));
    EXPECT_THAT(filtered(Key::ExpiryDate, Op::LessOrEqual, "no time"), ElementsAre(2, 5));
}

TEST_F(SqliteBackendRange, TakesIdsFrom2147483648OnForNegativeNumbers) {
    RfidCard card = cardWithKey("large");
    card.id = 3000000000;
    mAccessor->createRecord(card);
    EXPECT_THAT(sorted(Key::Id, Order::Ascending), ElementsAre(3000000000, 1, 2, 3, 4, 5, 6));
    EXPECT_THAT(filtered(Key::Id, Op::Less, 2U), ElementsAre(3000000000, 1));
    EXPECT_THAT(filtered(Key::Id, Op::Equal, 3000000000U), testing::IsEmpty());
}

TEST_F(SqliteBackendRange, WritesTheFilterTextIntoTheQueryAsItStands) {
    EXPECT_THAT(filtered(Key::LastAccessTime, Op::Equal, R"(x" OR "1" = "1)"), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(filtered(Key::LastAccessTime, Op::Equal, R"(x" OR id = 4 --)"), ElementsAre(4));
}

TEST_F(SqliteBackendRange, TakesAFilterTextThatNamesAColumnForThatColumn) {
    EXPECT_THAT(filtered(Key::LastAccessTime, Op::Equal, "last_modification_time"), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(SqliteBackendRange, RefusesUnknownEnumerators) {
    const std::string refusal = "std::invalid_argument: ";
    EXPECT_EQ(thrownBy([&] { filtered(static_cast<Key>(5), Op::Equal, 1U); }),
              refusal + "5 was not found in N3oru4kadi8authlist22SortingAndFilteringKeyE");
    EXPECT_EQ(thrownBy([&] { filtered(Key::Id, static_cast<Op>(6), 1U); }),
              refusal + "6 was not found in N3oru4kadi8authlist17FilteringOperatorE");
    EXPECT_EQ(thrownBy([&] { sorted(static_cast<Key>(5), {}); }),
              refusal + "5 was not found in N3oru4kadi8authlist22SortingAndFilteringKeyE");
    EXPECT_EQ(thrownBy([&] { sorted({}, static_cast<Order>(2)); }),
              refusal + "2 was not found in N3oru4kadi8authlist12SortingOrderE");
    EXPECT_EQ(thrownBy([&] { filtered(Key::Status, Op::Equal, static_cast<RfidCardStatus>(6)); }),
              refusal + "6 was not found in N3oru4kadi8authlist14RfidCardStatusE");
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
