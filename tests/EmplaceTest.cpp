// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/KeyHash.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FakeDbAccessor.h"
#include "support/ManagerOverFake.h"
#include "support/NamedCase.h"
#include "support/StandingClock.h"
#include "support/ThrownBy.h"

// How the manager adds a card and makes room for it.

namespace oru::kadi::authlist {
namespace {

using std::chrono::nanoseconds;
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
using testing::ElementsAreArray;
using testing::IsEmpty;

using Journal = std::vector<std::string>;

const std::string noTagsLogged = "log: Rfid Card tags array is empty, call cannot proceed.";
const std::string noTagsThrown = "std::runtime_error: RfidTag tags array empty";
const std::string emptyTagLogged = "log: Rfid Card tag hash and key both empty, emplace() call cannot proceed.";
const std::string emptyTagThrown = "std::runtime_error: RfidTag tag hash and key both empty";
const std::string storedLogged =
    "log: Rfid Card in emplace() call is already stored in the database and update is not allowed.";
const std::string storedThrown = "std::runtime_error: Identifier already in database";
const std::string fullLogged = "log: Database is full, emplace() call cannot proceed.";
const std::string fullThrown = "std::runtime_error: Database full";
const std::string roomMade = "log: Successfully created some more space for new Rfid Card record(s).";
const std::string oldestGoes =
    "log: No records past expiry date, no invalid records, no expired records, need to delete oldest record.";
const std::string roomFailed = "error: Error when creating space for new Rfid Card record(s).";

const std::string removePastExpiry = "deleteRecordCategory(PastExpiryDate)";
const std::string removeBlocked = "deleteRecordCategory(BlockedOrInvalid)";
const std::string removeExpired = "deleteRecordCategory(ExpiredStatus)";
const std::string removeOldest = "deleteOldestRecord()";

std::string isKnown(const std::string& hash) { return "tagIsKnown(" + hash + ")"; }

RfidCard cardWithHashes(std::initializer_list<const char*> hashes) {
    RfidCard card;
    for (const char* hash : hashes) card.tags.push_back(RfidTag{hash, std::nullopt, std::nullopt});
    return card;
}

const RfidTag emptyTag{};
const RfidTag tagWithEmptyKey{"", "", "{}"};

// A card for each refusal, in a full list that knows the hash "known", and what is thrown.
std::vector<std::pair<RfidCard, std::string>> refusedCards() {
    RfidCard cardWithEmptyTag;
    cardWithEmptyTag.tags = {emptyTag};
    return {{RfidCard{}, noTagsThrown},
            {cardWithEmptyTag, emptyTagThrown},
            {cardWithHashes({"known"}), storedThrown},
            {cardWithHashes({"new"}), fullThrown}};
}

class Emplace : public test::ManagerOverFake {
protected:
    std::string thrownByEmplace(RfidCard& card, bool makeRoomIfFull, bool updateAllowed) {
        return thrownBy([&] { mManager.emplace(card, makeRoomIfFull, updateAllowed); });
    }
};

// The usual case

TEST_F(Emplace, CreatesANewCardAndReturnsTheIdThatItGot) {
    mStorage.createdId = 4711;
    RfidCard card = cardWithHashes({"h1"});
    card.id = 9;
    EXPECT_EQ(mManager.emplace(card, false, false), 4711U);
    EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "countRecords()", "createRecord"));
    EXPECT_EQ(card.id, 9U);
}

TEST_F(Emplace, AsksAboutEveryTagBeforeItCounts) {
    RfidCard card = cardWithHashes({"h1", "h2", "h3"});
    mManager.emplace(card, false, false);
    EXPECT_THAT(mStorage.journal,
                ElementsAre(isKnown("h1"), isKnown("h2"), isKnown("h3"), "countRecords()", "createRecord"));
}

TEST_F(Emplace, HandsOverTheWholeCardAsTheCallerSeesItAfterwards) {
    RfidCard card = cardWithKey("A");
    card.tags.push_back(RfidTag{"h2", std::nullopt, "{}"});
    card.tags.push_back(RfidTag{"", "B", std::nullopt});
    card.status = RfidCardStatus::Invalid;
    card.expiryDate = at(1);
    card.parentId = "Staff";
    card.evseId = 2;
    card.extraData = "{}";
    card.recordLifetime = 0;
    mManager.emplace(card, false, false);
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(std::vector{card}));
}

// Time stamps

