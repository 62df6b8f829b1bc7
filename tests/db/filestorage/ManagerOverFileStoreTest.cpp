// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "authlist/KeyHash.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "db/AnyBackend.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileStore.h"
#include "support/Files.h"
#include "support/StandingClock.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

// The manager handed a file backend: every operation, and the list that the next manager finds.

namespace oru::kadi::authlist {
namespace {

using std::chrono::hours;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using test::at;
using test::fieldsOf;
using test::newCard;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

const TimePoint start = at(1767225600) + nanoseconds(5);  // a file keeps nanoseconds

const std::string roomMade = "log: Successfully created some more space for new Rfid Card record(s).";
const std::string oldestGoes =
    "log: No records past expiry date, no invalid records, no expired records, need to delete oldest record.";
const std::string lifetimeOver = "log: The queried authorization list record is no longer valid (lifetime exceeded).";

class OverFile : public testing::Test {
protected:
    void open(unsigned maxRecords) {
        mManager = std::make_unique<AuthListManager>(
            std::make_unique<db::filestorage::FileDbAccessor>(mFile, test::whenDestroyed),
            AuthListConfiguration{maxRecords,
                                  "not used",
                                  [this](const std::string& line, bool isError) {
                                      mLog.push_back((isError ? "error: " : "log: ") + line);
                                  },
                                  {},
                                  {}});
    }

    // Goes on with a second manager, whose backend loads the file that the first one wrote.
    void reopen() {
        mManager.reset();
        open(10);
    }

    unsigned add(RfidCard card, bool makeRoomIfFull = false) { return mManager->emplace(card, makeRoomIfFull, false); }

    // Everything, as it is stored.
    std::vector<RfidCard> all() const { return mManager->getRange({}, {}, {}, {}, {}, {}, {}); }

    std::vector<std::string> keys() const {
        std::vector<std::string> found;
        for (const RfidCard& card : all()) found.push_back(card.tags.at(0).key.value());
        return found;
    }

