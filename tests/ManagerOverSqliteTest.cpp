// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/KeyHash.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/OpenFiles.h"
#include "support/StandingClock.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

// The manager with the backend that it builds for itself.

namespace oru::kadi::authlist {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using test::at;
using test::fieldsOf;
using test::newCard;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

const TimePoint start = at(1767225600);
constexpr nanoseconds tick{1};

const std::string creating = "log: Creating SQLite accessor...";
const std::string roomMade = "log: Successfully created some more space for new Rfid Card record(s).";
const std::string oldestGoes =
    "log: No records past expiry date, no invalid records, no expired records, need to delete oldest record.";
const std::string lifetimeOver = "log: The queried authorization list record is no longer valid (lifetime exceeded).";

class OverSqlite : public testing::Test {
protected:
    AuthListConfiguration configuration(unsigned maxRecords) {
        return {maxRecords, mFile, [this](const std::string& line, bool isError) {
                    mLog.push_back((isError ? "error: " : "log: ") + line);
                }};
    }

    static unsigned add(AuthListManager& manager, RfidCard card) { return manager.emplace(card, false, false); }

    // Everything, as it is stored.
    static std::vector<RfidCard> all(const AuthListManager& manager) {
        return manager.getRange({}, {}, {}, {}, {}, {}, {});
    }

    static std::vector<std::string> keys(const AuthListManager& manager) {
        std::vector<std::string> found;
        for (const RfidCard& card : all(manager)) found.push_back(card.tags.at(0).key.value());
        return found;
    }

    test::TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list.db");
    std::vector<std::string> mLog;
};

// Construction

class ConstructionOverSqlite : public OverSqlite {};

TEST_F(ConstructionOverSqlite, LogsOnceBeforeTheFileIsOpened) {
    std::vector<std::pair<std::string, bool>> lines;
    bool existed = true;
    const AuthListManager manager(AuthListConfiguration{1, mFile, [&](const std::string& line, bool isError) {
                                                            existed = std::filesystem::exists(mFile);
                                                            lines.emplace_back(line, isError);
                                                        }});
    EXPECT_FALSE(existed);
    EXPECT_TRUE(std::filesystem::exists(mFile));
    EXPECT_THAT(lines, ElementsAre(std::pair(std::string("Creating SQLite accessor..."), false)));
}

TEST_F(ConstructionOverSqlite, LogsOnceForAnExistingFileToo) {
    { const AuthListManager first(configuration(1)); }
    mLog.clear();
    const AuthListManager second(configuration(1));
    EXPECT_THAT(mLog, ElementsAre(creating));
}

TEST_F(ConstructionOverSqlite, NeedsNoCallback) {
    AuthListManager manager(AuthListConfiguration{1, mFile, {}});
    EXPECT_EQ(add(manager, newCard("A")), 1U);
    EXPECT_EQ(thrownBy([&] { add(manager, newCard("B")); }), "std::runtime_error: Database full");
}

// While it lives, relative paths start in this folder.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::filesystem::path& folder) : mPrevious(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;
    ~WorkingFolder() {
        std::error_code ignored;
        std::filesystem::current_path(mPrevious, ignored);
    }

private:
    std::filesystem::path mPrevious;
};

TEST_F(ConstructionOverSqlite, LogsAndThrowsForAnEmptyFileNameAndCreatesNothing) {
    mFile.clear();
    const WorkingFolder inside(mFolder.path());
    EXPECT_EQ(thrownBy([&] { const AuthListManager manager(configuration(1)); }),
              "std::runtime_error: Filename not specified during initialization");
    EXPECT_THAT(mLog, ElementsAre(creating));
    EXPECT_TRUE(std::filesystem::is_empty(mFolder.path()));
}

