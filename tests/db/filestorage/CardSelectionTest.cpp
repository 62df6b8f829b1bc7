// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "db/AnyBackend.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileStore.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

using Key = SortingAndFilteringKey;
using Op = FilteringOperator;
using Order = SortingOrder;
using std::chrono::nanoseconds;
using test::at;
using test::cardWithKey;
using test::fieldsOf;
using test::idsOf;
using test::NamedCase;
using test::Range;
using test::readRange;
using test::thrownBy;
using test::withId;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Key pastLastKey = static_cast<Key>(5);
constexpr Key farBeyondTheKeys = static_cast<Key>(6);
constexpr Op pastLastOperator = static_cast<Op>(6);
constexpr Op farBeyondTheOperators = static_cast<Op>(7);

constexpr const char* wrongFilteringKey = "std::logic_error: Incorrect value for Filtering Key";
constexpr const char* wrongFilteringOperator = "std::logic_error: Incorrect value for Filtering Operator";
constexpr const char* wrongSortingKey = "std::logic_error: Incorrect value for Sorting Key";
constexpr const char* noTimestamp = "std::range_error: Incorrect timestamp in input data!";
constexpr const char* wrongType = "std::bad_variant_access: std::get: wrong index for variant";

RfidCard cardWith(unsigned id, RfidCardStatus status) { return withId(id, cardWithKey(std::to_string(id), status)); }

RfidCard cardWith(unsigned id, std::optional<TimePoint> expiryDate) {
    RfidCard card = withId(id, cardWithKey(std::to_string(id)));
    card.expiryDate = expiryDate;
    return card;
}

std::vector<unsigned> idsOf(const std::vector<const RfidCard*>& cards) {
    std::vector<unsigned> ids;
    for (const RfidCard* card : cards) ids.push_back(card->id.value());
    return ids;
}

std::vector<unsigned> filtered(const std::deque<RfidCard>& records, Key key, Op op, const CardValue& value) {
    return idsOf(FileDbAccessor::filterCards(records, key, op, value));
}

std::vector<unsigned> sorted(const std::deque<RfidCard>& records, std::optional<Key> key, std::optional<Order> order) {
    auto cards = FileDbAccessor::copyCardPointers(records);
    FileDbAccessor::sortCards(cards, key, order);
    return idsOf(cards);
}

TEST(CopyCardPointers, YieldsTheCardsThemselvesInTheirOrder) {
    const std::deque<RfidCard> records{cardWith(3, at(1)), cardWith(1, at(1)), cardWith(2, at(1))};
    EXPECT_THAT(FileDbAccessor::copyCardPointers(records), ElementsAre(&records[0], &records[1], &records[2]));
    EXPECT_THAT(FileDbAccessor::copyCardPointers({}), IsEmpty());
}

// Filtering

TEST(FilterCards, YieldsTheCardsThemselvesInTheirOrder) {
    const std::deque<RfidCard> records{cardWith(3, at(1)), cardWith(1, at(1)), cardWith(2, at(1))};
    EXPECT_THAT(FileDbAccessor::filterCards(records, Key::Id, Op::NotEqual, CardValue{1U}),
                ElementsAre(&records[0], &records[2]));
}

// The card whose attribute is less than, equal to and greater than the value of a filter has id 1, 2 and 3.
struct FilteredAttribute : NamedCase {
    Key key;
    CardValue value;
    std::deque<RfidCard> records;
};

struct Comparison : NamedCase {
    Op op;
    std::vector<unsigned> ids;
};

const std::vector<Comparison> comparisons{
    {{"Equal"}, Op::Equal, {2}},
    {{"Less"}, Op::Less, {1}},
    {{"Greater"}, Op::Greater, {3}},
    {{"LessOrEqual"}, Op::LessOrEqual, {1, 2}},
    {{"GreaterOrEqual"}, Op::GreaterOrEqual, {2, 3}},
    {{"NotEqual"}, Op::NotEqual, {1, 3}},
    {{"OneBeyondTheOperators"}, farBeyondTheOperators, {}},
    {{"AnyBeyondTheOperators"}, static_cast<Op>(1000), {}},
};

