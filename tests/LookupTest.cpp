// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "authlist/AuthListManager.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FakeDbAccessor.h"
#include "support/ManagerOverFake.h"
#include "support/NamedCase.h"
#include "support/StandingClock.h"
#include "support/ThrownBy.h"

// How the manager finds cards and keeps track of their use.

namespace oru::kadi::authlist {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using std::chrono::system_clock;
using test::at;
using test::cardWithKey;
using test::exceptionFrom;
using test::FakeDbAccessor;
using test::FakeStorage;
using test::fieldsOf;
using test::NoStdException;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string emptyKeyLogged = "log: It is not possible to perform search using empty key string.";
const std::string lifetimeLogged = "log: The queried authorization list record is no longer valid (lifetime exceeded).";
const std::string lifetimeThrown = "std::runtime_error: Record lifetime has been exceeded!";

const TimePoint now = at(1767312000);
constexpr nanoseconds tick{1};

// A record in which every field holds something, valid now.
RfidCard storedCard() {
    RfidCard card = cardWithKey("04A2B3");
    card.id = 7;
    card.tags.push_back(RfidTag{"00ff", std::nullopt, "{}"});
    card.expiryDate = now + seconds(1);
    card.parentId = "Staff";
    card.evseId = 2;
    card.extraData = "{}";
    card.lastAccessTime = at(1000);
    card.lastModificationTime = at(1767225600);
    card.recordLifetime = 86400;
    return card;
}

RfidCard accessed(RfidCard card) {
    card.lastAccessTime = now;
    return card;
}

RfidCard withStatus(RfidCard card, RfidCardStatus status) {
    card.status = status;
    return card;
}

RfidCard withLifetime(unsigned lifetime, TimePoint modified) {
    RfidCard card = storedCard();
    card.recordLifetime = lifetime;
    card.lastModificationTime = modified;
    return card;
}

RfidCard pastItsLifetime() { return withLifetime(60, now - seconds(61)); }

// The three lookups alike

struct Lookup : test::NamedCase {
    std::optional<RfidCard> (*find)(const AuthListManager&);
    std::string read;
};

class EveryLookup : public test::ManagerOverFake, public testing::WithParamInterface<Lookup> {
protected:
    std::optional<RfidCard> find() const { return GetParam().find(mManager); }

    const std::string mRead = GetParam().read;
    test::StandingClock mClock{now};
};

INSTANTIATE_TEST_SUITE_P(
    All, EveryLookup,
    testing::Values(Lookup{{"ByKey"}, [](const auto& m) { return m.getByKey("04A2B3"); }, "readRecord(04A2B3, Key)"},
                    Lookup{{"ByHash"}, [](const auto& m) { return m.getByHash("00ff"); }, "readRecord(00ff, Hash)"},
                    Lookup{{"ById"}, [](const auto& m) { return m.getById(7); }, "readRecord(7)"}),
    test::byName);

TEST_P(EveryLookup, FindsNothingWhereThereIsNothingAndDoesNoMore) {
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead));
}

TEST_P(EveryLookup, StampsTheAccessAndNothingElse) {
    mStorage.record = storedCard();
    const auto card = find();
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "updateRecord"));
    EXPECT_EQ(fieldsOf(card.value()), fieldsOf(accessed(storedCard())));
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(std::vector{*card}));
}

TEST_P(EveryLookup, IgnoresTheIdThatTheUpdateReports) {
    mStorage.record = storedCard();
    mStorage.updatedId = 999;
    EXPECT_EQ(find().value().id, 7U);
}

TEST_P(EveryLookup, StoresThatAnAcceptedCardHasExpired) {
    RfidCard card = storedCard();
    card.expiryDate = now;
    mStorage.record = card;
    EXPECT_EQ(fieldsOf(find().value()), fieldsOf(accessed(withStatus(card, RfidCardStatus::Expired))));
    EXPECT_EQ(mStorage.written.at(0).status, RfidCardStatus::Expired);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "updateRecord"));
}