TEST_F(Emplace, StampsBothTimesWithAReadingOfTheClockEach) {
    const test::StandingClock clock(at(1767225600), nanoseconds(1));
    RfidCard card = cardWithHashes({"h1"});
    mManager.emplace(card, false, false);
    EXPECT_EQ(card.lastAccessTime, at(1767225600));
    EXPECT_EQ(card.lastModificationTime, at(1767225600) + nanoseconds(1));
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(std::vector{card}));
}

TEST_F(Emplace, StampsTheTimeAtWhichItRuns) {
    RfidCard card = cardWithHashes({"h1"});
    const TimePoint before = system_clock::now();
    mManager.emplace(card, false, false);
    const TimePoint after = system_clock::now();
    EXPECT_LE(before, card.lastAccessTime);
    EXPECT_LE(card.lastAccessTime, card.lastModificationTime);
    EXPECT_LE(card.lastModificationTime, after);
}

TEST_F(Emplace, StampsACardThatItRefusesToo) {
    mStorage.knownHashes = {"known"};
    mStorage.count = capacity;
    for (const auto& [original, thrown] : refusedCards()) {
        const test::StandingClock clock(at(1767225600), nanoseconds(1));
        RfidCard card = original;
        EXPECT_EQ(thrownByEmplace(card, false, false), thrown);
        EXPECT_EQ(card.lastAccessTime, at(1767225600)) << thrown;
        EXPECT_EQ(card.lastModificationTime, at(1767225600) + nanoseconds(1)) << thrown;
    }
    EXPECT_THAT(mStorage.written, IsEmpty());
}

TEST_F(Emplace, StampsACardThatTheBackendRefusesToo) {
    const test::StandingClock clock(at(1767225600), nanoseconds(1));
    mStorage.fail("createRecord", std::runtime_error("disk"));
    RfidCard card = cardWithHashes({"h1"});
    EXPECT_EQ(thrownByEmplace(card, false, false), "std::runtime_error: disk");
    EXPECT_EQ(card.lastAccessTime, at(1767225600));
    EXPECT_EQ(card.lastModificationTime, at(1767225600) + nanoseconds(1));
}

TEST_F(Emplace, StampsACardBeforeItLogsARefusal) {
    RfidCard card;
    TimePoint stampWhenLogged{};
    AuthListManager manager(
        std::make_unique<FakeDbAccessor>(mStorage),
        AuthListConfiguration{1, "", [&](const std::string&, bool) { stampWhenLogged = card.lastModificationTime; }});
    const test::StandingClock clock(at(1767225600));
    EXPECT_EQ(thrownBy([&] { manager.emplace(card, false, false); }), noTagsThrown);
    EXPECT_EQ(stampWhenLogged, at(1767225600));
}

// Tags

TEST_F(Emplace, RefusesACardWithoutTags) {
    for (const bool makeRoomIfFull : {false, true}) {
        for (const bool updateAllowed : {false, true}) {
            mStorage.journal.clear();
            RfidCard card;
            EXPECT_EQ(thrownByEmplace(card, makeRoomIfFull, updateAllowed), noTagsThrown);
            EXPECT_THAT(mStorage.journal, ElementsAre(noTagsLogged));
        }
    }
}

TEST_F(Emplace, RefusesATagWithoutHashAndKey) {
    for (const RfidTag& tag : {emptyTag, tagWithEmptyKey}) {
        for (const bool makeRoomIfFull : {false, true}) {
            for (const bool updateAllowed : {false, true}) {
                mStorage.journal.clear();
                RfidCard card;
                card.tags = {tag};
                EXPECT_EQ(thrownByEmplace(card, makeRoomIfFull, updateAllowed), emptyTagThrown);
                EXPECT_THAT(mStorage.journal, ElementsAre(emptyTagLogged));
                EXPECT_EQ(fieldsOf(card.tags[0]), fieldsOf(tag));
            }
        }
    }
}

TEST_F(Emplace, GivesATagTheHashOfItsKeyAndKeepsTheKey) {
    RfidCard card;
    card.tags = {RfidTag{"", "04A2B3", "{}"}};
    mManager.emplace(card, false, false);
    EXPECT_EQ(fieldsOf(card.tags[0]), fieldsOf(RfidTag{hashKey("04A2B3"), "04A2B3", "{}"}));
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(std::vector{card}));
    EXPECT_EQ(mStorage.journal.at(0), isKnown(hashKey("04A2B3")));
}