TEST_F(ConstructionOverSqlite, ThrowsForAFileThatCannotBeOpenedAndLogsNoMore) {
    mFile = mFolder.file("missing/list.db");
    EXPECT_EQ(thrownBy([&] { const AuthListManager manager(configuration(1)); }),
              "std::runtime_error: Cannot open DB connection, filename: " + mFile);
    EXPECT_THAT(mLog, ElementsAre(creating));
}

TEST_F(ConstructionOverSqlite, DropsItsConfigurationWhenItThrows) {
    const auto held = std::make_shared<int>();
    const AuthListConfiguration broken{1, "", {}, [held] { EXPECT_FALSE(held); }, {}};
    ASSERT_EQ(held.use_count(), 2);
    EXPECT_EQ(thrownBy([&] { const AuthListManager manager(broken); }),
              "std::runtime_error: Filename not specified during initialization");
    EXPECT_EQ(held.use_count(), 2);
}

TEST_F(ConstructionOverSqlite, OpensNothingWhenTheCallbackThrows) {
    AuthListConfiguration refusing = configuration(1);
    refusing.logCallback = [](const std::string&, bool) { throw std::out_of_range("full"); };
    EXPECT_EQ(thrownBy([&] { const AuthListManager manager(refusing); }), "std::out_of_range: full");
    EXPECT_FALSE(std::filesystem::exists(mFile));
}

TEST_F(ConstructionOverSqlite, TakesARelativeFileName) {
    mFile = "list.db";
    const WorkingFolder inside(mFolder.path());
    const AuthListManager manager(configuration(1));
    EXPECT_TRUE(std::filesystem::exists(mFolder.path() / "list.db"));
}

TEST_F(ConstructionOverSqlite, ChangesNothingInAListThatIsThere) {
    AuthListManager first(configuration(10));
    add(first, newCard("A"));
    add(first, newCard("B", RfidCardStatus::Blocked));
    first.setVersion(5);
    const auto before = fieldsOf(all(first));
    const AuthListManager second(configuration(10));
    EXPECT_EQ(fieldsOf(all(first)), before);
    EXPECT_EQ(fieldsOf(all(second)), before);
    EXPECT_EQ(second.getVersion(), 5U);
}

TEST_F(ConstructionOverSqlite, BuildsTwoManagersOverTheSameList) {
    AuthListManager first(configuration(10));
    AuthListManager second(configuration(10));
    const unsigned id = add(first, newCard("A"));
    EXPECT_EQ(fieldsOf(all(second)), fieldsOf(all(first)));
    EXPECT_EQ(thrownBy([&] { add(second, newCard("A")); }), "std::runtime_error: Identifier already in database");
    second.updateData(id, "Side door", {}, {}, {});
    EXPECT_EQ(first.getByKey("A").value().description, "Side door");
    second.setVersion(3);
    EXPECT_EQ(first.getVersion(), 3U);
    first.clearAll();
    EXPECT_EQ(second.countRecords(), 0U);
}

TEST_F(ConstructionOverSqlite, IsUndoneWithTheManager) {
    {
        const AuthListManager manager(configuration(1));
        EXPECT_GE(test::openDescriptorsOf(mFile), 1);
    }
    EXPECT_EQ(test::openDescriptorsOf(mFile), 0);
}

TEST_F(ConstructionOverSqlite, LeavesTheListForTheNextManager) {
    std::vector<RfidCard> before;
    {
        AuthListManager manager(configuration(10));
        add(manager, newCard("A"));
        before = all(manager);
    }
    EXPECT_EQ(fieldsOf(all(AuthListManager(configuration(10)))), fieldsOf(before));
}

TEST_F(ConstructionOverSqlite, BuildsABackendOnRequestToo) {
    AuthListManager manager(configuration(1));
    const std::string other = mFolder.file("other.db");
    const std::unique_ptr<IDbAccessor> accessor = manager.buildDbAccessor(other);
    EXPECT_EQ(accessor->countRecords(), 0U);
    EXPECT_TRUE(std::filesystem::exists(other));
    EXPECT_THAT(mLog, ElementsAre(creating, creating));
}