TEST_P(EveryLookup, RemovesACardWhoseLifetimeIsOverAndDoesNotReturnIt) {
    mStorage.record = pastItsLifetime();
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "deleteRecord(7)", lifetimeLogged));
}

TEST_P(EveryLookup, ReturnsNothingWhenACardWithoutIdIsToBeRemoved) {
    mStorage.record = pastItsLifetime();
    mStorage.record->id.reset();
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead));
}

TEST_P(EveryLookup, PassesOnThatTheBackendCannotRead) {
    const auto exception = mStorage.fail(mRead, std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom([&] { find(); }), exception);
    const auto other = mStorage.fail(mRead, NoStdException{});
    EXPECT_EQ(exceptionFrom([&] { find(); }), other);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, mRead));
}

TEST_P(EveryLookup, ReturnsNothingWhenTheAccessCannotBeStored) {
    mStorage.record = storedCard();
    mStorage.fail("updateRecord", std::out_of_range("disk"));
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "updateRecord"));
}

TEST_P(EveryLookup, ReturnsNothingWhenTheRemovalFails) {
    mStorage.record = pastItsLifetime();
    mStorage.fail("deleteRecord(7)", std::out_of_range("disk"));
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "deleteRecord(7)"));
}

TEST_P(EveryLookup, ReturnsNothingWhenTheCallbackFails) {
    mStorage.record = pastItsLifetime();
    mStorage.fail(lifetimeLogged, std::out_of_range("disk"));
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "deleteRecord(7)", lifetimeLogged));
}

TEST_P(EveryLookup, PassesOnWhatIsNoStdException) {
    const auto fromUpdate = mStorage.fail("updateRecord", NoStdException{});
    mStorage.record = storedCard();
    EXPECT_EQ(exceptionFrom([&] { find(); }), fromUpdate);
    mStorage.record = pastItsLifetime();
    const auto fromCallback = mStorage.fail(lifetimeLogged, NoStdException{});
    EXPECT_EQ(exceptionFrom([&] { find(); }), fromCallback);
    const auto fromRemoval = mStorage.fail("deleteRecord(7)", NoStdException{});
    EXPECT_EQ(exceptionFrom([&] { find(); }), fromRemoval);
}

TEST_P(EveryLookup, WorksWithoutACallback) {
    const AuthListManager manager(std::make_unique<FakeDbAccessor>(mStorage), AuthListConfiguration{});
    mStorage.record = pastItsLifetime();
    EXPECT_EQ(GetParam().find(manager), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(mRead, "deleteRecord(7)"));
}

// What distinguishes them

class LookupWithAnEmptyText : public test::ManagerOverFake {};

TEST_F(LookupWithAnEmptyText, ByKeyLogsAndLeavesTheBackendAlone) {
    mStorage.record = storedCard();
    EXPECT_EQ(mManager.getByKey(""), std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre(emptyKeyLogged));
}

TEST_F(LookupWithAnEmptyText, ByKeyPassesOnWhatTheCallbackThrows) {
    const auto exception = mStorage.fail(emptyKeyLogged, std::out_of_range("full"));
    EXPECT_EQ(exceptionFrom([&] { mManager.getByKey(""); }), exception);
}

TEST_F(LookupWithAnEmptyText, ByHashReachesTheBackend) {
    const test::StandingClock clock(now);
    mStorage.record = storedCard();
    EXPECT_EQ(fieldsOf(mManager.getByHash("").value()), fieldsOf(accessed(storedCard())));
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecord(, Hash)", "updateRecord"));
}

TEST(LookupByKey, LeavesTheHashingToTheBackend) {
    FakeStorage storage;
    const AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{});
    manager.getByKey(" 04a2b3 ");
    EXPECT_THAT(storage.journal, ElementsAre("readRecord( 04a2b3 , Key)"));
}