template <class Set>
std::deque<RfidCard> threeCards(Set set, std::int64_t first, std::int64_t second, std::int64_t third) {
    std::deque<RfidCard> records;
    for (const std::int64_t value : {first, second, third}) {
        RfidCard card = withId(static_cast<unsigned>(records.size() + 1), cardWithKey("A"));
        set(card, value);
        records.push_back(card);
    }
    return records;
}

void setStatus(RfidCard& card, std::int64_t value) { card.status = static_cast<RfidCardStatus>(value); }
void setExpiryDate(RfidCard& card, std::int64_t value) { card.expiryDate = TimePoint{nanoseconds(value)}; }
void setLastAccessTime(RfidCard& card, std::int64_t value) { card.lastAccessTime = TimePoint{nanoseconds(value)}; }
void setLastModificationTime(RfidCard& card, std::int64_t value) {
    card.lastModificationTime = TimePoint{nanoseconds(value)};
}

constexpr std::int64_t year2026 = 1767225600'000000000;
const CardValue year2026Text{"2026-01-01T00:00:00Z"};

const std::vector<FilteredAttribute> filteredAttributes{
    {{"Id"}, Key::Id, CardValue{2U}, threeCards([](RfidCard&, std::int64_t) {}, 0, 0, 0)},
    // Texts would order these statuses the other way round: as numbers, Invalid < ConcurrentTx < Operator.
    {{"Status"}, Key::Status, CardValue{RfidCardStatus::ConcurrentTx}, threeCards(setStatus, 3, 4, 5)},
    {{"StatusByText"}, Key::Status, CardValue{"ConcurrentTx"}, threeCards(setStatus, 3, 4, 5)},
    {{"StatusAsASignedNumber"}, Key::Status, CardValue{RfidCardStatus::Accepted}, threeCards(setStatus, -1, 0, 1)},
    {{"StatusOutsideTheEnumeration"},
     Key::Status,
     CardValue{static_cast<RfidCardStatus>(1000)},
     threeCards(setStatus, 999, 1000, 1001)},
    {{"ExpiryDate"}, Key::ExpiryDate, year2026Text, threeCards(setExpiryDate, year2026 - 1, year2026, year2026 + 1)},
    {{"ExpiryDateOutsideThe32BitsOfAText"},
     Key::ExpiryDate,
     CardValue{"1970-01-01T00:00:00Z"},
     threeCards(setExpiryDate, -1, 0, std::numeric_limits<std::int64_t>::max())},
    {{"LastAccessTime"},
     Key::LastAccessTime,
     year2026Text,
     threeCards(setLastAccessTime, year2026 - 1, year2026, year2026 + 1)},
    {{"LastAccessTimeBeforeTheEpoch"},
     Key::LastAccessTime,
     CardValue{"1970-01-01T00:00:00Z"},
     threeCards(setLastAccessTime, std::numeric_limits<std::int64_t>::min(), 0, 1)},
    {{"LastModificationTime"},
     Key::LastModificationTime,
     year2026Text,
     threeCards(setLastModificationTime, year2026 - 1, year2026, year2026 + 1)},
};

class FilterCardsBy : public testing::TestWithParam<std::tuple<FilteredAttribute, Comparison>> {};

std::string nameOfBoth(const testing::TestParamInfo<FilterCardsBy::ParamType>& info) {
    return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(All, FilterCardsBy,
                         testing::Combine(testing::ValuesIn(filteredAttributes), testing::ValuesIn(comparisons)),
                         nameOfBoth);

TEST_P(FilterCardsBy, KeepsTheCardsThatCompareSo) {
    const auto& [attribute, comparison] = GetParam();
    EXPECT_EQ(filtered(attribute.records, attribute.key, comparison.op, attribute.value), comparison.ids);
}

TEST(FilterCards, ComparesIdsAsUnsignedNumbers) {
    const std::deque<RfidCard> records{cardWith(4294967295U, at(1)), cardWith(2147483648U, at(1)), cardWith(0, at(1))};
    EXPECT_THAT(filtered(records, Key::Id, Op::Greater, CardValue{2147483647U}), ElementsAre(4294967295U, 2147483648U));
    EXPECT_THAT(filtered(records, Key::Id, Op::Less, CardValue{2147483648U}), ElementsAre(0));
}

TEST(FilterCards, TakesAMissingExpiryDateForTheLatestOfAll) {
    const std::deque<RfidCard> records{cardWith(1, at(1700000000)), cardWith(2, std::nullopt),
                                       cardWith(3, at(1900000000)), cardWith(4, TimePoint::max())};
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::Greater, year2026Text), ElementsAre(2, 3, 4));
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::GreaterOrEqual, year2026Text), ElementsAre(2, 3, 4));
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::NotEqual, year2026Text), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::Less, year2026Text), ElementsAre(1));
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::LessOrEqual, year2026Text), ElementsAre(1));
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::Equal, year2026Text), IsEmpty());
}

