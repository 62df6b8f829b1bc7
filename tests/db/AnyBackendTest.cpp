// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/RfidCard.h"
#include "db/AnyBackend.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

// What every storage backend does alike. What one of them does on purpose in its own way is tested beside it.

namespace oru::kadi::authlist::db::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

INSTANTIATE_TEST_SUITE_P(All, AnyBackend, allBackends, byName);

TEST_P(AnyBackend, StartsWithAnEmptyList) {
    EXPECT_EQ(mAccessor->countRecords(), 0U);
    EXPECT_THAT(mAccessor->readAllRecords(), IsEmpty());
    EXPECT_THAT(readRange(*mAccessor, {}), IsEmpty());
    EXPECT_EQ(mAccessor->readVersion(), std::nullopt);
}

TEST_P(AnyBackend, FindsNothingInAnEmptyList) {
    EXPECT_FALSE(mAccessor->readRecord(1));
    EXPECT_FALSE(mAccessor->readRecord("04A2B3", KeyRepresentation::Key));
    EXPECT_FALSE(mAccessor->readRecord(hashKey("04A2B3"), KeyRepresentation::Hash));
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("04A2B3")));
}

TEST_P(AnyBackend, DeletesNothingFromAnEmptyList) {
    mAccessor->deleteAllRecords();
    mAccessor->deleteRecord(1);
    mAccessor->deleteRecord("04A2B3", KeyRepresentation::Key);
    mAccessor->deleteRecord(hashKey("04A2B3"), KeyRepresentation::Hash);
    mAccessor->deleteOldestRecord();
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus));
    EXPECT_EQ(mAccessor->countRecords(), 0U);
}

// Creating

TEST_P(AnyBackend, NumbersCardsFromOne) {
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("A")), 1U);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("B")), 2U);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("C")), 3U);
    EXPECT_THAT(idsOf(mAccessor->readAllRecords()), ElementsAre(1, 2, 3));
}

TEST_P(AnyBackend, StoresACardUnderTheIdThatItCarries) {
    EXPECT_EQ(mAccessor->createRecord(withId(10, cardWithKey("A"))), 10U);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(10).value()), fieldsOf(withId(10, cardWithKey("A"))));
}

TEST_P(AnyBackend, ContinuesAfterAnIdThatACardCarried) {
    mAccessor->createRecord(withId(10, cardWithKey("A")));
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("B")), 11U);
}

TEST_P(AnyBackend, ContinuesAfterAnIdThatAnUpdateBrought) {
    mAccessor->updateRecord(withId(40, cardWithKey("A")));
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("B")), 41U);
}

TEST_P(AnyBackend, DoesNotGiveTheIdOfADeletedCardAgain) {
    mAccessor->createRecord(cardWithKey("A"));
    mAccessor->createRecord(cardWithKey("B"));
    mAccessor->deleteRecord(2);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("C")), 3U);
}

TEST_P(AnyBackend, RefusesAnIdThatIsInUseAndStoresNothing) {
    const RfidCard first = stored(fullCard());
    const RfidCard second = withId(*first.id, cardWithKey("B"));
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(second); }), mBackend.usedIdRefusal);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{first}));
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("B")));
}

TEST_P(AnyBackend, StoresTheNextCardAfterARefusedOne) {
    mAccessor->createRecord(cardWithKey("A"));
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(withId(1, cardWithKey("B"))); }), mBackend.usedIdRefusal);
    EXPECT_EQ(mAccessor->createRecord(cardWithKey("B")), 2U);
}

// Every field comes back

TEST_P(AnyBackend, GivesBackEveryFieldOfACard) {
    const RfidCard card = stored(fullCard());
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(*card.id).value()), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mAccessor->readRecord("04A2B3", KeyRepresentation::Key).value()), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(hashKey("04C4D5"), KeyRepresentation::Hash).value()), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
    EXPECT_EQ(fieldsOf(readRange(*mAccessor, {})), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackend, LeavesAbsentFieldsAbsent) {
    RfidCard card;
    card.tags = {RfidTag{hashKey("A"), std::nullopt, std::nullopt}};
    card = stored(card);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(1).value()), fieldsOf(card));
}