TEST_F(Emplace, LeavesAHashAloneThatIsNotTheHashOfTheKey) {
    RfidCard card;
    card.tags = {RfidTag{"no hash at all", "04A2B3", std::nullopt}, RfidTag{hashKey("A"), "", std::nullopt}};
    const RfidCard original = card;
    mManager.emplace(card, false, false);
    EXPECT_EQ(fieldsOf(card.tags[0]), fieldsOf(original.tags[0]));
    EXPECT_EQ(fieldsOf(card.tags[1]), fieldsOf(original.tags[1]));
}

TEST_F(Emplace, HasFilledTheHashesBeforeTheTagThatItRefuses) {
    RfidCard card;
    card.tags = {RfidTag{"", "A", std::nullopt}, RfidTag{"", "B", std::nullopt}, tagWithEmptyKey,
                 RfidTag{"", "C", std::nullopt}};
    EXPECT_EQ(thrownByEmplace(card, true, true), emptyTagThrown);
    EXPECT_EQ(card.tags[0].hash, hashKey("A"));
    EXPECT_EQ(card.tags[1].hash, hashKey("B"));
    EXPECT_EQ(card.tags[2].hash, "");
    EXPECT_EQ(card.tags[3].hash, "");
    EXPECT_THAT(mStorage.journal, ElementsAre(emptyTagLogged));
}

// Known cards

TEST_F(Emplace, RefusesAKnownCardUnlessUpdatesAreAllowed) {
    mStorage.knownHashes = {"h2"};
    for (const bool makeRoomIfFull : {false, true}) {
        for (const unsigned count : {capacity - 1, capacity}) {
            mStorage.journal.clear();
            mStorage.count = count;
            RfidCard card = cardWithHashes({"h1", "h2", "h3"});
            EXPECT_EQ(thrownByEmplace(card, makeRoomIfFull, false), storedThrown);
            EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), isKnown("h2"), storedLogged));
        }
    }
}

TEST_F(Emplace, UpdatesAKnownCardWithoutRegardToTheCapacity) {
    mStorage.knownHashes = {"h1"};
    mStorage.updatedId = 42;
    mStorage.createdId = 1;
    for (const bool makeRoomIfFull : {false, true}) {
        for (const unsigned count : {capacity - 1, capacity, capacity + 1}) {
            mStorage.journal.clear();
            mStorage.count = count;
            RfidCard card = cardWithHashes({"h1", "h2"});
            EXPECT_EQ(mManager.emplace(card, makeRoomIfFull, true), 42U);
            EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "updateRecord"));
            EXPECT_EQ(fieldsOf(mStorage.lastWritten()), fieldsOf(card));
        }
    }
}

TEST_F(Emplace, LeavesTheIdOfAKnownCardToTheBackend) {
    mStorage.knownHashes = {"h1"};
    RfidCard card = cardWithHashes({"h1"});
    mManager.emplace(card, false, true);
    EXPECT_EQ(mStorage.lastWritten().id, std::nullopt);
    card.id = 8;
    mManager.emplace(card, false, true);
    EXPECT_EQ(mStorage.lastWritten().id, 8U);
}

TEST_F(Emplace, CreatesAnUnknownCardWhenUpdatesAreAllowed) {
    mStorage.createdId = 3;
    RfidCard card = cardWithHashes({"h1"});
    card.id = 8;
    EXPECT_EQ(mManager.emplace(card, false, true), 3U);
    EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "countRecords()", "createRecord"));
}

// Capacity

TEST_F(Emplace, RefusesANewCardWhenTheListIsFull) {
    mStorage.count = capacity;
    for (const bool updateAllowed : {false, true}) {
        mStorage.journal.clear();
        RfidCard card = cardWithHashes({"h1"});
        EXPECT_EQ(thrownByEmplace(card, false, updateAllowed), fullThrown);
        EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "countRecords()", fullLogged));
    }
}

// The log speaks of the call, the exception gives a short reason.
TEST_F(Emplace, LogsAndThrowsDifferentTextsOnPurpose) {
    mStorage.count = capacity;
    RfidCard full = cardWithHashes({"h1"});
    EXPECT_EQ(thrownByEmplace(full, false, false), "std::runtime_error: Database full");
    EXPECT_EQ(mStorage.lastEntry(), "log: Database is full, emplace() call cannot proceed.");
    mStorage.knownHashes = {"h1"};
    EXPECT_EQ(thrownByEmplace(full, false, false), "std::runtime_error: Identifier already in database");
    EXPECT_EQ(mStorage.lastEntry(),
              "log: Rfid Card in emplace() call is already stored in the database and update is not allowed.");
}