TEST(FilterCards, ReadsEveryFormOfATimestampNotOnlyTheCanonical) {
    const std::deque<RfidCard> records{cardWith(1, TimePoint{nanoseconds(year2026)})};
    EXPECT_THAT(filtered(records, Key::ExpiryDate, Op::Equal, CardValue{"2026-01-01T02:00:00+02:00"}), ElementsAre(1));
}

// What is refused, and in which order: the text, then per card the key, the type of the value, the operator

const std::deque<RfidCard> oneCard{cardWith(1, RfidCardStatus::Accepted)};
const std::deque<RfidCard> noCard;

constexpr Key timeKeys[] = {Key::ExpiryDate, Key::LastAccessTime, Key::LastModificationTime};

std::string filterFailure(const std::deque<RfidCard>& records, Key key, Op op, const CardValue& value) {
    return thrownBy([&] { FileDbAccessor::filterCards(records, key, op, value); });
}

TEST(FilterCards, RefusesATextThatIsNoTimestampEvenForAnEmptyList) {
    for (const auto* records : {&oneCard, &noCard}) {
        for (const Key key : timeKeys) {
            for (const char* text : {"", "tomorrow", "Accepted", "2026-13-01T00:00:00Z"}) {
                EXPECT_EQ(filterFailure(*records, key, Op::Equal, CardValue{text}), noTimestamp) << text;
            }
        }
    }
}

TEST(FilterCards, TakesATextForATimestampForEveryKeyButTheStatus) {
    for (const Key key : {Key::Id, pastLastKey, farBeyondTheKeys}) {
        EXPECT_EQ(filterFailure(noCard, key, Op::Equal, CardValue{"Accepted"}), noTimestamp);
        EXPECT_EQ(filterFailure(oneCard, key, Op::Equal, CardValue{"1"}), noTimestamp);
    }
}

TEST(FilterCards, RefusesATextThatNamesNoStatusEvenForAnEmptyList) {
    for (const auto* records : {&oneCard, &noCard}) {
        for (const std::string text : {"", "accepted", "2026-01-01T00:00:00Z", "0"}) {
            EXPECT_EQ(filterFailure(*records, Key::Status, Op::Equal, CardValue{text}),
                      "std::invalid_argument: " + text + " was not found in N3oru4kadi8authlist14RfidCardStatusE");
        }
    }
}

TEST(FilterCards, RefusesAValueOfTheWrongType) {
    const CardValue status{RfidCardStatus::Accepted};
    EXPECT_EQ(filterFailure(oneCard, Key::Id, Op::Equal, status), wrongType);
    EXPECT_EQ(filterFailure(oneCard, Key::Id, Op::Equal, year2026Text), wrongType);
    EXPECT_EQ(filterFailure(oneCard, Key::Status, Op::Equal, CardValue{0U}), wrongType);
    for (const Key key : timeKeys) {
        EXPECT_EQ(filterFailure(oneCard, key, Op::Equal, CardValue{0U}), wrongType);
        EXPECT_EQ(filterFailure(oneCard, key, Op::Equal, status), wrongType);
    }
}

TEST(FilterCards, RefusesTheKeyAndTheOperatorOnePastTheEnumeration) {
    EXPECT_EQ(filterFailure(oneCard, pastLastKey, Op::Equal, CardValue{1U}), wrongFilteringKey);
    EXPECT_EQ(filterFailure(oneCard, Key::Id, pastLastOperator, CardValue{1U}), wrongFilteringOperator);
    EXPECT_EQ(filterFailure(oneCard, Key::Status, pastLastOperator, CardValue{RfidCardStatus::Accepted}),
              wrongFilteringOperator);
    for (const Key key : timeKeys) {
        EXPECT_EQ(filterFailure(oneCard, key, pastLastOperator, year2026Text), wrongFilteringOperator);
    }
}