TEST_P(AnyBackend, TellsAnEmptyTextFromAnAbsentOne) {
    RfidCard card = cardWithKey("A");
    card.description.clear();
    card.parentId = card.extraData = card.tags[0].key = card.tags[0].extraData = std::string();
    card = stored(card);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(1).value()), fieldsOf(card));
}

TEST_P(AnyBackend, StoresACardWithoutTags) {
    RfidCard card = fullCard();
    card.tags.clear();
    card = stored(card);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(1).value()), fieldsOf(card));
}

TEST_P(AnyBackend, KeepsTheTagsOfACardInTheirOrder) {
    RfidCard card = cardWithKey("0");
    for (int number = 99; number > 0; number -= 2) card.tags.push_back(tagWithKey(std::to_string(number)));
    const RfidCard between = stored(cardWithKey("between"));
    card = stored(card);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(*card.id).value()), fieldsOf(card));
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(*between.id).value()), fieldsOf(between));
}

TEST_P(AnyBackend, KeepsTheSmallestAndLargestNumbers) {
    RfidCard smallest = cardWithKey("A");
    smallest.evseId = smallest.recordLifetime = 0;
    RfidCard largest = cardWithKey("B");
    largest.evseId = largest.recordLifetime = std::numeric_limits<std::uint32_t>::max();
    const std::vector cards{stored(smallest), stored(largest)};
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(cards));
}

TEST_P(AnyBackend, KeepsTheFirstAndTheLastSecondThatATimeCanHave) {
    RfidCard first = cardWithKey("A");
    first.lastAccessTime = first.lastModificationTime = at(0);
    first.expiryDate = at(0);
    RfidCard last = cardWithKey("B");
    last.lastAccessTime = last.lastModificationTime = at(4294967295);
    last.expiryDate = at(4294967295);
    const std::vector cards{stored(first), stored(last)};
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(cards));
}

class AnyBackendKeepsTheText : public BackendFixture,
                               public testing::WithParamInterface<std::tuple<Backend, std::string>> {
protected:
    AnyBackendKeepsTheText() : BackendFixture(std::get<0>(GetParam())) {}

    std::string mText = std::get<1>(GetParam());
};

INSTANTIATE_TEST_SUITE_P(All, AnyBackendKeepsTheText,
                         testing::Combine(allBackends,
                                          testing::Values("Tür für Jörg, 東京 🔌", "it's \"quoted\" `twice`",
                                                          "'); DROP TABLE rfid_card; --", "\" OR \"1\"=\"1",
                                                          "a line\nand\ta tab\r\n", " blanks around ", "100%_", "0x10",
                                                          "1e3", "007", "NULL", "?", "\\", std::string(100000, 'x'))));

TEST_P(AnyBackendKeepsTheText, InEveryFieldOfACard) {
    RfidCard card = cardWithKey(mText);
    card.description = mText;
    card.parentId = card.extraData = card.tags[0].extraData = mText;
    card = stored(card);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(mText, KeyRepresentation::Key).value()), fieldsOf(card));
}

TEST_P(AnyBackendKeepsTheText, AsAHash) {
    RfidCard card = cardWithKey("A");
    card.tags[0].hash = mText;
    card = stored(card);
    const RfidCard other = stored(cardWithKey("B"));
    EXPECT_TRUE(mAccessor->tagIsKnown(mText));
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(mText, KeyRepresentation::Hash).value()), fieldsOf(card));
    mAccessor->deleteRecord(mText, KeyRepresentation::Hash);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{other}));
}

TEST_P(AnyBackendKeepsTheText, AndFindsNothingByItWhenNoTagHasIt) {
    const RfidCard card = stored(cardWithKey("A"));
    EXPECT_FALSE(mAccessor->tagIsKnown(mText));
    EXPECT_FALSE(mAccessor->readRecord(mText, KeyRepresentation::Hash));
    EXPECT_FALSE(mAccessor->readRecord(mText, KeyRepresentation::Key));
    mAccessor->deleteRecord(mText, KeyRepresentation::Hash);
    mAccessor->deleteRecord(mText, KeyRepresentation::Key);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
}