// Adding

class EmplaceOverSqlite : public OverSqlite {};

TEST_F(EmplaceOverSqlite, StoresACardWithTheHashOfItsKeyAndTheKey) {
    AuthListManager manager(configuration(10));
    RfidCard card = newCard("04A2B3");
    card.id = manager.emplace(card, false, false);
    ASSERT_EQ(card.tags.size(), 1U);
    EXPECT_EQ(fieldsOf(card.tags[0]), fieldsOf(RfidTag{hashKey("04A2B3"), "04A2B3", std::nullopt}));
    EXPECT_EQ(fieldsOf(manager.retrieveRecord(*card.id).value().tags.at(0)), fieldsOf(card.tags[0]));
}

TEST_F(EmplaceOverSqlite, RefusesACardWhoseTagIsKnown) {
    AuthListManager manager(configuration(10));
    add(manager, newCard("A"));
    RfidCard card = newCard("B");
    card.tags.push_back(RfidTag{hashKey("A"), std::nullopt, std::nullopt});
    EXPECT_EQ(thrownBy([&] { add(manager, card); }), "std::runtime_error: Identifier already in database");
    EXPECT_THAT(keys(manager), ElementsAre("A"));
}

TEST_F(EmplaceOverSqlite, ReplacesAKnownCardEvenInAFullList) {
    const test::StandingClock clock(start);
    AuthListManager manager(configuration(1));
    RfidCard card = newCard("A");
    card.id = manager.emplace(card, false, false);
    card.parentId = "Staff";
    card.evseId = 2;
    card.recordLifetime = 60;
    card.tags.push_back(RfidTag{"", "B", std::nullopt});
    EXPECT_EQ(manager.emplace(card, false, true), *card.id);
    EXPECT_EQ(fieldsOf(all(manager)), fieldsOf(std::vector{card}));
}

TEST_F(EmplaceOverSqlite, RefusesANewCardWhenTheListIsFull) {
    AuthListManager manager(configuration(2));
    add(manager, newCard("A"));
    add(manager, newCard("B"));
    EXPECT_TRUE(manager.isDatabaseFull());
    EXPECT_EQ(thrownBy([&] { add(manager, newCard("C")); }), "std::runtime_error: Database full");
    EXPECT_THAT(keys(manager), ElementsAre("A", "B"));
    EXPECT_THAT(mLog, ElementsAre(creating, "log: Database is full, emplace() call cannot proceed."));
}

TEST_F(EmplaceOverSqlite, GoesOnInAListThatGrewBeyondItsCapacity) {
    AuthListManager manager(configuration(2));
    manager.importStr("1,a,A,Accepted,*,,\n2,b,B,Accepted,*,,\n3,c,C,Accepted,*,,", ExchangeDataType::CSV);
    ASSERT_EQ(manager.countRecords(), 3U);
    EXPECT_FALSE(manager.isDatabaseFull());
    add(manager, newCard("D"));
    EXPECT_THAT(keys(manager), ElementsAre("A", "B", "C", "D"));
}

TEST_F(EmplaceOverSqlite, GoesBeyondACapacityOfZeroWhenItMayMakeRoom) {
    AuthListManager manager(configuration(0));
    EXPECT_TRUE(manager.isDatabaseFull());
    RfidCard card = newCard("A");
    manager.emplace(card, true, false);
    EXPECT_THAT(keys(manager), ElementsAre("A"));
    EXPECT_THAT(mLog, ElementsAre(creating, oldestGoes));
}