TEST(FilterCards, ExaminesTheKeyThenTheTypeThenTheOperator) {
    EXPECT_EQ(filterFailure(oneCard, pastLastKey, pastLastOperator, CardValue{1U}), wrongFilteringKey);
    EXPECT_EQ(filterFailure(oneCard, pastLastKey, Op::Equal, year2026Text), wrongFilteringKey);
    EXPECT_EQ(filterFailure(oneCard, Key::Status, pastLastOperator, CardValue{1U}), wrongType);
    EXPECT_EQ(filterFailure(oneCard, Key::ExpiryDate, farBeyondTheOperators, CardValue{1U}), wrongType);
}

TEST(FilterCards, MatchesNothingForAKeyBeyondThatWhateverTheRest) {
    for (const int key : {6, 7, 1000}) {
        for (const Op op : {Op::Equal, Op::NotEqual, pastLastOperator}) {
            EXPECT_THAT(filtered(oneCard, static_cast<Key>(key), op, CardValue{1U}), IsEmpty());
            EXPECT_THAT(filtered(oneCard, static_cast<Key>(key), op, year2026Text), IsEmpty());
        }
    }
}

TEST(FilterCards, RefusesNothingElseForAnEmptyList) {
    for (const int key : {0, 1, 2, 3, 4, 5, 6}) {
        for (const int op : {0, 5, 6, 7}) {
            for (const CardValue& value : {CardValue{1U}, CardValue{RfidCardStatus::Accepted}}) {
                EXPECT_THAT(filtered(noCard, static_cast<Key>(key), static_cast<Op>(op), value), IsEmpty());
            }
        }
    }
    EXPECT_THAT(filtered(noCard, Key::Id, pastLastOperator, year2026Text), IsEmpty());
}

// Sorting

TEST(SortCards, DoesNothingWithoutAKey) {
    const std::deque<RfidCard> records{cardWith(3, at(1)), cardWith(1, at(3)), cardWith(2, at(2))};
    EXPECT_THAT(sorted(records, std::nullopt, std::nullopt), ElementsAre(3, 1, 2));
    EXPECT_THAT(sorted(records, std::nullopt, Order::Descending), ElementsAre(3, 1, 2));
}

TEST(SortCards, SortsAscendingUnlessToldOtherwise) {
    const std::deque<RfidCard> records{cardWith(3, at(1)), cardWith(1, at(1)), cardWith(2, at(1))};
    EXPECT_THAT(sorted(records, Key::Id, std::nullopt), ElementsAre(1, 2, 3));
    EXPECT_THAT(sorted(records, Key::Id, Order::Ascending), ElementsAre(1, 2, 3));
    EXPECT_THAT(sorted(records, Key::Id, Order::Descending), ElementsAre(3, 2, 1));
}

TEST(SortCards, SortsIdsAsUnsignedNumbers) {
    const std::deque<RfidCard> records{cardWith(4294967295U, at(1)), cardWith(0, at(1)), cardWith(2147483648U, at(1))};
    EXPECT_THAT(sorted(records, Key::Id, Order::Ascending), ElementsAre(0, 2147483648U, 4294967295U));
}

TEST(SortCards, PutsCardsWithoutExpiryDateLastAndDescendingFirst) {
    const std::deque<RfidCard> records{cardWith(1, at(1893456000)), cardWith(2, std::nullopt),
                                       cardWith(3, at(1735689600)), cardWith(4, std::nullopt)};
    EXPECT_THAT(sorted(records, Key::ExpiryDate, Order::Ascending), ElementsAre(3, 1, 4, 2));
    EXPECT_THAT(sorted(records, Key::ExpiryDate, Order::Descending), ElementsAre(2, 4, 1, 3));
}

TEST(SortCards, TakesAMissingExpiryDateForTheLatestTimePointThereIs) {
    const std::deque<RfidCard> records{cardWith(1, std::nullopt), cardWith(3, TimePoint::max()),
                                       cardWith(2, std::nullopt), cardWith(4, TimePoint::max() - nanoseconds(1))};
    EXPECT_THAT(sorted(records, Key::ExpiryDate, Order::Ascending), ElementsAre(4, 3, 2, 1));
}