class AnyBackendKeepsTheStatus : public BackendFixture,
                                 public testing::WithParamInterface<std::tuple<Backend, RfidCardStatus>> {
protected:
    AnyBackendKeepsTheStatus() : BackendFixture(std::get<0>(GetParam())) {}
};

INSTANTIATE_TEST_SUITE_P(All, AnyBackendKeepsTheStatus,
                         testing::Combine(allBackends,
                                          testing::Values(RfidCardStatus::Accepted, RfidCardStatus::Expired,
                                                          RfidCardStatus::Blocked, RfidCardStatus::Invalid,
                                                          RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator)));

TEST_P(AnyBackendKeepsTheStatus, OfACardAndFiltersByIt) {
    const RfidCardStatus status = std::get<1>(GetParam());
    const RfidCard card = stored(cardWithKey("A", status));
    stored(cardWithKey("B", status == RfidCardStatus::Accepted ? RfidCardStatus::Blocked : RfidCardStatus::Accepted));
    const Range sameStatus{.filterKey = SortingAndFilteringKey::Status,
                           .filterOperator = FilteringOperator::Equal,
                           .filterValue = CardValue(status)};
    EXPECT_EQ(fieldsOf(readRange(*mAccessor, sameStatus)), fieldsOf(std::vector{card}));
}

class AnyBackendKeepsTheId : public BackendFixture, public testing::WithParamInterface<std::tuple<Backend, unsigned>> {
protected:
    AnyBackendKeepsTheId() : BackendFixture(std::get<0>(GetParam())) {}
};

INSTANTIATE_TEST_SUITE_P(All, AnyBackendKeepsTheId,
                         testing::Combine(allBackends,
                                          testing::Values(0U, 2147483647U, 2147483648U, 3000000000U, 4294967295U)));

TEST_P(AnyBackendKeepsTheId, ThatACardCarries) {
    const unsigned id = std::get<1>(GetParam());
    EXPECT_EQ(mAccessor->createRecord(withId(id, fullCard())), id);
    EXPECT_EQ(fieldsOf(mAccessor->readRecord(id).value()), fieldsOf(withId(id, fullCard())));
    EXPECT_EQ(mAccessor->readRecord("04A2B3", KeyRepresentation::Key).value().id, id);
    EXPECT_EQ(thrownBy([&] { mAccessor->createRecord(withId(id, cardWithKey("B"))); }), mBackend.usedIdRefusal);
    EXPECT_EQ(mAccessor->updateRecord(withId(id, cardWithKey("B"))), id);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{withId(id, cardWithKey("B"))}));
    mAccessor->deleteRecord("B", KeyRepresentation::Key);
    EXPECT_FALSE(mAccessor->readRecord(id));
}

// Updating

TEST_P(AnyBackend, ReplacesEveryFieldInAnUpdate) {
    RfidCard card = stored(cardWithKey("A"));
    card = withId(*card.id, fullCard());
    EXPECT_EQ(mAccessor->updateRecord(card), *card.id);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackend, ClearsInAnUpdateWhatTheCardNoLongerHas) {
    RfidCard bare;
    bare.id = stored(fullCard()).id;
    EXPECT_EQ(mAccessor->updateRecord(bare), *bare.id);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{bare}));
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("04A2B3")));
}

TEST_P(AnyBackend, LeavesTheOtherCardsAndTheOrderAloneInAnUpdate) {
    std::vector cards{stored(cardWithKey("A")), stored(cardWithKey("B")), stored(cardWithKey("C"))};
    cards[1] = withId(*cards[1].id, fullCard());
    mAccessor->updateRecord(cards[1]);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(cards));
}

TEST_P(AnyBackend, KnowsTheNewTagsOfAnUpdatedCardOnly) {
    RfidCard card = cardWithKey("A");
    card.tags.push_back(tagWithKey("B"));
    card = stored(card);
    card.tags = {tagWithKey("C"), tagWithKey("B")};
    mAccessor->updateRecord(card);
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("A")));
    EXPECT_TRUE(mAccessor->tagIsKnown(hashKey("B")));
    EXPECT_EQ(fieldsOf(mAccessor->readRecord("C", KeyRepresentation::Key).value()), fieldsOf(card));
}