TEST_F(Emplace, DoesNotTakeAListForFullThatGrewBeyondItsCapacity) {
    for (const unsigned count : {0U, capacity - 1, capacity + 1, 4294967295U}) {
        for (const bool makeRoomIfFull : {false, true}) {
            mStorage.journal.clear();
            mStorage.count = count;
            RfidCard card = cardWithHashes({"h1"});
            mManager.emplace(card, makeRoomIfFull, false);
            EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "countRecords()", "createRecord"));
        }
    }
}

TEST_F(Emplace, MakesRoomInAFullListWhenAsked) {
    mStorage.count = capacity;
    mStorage.occupied = {RecordRemovalCategory::PastExpiryDate};
    mStorage.createdId = 5;
    RfidCard card = cardWithHashes({"h1"});
    EXPECT_EQ(mManager.emplace(card, true, false), 5U);
    EXPECT_THAT(mStorage.journal,
                ElementsAre(isKnown("h1"), "countRecords()", removePastExpiry, roomMade, "createRecord"));
}

TEST_F(Emplace, CreatesTheCardEvenIfMakingRoomFreedNothing) {
    mStorage.count = capacity;
    RfidCard card = cardWithHashes({"h1"});
    mManager.emplace(card, true, true);
    EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "countRecords()", removePastExpiry, removeBlocked,
                                              removeExpired, oldestGoes, removeOldest, "createRecord"));
}

TEST_F(Emplace, CreatesTheCardEvenIfMakingRoomFailed) {
    mStorage.count = capacity;
    mStorage.fail(removePastExpiry, std::runtime_error("disk"));
    mStorage.createdId = 5;
    RfidCard card = cardWithHashes({"h1"});
    EXPECT_EQ(mManager.emplace(card, true, false), 5U);
    EXPECT_THAT(mStorage.journal,
                ElementsAre(isKnown("h1"), "countRecords()", removePastExpiry, roomFailed, "createRecord"));
}

TEST_F(Emplace, CreatesNothingWhenMakingRoomThrowsWhatIsNoStdException) {
    mStorage.count = capacity;
    mStorage.fail(removePastExpiry, NoStdException{});
    RfidCard card = cardWithHashes({"h1"});
    EXPECT_THROW(mManager.emplace(card, true, false), NoStdException);
    EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), "countRecords()", removePastExpiry));
}

TEST(EmplaceIntoAListOfCapacityZero, MakesRoomAndCreatesTheCardAnyway) {
    FakeStorage storage;
    AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{0, "", logInto(storage)});
    RfidCard card = cardWithHashes({"h1"});
    manager.emplace(card, true, false);
    EXPECT_THAT(storage.journal, ElementsAre(isKnown("h1"), "countRecords()", removePastExpiry, removeBlocked,
                                             removeExpired, oldestGoes, removeOldest, "createRecord"));
}

// Failures

struct FailingStep : test::NamedCase {
    std::string entry;
    unsigned count;
    bool known;
};

class EmplacePassesOn : public test::ManagerOverFake, public testing::WithParamInterface<FailingStep> {
protected:
    EmplacePassesOn() {
        mStorage.count = GetParam().count;
        if (GetParam().known) mStorage.knownHashes = {"h1"};
    }

    std::exception_ptr exceptionFromEmplace() {
        RfidCard card = cardWithHashes({"h1"});
        return exceptionFrom([&] { mManager.emplace(card, false, true); });
    }
};

INSTANTIATE_TEST_SUITE_P(All, EmplacePassesOn,
                         testing::Values(FailingStep{{"TagIsKnown"}, isKnown("h1"), 0, false},
                                         FailingStep{{"CountRecords"}, "countRecords()", 0, false},
                                         FailingStep{{"CreateRecord"}, "createRecord", 0, false},
                                         FailingStep{{"UpdateRecord"}, "updateRecord", 0, true},
                                         FailingStep{{"TheCallback"}, fullLogged, 2, false}),
                         test::byName);

TEST_P(EmplacePassesOn, AStdException) {
    const auto exception = mStorage.fail(GetParam().entry, std::out_of_range("disk"));
    EXPECT_EQ(exceptionFromEmplace(), exception);
    EXPECT_EQ(mStorage.lastEntry(), GetParam().entry);
}

TEST_P(EmplacePassesOn, WhatIsNoStdException) {
    const auto exception = mStorage.fail(GetParam().entry, NoStdException{});
    EXPECT_EQ(exceptionFromEmplace(), exception);
    EXPECT_EQ(mStorage.lastEntry(), GetParam().entry);
}

