// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "db/AnyBackend.h"
#include "support/AllocationMeter.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileStore.h"

// Memory that runs out in the middle of an operation: the exception passes on, the lock is free again, and the list
// holds each card whole, as it was before or as it would be after.

namespace oru::kadi::authlist::db::filestorage {
namespace {

using test::fieldsOf;
using test::withId;

// Texts that are too long to be kept without an allocation.
RfidCard cardWithLongTexts(unsigned id, const std::string& mark) {
    const std::string longText = mark + std::string(40, 'x');
    RfidCard card = withId(id, test::cardWithKey(longText));
    card.description = longText;
    card.tags.push_back(test::tagWithKey(longText + " too"));
    card.tags[0].extraData = longText;
    card.parentId = card.extraData = longText;
    card.evseId = id;
    return card;
}

class MemoryThatRunsOut : public testing::Test {
protected:
    MemoryThatRunsOut() {
        for (unsigned id = 1; id <= 3; ++id) mStore->createRecord(cardWithLongTexts(id, "old"));
    }

    auto list() const { return fieldsOf(mStore->readAllRecords()); }

    // Lets each allocation of the operation fail in turn, from the first until it runs through; returns how many there
    // were. After each failure the list must be as before.
    template <class Operation>
    int failuresUntilItRunsThrough(Operation operation) {
        const auto before = list();
        for (int failures = 0;; ++failures) {
            bool hasFailed = false;
            {
                test::AllocationMeter meter;
                meter.failAfter(static_cast<std::uint64_t>(failures));
                try {
                    operation();
                } catch (const std::bad_alloc&) {
                    hasFailed = true;
                }
                if (!meter.hasFailed()) return failures;
            }
            EXPECT_TRUE(hasFailed) << failures;
            if (list() != before) {
                ADD_FAILURE() << "The list has changed when allocation " << failures + 1 << " failed";
                return failures;
            }
        }
    }

    test::FileStore mStore;
};

TEST_F(MemoryThatRunsOut, LeavesTheListWithoutTheCardThatIsCreated) {
    const RfidCard card = cardWithLongTexts(4, "new");
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->createRecord(card); }), 7);
    EXPECT_EQ(mStore->countRecords(), 4U);
    EXPECT_EQ(fieldsOf(mStore->readRecord(4).value()), fieldsOf(card));
}

TEST_F(MemoryThatRunsOut, LeavesTheCardThatIsUpdatedAsItWas) {
    const RfidCard card = cardWithLongTexts(2, "longer than the old one: ");
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->updateRecord(card); }), 7);
    EXPECT_EQ(fieldsOf(mStore->readRecord(2).value()), fieldsOf(card));
}

TEST_F(MemoryThatRunsOut, LeavesTheListWithoutTheCardOfAnUpdateThatIsInserted) {
    const RfidCard card = cardWithLongTexts(4, "new");
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->updateRecord(card); }), 7);
    EXPECT_EQ(fieldsOf(mStore->readRecord(4).value()), fieldsOf(card));
}

TEST_F(MemoryThatRunsOut, LeavesTheListAloneInEveryReadingOperation) {
    const std::string hash = hashKey("old" + std::string(40, 'x'));
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->readRecord(2); }), 7);
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->readRecord(hash, KeyRepresentation::Hash); }), 7);
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->tagIsKnown(hash); }), 7);
    EXPECT_GE(failuresUntilItRunsThrough([&] { mStore->readAllRecords(); }), 20);
    EXPECT_GE(failuresUntilItRunsThrough([&] { test::readRange(*mStore.accessor, {.limit = 2}); }), 15);
}

TEST_F(MemoryThatRunsOut, StopsNoDeletion) {
    EXPECT_EQ(failuresUntilItRunsThrough([&] { mStore->deleteRecord(2); }), 0);
    EXPECT_EQ(failuresUntilItRunsThrough([&] { mStore->deleteOldestRecord(); }), 0);
    EXPECT_EQ(mStore->countRecords(), 1U);
    EXPECT_EQ(failuresUntilItRunsThrough([&] { mStore->deleteAllRecords(); }), 0);
    EXPECT_EQ(mStore->countRecords(), 0U);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