TEST_P(AnyBackend, StoresTheSameCardAgainInAnUpdate) {
    const RfidCard card = stored(fullCard());
    EXPECT_EQ(mAccessor->updateRecord(card), *card.id);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackend, StoresAnUpdateOfAnUnknownIdUnderThatId) {
    const RfidCard other = stored(cardWithKey("A"));
    const RfidCard card = withId(40, fullCard());
    EXPECT_EQ(mAccessor->updateRecord(card), 40U);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{other, card}));
}

TEST_P(AnyBackend, RefusesToUpdateACardWithoutId) {
    const RfidCard card = stored(cardWithKey("A"));
    EXPECT_EQ(thrownBy([&] { mAccessor->updateRecord(fullCard()); }), "std::bad_optional_access: bad optional access");
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
    EXPECT_EQ(mAccessor->updateRecord(card), *card.id);
}

// Finding

TEST_P(AnyBackend, FindsACardByAnyOfItsTags) {
    RfidCard card = cardWithKey("A");
    card.tags.push_back(tagWithKey("B"));
    stored(cardWithKey("C"));
    card = stored(card);
    for (const std::string key : {"A", "B"}) {
        EXPECT_EQ(fieldsOf(mAccessor->readRecord(key, KeyRepresentation::Key).value()), fieldsOf(card));
        EXPECT_EQ(fieldsOf(mAccessor->readRecord(hashKey(key), KeyRepresentation::Hash).value()), fieldsOf(card));
    }
}

TEST_P(AnyBackend, FindsNothingByAKeyPassedAsHash) {
    stored(cardWithKey("A"));
    EXPECT_FALSE(mAccessor->readRecord("A", KeyRepresentation::Hash));
}

TEST_P(AnyBackend, FindsNothingByAHashPassedAsKey) {
    stored(cardWithKey("A"));
    EXPECT_FALSE(mAccessor->readRecord(hashKey("A"), KeyRepresentation::Key));
}

TEST_P(AnyBackend, FindsNothingByAnUpperCaseHash) {
    stored(cardWithKey("A"));
    std::string hash = hashKey("A");
    for (char& c : hash) c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    ASSERT_NE(hash, hashKey("A"));
    EXPECT_FALSE(mAccessor->readRecord(hash, KeyRepresentation::Hash));
    EXPECT_FALSE(mAccessor->tagIsKnown(hash));
}

TEST_P(AnyBackend, FindsNothingByAPartOfAHash) {
    stored(cardWithKey("A"));
    EXPECT_FALSE(mAccessor->readRecord(hashKey("A").substr(0, 63), KeyRepresentation::Hash));
    EXPECT_FALSE(mAccessor->readRecord("", KeyRepresentation::Hash));
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("A").substr(0, 63)));
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("A") + "0"));
    EXPECT_FALSE(mAccessor->tagIsKnown(""));
}

TEST_P(AnyBackend, TellsKeysApartThatDifferInCase) {
    stored(cardWithKey("04a2b3"));
    EXPECT_FALSE(mAccessor->readRecord("04A2B3", KeyRepresentation::Key));
    EXPECT_TRUE(mAccessor->readRecord("04a2b3", KeyRepresentation::Key));
}

TEST_P(AnyBackend, ComparesHashesAndNeverTheStoredKeys) {
    RfidCard card = cardWithKey("A");
    card.tags[0].key = "B";
    stored(card);
    EXPECT_FALSE(mAccessor->readRecord("B", KeyRepresentation::Key));
    EXPECT_EQ(mAccessor->readRecord("A", KeyRepresentation::Key).value().tags.at(0).key, "B");
}

TEST_P(AnyBackend, FindsNothingByAnUnknownId) {
    stored(cardWithKey("A"));
    EXPECT_FALSE(mAccessor->readRecord(2));
    EXPECT_FALSE(mAccessor->readRecord(0));
    EXPECT_FALSE(mAccessor->readRecord(4294967295));
}

