// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "authlist/AuthListManager.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FakeDbAccessor.h"
#include "support/GroupingLocale.h"
#include "support/ManagerOverFake.h"
#include "support/NamedCase.h"
#include "support/StandingClock.h"
#include "support/ThrownBy.h"

// How the manager changes and removes cards and keeps the list version.

namespace oru::kadi::authlist {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using std::chrono::system_clock;
using test::at;
using test::exceptionFrom;
using test::FakeDbAccessor;
using test::FakeStorage;
using test::fieldsOf;
using test::NoStdException;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

const TimePoint now = at(1767312000);
constexpr nanoseconds tick{1};

// A record in which every field holds something; long past its lifetime, which an update does not mind.
RfidCard storedCard() {
    RfidCard card;
    card.id = 7;
    card.description = "Main door";
    card.tags = {RfidTag{"00ff", "04A2B3", "{}"}, RfidTag{"11ff", std::nullopt, std::nullopt}};
    card.status = RfidCardStatus::Blocked;
    card.expiryDate = at(1893456000);
    card.parentId = "Staff";
    card.evseId = 2;
    card.extraData = "{}";
    card.lastAccessTime = at(1000);
    card.lastModificationTime = at(2000);
    card.recordLifetime = 60;
    return card;
}

// The card after an update that began now, on a clock that moves on by a tick with each reading.
RfidCard restamped(RfidCard card) {
    card.lastAccessTime = now;
    card.lastModificationTime = now + tick;
    return card;
}

class UpdateData : public test::ManagerOverFake {
protected:
    UpdateData() { mStorage.record = storedCard(); }

    // What an update of record 7 made of it.
    RfidCard stored() {
        EXPECT_THAT(mStorage.journal, ElementsAre("readRecord(7)", "updateRecord"));
        return mStorage.written.at(0);
    }

    test::StandingClock mClock{now, tick};
};

TEST_F(UpdateData, StampsBothTimesEvenWhenNothingIsGiven) {
    mManager.updateData(7, {}, {}, {}, {});
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(restamped(storedCard())));
}

TEST_F(UpdateData, ReplacesEveryGivenFieldAndNoOther) {
    mManager.updateData(7, "Side door", RfidCardStatus::Operator, at(5), "{\"a\":1}");
    RfidCard expected = restamped(storedCard());
    expected.description = "Side door";
    expected.status = RfidCardStatus::Operator;
    expected.expiryDate = at(5);
    expected.extraData = "{\"a\":1}";
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, ReplacesTheDescriptionAlone) {
    mManager.updateData(7, "Side door", {}, {}, {});
    RfidCard expected = restamped(storedCard());
    expected.description = "Side door";
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, ReplacesTheStatusAlone) {
    mManager.updateData(7, {}, RfidCardStatus::Accepted, {}, {});
    RfidCard expected = restamped(storedCard());
    expected.status = RfidCardStatus::Accepted;
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, ReplacesTheExpiryDateAlone) {
    mManager.updateData(7, {}, {}, at(5), {});
    RfidCard expected = restamped(storedCard());
    expected.expiryDate = at(5);
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, ReplacesTheExtraDataAlone) {
    mManager.updateData(7, {}, {}, {}, "x");
    RfidCard expected = restamped(storedCard());
    expected.extraData = "x";
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, TakesEmptyTextsAsTheyAre) {
    mManager.updateData(7, "", {}, {}, "");
    RfidCard expected = restamped(storedCard());
    expected.description = "";
    expected.extraData = "";
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, AddsFieldsThatTheRecordDidNotHave) {
    mStorage.record = RfidCard{};
    mStorage.record->id = 7;
    RfidCard expected = restamped(*mStorage.record);
    mManager.updateData(7, {}, {}, at(-5), "x");
    expected.expiryDate = at(-5);
    expected.extraData = "x";
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, DoesNotExpireACardWhoseExpiryDateHasPassed) {
    mStorage.record->status = RfidCardStatus::Accepted;
    mManager.updateData(7, {}, {}, at(5), {});
    EXPECT_EQ(stored().status, RfidCardStatus::Accepted);
}

TEST_F(UpdateData, RemovesTheExpiryDateForTheLargestTime) {
    mManager.updateData(7, {}, {}, TimePoint(nanoseconds(9223372036854775807)), {});
    RfidCard expected = restamped(storedCard());
    expected.expiryDate.reset();
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateData, LeavesARecordWithoutExpiryDateWithoutOneForTheLargestTime) {
    mStorage.record->expiryDate.reset();
    mManager.updateData(7, {}, {}, TimePoint::max(), {});
    EXPECT_EQ(stored().expiryDate, std::nullopt);
}

