// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "authlist/RfidCard.h"
#include "db/AnyBackend.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/NamedCase.h"

// Range queries where every backend answers alike. Left out is what they order in their own ways: statuses whose texts
// do not sort as their numbers do, ties, missing expiry dates under "not equal", an order without a sort key, an offset
// without a limit.

namespace oru::kadi::authlist::db::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Query : NamedCase {
    Range range;
    std::vector<unsigned> ids;
};

class AnyBackendRange : public BackendFixture, public testing::WithParamInterface<std::tuple<Backend, Query>> {
protected:
    AnyBackendRange() : BackendFixture(std::get<0>(GetParam())) {}

    Query mQuery = std::get<1>(GetParam());
};

std::string nameOfQuery(const testing::TestParamInfo<std::tuple<Backend, Query>>& info) {
    return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
}

// The statuses of this list are those whose texts sort as their numbers do, so that backends agree on their order.
//
// id  status    expiry date  last access time  last modification time
//  1  Accepted  2027         11 s              50 s
//  2  Blocked   none         22 s              40 s
//  3  Operator  2028         33 s              30 s
//  4  Accepted  none         44 s              20 s
//  5  Blocked   2029         55 s              10 s
void fillWithFive(const IDbAccessor& accessor) {
    const std::vector<std::optional<TimePoint>> dates{at(1798761600), std::nullopt, at(1830297600), std::nullopt,
                                                      at(1861920000)};
    const std::vector statuses{RfidCardStatus::Accepted, RfidCardStatus::Blocked, RfidCardStatus::Operator,
                               RfidCardStatus::Accepted, RfidCardStatus::Blocked};
    for (unsigned index = 0; index < 5; ++index) {
        RfidCard card = cardWithKey("Key " + std::to_string(index + 1), statuses[index]);
        card.expiryDate = dates[index];
        card.lastAccessTime = at(11 * (index + 1));
        card.lastModificationTime = at(50 - 10 * index);
        accessor.createRecord(card);
    }
}

using Key = SortingAndFilteringKey;
using Op = FilteringOperator;
using Order = SortingOrder;

Query filter(const char* name, Key key, Op op, CardValue value, std::vector<unsigned> ids) {
    return {{name}, {.filterKey = key, .filterOperator = op, .filterValue = std::move(value)}, std::move(ids)};
}

const CardValue third{3U};
const CardValue blocked{RfidCardStatus::Blocked};
const CardValue blockedText{"Blocked"};
const CardValue in2028{"2028-01-01T00:00:00Z"};
const CardValue second33{"1970-01-01T00:00:33Z"};
const CardValue second30{"1970-01-01T00:00:30Z"};