TEST_P(AnyBackend, KnowsTheHashOfEveryTagButNoKey) {
    RfidCard card = cardWithKey("A");
    card.tags.push_back(tagWithKey("B"));
    stored(card);
    stored(cardWithKey("C"));
    for (const std::string key : {"A", "B", "C"}) {
        EXPECT_TRUE(mAccessor->tagIsKnown(hashKey(key)));
        EXPECT_FALSE(mAccessor->tagIsKnown(key));
    }
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("D")));
}

TEST_P(AnyBackend, CountsCardsAndNotTags) {
    stored(fullCard());
    stored(cardWithKey("A"));
    EXPECT_EQ(mAccessor->countRecords(), 2U);
    mAccessor->deleteRecord(1);
    EXPECT_EQ(mAccessor->countRecords(), 1U);
}

// Deleting

TEST_P(AnyBackend, DeletesACardById) {
    const std::vector cards{stored(fullCard()), stored(cardWithKey("A")), stored(cardWithKey("B"))};
    mAccessor->deleteRecord(*cards[1].id);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{cards[0], cards[2]}));
}

TEST_P(AnyBackend, DeletesACardByTheKeyOfAnyTag) {
    stored(fullCard());
    const RfidCard other = stored(cardWithKey("A"));
    mAccessor->deleteRecord("04C4D5", KeyRepresentation::Key);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{other}));
}

TEST_P(AnyBackend, DeletesACardByTheHashOfAnyTag) {
    stored(fullCard());
    const RfidCard other = stored(cardWithKey("A"));
    mAccessor->deleteRecord(hashKey("04C4D5"), KeyRepresentation::Hash);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{other}));
}

TEST_P(AnyBackend, ForgetsTheTagsOfADeletedCard) {
    mAccessor->deleteRecord(*stored(fullCard()).id);
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("04A2B3")));
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("04C4D5")));
    EXPECT_FALSE(mAccessor->readRecord("04A2B3", KeyRepresentation::Key));
}

TEST_P(AnyBackend, StoresACardAgainAfterItWasDeleted) {
    mAccessor->deleteRecord(*stored(fullCard()).id);
    const RfidCard card = stored(fullCard());
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackend, DeletesNothingThatIsNotThere) {
    const RfidCard card = stored(cardWithKey("A"));
    mAccessor->deleteRecord(7);
    mAccessor->deleteRecord("B", KeyRepresentation::Key);
    mAccessor->deleteRecord(hashKey("B"), KeyRepresentation::Hash);
    mAccessor->deleteRecord("A", KeyRepresentation::Hash);
    mAccessor->deleteRecord(hashKey("A"), KeyRepresentation::Key);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackend, DeletesAllCardsWithTheirTags) {
    stored(fullCard());
    stored(cardWithKey("A"));
    mAccessor->deleteAllRecords();
    EXPECT_EQ(mAccessor->countRecords(), 0U);
    EXPECT_THAT(mAccessor->readAllRecords(), IsEmpty());
    EXPECT_FALSE(mAccessor->tagIsKnown(hashKey("A")));
    const RfidCard again = stored(cardWithKey("A"));
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{again}));
}

TEST_P(AnyBackend, DeletesTheCardThatIsOldestByBothItsTimes) {
    for (const std::int64_t age : {1, 3, 2}) {
        RfidCard card = cardWithKey(std::to_string(age));
        card.lastAccessTime = at(1767225600 - age);
        card.lastModificationTime = at(1767225500 - age);
        stored(card);
    }
    mAccessor->deleteOldestRecord();
    EXPECT_THAT(idsOf(mAccessor->readAllRecords()), ElementsAre(1, 3));
    mAccessor->deleteOldestRecord();
    EXPECT_THAT(idsOf(mAccessor->readAllRecords()), ElementsAre(1));
    mAccessor->deleteOldestRecord();
    EXPECT_EQ(mAccessor->countRecords(), 0U);
}

// Removing a category

TimePoint fromNow(std::chrono::seconds distance) {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) + distance;
}