    test::TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list");
    std::vector<std::string> mLog;
    std::unique_ptr<AuthListManager> mManager;
};

// Adding

class EmplaceOverFile : public OverFile {
protected:
    EmplaceOverFile() { open(3); }
};

TEST_F(EmplaceOverFile, StoresTheCardAsTheCallerSeesItAfterwards) {
    const test::StandingClock clock(start, nanoseconds(1));
    RfidCard card = newCard("04A2B3");
    card.tags.push_back(RfidTag{hashKey("hidden"), std::nullopt, "{}"});
    card.expiryDate = start + hours(1);
    card.recordLifetime = 60;
    card.id = mManager->emplace(card, false, false);
    EXPECT_EQ(card.id, 1U);
    EXPECT_EQ(card.tags[0].hash, hashKey("04A2B3"));
    EXPECT_EQ(card.lastAccessTime, start);
    EXPECT_EQ(card.lastModificationTime, start + nanoseconds(1));
    EXPECT_EQ(fieldsOf(all()), fieldsOf(std::vector{card}));
    reopen();
    EXPECT_EQ(fieldsOf(all()), fieldsOf(std::vector{card}));
}

TEST_F(EmplaceOverFile, RefusesACardWithoutTagsAndATagWithoutHashAndKey) {
    EXPECT_EQ(thrownBy([&] { add(RfidCard{}); }), "std::runtime_error: RfidTag tags array empty");
    EXPECT_EQ(thrownBy([&] { add(newCard("")); }), "std::runtime_error: RfidTag tag hash and key both empty");
    EXPECT_EQ(mManager->countRecords(), 0U);
}

TEST_F(EmplaceOverFile, RefusesACardWhoseTagIsKnownAlsoFromTheFile) {
    add(newCard("A"));
    reopen();
    RfidCard card = newCard("B");
    card.tags.push_back(RfidTag{"", "A", std::nullopt});
    EXPECT_EQ(thrownBy([&] { add(card); }), "std::runtime_error: Identifier already in database");
    EXPECT_THAT(keys(), ElementsAre("A"));
}

TEST_F(EmplaceOverFile, ReplacesAKnownCardInItsPlaceEvenInAFullList) {
    const test::StandingClock clock(start);
    add(newCard("A"));
    add(newCard("B"));
    add(newCard("C"));
    RfidCard card = newCard("B");
    card.id = 2;
    card.parentId = "Staff";
    card.tags.push_back(RfidTag{"", "D", std::nullopt});
    EXPECT_EQ(mManager->emplace(card, false, true), 2U);
    EXPECT_THAT(keys(), ElementsAre("A", "B", "C"));
    EXPECT_EQ(fieldsOf(mManager->retrieveRecord("D", KeyRepresentation::Key).value()), fieldsOf(card));
}

TEST_F(EmplaceOverFile, RefusesAnUpdateOfAKnownCardWithoutId) {
    add(newCard("A"));
    RfidCard card = newCard("A");
    EXPECT_EQ(thrownBy([&] { mManager->emplace(card, false, true); }), "std::bad_optional_access: bad optional access");
}

TEST_F(EmplaceOverFile, RefusesANewCardWhoseIdIsInUse) {
    add(newCard("A"));
    RfidCard card = newCard("B");
    card.id = 1;
    EXPECT_EQ(thrownBy([&] { add(card); }), "std::runtime_error: Cannot create new record in DB: constraint violation");
    EXPECT_THAT(keys(), ElementsAre("A"));
}

TEST_F(EmplaceOverFile, RefusesANewCardWhenTheListIsFull) {
    for (const char* key : {"A", "B", "C"}) add(newCard(key));
    EXPECT_TRUE(mManager->isDatabaseFull());
    EXPECT_EQ(thrownBy([&] { add(newCard("D")); }), "std::runtime_error: Database full");
    EXPECT_THAT(mLog, ElementsAre("log: Database is full, emplace() call cannot proceed."));
}

TEST_F(EmplaceOverFile, GoesBeyondACapacityOfZeroWhenItMayMakeRoom) {
    mManager.reset();
    open(0);
    add(newCard("A"), true);
    EXPECT_THAT(keys(), ElementsAre("A"));
    EXPECT_THAT(mLog, ElementsAre(oldestGoes));
}

TEST_F(EmplaceOverFile, MakesRoomCategoryByCategoryAndAtLastByAccess) {
    mManager.reset();
    open(7);
    const test::StandingClock clock(start, seconds(1));
    RfidCard pastExpiry = newCard("past expiry", RfidCardStatus::Blocked);
    pastExpiry.expiryDate = start - hours(1);
    add(newCard("first"));
    add(newCard("expired", RfidCardStatus::Expired));
    add(newCard("invalid", RfidCardStatus::Invalid));
    add(newCard("blocked", RfidCardStatus::Blocked));
    add(pastExpiry);
    pastExpiry.tags[0].key = "past expiry too";
    add(pastExpiry);
    add(newCard("last"));
    ASSERT_TRUE(mManager->isDatabaseFull());

    add(newCard("new 1"), true);
    EXPECT_THAT(keys(), ElementsAre("first", "expired", "invalid", "blocked", "last", "new 1"));
    add(newCard("new 2"));
    add(newCard("new 3"), true);
    EXPECT_THAT(keys(), ElementsAre("first", "expired", "last", "new 1", "new 2", "new 3"));
    add(newCard("new 4"));
    add(newCard("new 5"), true);
    EXPECT_THAT(keys(), ElementsAre("first", "last", "new 1", "new 2", "new 3", "new 4", "new 5"));
    EXPECT_THAT(mLog, ElementsAre(roomMade, roomMade, roomMade));
    mLog.clear();

    // A lookup makes "first" the latest by access, though it was changed before all others.
    EXPECT_TRUE(mManager->getByKey("first"));
    add(newCard("new 6"), true);
    EXPECT_THAT(keys(), ElementsAre("first", "new 1", "new 2", "new 3", "new 4", "new 5", "new 6"));
    EXPECT_THAT(mLog, ElementsAre(oldestGoes));
    const auto before = all();
    reopen();
    EXPECT_EQ(fieldsOf(all()), fieldsOf(before));
}

// Looking up

class LookupOverFile : public OverFile {
protected:
    LookupOverFile() {
        open(10);
        const test::StandingClock clock(start);
        RfidCard card = newCard("A");
        card.tags.push_back(RfidTag{"", "B", std::nullopt});
        add(newCard("other"));
        add(card);
    }
};

TEST_F(LookupOverFile, FindsACardByEachOfItsKeysHashesAndItsIdAndStoresTheAccess) {
    test::StandingClock clock(start);
    unsigned accesses = 0;
    const auto expectAccess = [&](auto lookUp) {
        const TimePoint now = start + seconds(++accesses);
        clock.set(now);
        const auto found = lookUp();
        ASSERT_TRUE(found);
        EXPECT_EQ(found->id, 2U);
        EXPECT_EQ(found->lastAccessTime, now);
        EXPECT_EQ(found->lastModificationTime, start);
        EXPECT_EQ(fieldsOf(mManager->retrieveRecord(2).value()), fieldsOf(*found));
    };
    expectAccess([&] { return mManager->getByKey("A"); });
    expectAccess([&] { return mManager->getByKey("B"); });
    expectAccess([&] { return mManager->getByHash(hashKey("A")); });
    expectAccess([&] { return mManager->getByHash(hashKey("B")); });
    expectAccess([&] { return mManager->getById(2); });
    EXPECT_EQ(mManager->retrieveRecord(1).value().lastAccessTime, start);
    const auto before = all();
    reopen();
    EXPECT_EQ(fieldsOf(all()), fieldsOf(before));
}

TEST_F(LookupOverFile, FindsNothingUnknown) {
    EXPECT_FALSE(mManager->getByKey("C"));
    EXPECT_FALSE(mManager->getByKey(""));
    EXPECT_FALSE(mManager->getByHash("A"));
    EXPECT_FALSE(mManager->getByHash(""));
    EXPECT_FALSE(mManager->getById(3));
    EXPECT_THAT(mLog, ElementsAre("log: It is not possible to perform search using empty key string."));
}

TEST_F(LookupOverFile, StoresNoAccessWhenTheRecordIsOnlyRetrieved) {
    const auto before = fieldsOf(all());
    const test::StandingClock clock(start + seconds(9));
    EXPECT_TRUE(mManager->retrieveRecord("A", KeyRepresentation::Key));
    EXPECT_TRUE(mManager->retrieveRecord(hashKey("A"), KeyRepresentation::Hash));
    EXPECT_TRUE(mManager->retrieveRecord(2));
    EXPECT_EQ(fieldsOf(all()), before);
}

TEST_F(LookupOverFile, TurnsACardAtItsExpiryDateIntoAnExpiredOneInTheFileToo) {
    test::StandingClock clock(start);
    mManager->updateData(2, {}, {}, start + seconds(10), {});
    clock.set(start + seconds(10) - nanoseconds(1));
    EXPECT_EQ(mManager->getById(2).value().status, RfidCardStatus::Accepted);
    clock.set(start + seconds(10));
    EXPECT_EQ(mManager->getById(2).value().status, RfidCardStatus::Expired);
    reopen();
    EXPECT_EQ(mManager->retrieveRecord(2).value().status, RfidCardStatus::Expired);
}

TEST_F(LookupOverFile, LeavesTheStatusOfABlockedCardPastItsDate) {
    mManager->updateData(2, {}, RfidCardStatus::Blocked, at(1), {});
    EXPECT_EQ(mManager->getById(2).value().status, RfidCardStatus::Blocked);
}

TEST_F(LookupOverFile, RemovesACardOneNanosecondBeyondItsLifetimeFromTheFileToo) {
    test::StandingClock clock(start);
    RfidCard card = newCard("C");
    card.recordLifetime = 60;
    const unsigned id = add(card);
    clock.set(start + seconds(60));
    EXPECT_TRUE(mManager->getById(id));
    clock.set(start + seconds(60) + nanoseconds(1));
    EXPECT_FALSE(mManager->getByKey("C"));
    EXPECT_THAT(mLog, ElementsAre(lifetimeOver));
    EXPECT_FALSE(mManager->retrieveRecord(id));
    reopen();
    EXPECT_THAT(keys(), ElementsAre("other", "A"));
}

TEST_F(LookupOverFile, YieldsAPageOfTheListWithoutAnAccess) {
    const auto before = fieldsOf(all());
    const auto page = mManager->getRange(1, 1, {}, {}, {}, SortingAndFilteringKey::Id, SortingOrder::Descending);
    EXPECT_THAT(db::test::idsOf(page), ElementsAre(1));
    const auto unsorted = mManager->getRange({}, 1, {}, {}, {}, {}, {});
    EXPECT_THAT(db::test::idsOf(unsorted), ElementsAre(2));
    EXPECT_EQ(fieldsOf(all()), before);
}

// Changing and removing

class ChangeOverFile : public LookupOverFile {};

TEST_F(ChangeOverFile, ReplacesTheGivenFieldsAndBothTimes) {
    RfidCard expected = mManager->retrieveRecord(2).value();
    test::StandingClock clock(start + seconds(5), nanoseconds(1));
    mManager->updateData(2, "Side door", RfidCardStatus::Operator, at(1893456000), "{}");
    expected.description = "Side door";
    expected.status = RfidCardStatus::Operator;
    expected.expiryDate = at(1893456000);
    expected.extraData = "{}";
    expected.lastAccessTime = start + seconds(5);
    expected.lastModificationTime = start + seconds(5) + nanoseconds(1);
    EXPECT_EQ(fieldsOf(mManager->retrieveRecord(2).value()), fieldsOf(expected));
    reopen();
    EXPECT_EQ(fieldsOf(mManager->retrieveRecord(2).value()), fieldsOf(expected));
}

TEST_F(ChangeOverFile, RemovesTheExpiryDateByTheLargestTimeAndByAnEmptyText) {
    mManager->updateData(2, {}, {}, at(1893456000), {});
    mManager->updateData(2, {}, {}, TimePoint::max(), {});
    EXPECT_EQ(mManager->retrieveRecord(2).value().expiryDate, std::nullopt);
    mManager->updateDataIso8601(2, {}, {}, "2030-01-01T00:00:00Z", {});
    EXPECT_EQ(mManager->retrieveRecord(2).value().expiryDate, at(1893456000));
    mManager->updateDataIso8601(2, {}, {}, "no time", {});
    EXPECT_EQ(mManager->retrieveRecord(2).value().expiryDate, at(1893456000));
    mManager->updateDataIso8601(2, {}, {}, "", {});
    EXPECT_EQ(mManager->retrieveRecord(2).value().expiryDate, std::nullopt);
}

TEST_F(ChangeOverFile, RefusesACardThatDoesNotExist) {
    EXPECT_EQ(thrownBy([&] { mManager->updateData(7, {}, {}, {}, {}); }),
              "std::runtime_error: Rfid Card does not exist");
    EXPECT_THAT(mLog, ElementsAre("error: Attempt to update Card that does not exist: id=7"));
}

TEST_F(ChangeOverFile, RemovesCardsByKeyHashAndId) {
    for (const char* key : {"C", "D"}) add(newCard(key));
    mManager->deleteByKey("B");
    EXPECT_THAT(keys(), ElementsAre("other", "C", "D"));
    mManager->deleteByHash(hashKey("C"));
    EXPECT_THAT(keys(), ElementsAre("other", "D"));
    mManager->deleteById(1);
    mManager->deleteByKey("unknown");
    mManager->deleteByHash("unknown");
    mManager->deleteById(99);
    EXPECT_THAT(keys(), ElementsAre("D"));
    reopen();
    EXPECT_THAT(keys(), ElementsAre("D"));
}

TEST_F(ChangeOverFile, KeepsTheVersionWhenTheListIsCleared) {
    EXPECT_EQ(mManager->getVersion(), std::nullopt);
    mManager->setVersion(5);
    mManager->clearAll();
    EXPECT_EQ(mManager->countRecords(), 0U);
    EXPECT_EQ(mManager->getVersion(), 5U);
    reopen();
    EXPECT_EQ(mManager->countRecords(), 0U);
    EXPECT_EQ(mManager->getVersion(), 5U);
}

// Import and export

class ExchangeOverFile : public OverFile {
protected:
    ExchangeOverFile() {
        open(10);
        const test::StandingClock clock(at(1767225600));  // texts carry whole seconds
        RfidCard first = newCard("A");
        first.id = 30;
        first.expiryDate = at(1893456000);
        first.parentId = "Staff";
        first.evseId = 2;
        RfidCard second = newCard("B", RfidCardStatus::ConcurrentTx);
        second.id = 4;
        second.tags.push_back(RfidTag{"", "C", std::nullopt});
        add(first);
        add(second);
        mManager->setVersion(5);
    }
};

TEST_F(ExchangeOverFile, WritesTheListInItsOrder) {
    EXPECT_EQ(mManager->exportStr(ExchangeDataType::CSV), serializeRfidsAsCsv(all()));
    EXPECT_EQ(mManager->exportStr(ExchangeDataType::JSON), serializeRfidsAsJson(all(), 5));
    EXPECT_THAT(db::test::idsOf(all()), ElementsAre(30, 4));
}

TEST_F(ExchangeOverFile, BringsBackTheWholeListFromJson) {
    const auto before = fieldsOf(all());
    const std::string text = mManager->exportStr(ExchangeDataType::JSON);
    mManager->clearAll();
    mManager->setVersion(6);
    mManager->importStr(text, ExchangeDataType::JSON);
    EXPECT_EQ(fieldsOf(all()), before);
    EXPECT_EQ(mManager->getVersion(), 6U);
    reopen();
    EXPECT_EQ(fieldsOf(all()), before);
}

TEST_F(ExchangeOverFile, BringsBackTheListFromACsvFile) {
    const test::StandingClock clock(at(1767225600));
    const auto before = fieldsOf(all());
    const std::string file = mFolder.file("list.csv");
    mManager->exportFile(file, ExchangeDataType::CSV, false, "");
    mManager->importFile(file, ExchangeDataType::CSV, false, "");
    EXPECT_EQ(fieldsOf(all()), before);
}

TEST_F(ExchangeOverFile, ReplacesTheListBeyondTheCapacity) {
    mManager.reset();
    open(2);
    EXPECT_TRUE(mManager->isDatabaseFull());
    mManager->importStr("1,a,K1,Accepted,*,,\n2,b,K2,Accepted,*,,\n3,c,K3,Accepted,*,,", ExchangeDataType::CSV);
    EXPECT_THAT(keys(), ElementsAre("K1", "K2", "K3"));
    EXPECT_FALSE(mManager->isDatabaseFull());
    add(newCard("K4"));
    EXPECT_EQ(mManager->countRecords(), 4U);
}

TEST_F(ExchangeOverFile, LeavesTheListWhenTheTextCannotBeRead) {
    const auto before = fieldsOf(all());
    EXPECT_NE(thrownBy([&] { mManager->importStr("{", ExchangeDataType::JSON); }), "nothing");
    EXPECT_NE(thrownBy([&] { mManager->importStr("1,a", ExchangeDataType::CSV); }), "nothing");
    EXPECT_EQ(fieldsOf(all()), before);
}

// Only ids are checked by this backend, so an import that SQLite would refuse for a tag goes through.
TEST_F(ExchangeOverFile, StopsAtACardWhoseIdIsThereAndTakesATagTwice) {
    EXPECT_EQ(thrownBy([&] {
                  mManager->importStr(
                      "7,a,K1,Accepted,*,,\n8,b,K1,Accepted,*,,\n7,c,K2,Accepted,*,,\n9,d,K3,Accepted,*,,",
                      ExchangeDataType::CSV);
              }),
              "std::runtime_error: Cannot create new record in DB: constraint violation");
    EXPECT_THAT(keys(), ElementsAre("K1", "K1"));
    EXPECT_EQ(mManager->getByKey("K1").value().id, 7U);
}

TEST_F(ExchangeOverFile, ClearsTheListForATypeOutsideTheEnumeration) {
    mManager->importStr("anything", static_cast<ExchangeDataType>(2));
    EXPECT_THAT(all(), IsEmpty());
    EXPECT_EQ(mManager->exportStr(static_cast<ExchangeDataType>(2)), "");
}

// The next manager

TEST_F(OverFile, GoesOnWithTheListOfTheManagerBefore) {
    open(10);
    std::vector<RfidCard> cards;
    for (const char* key : {"A", "B", "C"}) {
        RfidCard card = newCard(key);
        card.id = mManager->emplace(card, false, false);
        cards.push_back(card);
    }
    mManager->setVersion(7);
    reopen();
    EXPECT_EQ(fieldsOf(all()), fieldsOf(cards));
    EXPECT_EQ(mManager->getVersion(), 7U);
    mManager->deleteById(1);
    RfidCard updated = mManager->getByKey("B").value();
    updated.description = "changed";
    mManager->emplace(updated, false, true);
    reopen();
    EXPECT_THAT(keys(), ElementsAre("B", "C"));
    EXPECT_EQ(mManager->retrieveRecord(2).value().description, "changed");
}

// New ids continue from the smallest one on file, so they may be those of other cards; keys still find each card.
TEST_F(OverFile, MayGiveANewCardTheIdOfAnotherOnceTheListWasLoaded) {
    open(10);
    for (const char* key : {"A", "B"}) add(newCard(key));
    reopen();
    EXPECT_EQ(add(newCard("C")), 2U);
    EXPECT_EQ(mManager->getById(2).value().tags.at(0).key, "B");
    EXPECT_EQ(mManager->retrieveRecord("C", KeyRepresentation::Key).value().id, 2U);
    EXPECT_THAT(keys(), ElementsAre("A", "B", "C"));
}

// A lookup stores the card that it found by id, and thereby over the first card that has the id.
TEST_F(OverFile, LosesTheFirstCardOfAnIdWhenAnotherCardOfThatIdIsLookedUp) {
    open(10);
    for (const char* key : {"A", "B"}) add(newCard(key));
    reopen();
    add(newCard("C"));
    EXPECT_EQ(mManager->getByKey("C").value().tags.at(0).key, "C");
    EXPECT_THAT(keys(), ElementsAre("A", "C", "C"));
    EXPECT_FALSE(mManager->getByKey("B"));
}

}  // namespace
}  // namespace oru::kadi::authlist