TEST(SortCards, PutsTheHigherIdFirstAmongEqualsAndDescendingTheLower) {
    const std::deque<RfidCard> records{cardWith(1, RfidCardStatus::Accepted), cardWith(2, RfidCardStatus::Accepted),
                                       cardWith(3, RfidCardStatus::Blocked)};
    EXPECT_THAT(sorted(records, Key::Status, Order::Ascending), ElementsAre(2, 1, 3));
    EXPECT_THAT(sorted(records, Key::Status, Order::Descending), ElementsAre(3, 1, 2));
}

TEST(SortCards, SortsStatusesByTheirNumbersNotTheirTexts) {
    std::deque<RfidCard> records;
    for (const int value : {5, 3, 1, 0, 4, 2, -1, 6}) {
        records.push_back(cardWith(static_cast<unsigned>(value + 100), static_cast<RfidCardStatus>(value)));
    }
    EXPECT_THAT(sorted(records, Key::Status, Order::Ascending), ElementsAre(99, 100, 101, 102, 103, 104, 105, 106));
}

struct SortedAttribute : NamedCase {
    Key key;
    void (*set)(RfidCard& card, std::int64_t value);
};

class SortCardsBy : public testing::TestWithParam<SortedAttribute> {};

INSTANTIATE_TEST_SUITE_P(
    All, SortCardsBy,
    testing::Values(SortedAttribute{{"Status"}, Key::Status, setStatus},
                    SortedAttribute{{"ExpiryDate"}, Key::ExpiryDate, setExpiryDate},
                    SortedAttribute{{"LastAccessTime"}, Key::LastAccessTime, setLastAccessTime},
                    SortedAttribute{{"LastModificationTime"}, Key::LastModificationTime, setLastModificationTime}),
    test::byName);

// The same order worked out by hand: the value ascending, then the id descending; descending is all of that reversed.
TEST_P(SortCardsBy, PutsAThousandShuffledCardsIntoTheOneOrderThereIs) {
    constexpr unsigned cards = 1000;
    std::mt19937 random(20260101);
    std::vector<std::pair<std::int64_t, unsigned>> expected;
    std::deque<RfidCard> records;
    for (unsigned id = 1; id <= cards; ++id) {
        const auto value = static_cast<std::int64_t>(random() % 20) - 10;
        RfidCard card = withId(id, RfidCard{});
        GetParam().set(card, value);
        records.push_back(card);
        expected.emplace_back(value, id);
    }
    std::shuffle(records.begin(), records.end(), random);
    std::sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : a.second > b.second;
    });
    std::vector<unsigned> ids;
    for (const auto& [value, id] : expected) ids.push_back(id);
    EXPECT_EQ(sorted(records, GetParam().key, Order::Ascending), ids);
    EXPECT_EQ(sorted(records, GetParam().key, std::nullopt), ids);
    std::reverse(ids.begin(), ids.end());
    EXPECT_EQ(sorted(records, GetParam().key, Order::Descending), ids);
}

// Two cards of one id, which a list that was loaded and added to may hold, have no order between them; sorting a long
// list of such cards must still end, within its bounds.
TEST(SortCards, SortsManyCardsOfTheSameId) {
    std::deque<RfidCard> records;
    for (unsigned i = 0; i < 1000; ++i) records.push_back(cardWith(i % 3, RfidCardStatus::Accepted));
    for (const Key key : {Key::Id, Key::Status, Key::ExpiryDate, Key::LastAccessTime, Key::LastModificationTime}) {
        for (const Order order : {Order::Ascending, Order::Descending}) {
            const std::vector<unsigned> ids = sorted(records, key, order);
            const bool lowestFirst = (key == Key::Id) == (order == Order::Ascending);
            EXPECT_EQ(ids.front(), lowestFirst ? 0U : 2U);
            EXPECT_EQ(ids.back(), lowestFirst ? 2U : 0U);
            EXPECT_EQ(std::count(ids.begin(), ids.end(), 0U), 334);
        }
    }
}