const std::vector<Query> filters{
    filter("IdEqual", Key::Id, Op::Equal, third, {3}),
    filter("IdLess", Key::Id, Op::Less, third, {1, 2}),
    filter("IdGreater", Key::Id, Op::Greater, third, {4, 5}),
    filter("IdLessOrEqual", Key::Id, Op::LessOrEqual, third, {1, 2, 3}),
    filter("IdGreaterOrEqual", Key::Id, Op::GreaterOrEqual, third, {3, 4, 5}),
    filter("IdNotEqual", Key::Id, Op::NotEqual, third, {1, 2, 4, 5}),
    filter("IdUnknown", Key::Id, Op::Equal, CardValue{6U}, {}),
    filter("StatusEqual", Key::Status, Op::Equal, blocked, {2, 5}),
    filter("StatusLess", Key::Status, Op::Less, blocked, {1, 4}),
    filter("StatusGreater", Key::Status, Op::Greater, blocked, {3}),
    filter("StatusLessOrEqual", Key::Status, Op::LessOrEqual, blocked, {1, 2, 4, 5}),
    filter("StatusGreaterOrEqual", Key::Status, Op::GreaterOrEqual, blocked, {2, 3, 5}),
    filter("StatusNotEqual", Key::Status, Op::NotEqual, blocked, {1, 3, 4}),
    filter("StatusOfNoCard", Key::Status, Op::Equal, CardValue{RfidCardStatus::Invalid}, {}),
    filter("StatusTextEqual", Key::Status, Op::Equal, blockedText, {2, 5}),
    filter("StatusTextLess", Key::Status, Op::Less, blockedText, {1, 4}),
    filter("StatusTextGreater", Key::Status, Op::Greater, blockedText, {3}),
    filter("StatusTextLessOrEqual", Key::Status, Op::LessOrEqual, blockedText, {1, 2, 4, 5}),
    filter("StatusTextGreaterOrEqual", Key::Status, Op::GreaterOrEqual, blockedText, {2, 3, 5}),
    filter("StatusTextNotEqual", Key::Status, Op::NotEqual, blockedText, {1, 3, 4}),
    filter("ExpiryDateEqual", Key::ExpiryDate, Op::Equal, in2028, {3}),
    filter("ExpiryDateLess", Key::ExpiryDate, Op::Less, in2028, {1}),
    filter("ExpiryDateGreaterOrMissing", Key::ExpiryDate, Op::Greater, in2028, {2, 4, 5}),
    filter("ExpiryDateLessOrEqual", Key::ExpiryDate, Op::LessOrEqual, in2028, {1, 3}),
    filter("ExpiryDateGreaterOrEqualOrMissing", Key::ExpiryDate, Op::GreaterOrEqual, in2028, {2, 3, 4, 5}),
    filter("AccessTimeEqual", Key::LastAccessTime, Op::Equal, second33, {3}),
    filter("AccessTimeLess", Key::LastAccessTime, Op::Less, second33, {1, 2}),
    filter("AccessTimeGreater", Key::LastAccessTime, Op::Greater, second33, {4, 5}),
    filter("AccessTimeLessOrEqual", Key::LastAccessTime, Op::LessOrEqual, second33, {1, 2, 3}),
    filter("AccessTimeGreaterOrEqual", Key::LastAccessTime, Op::GreaterOrEqual, second33, {3, 4, 5}),
    filter("AccessTimeNotEqual", Key::LastAccessTime, Op::NotEqual, second33, {1, 2, 4, 5}),
    filter("ModificationTimeEqual", Key::LastModificationTime, Op::Equal, second30, {3}),
    filter("ModificationTimeLess", Key::LastModificationTime, Op::Less, second30, {4, 5}),
    filter("ModificationTimeGreater", Key::LastModificationTime, Op::Greater, second30, {1, 2}),
    filter("ModificationTimeLessOrEqual", Key::LastModificationTime, Op::LessOrEqual, second30, {3, 4, 5}),
    filter("ModificationTimeGreaterOrEqual", Key::LastModificationTime, Op::GreaterOrEqual, second30, {1, 2, 3}),
    filter("ModificationTimeNotEqual", Key::LastModificationTime, Op::NotEqual, second30, {1, 2, 4, 5}),
};

const std::vector<Query> incompleteFilters{
    {{"NoFilter"}, {}, {1, 2, 3, 4, 5}},
    {{"KeyOnly"}, {.filterKey = Key::Id}, {1, 2, 3, 4, 5}},
    {{"OperatorOnly"}, {.filterOperator = Op::Equal}, {1, 2, 3, 4, 5}},
    {{"ValueOnly"}, {.filterValue = third}, {1, 2, 3, 4, 5}},
    {{"KeyAndOperator"}, {.filterKey = Key::Id, .filterOperator = Op::Equal}, {1, 2, 3, 4, 5}},
    {{"KeyAndValue"}, {.filterKey = Key::Id, .filterValue = third}, {1, 2, 3, 4, 5}},
    {{"OperatorAndValue"}, {.filterOperator = Op::Equal, .filterValue = third}, {1, 2, 3, 4, 5}},
};

const std::vector<Query> sortedPages{
    {{"ById"}, {.sortKey = Key::Id, .sortOrder = Order::Ascending}, {1, 2, 3, 4, 5}},
    {{"ByIdDescending"}, {.sortKey = Key::Id, .sortOrder = Order::Descending}, {5, 4, 3, 2, 1}},
    {{"ByAccessTime"}, {.sortKey = Key::LastAccessTime, .sortOrder = Order::Ascending}, {1, 2, 3, 4, 5}},
    {{"ByAccessTimeDescending"}, {.sortKey = Key::LastAccessTime, .sortOrder = Order::Descending}, {5, 4, 3, 2, 1}},
    {{"ByModificationTime"}, {.sortKey = Key::LastModificationTime, .sortOrder = Order::Ascending}, {5, 4, 3, 2, 1}},
    {{"ByModificationTimeDescending"},
     {.sortKey = Key::LastModificationTime, .sortOrder = Order::Descending},
     {1, 2, 3, 4, 5}},
    {{"AscendingUnlessTold"}, {.sortKey = Key::LastModificationTime}, {5, 4, 3, 2, 1}},
    {{"Limit"}, {.limit = 2}, {1, 2}},
    {{"LimitAndOffset"}, {.limit = 2, .offset = 1}, {2, 3}},
    {{"LimitBeyondTheEnd"}, {.limit = 3, .offset = 4}, {5}},
    {{"LimitOfZero"}, {.limit = 0}, {}},
    {{"LimitOfZeroAfterAnOffset"}, {.limit = 0, .offset = 2}, {}},
    {{"LargestLimit"}, {.limit = 4294967295U}, {1, 2, 3, 4, 5}},
    {{"OffsetOfTheWholeList"}, {.limit = 2, .offset = 5}, {}},
    {{"OffsetBeyondTheList"}, {.limit = 2, .offset = 6}, {}},
    {{"LargestOffset"}, {.limit = 2, .offset = 4294967295U}, {}},
    {{"PageOfTheSortedList"},
     {.limit = 2, .offset = 1, .sortKey = Key::LastModificationTime, .sortOrder = Order::Ascending},
     {4, 3}},
    {{"FilteredPage"}, {1, 1, Key::Id, Op::NotEqual, third, Key::Id, Order::Descending}, {4}},
    {{"FilterBeforeLimit"},
     {.limit = 1, .filterKey = Key::Id, .filterOperator = Op::Greater, .filterValue = third},
     {4}},
    {{"OffsetOfAllThatPassTheFilter"},
     {.limit = 5, .offset = 2, .filterKey = Key::Id, .filterOperator = Op::Greater, .filterValue = third},
     {}},
};