TEST_F(UpdateData, StoresEveryOtherTimeAsItIs) {
    for (const TimePoint time : {TimePoint::max() - tick, TimePoint::min(), at(0)}) {
        mManager.updateData(7, {}, {}, time, {});
        EXPECT_EQ(mStorage.lastWritten().expiryDate, time);
    }
}

TEST_F(UpdateData, StoresTheRecordAsItWasReadEvenUnderAnotherId) {
    mStorage.record->id = 8;
    mStorage.updatedId = 999;
    mManager.updateData(7, {}, {}, {}, {});
    EXPECT_EQ(stored().id, 8U);
}

const std::string missingThrown = "std::runtime_error: Rfid Card does not exist";

TEST_F(UpdateData, LogsAnErrorAndThrowsForARecordThatIsNotStored) {
    mStorage.record.reset();
    EXPECT_EQ(thrownBy([&] { mManager.updateData(7, "Side door", {}, {}, {}); }), missingThrown);
    EXPECT_THAT(mStorage.journal,
                ElementsAre("readRecord(7)", "error: Attempt to update Card that does not exist: id=7"));
}

TEST_F(UpdateData, NamesALargeIdInPlainDigits) {
    const test::GroupingLocale grouping;
    mStorage.record.reset();
    EXPECT_EQ(thrownBy([&] { mManager.updateData(4294967295, {}, {}, {}, {}); }), missingThrown);
    EXPECT_EQ(mStorage.lastEntry(), "error: Attempt to update Card that does not exist: id=4294967295");
}

TEST_F(UpdateData, ThrowsForARecordThatIsNotStoredWithoutACallbackToo) {
    AuthListManager manager(std::make_unique<FakeDbAccessor>(mStorage), AuthListConfiguration{});
    mStorage.record.reset();
    EXPECT_EQ(thrownBy([&] { manager.updateData(7, {}, {}, {}, {}); }), missingThrown);
}

TEST_F(UpdateData, PassesOnWhatTheBackendThrows) {
    const auto update = [&] { mManager.updateData(7, {}, {}, {}, {}); };
    const auto fromUpdate = mStorage.fail("updateRecord", std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom(update), fromUpdate);
    const auto fromRead = mStorage.fail("readRecord(7)", NoStdException{});
    EXPECT_EQ(exceptionFrom(update), fromRead);
    EXPECT_THAT(mStorage.journal, ElementsAre("readRecord(7)", "updateRecord", "readRecord(7)"));
}

TEST_F(UpdateData, PassesOnWhatTheCallbackThrows) {
    mStorage.record.reset();
    const auto exception =
        mStorage.fail("error: Attempt to update Card that does not exist: id=7", std::out_of_range("full"));
    EXPECT_EQ(exceptionFrom([&] { mManager.updateData(7, {}, {}, {}, {}); }), exception);
}

TEST(UpdateDataNow, StampsTheTimeAtWhichItRuns) {
    FakeStorage storage;
    storage.record = storedCard();
    AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{});
    const TimePoint before = system_clock::now();
    manager.updateData(7, {}, {}, {}, {});
    const TimePoint after = system_clock::now();
    EXPECT_LE(before, storage.written.at(0).lastAccessTime);
    EXPECT_LE(storage.written.at(0).lastAccessTime, storage.written.at(0).lastModificationTime);
    EXPECT_LE(storage.written.at(0).lastModificationTime, after);
}

// The same with a text for the expiry date

class UpdateDataIso8601 : public UpdateData {};

TEST_F(UpdateDataIso8601, LeavesTheExpiryDateForAnAbsentText) {
    mManager.updateDataIso8601(7, {}, {}, {}, {});
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(restamped(storedCard())));
}

TEST_F(UpdateDataIso8601, RemovesTheExpiryDateForAnEmptyText) {
    mManager.updateDataIso8601(7, {}, {}, "", {});
    RfidCard expected = restamped(storedCard());
    expected.expiryDate.reset();
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateDataIso8601, SilentlyLeavesTheExpiryDateForATextThatIsNoTime) {
    for (const char* text : {"never", " ", "2026-13-01", "0"}) {
        mStorage.journal.clear();
        mStorage.written.clear();
        mClock.set(now);
        mManager.updateDataIso8601(7, "Side door", {}, text, {});
        RfidCard expected = restamped(storedCard());
        expected.description = "Side door";
        EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected)) << text;
    }
}

