// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "authlist/IDbAccessor.h"

namespace oru::kadi::authlist {
namespace {

static_assert(std::is_abstract_v<IDbAccessor> && std::has_virtual_destructor_v<IDbAccessor>);
static_assert(sizeof(IDbAccessor) == sizeof(void*), "a pure interface has no data members");

// The operations with their whole signatures, in slot order.
constexpr unsigned (IDbAccessor::*createRecord)(const RfidCard&) const = &IDbAccessor::createRecord;
constexpr unsigned (IDbAccessor::*updateRecord)(const RfidCard&) const = &IDbAccessor::updateRecord;
constexpr std::optional<RfidCard> (IDbAccessor::*readRecordByTag)(const std::string&,
                                                                  KeyRepresentation) const = &IDbAccessor::readRecord;
constexpr std::optional<RfidCard> (IDbAccessor::*readRecordById)(unsigned) const = &IDbAccessor::readRecord;
constexpr std::vector<RfidCard> (IDbAccessor::*readRecordRange)(
    std::optional<unsigned>, std::optional<unsigned>, std::optional<SortingAndFilteringKey>,
    std::optional<FilteringOperator>, std::optional<CardValue>, std::optional<SortingAndFilteringKey>,
    std::optional<SortingOrder>) const = &IDbAccessor::readRecordRange;
constexpr std::vector<RfidCard> (IDbAccessor::*readAllRecords)() const = &IDbAccessor::readAllRecords;
constexpr void (IDbAccessor::*deleteAllRecords)() const = &IDbAccessor::deleteAllRecords;
constexpr void (IDbAccessor::*deleteRecordByTag)(const std::string&,
                                                 KeyRepresentation) const = &IDbAccessor::deleteRecord;
constexpr void (IDbAccessor::*deleteRecordById)(unsigned) const = &IDbAccessor::deleteRecord;
constexpr bool (IDbAccessor::*deleteRecordCategory)(RecordRemovalCategory) const = &IDbAccessor::deleteRecordCategory;
constexpr void (IDbAccessor::*deleteOldestRecord)() const = &IDbAccessor::deleteOldestRecord;
constexpr unsigned (IDbAccessor::*countRecords)() const = &IDbAccessor::countRecords;
constexpr bool (IDbAccessor::*tagIsKnown)(const std::string&) const = &IDbAccessor::tagIsKnown;
constexpr std::optional<unsigned> (IDbAccessor::*readVersion)() const = &IDbAccessor::readVersion;
constexpr void (IDbAccessor::*updateVersion)(unsigned) const = &IDbAccessor::updateVersion;

// Adds one virtual function, whose slot tells how many the interface has.
class WithOneMore : public IDbAccessor {
public:
    virtual void oneMore() const = 0;
};

/// The slot of a virtual function, read from the pointer to it: its offset in the table of virtual functions, which the
/// C++ ABI of Arm keeps as it is and the generic one marks by an added 1.
template <class Function>
std::size_t slotOf(Function function) {
    static_assert(sizeof(Function) == 2 * sizeof(std::intptr_t));
    std::array<std::intptr_t, 2> parts{};
    std::memcpy(parts.data(), &function, sizeof function);
#if defined(__arm__) || defined(__aarch64__)
    const std::intptr_t offset = parts[0];
#else
    const std::intptr_t offset = parts[0] - 1;
#endif
    return static_cast<std::size_t>(offset) / sizeof(void*);
}

TEST(DbAccessorInterface, HasItsFunctionsInTheDocumentedSlots) {
    EXPECT_EQ(slotOf(createRecord), 0U);
    EXPECT_EQ(slotOf(updateRecord), 1U);
    EXPECT_EQ(slotOf(readRecordByTag), 2U);
    EXPECT_EQ(slotOf(readRecordById), 3U);
    EXPECT_EQ(slotOf(readRecordRange), 4U);
    EXPECT_EQ(slotOf(readAllRecords), 5U);
    EXPECT_EQ(slotOf(deleteAllRecords), 6U);
    EXPECT_EQ(slotOf(deleteRecordByTag), 7U);
    EXPECT_EQ(slotOf(deleteRecordById), 8U);
    EXPECT_EQ(slotOf(deleteRecordCategory), 9U);
    EXPECT_EQ(slotOf(deleteOldestRecord), 10U);
    EXPECT_EQ(slotOf(countRecords), 11U);
    EXPECT_EQ(slotOf(tagIsKnown), 12U);
    EXPECT_EQ(slotOf(readVersion), 13U);
    EXPECT_EQ(slotOf(updateVersion), 14U);
}

TEST(DbAccessorInterface, HasItsDestructorLast) {
    constexpr std::size_t slotsOfADestructor = 2;
    EXPECT_EQ(slotOf(&WithOneMore::oneMore), 15 + slotsOfADestructor);
}

}  // namespace
}  // namespace oru::kadi::authlist