TEST(SortCards, RefusesEveryKeyOutsideTheEnumerationOnceThereAreTwoCards) {
    const std::deque<RfidCard> two{cardWith(1, at(1)), cardWith(2, at(1))};
    for (const int key : {5, 6, 7, 1000, -1}) {
        for (const Order order : {Order::Ascending, Order::Descending}) {
            EXPECT_EQ(thrownBy([&] { sorted(two, static_cast<Key>(key), order); }), wrongSortingKey);
            EXPECT_THAT(sorted(oneCard, static_cast<Key>(key), order), ElementsAre(1));
            EXPECT_THAT(sorted(noCard, static_cast<Key>(key), order), IsEmpty());
        }
    }
}

TEST(SortCards, RefusesACardWithoutIdWhenItSortsByIds) {
    const std::deque<RfidCard> records{cardWith(1, at(1)), cardWithKey("no id")};
    EXPECT_EQ(thrownBy([&] { sorted(records, Key::Id, Order::Ascending); }),
              "std::bad_optional_access: bad optional access");
    EXPECT_EQ(thrownBy([&] { sorted(records, Key::Id, Order::Descending); }),
              "std::bad_optional_access: bad optional access");
}

// Range queries

class RangeOfAFile : public testing::Test {
protected:
    // Cards 1 to 10, whose access times fall from the first to the last.
    void fillWithTen() {
        for (unsigned id = 1; id <= 10; ++id) {
            RfidCard card = withId(id, cardWithKey(std::to_string(id)));
            card.lastAccessTime = at(100 - id);
            mStore->createRecord(card);
        }
    }

    std::vector<unsigned> ids(const Range& range) const { return idsOf(readRange(*mStore.accessor, range)); }
    std::string failure(const Range& range) const {
        return thrownBy([&] { readRange(*mStore.accessor, range); });
    }

    test::FileStore mStore;
};

TEST_F(RangeOfAFile, IsTheWholeListAsInsertedWithoutArguments) {
    for (const unsigned id : {3U, 1U, 2U}) mStore->createRecord(cardWith(id, at(1)));
    EXPECT_THAT(ids({}), ElementsAre(3, 1, 2));
    EXPECT_THAT(ids({.sortOrder = Order::Descending}), ElementsAre(3, 1, 2));
}