TEST_F(UpdateDataIso8601, SetsTheExpiryDateThatATextNames) {
    mManager.updateDataIso8601(7, {}, {}, "2026-01-01T02:00:00.5+02:00", {});
    EXPECT_EQ(stored().expiryDate, at(1767225600));
}

TEST_F(UpdateDataIso8601, PassesTheOtherFieldsOn) {
    mManager.updateDataIso8601(7, "Side door", RfidCardStatus::Operator, "2026-01-01T00:00:00Z", "{\"a\":1}");
    RfidCard expected = restamped(storedCard());
    expected.description = "Side door";
    expected.status = RfidCardStatus::Operator;
    expected.expiryDate = at(1767225600);
    expected.extraData = "{\"a\":1}";
    EXPECT_EQ(fieldsOf(stored()), fieldsOf(expected));
}

TEST_F(UpdateDataIso8601, LogsAnErrorAndThrowsForARecordThatIsNotStored) {
    mStorage.record.reset();
    for (const std::optional<std::string>& text :
         {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>("never")}) {
        mStorage.journal.clear();
        EXPECT_EQ(thrownBy([&] { mManager.updateDataIso8601(12, {}, {}, text, {}); }), missingThrown);
        EXPECT_THAT(mStorage.journal,
                    ElementsAre("readRecord(12)", "error: Attempt to update Card that does not exist: id=12"));
    }
}

// Operations that the manager hands straight to the backend

struct HandedOn : test::NamedCase {
    void (*run)(AuthListManager&);
    std::string entry;
};

class ManagerHandsOn : public test::ManagerOverFake, public testing::WithParamInterface<HandedOn> {};

INSTANTIATE_TEST_SUITE_P(
    All, ManagerHandsOn,
    testing::Values(HandedOn{{"ARemovalByKey"}, [](auto& m) { m.deleteByKey("04A2B3"); }, "deleteRecord(04A2B3, Key)"},
                    HandedOn{{"ARemovalByAnEmptyKey"}, [](auto& m) { m.deleteByKey(""); }, "deleteRecord(, Key)"},
                    HandedOn{{"ARemovalByHash"}, [](auto& m) { m.deleteByHash("00ff"); }, "deleteRecord(00ff, Hash)"},
                    HandedOn{{"ARemovalByAnEmptyHash"}, [](auto& m) { m.deleteByHash(""); }, "deleteRecord(, Hash)"},
                    HandedOn{{"ARemovalById"}, [](auto& m) { m.deleteById(4294967295); }, "deleteRecord(4294967295)"},
                    HandedOn{{"AClearing"}, [](auto& m) { m.clearAll(); }, "deleteAllRecords()"},
                    HandedOn{{"AVersion"}, [](auto& m) { m.setVersion(4294967295); }, "updateVersion(4294967295)"},
                    HandedOn{{"AQuestionForTheVersion"}, [](auto& m) { m.getVersion(); }, "readVersion()"}),
    test::byName);

TEST_P(ManagerHandsOn, AndDoesNoMore) {
    GetParam().run(mManager);
    EXPECT_THAT(mStorage.journal, ElementsAre(GetParam().entry));
}

TEST_P(ManagerHandsOn, AndPassesBackWhatTheBackendThrows) {
    const auto exception = mStorage.fail(GetParam().entry, std::out_of_range("disk"));
    EXPECT_EQ(exceptionFrom([&] { GetParam().run(mManager); }), exception);
    const auto other = mStorage.fail(GetParam().entry, NoStdException{});
    EXPECT_EQ(exceptionFrom([&] { GetParam().run(mManager); }), other);
    EXPECT_THAT(mStorage.journal, ElementsAre(GetParam().entry, GetParam().entry));
}

class ListVersion : public test::ManagerOverFake {};

TEST_F(ListVersion, IsWhatTheBackendHas) {
    const AuthListManager& manager = mManager;
    EXPECT_EQ(manager.getVersion(), std::nullopt);
    manager.setVersion(5);
    EXPECT_EQ(manager.getVersion(), 5U);
    manager.setVersion(0);
    EXPECT_EQ(manager.getVersion(), 0U);
}

}  // namespace
}  // namespace oru::kadi::authlist
