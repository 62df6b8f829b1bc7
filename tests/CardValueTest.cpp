// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <variant>

#include "authlist/CardValue.h"
#include "support/GroupingLocale.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::thrownBy;

static_assert(std::is_same_v<CardValue, std::variant<unsigned, std::string, RfidCardStatus>>);
static_assert(std::is_same_v<decltype(&getValueAsString), std::string (*)(CardValue)>);

TEST(CardValueAsString, IsANumberInDecimalDigits) {
    EXPECT_EQ(getValueAsString(CardValue(0U)), "0");
    EXPECT_EQ(getValueAsString(CardValue(42U)), "42");
    EXPECT_EQ(getValueAsString(CardValue(4294967295U)), "4294967295");
}

TEST(CardValueAsString, HasNoThousandsSeparatorsInAnyLocale) {
    const test::GroupingLocale grouping;
    EXPECT_EQ(getValueAsString(CardValue(1234567U)), "1234567");
}

TEST(CardValueAsString, IsATextItself) {
    using namespace std::string_literals;
    for (const std::string& text : {""s, "42"s, " it's \"quoted\"; "s, "a\0b"s, "J\xC3\xB6rg"s}) {
        EXPECT_EQ(getValueAsString(CardValue(text)), text);
    }
}

TEST(CardValueAsString, IsTheTextOfAStatus) {
    EXPECT_EQ(getValueAsString(CardValue(RfidCardStatus::Accepted)), "Accepted");
    EXPECT_EQ(getValueAsString(CardValue(RfidCardStatus::ConcurrentTx)), "ConcurrentTx");
    EXPECT_EQ(getValueAsString(CardValue(RfidCardStatus::Operator)), "Operator");
}

TEST(CardValueAsString, RefusesAStatusOutsideTheEnumeration) {
    EXPECT_EQ(thrownBy([] { getValueAsString(CardValue(static_cast<RfidCardStatus>(6))); }),
              "std::invalid_argument: 6 was not found in N3oru4kadi8authlist14RfidCardStatusE");
    EXPECT_EQ(thrownBy([] { getValueAsString(CardValue(static_cast<RfidCardStatus>(-1))); }),
              "std::invalid_argument: -1 was not found in N3oru4kadi8authlist14RfidCardStatusE");
}

}  // namespace
}  // namespace oru::kadi::authlist