TEST(EmplaceWithoutACallback, RefusesAllTheSame) {
    FakeStorage storage;
    storage.knownHashes = {"known"};
    AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{});
    for (auto [card, thrown] : refusedCards()) {
        EXPECT_EQ(thrownBy([&manager, &card = card] { manager.emplace(card, false, false); }), thrown);
    }
}

// The two questions on their own

class FullList : public test::ManagerOverFake {};

TEST_F(FullList, HoldsExactlyAsManyRecordsAsItsCapacity) {
    const AuthListManager& manager = mManager;
    for (const unsigned count : {0U, 1U, 2U, 3U, 4294967295U}) {
        mStorage.count = count;
        EXPECT_EQ(manager.isDatabaseFull(), count == capacity) << count;
    }
}

TEST_F(FullList, IsFoundByCountingAlone) {
    mManager.isDatabaseFull();
    EXPECT_THAT(mStorage.journal, ElementsAre("countRecords()"));
}

class StoredCard : public test::ManagerOverFake {};

TEST_F(StoredCard, HasAKnownTag) {
    mStorage.knownHashes = {"h2"};
    EXPECT_TRUE(mManager.isRfidCardAlreadyStored(cardWithHashes({"h1", "h2", "h3"})));
    EXPECT_FALSE(mManager.isRfidCardAlreadyStored(cardWithHashes({"h1", "h3"})));
}

TEST_F(StoredCard, IsLookedForUntilTheFirstKnownTag) {
    mStorage.knownHashes = {"h2", "h3"};
    mManager.isRfidCardAlreadyStored(cardWithHashes({"h1", "h2", "h3"}));
    EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), isKnown("h2")));
}

TEST_F(StoredCard, IsNeverACardWithoutTags) {
    RfidCard card;
    card.id = 1;
    EXPECT_FALSE(mManager.isRfidCardAlreadyStored(card));
    EXPECT_THAT(mStorage.journal, IsEmpty());
}

TEST_F(StoredCard, IsFoundWhateverItsId) {
    mStorage.knownHashes = {"h1"};
    RfidCard card = cardWithHashes({"h1"});
    EXPECT_TRUE(mManager.isRfidCardAlreadyStored(card));
    card.id = 99;
    EXPECT_TRUE(mManager.isRfidCardAlreadyStored(card));
    EXPECT_THAT(mStorage.journal, ElementsAre(isKnown("h1"), isKnown("h1")));
}

// Making room

class MakeRoom : public test::ManagerOverFake {};

struct OccupiedCategories : test::NamedCase {
    std::set<RecordRemovalCategory> occupied;
    Journal journal;
};

class MakeRoomRemoves : public test::ManagerOverFake, public testing::WithParamInterface<OccupiedCategories> {};

constexpr auto pastExpiry = RecordRemovalCategory::PastExpiryDate;
constexpr auto blocked = RecordRemovalCategory::BlockedOrInvalid;
constexpr auto expired = RecordRemovalCategory::ExpiredStatus;

INSTANTIATE_TEST_SUITE_P(
    All, MakeRoomRemoves,
    testing::Values(
        OccupiedCategories{{"ThePastExpiry"}, {pastExpiry}, {removePastExpiry, roomMade}},
        OccupiedCategories{{"TheBlocked"}, {blocked}, {removePastExpiry, removeBlocked, roomMade}},
        OccupiedCategories{{"TheExpired"}, {expired}, {removePastExpiry, removeBlocked, removeExpired, roomMade}},
        OccupiedCategories{{"ThePastExpiryAlone"}, {pastExpiry, blocked, expired}, {removePastExpiry, roomMade}},
        OccupiedCategories{{"TheBlockedAlone"}, {blocked, expired}, {removePastExpiry, removeBlocked, roomMade}},
        OccupiedCategories{
            {"TheOldest"}, {}, {removePastExpiry, removeBlocked, removeExpired, oldestGoes, removeOldest}}),
    test::byName);

TEST_P(MakeRoomRemoves, TheFirstThatIsThere) {
    mStorage.occupied = GetParam().occupied;
    mManager.makeRoom();
    EXPECT_THAT(mStorage.journal, ElementsAreArray(GetParam().journal));
}

