// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "db/AnyBackend.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileStore.h"
#include "support/StandingClock.h"
#include "support/ThrownBy.h"

// How the file backend removes a category and the oldest record where it differs from others or is more exact.

namespace oru::kadi::authlist::db::filestorage {
namespace {

using std::chrono::nanoseconds;
using test::at;
using test::cardWithKey;
using test::idsOf;
using test::thrownBy;
using testing::ElementsAre;

constexpr auto unknownCategory = static_cast<RecordRemovalCategory>(3);
constexpr const char* unknownCategoryRefusal = "std::logic_error: Incorrect value for RecordRemovalCategory";

class RemovalFromAFile : public testing::Test {
protected:
    unsigned create(std::optional<TimePoint> expiryDate) {
        RfidCard card = nextCard();
        card.expiryDate = expiryDate;
        return mStore->createRecord(card);
    }
    unsigned create(TimePoint access, TimePoint modification) {
        RfidCard card = nextCard();
        card.lastAccessTime = access;
        card.lastModificationTime = modification;
        return mStore->createRecord(card);
    }
    unsigned create(RfidCardStatus status) {
        return mStore->createRecord(cardWithKey(std::to_string(++mCards), status));
    }

    std::vector<unsigned> ids() const { return idsOf(mStore->readAllRecords()); }

    test::FileStore mStore;

private:
    RfidCard nextCard() { return cardWithKey(std::to_string(++mCards)); }

    unsigned mCards = 0;
};

TEST_F(RemovalFromAFile, KeepsACardThatExpiresAtThisInstantAndThoseThatNeverDo) {
    const TimePoint now = at(1767225600) + nanoseconds(500);
    create(now - nanoseconds(1));
    create(now);
    create(now + nanoseconds(1));
    create(std::nullopt);
    create(TimePoint::min());
    create(TimePoint::max());
    const test::StandingClock clock(now);
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_THAT(ids(), ElementsAre(2, 3, 4, 6));
    EXPECT_FALSE(mStore->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
}

TEST_F(RemovalFromAFile, ReadsTheClockOnceForTheWholeList) {
    const TimePoint now = at(1767225600);
    for (int i = 0; i < 3; ++i) create(now);
    test::StandingClock clock(now, std::chrono::seconds(1));
    EXPECT_FALSE(mStore->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_EQ(clock.read(), now + std::chrono::seconds(1));
    EXPECT_THAT(ids(), ElementsAre(1, 2, 3));
}

TEST_F(RemovalFromAFile, KeepsTheOrderOfTheCardsThatStay) {
    for (const auto status : {RfidCardStatus::Operator, RfidCardStatus::Blocked, RfidCardStatus::Expired,
                              RfidCardStatus::Invalid, RfidCardStatus::Accepted, RfidCardStatus::Blocked,
                              RfidCardStatus::ConcurrentTx, static_cast<RfidCardStatus>(6)}) {
        create(status);
    }
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
    EXPECT_THAT(ids(), ElementsAre(1, 3, 5, 7, 8));
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus));
    EXPECT_THAT(ids(), ElementsAre(1, 5, 7, 8));
}

TEST_F(RemovalFromAFile, LooksAtTheDateAloneForOneCategoryAndAtTheStatusAloneForTheOthers) {
    RfidCard card = cardWithKey("A", RfidCardStatus::Expired);
    card.expiryDate = at(1);
    mStore->createRecord(card);
    EXPECT_FALSE(mStore->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
    card = cardWithKey("B", RfidCardStatus::Expired);
    card.expiryDate = TimePoint::max();
    mStore->createRecord(card);
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_THAT(ids(), ElementsAre(2));
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus));
    EXPECT_EQ(mStore->countRecords(), 0U);
}

TEST_F(RemovalFromAFile, RefusesAnUnknownCategoryAndRemovesNothing) {
    create(at(1));
    create(RfidCardStatus::Blocked);
    for (const int value : {3, 4, -1, 255}) {
        EXPECT_EQ(thrownBy([&] { mStore->deleteRecordCategory(static_cast<RecordRemovalCategory>(value)); }),
                  unknownCategoryRefusal);
    }
    EXPECT_THAT(ids(), ElementsAre(1, 2));
}

TEST_F(RemovalFromAFile, FindsNothingOfAnUnknownCategoryInAnEmptyList) {
    EXPECT_FALSE(mStore->deleteRecordCategory(unknownCategory));
}

TEST_F(RemovalFromAFile, LeavesTheNumberingAlone) {
    create(RfidCardStatus::Blocked);
    create(RfidCardStatus::Accepted);
    create(RfidCardStatus::Invalid);
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
    mStore->deleteOldestRecord();
    EXPECT_EQ(mStore->countRecords(), 0U);
    EXPECT_EQ(create(RfidCardStatus::Accepted), 4U);
}

TEST_F(RemovalFromAFile, TakesTheCardOfTheEarliestAccessForTheOldestNotOfTheEarliestChange) {
    create(at(30), at(1));
    create(at(20) - nanoseconds(1), at(100));
    create(at(20), at(2));
    mStore->deleteOldestRecord();
    EXPECT_THAT(ids(), ElementsAre(1, 3));
    mStore->deleteOldestRecord();
    EXPECT_THAT(ids(), ElementsAre(1));
}

TEST_F(RemovalFromAFile, TakesTheFirstInsertedOfCardsAccessedAtTheSameTime) {
    create(at(30), at(5));
    create(at(20), at(9));  // its change is the later one
    create(at(20), at(1));
    mStore->deleteOldestRecord();
    EXPECT_THAT(ids(), ElementsAre(1, 3));
}

TEST_F(RemovalFromAFile, ComparesAccessTimesBeforeTheEpochAsNumbers) {
    create(at(0), at(0));
    create(at(-1), at(0));
    create(TimePoint::max(), at(0));
    mStore->deleteOldestRecord();
    EXPECT_THAT(ids(), ElementsAre(1, 3));
}

TEST_F(RemovalFromAFile, RemovesNoOldestCardFromAnEmptyList) {
    mStore->deleteOldestRecord();
    EXPECT_EQ(mStore->countRecords(), 0U);
    EXPECT_EQ(create(std::nullopt), 1U);
}

TEST_F(RemovalFromAFile, IsThereWhenTheFileIsLoadedAgain) {
    create(at(1));
    create(std::nullopt);
    create(RfidCardStatus::Blocked);
    mStore.reload();
    EXPECT_TRUE(mStore->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    mStore.reload();
    EXPECT_THAT(ids(), ElementsAre(2, 3));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