// Access tracking by itself

class UpdateOnAccess : public test::ManagerOverFake {
protected:
    // Whether the record counts as valid now.
    bool isValid(RfidCard card) {
        return thrownBy([&] { mManager.updateOnAccess(card); }) == "nothing";
    }

    RfidCardStatus statusAfterAccess(RfidCardStatus status, std::optional<TimePoint> expiryDate) {
        RfidCard card = withStatus(storedCard(), status);
        card.expiryDate = expiryDate;
        mManager.updateOnAccess(card);
        EXPECT_EQ(mStorage.lastWritten().status, card.status);
        return card.status;
    }

    test::StandingClock mClock{now};
};

TEST_F(UpdateOnAccess, ChangesTheCardStoresItAndReturnsACopy) {
    RfidCard card = storedCard();
    card.expiryDate = now - seconds(1);
    const RfidCard returned = mManager.updateOnAccess(card);
    const RfidCard expected = accessed(withStatus(storedCard(), RfidCardStatus::Expired));
    EXPECT_EQ(card.status, expected.status);
    EXPECT_EQ(card.lastAccessTime, expected.lastAccessTime);
    EXPECT_EQ(fieldsOf(returned), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(std::vector{card}));
    EXPECT_THAT(mStorage.journal, ElementsAre("updateRecord"));
}

TEST_F(UpdateOnAccess, TakesACardWithoutId) {
    RfidCard card = storedCard();
    card.id.reset();
    EXPECT_EQ(mManager.updateOnAccess(card).id, std::nullopt);
    EXPECT_THAT(mStorage.journal, ElementsAre("updateRecord"));
}

TEST_F(UpdateOnAccess, PassesOnThatTheBackendCannotStore) {
    const auto exception = mStorage.fail("updateRecord", std::out_of_range("disk"));
    RfidCard card = storedCard();
    EXPECT_EQ(exceptionFrom([&] { mManager.updateOnAccess(card); }), exception);
}

// Lifetime

TEST_F(UpdateOnAccess, DeletesThenLogsThenThrowsWhenTheLifetimeIsOver) {
    RfidCard card = pastItsLifetime();
    EXPECT_EQ(thrownBy([&] { mManager.updateOnAccess(card); }), lifetimeThrown);
    EXPECT_THAT(mStorage.journal, ElementsAre("deleteRecord(7)", lifetimeLogged));
    EXPECT_EQ(fieldsOf(card), fieldsOf(accessed(pastItsLifetime())));
}

TEST_F(UpdateOnAccess, NeedsTheIdOfACardThatItRemoves) {
    RfidCard card = pastItsLifetime();
    card.id.reset();
    EXPECT_EQ(thrownBy([&] { mManager.updateOnAccess(card); }), "std::bad_optional_access: bad optional access");
    EXPECT_THAT(mStorage.journal, IsEmpty());
}

TEST_F(UpdateOnAccess, PassesOnThatTheRemovalFailsAndLogsNothing) {
    const auto exception = mStorage.fail("deleteRecord(7)", std::out_of_range("disk"));
    RfidCard card = pastItsLifetime();
    EXPECT_EQ(exceptionFrom([&] { mManager.updateOnAccess(card); }), exception);
    EXPECT_THAT(mStorage.journal, ElementsAre("deleteRecord(7)"));
}

TEST_F(UpdateOnAccess, PassesOnWhatTheCallbackThrows) {
    const auto exception = mStorage.fail(lifetimeLogged, std::out_of_range("full"));
    RfidCard card = pastItsLifetime();
    EXPECT_EQ(exceptionFrom([&] { mManager.updateOnAccess(card); }), exception);
}

