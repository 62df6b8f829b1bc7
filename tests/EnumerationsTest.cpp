// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "authlist/Enumerations.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::thrownBy;

template <class Enumeration>
constexpr bool isOrderedAs(std::initializer_list<Enumeration> enumerators) {
    int expected = 0;
    for (const Enumeration enumerator : enumerators) {
        if (static_cast<int>(enumerator) != expected++) return false;
    }
    return std::is_same_v<std::underlying_type_t<Enumeration>, int>;
}

// The numbers are stored in blob files and known to applications.
static_assert(isOrderedAs({RfidCardStatus::Accepted, RfidCardStatus::Expired, RfidCardStatus::Blocked,
                           RfidCardStatus::Invalid, RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator}));
static_assert(isOrderedAs({KeyRepresentation::Key, KeyRepresentation::Hash}));
static_assert(isOrderedAs({ExchangeDataType::CSV, ExchangeDataType::JSON}));
static_assert(isOrderedAs({SortingAndFilteringKey::Id, SortingAndFilteringKey::Status,
                           SortingAndFilteringKey::ExpiryDate, SortingAndFilteringKey::LastAccessTime,
                           SortingAndFilteringKey::LastModificationTime}));
static_assert(isOrderedAs({FilteringOperator::Equal, FilteringOperator::Less, FilteringOperator::Greater,
                           FilteringOperator::LessOrEqual, FilteringOperator::GreaterOrEqual,
                           FilteringOperator::NotEqual}));
static_assert(isOrderedAs({SortingOrder::Ascending, SortingOrder::Descending}));
static_assert(isOrderedAs({RecordRemovalCategory::PastExpiryDate, RecordRemovalCategory::BlockedOrInvalid,
                           RecordRemovalCategory::ExpiredStatus}));

struct StatusText : test::NamedCase {
    int value;
    std::string_view text;
};

class StatusTexts : public testing::TestWithParam<StatusText> {};

INSTANTIATE_TEST_SUITE_P(All, StatusTexts,
                         testing::Values(StatusText{{"Accepted"}, 0, "Accepted"}, StatusText{{"Expired"}, 1, "Expired"},
                                         StatusText{{"Blocked"}, 2, "Blocked"}, StatusText{{"Invalid"}, 3, "Invalid"},
                                         StatusText{{"ConcurrentTx"}, 4, "ConcurrentTx"},
                                         StatusText{{"Operator"}, 5, "Operator"}),
                         test::byName);

TEST_P(StatusTexts, NameTheStatus) {
    EXPECT_EQ(statusToText(static_cast<RfidCardStatus>(GetParam().value)), GetParam().text);
}

TEST_P(StatusTexts, GiveTheStatusBack) {
    EXPECT_EQ(static_cast<int>(statusFromText(GetParam().text)), GetParam().value);
}

TEST_P(StatusTexts, OutliveTheCall) {
    const std::string_view first = statusToText(static_cast<RfidCardStatus>(GetParam().value));
    EXPECT_EQ(statusToText(static_cast<RfidCardStatus>(GetParam().value)).data(), first.data());
}

std::string notFound(const std::string& what) {
    return "std::invalid_argument: " + what + " was not found in N3oru4kadi8authlist14RfidCardStatusE";
}

TEST(StatusToText, RefusesAValueOutsideTheEnumerationNamingTheNumber) {
    for (const int value : {6, 7, -1, 255, 256, 65536, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(thrownBy([value] { statusToText(static_cast<RfidCardStatus>(value)); }),
                  notFound(std::to_string(value)));
    }
}

TEST(StatusToText, NamesTheNumberWithoutThousandsSeparatorsInAnyLocale) {
    const test::GroupingLocale grouping;
    EXPECT_EQ(thrownBy([] { statusToText(static_cast<RfidCardStatus>(1234567)); }), notFound("1234567"));
}

TEST(StatusFromText, RefusesEveryOtherTextNamingIt) {
    for (const char* text : {"", "accepted", "ACCEPTED", " Accepted", "Accepted ", "Accepte", "Acceptedd", "0",
                             "Concurrenttx", "NotFound_NotFound_NotFound", "Unknown"}) {
        EXPECT_EQ(thrownBy([text] { statusFromText(text); }), notFound(text));
    }
}

TEST(StatusFromText, ReadsNoFurtherThanTheTextReaches) {
    EXPECT_EQ(statusFromText(std::string_view("Blocked;2").substr(0, 7)), RfidCardStatus::Blocked);
    EXPECT_EQ(thrownBy([] { statusFromText(std::string_view("Blocked").substr(0, 5)); }), notFound("Block"));
}

TEST(StatusFromText, TakesANulForACharacter) {
    using namespace std::string_view_literals;
    EXPECT_THROW(statusFromText("Accepted\0"sv), std::invalid_argument);
}

}  // namespace
}  // namespace oru::kadi::authlist