TEST_F(EmplaceOverSqlite, MakesRoomCategoryByCategoryAndAtLastByAge) {
    const test::StandingClock clock(start, seconds(1));
    AuthListManager manager(configuration(6));
    const auto addMakingRoom = [&manager](const std::string& key) {
        RfidCard card = newCard(key);
        manager.emplace(card, true, false);
    };
    add(manager, newCard("oldest"));
    add(manager, newCard("expired", RfidCardStatus::Expired));
    add(manager, newCard("invalid", RfidCardStatus::Invalid));
    add(manager, newCard("blocked", RfidCardStatus::Blocked));
    RfidCard pastExpiry = newCard("past expiry");
    pastExpiry.expiryDate = at(1000000000);
    add(manager, pastExpiry);
    add(manager, newCard("second"));
    ASSERT_TRUE(manager.isDatabaseFull());
    mLog.clear();

    addMakingRoom("1");
    EXPECT_THAT(keys(manager), ElementsAre("oldest", "expired", "invalid", "blocked", "second", "1"));
    addMakingRoom("2");
    EXPECT_THAT(keys(manager), ElementsAre("oldest", "expired", "second", "1", "2"));
    addMakingRoom("3");
    EXPECT_THAT(keys(manager), ElementsAre("oldest", "expired", "second", "1", "2", "3"));
    addMakingRoom("4");
    EXPECT_THAT(keys(manager), ElementsAre("oldest", "second", "1", "2", "3", "4"));
    EXPECT_THAT(mLog, ElementsAre(roomMade, roomMade, roomMade));

    ASSERT_TRUE(manager.getByKey("oldest"));  // an access does not make a record younger
    mLog.clear();
    addMakingRoom("5");
    EXPECT_THAT(keys(manager), ElementsAre("second", "1", "2", "3", "4", "5"));
    EXPECT_THAT(mLog, ElementsAre(oldestGoes));
}

// Looking up

class LookupOverSqlite : public OverSqlite {
protected:
    std::optional<RfidCard> storedCard() const { return mManager.retrieveRecord(mId); }

    unsigned store(RfidCard card) { return mId = mManager.emplace(card, false, false); }

    test::StandingClock mClock{start};
    AuthListManager mManager{configuration(10)};
    unsigned mId = 0;
};

TEST_F(LookupOverSqlite, FindsACardByKeyHashAndIdAndStoresTheAccess) {
    RfidCard original = newCard("04A2B3");
    store(original);
    original = storedCard().value();
    std::vector<std::optional<RfidCard>> found;
    for (const int lookup : {1, 2, 3}) {
        mClock.set(start + seconds(lookup));
        if (lookup == 1) found.push_back(mManager.getByKey("04A2B3"));
        if (lookup == 2) found.push_back(mManager.getByHash(hashKey("04A2B3")));
        if (lookup == 3) found.push_back(mManager.getById(mId));
        original.lastAccessTime = start + seconds(lookup);
        EXPECT_EQ(fieldsOf(found.back().value()), fieldsOf(original));
        EXPECT_EQ(fieldsOf(storedCard().value()), fieldsOf(original));
    }
    EXPECT_EQ(storedCard().value().lastModificationTime, start);
}

TEST_F(LookupOverSqlite, FindsNothingForWhatIsNotStored) {
    store(newCard("04A2B3"));
    EXPECT_EQ(mManager.getByKey("04a2b3"), std::nullopt);
    EXPECT_EQ(mManager.getByKey(""), std::nullopt);
    EXPECT_EQ(mManager.getByHash("04A2B3"), std::nullopt);
    EXPECT_EQ(mManager.getByHash(""), std::nullopt);
    EXPECT_EQ(mManager.getById(mId + 1), std::nullopt);
    EXPECT_EQ(storedCard().value().lastAccessTime, start);
}

TEST_F(LookupOverSqlite, ExpiresAnAcceptedCardAtItsExpiryDateInStorageToo) {
    RfidCard card = newCard("A");
    card.expiryDate = start + seconds(10);
    store(card);
    mClock.set(start + seconds(10) - tick);
    EXPECT_EQ(mManager.getByKey("A").value().status, RfidCardStatus::Accepted);
    EXPECT_EQ(storedCard().value().status, RfidCardStatus::Accepted);
    mClock.set(start + seconds(10));
    EXPECT_EQ(mManager.getByKey("A").value().status, RfidCardStatus::Expired);
    EXPECT_EQ(storedCard().value().status, RfidCardStatus::Expired);
}