INSTANTIATE_TEST_SUITE_P(Filter, AnyBackendRange, testing::Combine(allBackends, testing::ValuesIn(filters)),
                         nameOfQuery);
INSTANTIATE_TEST_SUITE_P(Incomplete, AnyBackendRange,
                         testing::Combine(allBackends, testing::ValuesIn(incompleteFilters)), nameOfQuery);
INSTANTIATE_TEST_SUITE_P(Sorted, AnyBackendRange, testing::Combine(allBackends, testing::ValuesIn(sortedPages)),
                         nameOfQuery);

TEST_P(AnyBackendRange, YieldsTheCards) {
    fillWithFive(*mAccessor);
    EXPECT_EQ(idsOf(readRange(*mAccessor, mQuery.range)), mQuery.ids);
}

TEST_P(AnyBackendRange, IsEmptyForAnEmptyList) { EXPECT_THAT(readRange(*mAccessor, mQuery.range), IsEmpty()); }

class AnyBackendOrder : public AnyBackend {};

INSTANTIATE_TEST_SUITE_P(All, AnyBackendOrder, allBackends, byName);

TEST_P(AnyBackendOrder, YieldsWholeCardsFromARange) {
    stored(cardWithKey("A"));
    const RfidCard card = stored(fullCard());
    const Range second{.limit = 1, .offset = 1, .sortKey = Key::Id};
    EXPECT_EQ(fieldsOf(readRange(*mAccessor, second)), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackendOrder, SortsAMissingExpiryDateAsTheLatest) {
    const std::vector<std::optional<TimePoint>> dates{at(1893456000), std::nullopt, at(1735689600)};
    for (const auto& date : dates) {
        RfidCard card = cardWithKey("Key " + std::to_string(mAccessor->countRecords()));
        card.expiryDate = date;
        stored(card);
    }
    const Range ascending{.sortKey = Key::ExpiryDate, .sortOrder = Order::Ascending};
    const Range descending{.sortKey = Key::ExpiryDate, .sortOrder = Order::Descending};
    EXPECT_THAT(idsOf(readRange(*mAccessor, ascending)), ElementsAre(3, 1, 2));
    EXPECT_THAT(idsOf(readRange(*mAccessor, descending)), ElementsAre(2, 1, 3));
}

TEST_P(AnyBackendOrder, SortsByStatus) {
    stored(cardWithKey("A", RfidCardStatus::Blocked));
    stored(cardWithKey("B", RfidCardStatus::Operator));
    stored(cardWithKey("C", RfidCardStatus::Accepted));
    const Range ascending{.sortKey = Key::Status, .sortOrder = Order::Ascending};
    const Range descending{.sortKey = Key::Status, .sortOrder = Order::Descending};
    EXPECT_THAT(idsOf(readRange(*mAccessor, ascending)), ElementsAre(3, 1, 2));
    EXPECT_THAT(idsOf(readRange(*mAccessor, descending)), ElementsAre(2, 1, 3));
}

TEST_P(AnyBackendOrder, YieldsEveryOtherExpiryDateForNotEqual) {
    for (const std::int64_t date : {1798761600, 1830297600, 1861920000}) {
        RfidCard card = cardWithKey(std::to_string(date));
        card.expiryDate = at(date);
        stored(card);
    }
    const Range others{
        .filterKey = Key::ExpiryDate, .filterOperator = Op::NotEqual, .filterValue = in2028, .sortKey = Key::Id};
    EXPECT_THAT(idsOf(readRange(*mAccessor, others)), ElementsAre(1, 3));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::test