TEST_P(MakeRoomRemoves, TheSameWithoutACallback) {
    FakeStorage storage;
    storage.occupied = GetParam().occupied;
    AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{});
    manager.makeRoom();
    Journal calls = GetParam().journal;
    calls.erase(std::remove_if(calls.begin(), calls.end(), [](const auto& e) { return e.rfind("log: ", 0) == 0; }),
                calls.end());
    EXPECT_THAT(storage.journal, ElementsAreArray(calls));
}

// A step of one of the two longest ways through makeRoom that fails, and what came before it.
struct FailingRemoval : test::NamedCase {
    std::set<RecordRemovalCategory> occupied;
    Journal untilFailure;
};

class MakeRoomThatFails : public test::ManagerOverFake, public testing::WithParamInterface<FailingRemoval> {
protected:
    MakeRoomThatFails() { mStorage.occupied = GetParam().occupied; }

    const std::string mFailing = GetParam().untilFailure.back();
};

INSTANTIATE_TEST_SUITE_P(
    All, MakeRoomThatFails,
    testing::Values(
        FailingRemoval{{"AtPastExpiry"}, {}, {removePastExpiry}},
        FailingRemoval{{"AtBlocked"}, {}, {removePastExpiry, removeBlocked}},
        FailingRemoval{{"AtExpired"}, {}, {removePastExpiry, removeBlocked, removeExpired}},
        FailingRemoval{{"AtTheLineAboutTheOldest"}, {}, {removePastExpiry, removeBlocked, removeExpired, oldestGoes}},
        FailingRemoval{{"AtTheOldest"}, {}, {removePastExpiry, removeBlocked, removeExpired, oldestGoes, removeOldest}},
        FailingRemoval{{"AtTheLineAboutSuccess"}, {blocked}, {removePastExpiry, removeBlocked, roomMade}}),
    test::byName);

TEST_P(MakeRoomThatFails, LogsAnErrorAndThrowsNothing) {
    mStorage.fail(mFailing, std::out_of_range("disk"));
    EXPECT_EQ(thrownBy([&] { mManager.makeRoom(); }), "nothing");
    Journal expected = GetParam().untilFailure;
    expected.push_back(roomFailed);
    EXPECT_THAT(mStorage.journal, ElementsAreArray(expected));
}

TEST_P(MakeRoomThatFails, ThrowsNothingWithoutACallbackEither) {
    AuthListManager manager(std::make_unique<FakeDbAccessor>(mStorage), AuthListConfiguration{});
    mStorage.fail(mFailing, std::out_of_range("disk"));
    EXPECT_EQ(thrownBy([&] { manager.makeRoom(); }), "nothing");
}

TEST_P(MakeRoomThatFails, PassesOnWhatIsNoStdExceptionAndLogsNothing) {
    const auto exception = mStorage.fail(mFailing, NoStdException{});
    EXPECT_EQ(exceptionFrom([&] { mManager.makeRoom(); }), exception);
    EXPECT_THAT(mStorage.journal, ElementsAreArray(GetParam().untilFailure));
}

TEST_F(MakeRoom, ThrowsNoStdExceptionEvenWhenTheCallbackFailsAtTheErrorLine) {
    mStorage.fail(removePastExpiry, std::runtime_error("disk"));
    mStorage.fail(roomFailed, std::runtime_error("no room for logs"));
    EXPECT_EQ(thrownBy([&] { mManager.makeRoom(); }), "nothing");
    EXPECT_THAT(mStorage.journal, ElementsAre(removePastExpiry, roomFailed));
}

TEST_F(MakeRoom, ThrowsNoStdExceptionEvenWhenTheCallbackFailsAtEveryLine) {
    for (const std::string& line : {roomMade, oldestGoes, roomFailed}) mStorage.fail(line, std::runtime_error("full"));
    EXPECT_EQ(thrownBy([&] { mManager.makeRoom(); }), "nothing");
    EXPECT_THAT(mStorage.journal, ElementsAre(removePastExpiry, removeBlocked, removeExpired, oldestGoes, roomFailed));
}

TEST_F(MakeRoom, PassesOnWhatIsNoStdExceptionFromTheErrorLine) {
    mStorage.fail(removePastExpiry, std::runtime_error("disk"));
    mStorage.fail(roomFailed, NoStdException{});
    EXPECT_THROW(mManager.makeRoom(), NoStdException);
}

TEST_F(MakeRoom, RunsWithoutRegardToTheCapacity) {
    mStorage.occupied = {pastExpiry};
    mManager.makeRoom();
    EXPECT_THAT(mStorage.journal, ElementsAre(removePastExpiry, roomMade));
}

}  // namespace
}  // namespace oru::kadi::authlist