TEST_F(UpdateOnAccess, TakesADeadlineForOverWhenItIsStrictlyEarlier) {
    EXPECT_TRUE(isValid(withLifetime(60, now - seconds(60) + tick)));
    EXPECT_TRUE(isValid(withLifetime(60, now - seconds(60))));
    EXPECT_FALSE(isValid(withLifetime(60, now - seconds(60) - tick)));
}

TEST_F(UpdateOnAccess, EndsALifetimeOfZeroOneNanosecondAfterTheModification) {
    EXPECT_TRUE(isValid(withLifetime(0, now)));
    EXPECT_FALSE(isValid(withLifetime(0, now - tick)));
}

TEST_F(UpdateOnAccess, ReckonsTheLongestLifetimeWithoutOverflow) {
    constexpr unsigned longest = 4294967295;
    EXPECT_TRUE(isValid(withLifetime(longest, now)));
    EXPECT_TRUE(isValid(withLifetime(longest, now - seconds(longest))));
    EXPECT_FALSE(isValid(withLifetime(longest, now - seconds(longest) - tick)));
}

TEST_F(UpdateOnAccess, ReckonsALifetimeThatBeganBefore1970) {
    EXPECT_FALSE(isValid(withLifetime(1, at(-10))));
    EXPECT_TRUE(isValid(withLifetime(4294967295, at(-10))));
}

TEST_F(UpdateOnAccess, LetsACardWithoutLifetimeLiveForever) {
    RfidCard card = withLifetime(0, TimePoint::min());
    card.recordLifetime.reset();
    EXPECT_TRUE(isValid(card));
}

TEST_F(UpdateOnAccess, CountsTheLifetimeFromTheModificationNotFromTheLastAccess) {
    RfidCard recentlyUsed = pastItsLifetime();
    recentlyUsed.lastAccessTime = now - tick;
    EXPECT_FALSE(isValid(recentlyUsed));
    RfidCard longUnused = withLifetime(60, now);
    longUnused.lastAccessTime = at(0);
    EXPECT_TRUE(isValid(longUnused));
}

TEST_F(UpdateOnAccess, NeverExtendsALifetime) {
    RfidCard card = withLifetime(60, now - seconds(60));
    mManager.updateOnAccess(card);
    EXPECT_EQ(card.lastModificationTime, now - seconds(60));
    mClock.set(now + tick);
    EXPECT_EQ(thrownBy([&] { mManager.updateOnAccess(card); }), lifetimeThrown);
}

TEST_F(UpdateOnAccess, LooksAtTheLifetimeBeforeTheExpiryDate) {
    RfidCard card = pastItsLifetime();
    card.expiryDate = now - seconds(1);
    EXPECT_EQ(thrownBy([&] { mManager.updateOnAccess(card); }), lifetimeThrown);
    EXPECT_EQ(card.status, RfidCardStatus::Accepted);
}

// Expiry

TEST_F(UpdateOnAccess, TurnsAnAcceptedCardAtOrPastItsExpiryDateIntoAnExpiredOne) {
    constexpr auto accepted = RfidCardStatus::Accepted;
    EXPECT_EQ(statusAfterAccess(accepted, std::nullopt), accepted);
    EXPECT_EQ(statusAfterAccess(accepted, TimePoint::max()), accepted);
    EXPECT_EQ(statusAfterAccess(accepted, now + tick), accepted);
    EXPECT_EQ(statusAfterAccess(accepted, now), RfidCardStatus::Expired);
    EXPECT_EQ(statusAfterAccess(accepted, now - tick), RfidCardStatus::Expired);
    EXPECT_EQ(statusAfterAccess(accepted, TimePoint::min()), RfidCardStatus::Expired);
}

// A card may expire between the two.
TEST(UpdateOnAccessAsTimePasses, ReadsTheClockForTheAccessAndAgainForTheExpiry) {
    test::FakeStorage storage;
    const AuthListManager manager(std::make_unique<test::FakeDbAccessor>(storage), {});
    const test::StandingClock clock(now, tick);
    RfidCard card = storedCard();
    card.expiryDate = now + tick;
    manager.updateOnAccess(card);
    EXPECT_EQ(card.lastAccessTime, now);
    EXPECT_EQ(card.status, RfidCardStatus::Expired);
}