TEST_F(LookupOverSqlite, LeavesABlockedCardBlockedPastItsExpiryDate) {
    RfidCard card = newCard("A", RfidCardStatus::Blocked);
    card.expiryDate = start - seconds(1);
    store(card);
    EXPECT_EQ(mManager.getByKey("A").value().status, RfidCardStatus::Blocked);
    EXPECT_EQ(storedCard().value().status, RfidCardStatus::Blocked);
}

TEST_F(LookupOverSqlite, RemovesACardWhoseLifetimeIsOver) {
    RfidCard card = newCard("A");
    card.recordLifetime = 60;
    store(card);
    mClock.set(start + seconds(30));
    EXPECT_TRUE(mManager.getByKey("A"));
    mClock.set(start + seconds(60));
    EXPECT_TRUE(mManager.getByKey("A"));
    mClock.set(start + seconds(60) + tick);
    EXPECT_EQ(mManager.getByKey("A"), std::nullopt);
    EXPECT_EQ(mManager.countRecords(), 0U);
    EXPECT_THAT(mLog, ElementsAre(creating, lifetimeOver));
    EXPECT_NE(store(newCard("A")), 0U);
}

TEST_F(LookupOverSqlite, RemovesACardOfLifetimeZeroANanosecondLater) {
    RfidCard card = newCard("A");
    card.recordLifetime = 0;
    store(card);
    mClock.set(start + tick);
    EXPECT_EQ(mManager.getById(mId), std::nullopt);
    EXPECT_EQ(mManager.countRecords(), 0U);
}

TEST_F(LookupOverSqlite, KeepsACardOfTheLongestLifetime) {
    RfidCard card = newCard("A");
    card.recordLifetime = 4294967295;
    store(card);
    EXPECT_EQ(mManager.getById(mId).value().recordLifetime, 4294967295);
}

TEST_F(LookupOverSqlite, FindsACardAfterAnUpdateRestartedItsLifetime) {
    RfidCard card = newCard("A");
    card.recordLifetime = 60;
    store(card);
    mClock.set(start + seconds(50));
    mManager.updateData(mId, {}, {}, {}, {});
    mClock.set(start + seconds(110));
    EXPECT_TRUE(mManager.getByKey("A"));
    mClock.set(start + seconds(111));
    EXPECT_EQ(mManager.getByKey("A"), std::nullopt);
}

TEST_F(LookupOverSqlite, FindsACardAfterStoringItAgainRestartedItsLifetime) {
    RfidCard card = newCard("A");
    card.recordLifetime = 60;
    card.id = store(card);
    mClock.set(start + seconds(50));
    mManager.emplace(card, false, true);
    mClock.set(start + seconds(110));
    EXPECT_TRUE(mManager.getByKey("A"));
}

TEST_F(LookupOverSqlite, OfARangeLeavesTheRecordsAsTheyAre) {
    RfidCard card = newCard("A");
    card.recordLifetime = 60;
    card.expiryDate = start + seconds(1);
    store(card);
    const auto before = fieldsOf(storedCard().value());
    mClock.set(start + seconds(1000));
    const auto range = all(mManager);
    ASSERT_EQ(range.size(), 1U);
    EXPECT_EQ(fieldsOf(range[0]), before);
    EXPECT_EQ(fieldsOf(storedCard().value()), before);
}

TEST_F(LookupOverSqlite, OfARangeFiltersSortsAndLimits) {
    for (const char* key : {"A", "B", "C", "D"}) store(newCard(key));
    store(newCard("E", RfidCardStatus::Blocked));
    const auto found =
        mManager.getRange(2, 1, SortingAndFilteringKey::Status, FilteringOperator::Equal, RfidCardStatus::Accepted,
                          SortingAndFilteringKey::Id, SortingOrder::Descending);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].description, "Card C");
    EXPECT_EQ(found[1].description, "Card B");
}