class AnyBackendRemoves : public AnyBackend {
protected:
    // Each status without an expiry date (ids 1 to 6), with a past one (7 to 12) and with a future one (13 to 18).
    void fillList() {
        const std::vector<std::optional<TimePoint>> dates{std::nullopt, fromNow(-std::chrono::hours(1)),
                                                          fromNow(std::chrono::hours(1))};
        for (const auto& date : dates) {
            for (const auto status :
                 {RfidCardStatus::Accepted, RfidCardStatus::Expired, RfidCardStatus::Blocked, RfidCardStatus::Invalid,
                  RfidCardStatus::ConcurrentTx, RfidCardStatus::Operator}) {
                RfidCard card = cardWithKey("Key " + std::to_string(mAccessor->countRecords() + 1), status);
                card.expiryDate = date;
                stored(card);
            }
        }
    }

    // Whether exactly the tags of the cards that are left are still known.
    void expectTagsOfTheRestOnly() const {
        for (unsigned id = 1; id <= 18; ++id) {
            const bool isLeft = mAccessor->readRecord(id).has_value();
            EXPECT_EQ(mAccessor->tagIsKnown(hashKey("Key " + std::to_string(id))), isLeft) << id;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(All, AnyBackendRemoves, allBackends, byName);

TEST_P(AnyBackendRemoves, CardsPastTheirExpiryDateWhateverTheirStatus) {
    fillList();
    EXPECT_TRUE(mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_THAT(idsOf(mAccessor->readAllRecords()), ElementsAre(1, 2, 3, 4, 5, 6, 13, 14, 15, 16, 17, 18));
    expectTagsOfTheRestOnly();
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
}

TEST_P(AnyBackendRemoves, BlockedAndInvalidCards) {
    fillList();
    EXPECT_TRUE(mAccessor->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
    EXPECT_THAT(idsOf(mAccessor->readAllRecords()), ElementsAre(1, 2, 5, 6, 7, 8, 11, 12, 13, 14, 17, 18));
    expectTagsOfTheRestOnly();
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
}

TEST_P(AnyBackendRemoves, CardsOfStatusExpiredWhateverTheirExpiryDate) {
    fillList();
    EXPECT_TRUE(mAccessor->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus));
    EXPECT_THAT(idsOf(mAccessor->readAllRecords()), ElementsAre(1, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 15, 16, 17, 18));
    expectTagsOfTheRestOnly();
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus));
}

TEST_P(AnyBackendRemoves, NothingWhereNoCardMatches) {
    RfidCard future = cardWithKey("B", RfidCardStatus::ConcurrentTx);
    future.expiryDate = fromNow(std::chrono::hours(1));
    const std::vector cards{stored(cardWithKey("A")), stored(future)};
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid));
    EXPECT_FALSE(mAccessor->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus));
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(cards));
}

// The list version

TEST_P(AnyBackend, KeepsTheLatestVersion) {
    for (const unsigned version : {5U, 6U, 0U, 2147483648U, 4294967295U, 1U}) {
        mAccessor->updateVersion(version);
        EXPECT_EQ(mAccessor->readVersion(), version);
    }
}

TEST_P(AnyBackend, KeepsTheVersionWhenCardsAreDeleted) {
    mAccessor->updateVersion(5);
    RfidCard expired = cardWithKey("A", RfidCardStatus::Expired);
    expired.expiryDate = at(1);
    stored(expired);
    stored(cardWithKey("B"));
    stored(cardWithKey("C"));
    stored(cardWithKey("D"));
    EXPECT_TRUE(mAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate));
    mAccessor->deleteOldestRecord();
    mAccessor->deleteRecord("C", KeyRepresentation::Key);
    mAccessor->deleteRecord(4);
    mAccessor->deleteAllRecords();
    EXPECT_EQ(mAccessor->readVersion(), 5U);
}

TEST_P(AnyBackend, LeavesTheCardsAloneWhenTheVersionIsUpdated) {
    const RfidCard card = stored(fullCard());
    mAccessor->updateVersion(5);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_P(AnyBackend, KeepsCardsAndVersionUntilItIsOpenedAgain) {
    const std::vector cards{stored(fullCard()), stored(cardWithKey("A"))};
    mAccessor->updateVersion(5);
    mAccessor.reset();
    mAccessor = mBackend.open(mFile);
    EXPECT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(cards));
    EXPECT_EQ(mAccessor->readVersion(), 5U);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::test