TEST_F(UpdateOnAccess, ChangesNoOtherStatus) {
    for (const int value : {1, 2, 3, 4, 5, 6, -1}) {
        const auto status = static_cast<RfidCardStatus>(value);
        for (const std::optional<TimePoint>& expiryDate :
             {std::optional<TimePoint>(), std::optional(now - seconds(1)), std::optional(now + seconds(1))}) {
            EXPECT_EQ(statusAfterAccess(status, expiryDate), status);
        }
    }
}

TEST(DateExpired, IsNeverTrueWithoutAnExpiryDate) { EXPECT_FALSE(AuthListManager::dateExpired(RfidCard{})); }

TEST(DateExpired, IncludesThePresentInstant) {
    const test::StandingClock clock(now);
    RfidCard card;
    card.expiryDate = now + tick;
    EXPECT_FALSE(AuthListManager::dateExpired(card));
    card.expiryDate = now;
    EXPECT_TRUE(AuthListManager::dateExpired(card));
    card.expiryDate = now - tick;
    EXPECT_TRUE(AuthListManager::dateExpired(card));
}

TEST(DateExpired, GoesByTheSystemClock) {
    RfidCard card;
    card.expiryDate = system_clock::now();
    EXPECT_TRUE(AuthListManager::dateExpired(card));
    card.expiryDate = system_clock::now() + std::chrono::hours(1);
    EXPECT_FALSE(AuthListManager::dateExpired(card));
}

TEST(DateExpired, DoesNotLookAtTheStatus) {
    RfidCard card;
    card.expiryDate = at(0);
    for (int value = 0; value < 6; ++value) {
        card.status = static_cast<RfidCardStatus>(value);
        EXPECT_TRUE(AuthListManager::dateExpired(card));
    }
}

// Without tracking

class RetrieveRecord : public test::ManagerOverFake {};

TEST_F(RetrieveRecord, ReturnsWhatTheBackendReturns) {
    RfidCard card = pastItsLifetime();
    card.expiryDate = at(0);
    mStorage.record = card;
    EXPECT_EQ(fieldsOf(mManager.retrieveRecord("", KeyRepresentation::Key).value()), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mManager.retrieveRecord("00ff", KeyRepresentation::Hash).value()), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mManager.retrieveRecord(4294967295).value()), fieldsOf(card));
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecord(, Key)", "readRecord(00ff, Hash)", "readRecord(4294967295)"));
}

TEST_F(RetrieveRecord, ReturnsNothingWhereThereIsNothing) {
    EXPECT_EQ(mManager.retrieveRecord("04A2B3", KeyRepresentation::Key), std::nullopt);
    EXPECT_EQ(mManager.retrieveRecord(7), std::nullopt);
}

TEST_F(RetrieveRecord, PassesOnWhatTheBackendThrows) {
    const auto byId = mStorage.fail("readRecord(7)", std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom([&] { mManager.retrieveRecord(7); }), byId);
    const auto byHash = mStorage.fail("readRecord(00ff, Hash)", std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom([&] { mManager.retrieveRecord("00ff", KeyRepresentation::Hash); }), byHash);
}

class GetRange : public test::ManagerOverFake {};

constexpr auto byStatus = SortingAndFilteringKey::Status;
constexpr auto byAccess = SortingAndFilteringKey::LastAccessTime;
constexpr auto notEqual = FilteringOperator::NotEqual;
constexpr auto descending = SortingOrder::Descending;
const CardValue blocked = RfidCardStatus::Blocked;

TEST_F(GetRange, PassesAllSevenArgumentsOn) {
    mManager.getRange(10, 20, byStatus, notEqual, blocked, byAccess, descending);
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecordRange(10, 20, key 1, operator 5, status 2, key 3, order 1)"));
}