// Changing and removing

class UpdateOverSqlite : public LookupOverSqlite {};

TEST_F(UpdateOverSqlite, StoresWhatIsGivenAndBothTimes) {
    RfidCard card = newCard("A");
    card.parentId = "Staff";
    card.evseId = 2;
    card.recordLifetime = 60;
    store(card);
    card = storedCard().value();
    mClock.set(start + seconds(5));
    mManager.updateData(mId, "Side door", RfidCardStatus::Operator, at(1893456000), "{}");
    card.description = "Side door";
    card.status = RfidCardStatus::Operator;
    card.expiryDate = at(1893456000);
    card.extraData = "{}";
    card.lastAccessTime = card.lastModificationTime = start + seconds(5);
    EXPECT_EQ(fieldsOf(storedCard().value()), fieldsOf(card));
}

TEST_F(UpdateOverSqlite, SetsAndRemovesTheExpiryDateByText) {
    store(newCard("A"));
    mManager.updateDataIso8601(mId, {}, {}, "2030-01-01T00:00:00Z", {});
    EXPECT_EQ(storedCard().value().expiryDate, at(1893456000));
    mManager.updateDataIso8601(mId, {}, {}, "never", {});
    EXPECT_EQ(storedCard().value().expiryDate, at(1893456000));
    mManager.updateDataIso8601(mId, {}, {}, "", {});
    EXPECT_EQ(storedCard().value().expiryDate, std::nullopt);
    mManager.updateData(mId, {}, {}, TimePoint::max(), {});
    EXPECT_EQ(storedCard().value().expiryDate, std::nullopt);
}

TEST_F(UpdateOverSqlite, RefusesARecordThatIsNotStored) {
    EXPECT_EQ(thrownBy([&] { mManager.updateData(7, {}, {}, {}, {}); }),
              "std::runtime_error: Rfid Card does not exist");
    EXPECT_THAT(mLog, ElementsAre(creating, "error: Attempt to update Card that does not exist: id=7"));
    EXPECT_EQ(mManager.countRecords(), 0U);
}

TEST_F(UpdateOverSqlite, RemovesByKeyHashAndId) {
    store(newCard("A"));
    store(newCard("B"));
    store(newCard("C"));
    mManager.deleteById(mId);
    EXPECT_THAT(keys(mManager), ElementsAre("A", "B"));
    mManager.deleteByHash(hashKey("B"));
    EXPECT_THAT(keys(mManager), ElementsAre("A"));
    mManager.deleteByKey("A");
    EXPECT_THAT(keys(mManager), IsEmpty());
}

TEST_F(UpdateOverSqlite, RemovesNothingForWhatIsNotStored) {
    store(newCard("A"));
    mManager.deleteByKey("");
    mManager.deleteByKey("B");
    mManager.deleteByHash("A");
    mManager.deleteById(mId + 1);
    EXPECT_THAT(keys(mManager), ElementsAre("A"));
}

TEST_F(UpdateOverSqlite, ClearsTheListButKeepsItsVersion) {
    store(newCard("A"));
    store(newCard("B"));
    mManager.setVersion(5);
    mManager.clearAll();
    EXPECT_EQ(mManager.countRecords(), 0U);
    EXPECT_EQ(mManager.getVersion(), 5U);
}

TEST_F(UpdateOverSqlite, KeepsTheListVersion) {
    EXPECT_EQ(mManager.getVersion(), std::nullopt);
    mManager.setVersion(5);
    EXPECT_EQ(mManager.getVersion(), 5U);
    mManager.setVersion(6);
    EXPECT_EQ(mManager.getVersion(), 6U);
}

}  // namespace
}  // namespace oru::kadi::authlist