TEST_F(RangeOfAFile, TakesAnOffsetWithoutALimit) {
    fillWithTen();
    EXPECT_THAT(ids({.offset = 0}), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
    EXPECT_THAT(ids({.offset = 7}), ElementsAre(8, 9, 10));
    EXPECT_THAT(ids({.offset = 8, .sortKey = Key::LastAccessTime}), ElementsAre(2, 1));
}

TEST_F(RangeOfAFile, EndsWhereTheListDoes) {
    fillWithTen();
    EXPECT_THAT(ids({.offset = 10}), IsEmpty());
    EXPECT_THAT(ids({.offset = 11}), IsEmpty());
    EXPECT_THAT(ids({.offset = 4294967295U}), IsEmpty());
    EXPECT_THAT(ids({.limit = 4294967295U, .offset = 9}), ElementsAre(10));
    EXPECT_THAT(ids({.limit = 5, .offset = 4294967295U}), IsEmpty());
}

TEST_F(RangeOfAFile, SkipsAndLimitsInTheSortedOrder) {
    fillWithTen();
    EXPECT_THAT(ids({.limit = 4, .offset = 3, .sortKey = Key::Id}), ElementsAre(4, 5, 6, 7));
    EXPECT_THAT(ids({.limit = 4, .offset = 3, .sortKey = Key::LastAccessTime}), ElementsAre(7, 6, 5, 4));
    EXPECT_THAT(ids({.limit = 0, .offset = 3, .sortKey = Key::Id}), IsEmpty());
    EXPECT_THAT(ids({.limit = 0}), IsEmpty());
    EXPECT_THAT(ids({.limit = 2}), ElementsAre(1, 2));
}

TEST_F(RangeOfAFile, FiltersBeforeItSortsAndCuts) {
    fillWithTen();
    EXPECT_THAT(ids({2, 1, Key::Id, Op::Greater, CardValue{6U}, Key::Id, Order::Descending}), ElementsAre(9, 8));
    EXPECT_THAT(ids({2, 4, Key::Id, Op::Greater, CardValue{6U}, Key::Id, Order::Descending}), IsEmpty());
    EXPECT_THAT(ids({2, 5, Key::Id, Op::Greater, CardValue{6U}, Key::Id, Order::Descending}), IsEmpty());
}

TEST_F(RangeOfAFile, IsUnfilteredWhenAPartOfTheFilterIsMissingWhateverTheOthersHold) {
    fillWithTen();
    const std::vector<unsigned> all = ids({});
    EXPECT_EQ(all.size(), 10U);
    EXPECT_EQ(ids({.filterKey = pastLastKey, .filterOperator = pastLastOperator}), all);
    EXPECT_EQ(ids({.filterKey = Key::ExpiryDate, .filterValue = CardValue{"no time"}}), all);
    EXPECT_EQ(ids({.filterOperator = Op::Equal, .filterValue = CardValue{"no time"}}), all);
    EXPECT_EQ(ids({.filterKey = Key::Id}), all);
    EXPECT_EQ(ids({.filterOperator = Op::Less}), all);
    EXPECT_EQ(ids({.filterValue = CardValue{1U}}), all);
}

TEST_F(RangeOfAFile, IsEmptyForAnOffsetBeyondTheEndBeforeAnythingIsSorted) {
    fillWithTen();
    EXPECT_EQ(failure({.offset = 11, .sortKey = pastLastKey}), "nothing");
    EXPECT_EQ(failure({.offset = 10, .sortKey = pastLastKey}), wrongSortingKey);
    EXPECT_EQ(failure({.limit = 0, .sortKey = pastLastKey}), wrongSortingKey);
}

TEST_F(RangeOfAFile, IsRefusedForAWrongFilterEvenBeyondTheEnd) {
    fillWithTen();
    EXPECT_EQ(
        failure({.offset = 11, .filterKey = pastLastKey, .filterOperator = Op::Equal, .filterValue = CardValue{1U}}),
        wrongFilteringKey);
    EXPECT_EQ(failure({.filterKey = Key::Id, .filterOperator = pastLastOperator, .filterValue = CardValue{1U}}),
              wrongFilteringOperator);
    EXPECT_EQ(failure({.filterKey = Key::Id, .filterOperator = Op::Equal, .filterValue = CardValue{"no time"}}),
              noTimestamp);
    EXPECT_EQ(failure({.filterKey = Key::Status, .filterOperator = Op::Equal, .filterValue = CardValue{1U}}),
              wrongType);
    EXPECT_EQ(mStore->countRecords(), 10U);
}

TEST_F(RangeOfAFile, IsRefusedForAnUnknownSortingKeyOnlyWhenTwoCardsAreLeftToCompare) {
    fillWithTen();
    const Range one{
        .filterKey = Key::Id, .filterOperator = Op::Equal, .filterValue = CardValue{1U}, .sortKey = farBeyondTheKeys};
    EXPECT_THAT(ids(one), ElementsAre(1));
    EXPECT_EQ(failure({.sortKey = farBeyondTheKeys}), wrongSortingKey);
}

TEST_F(RangeOfAFile, IsEmptyForAnEmptyListUnlessATextIsNoTimestamp) {
    for (const int key : {0, 1, 2, 3, 4, 5, 6}) {
        EXPECT_THAT(ids({.filterKey = static_cast<Key>(key),
                         .filterOperator = pastLastOperator,
                         .filterValue = CardValue{1U},
                         .sortKey = pastLastKey}),
                    IsEmpty());
    }
    EXPECT_EQ(failure({.filterKey = Key::ExpiryDate, .filterOperator = Op::Equal, .filterValue = CardValue{"no time"}}),
              noTimestamp);
}

TEST_F(RangeOfAFile, YieldsWholeCardsAndLeavesTheListInItsOrder) {
    std::vector<RfidCard> cards;
    for (const unsigned id : {1U, 2U, 3U}) {
        RfidCard card = withId(id, cardWithKey(std::to_string(id)));
        card.parentId = "P";
        card.lastAccessTime = at(10 - id);
        mStore->createRecord(card);
        cards.push_back(card);
    }
    const auto page = readRange(*mStore.accessor, {.sortKey = Key::LastAccessTime});
    EXPECT_EQ(fieldsOf(page), fieldsOf(std::vector{cards[2], cards[1], cards[0]}));
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), fieldsOf(cards));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