TEST_F(GetRange, PassesEachArgumentOnThatIsAbsent) {
    mManager.getRange({}, 20, byStatus, notEqual, blocked, byAccess, descending);
    mManager.getRange(10, {}, byStatus, notEqual, blocked, byAccess, descending);
    mManager.getRange(10, 20, {}, notEqual, blocked, byAccess, descending);
    mManager.getRange(10, 20, byStatus, {}, blocked, byAccess, descending);
    mManager.getRange(10, 20, byStatus, notEqual, {}, byAccess, descending);
    mManager.getRange(10, 20, byStatus, notEqual, blocked, {}, descending);
    mManager.getRange(10, 20, byStatus, notEqual, blocked, byAccess, {});
    mManager.getRange({}, {}, {}, {}, {}, {}, {});
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecordRange(-, 20, key 1, operator 5, status 2, key 3, order 1)",
                                              "readRecordRange(10, -, key 1, operator 5, status 2, key 3, order 1)",
                                              "readRecordRange(10, 20, -, operator 5, status 2, key 3, order 1)",
                                              "readRecordRange(10, 20, key 1, -, status 2, key 3, order 1)",
                                              "readRecordRange(10, 20, key 1, operator 5, -, key 3, order 1)",
                                              "readRecordRange(10, 20, key 1, operator 5, status 2, -, order 1)",
                                              "readRecordRange(10, 20, key 1, operator 5, status 2, key 3, -)",
                                              "readRecordRange(-, -, -, -, -, -, -)"));
}

TEST_F(GetRange, PassesEveryKindOfFilterValueOn) {
    mManager.getRange(0, 4294967295, {}, {}, CardValue(4294967295U), {}, {});
    mManager.getRange({}, {}, {}, {}, CardValue(std::string("3")), {}, {});
    mManager.getRange({}, {}, {}, {}, CardValue(static_cast<RfidCardStatus>(6)), {}, {});
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecordRange(0, 4294967295, -, -, number 4294967295, -, -)",
                                              "readRecordRange(-, -, -, -, text 3, -, -)",
                                              "readRecordRange(-, -, -, -, status 6, -, -)"));
}

TEST_F(GetRange, LeavesValuesOutsideTheEnumerationsToTheBackend) {
    mManager.getRange({}, {}, static_cast<SortingAndFilteringKey>(5), static_cast<FilteringOperator>(6), {},
                      static_cast<SortingAndFilteringKey>(-1), static_cast<SortingOrder>(2));
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecordRange(-, -, key 5, operator 6, -, key -1, order 2)"));
}

TEST_F(GetRange, ReturnsTheRecordsAsTheyAreStored) {
    RfidCard expired = storedCard();
    expired.expiryDate = at(0);
    mStorage.range = {pastItsLifetime(), expired, storedCard()};
    EXPECT_EQ(fieldsOf(mManager.getRange({}, {}, {}, {}, {}, {}, {})), fieldsOf(mStorage.range));
    EXPECT_EQ(mStorage.journal.size(), 1U);
}

TEST_F(GetRange, PassesOnWhatTheBackendThrows) {
    const auto exception = mStorage.fail("readRecordRange(-, -, -, -, -, -, -)", std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom([&] { mManager.getRange({}, {}, {}, {}, {}, {}, {}); }), exception);
}

class CountRecords : public test::ManagerOverFake {};

TEST_F(CountRecords, AsksTheBackend) {
    mStorage.count = 4294967295;
    EXPECT_EQ(mManager.countRecords(), 4294967295);
    EXPECT_THAT(mStorage.journal, ElementsAre("countRecords()"));
    const auto exception = mStorage.fail("countRecords()", std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom([&] { mManager.countRecords(); }), exception);
}

}  // namespace
}  // namespace oru::kadi::authlist
