// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/filestorage/RecordsBlob.h"
#include "db/AnyBackend.h"
#include "support/BlobBytes.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/Eventually.h"
#include "support/FileState.h"
#include "support/FileStore.h"
#include "support/Files.h"
#include "support/ThrownBy.h"

// What the file backend does on its own terms; what all backends do alike is in AnyBackendTest.cpp.

namespace oru::kadi::authlist::db::filestorage {
namespace {

using std::chrono::nanoseconds;
using test::absent;
using test::at;
using test::bareCardBytes;
using test::byte;
using test::cardWithKey;
using test::contentOf;
using test::count;
using test::fieldsOf;
using test::hexOf;
using test::idsOf;
using test::number;
using test::present;
using test::readRange;
using test::tagWithKey;
using test::text;
using test::thrownBy;
using test::withId;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<IDbAccessor, FileDbAccessor>);
static_assert(!std::is_copy_constructible_v<FileDbAccessor>);

constexpr const char* usedIdRefusal = "std::runtime_error: Cannot create new record in DB: constraint violation";

class FileAccessor : public testing::Test {
protected:
    unsigned create(const std::string& key) const { return mStore->createRecord(cardWithKey(key)); }
    unsigned createWithId(unsigned id) const {
        return mStore->createRecord(withId(id, cardWithKey("key of " + std::to_string(id))));
    }
    std::vector<unsigned> ids() const { return idsOf(mStore->readAllRecords()); }
    std::vector<std::string> keys() const {
        std::vector<std::string> keys;
        for (const RfidCard& card : mStore->readAllRecords()) keys.push_back(card.tags.at(0).key.value());
        return keys;
    }

    test::FileStore mStore;
};

TEST_F(FileAccessor, StartsEmptyOverAMissingFile) {
    EXPECT_EQ(mStore->countRecords(), 0U);
    EXPECT_EQ(mStore->readVersion(), std::nullopt);
    EXPECT_THAT(mStore->readAllRecords(), IsEmpty());
}

// Ids

TEST_F(FileAccessor, NumbersNewCardsFromOne) {
    EXPECT_EQ(create("A"), 1U);
    EXPECT_EQ(create("B"), 2U);
    EXPECT_EQ(create("C"), 3U);
}

TEST_F(FileAccessor, SkipsANumberForEveryIdThatACardBrings) {
    EXPECT_EQ(createWithId(10), 10U);
    EXPECT_EQ(create("A"), 11U);
    EXPECT_EQ(createWithId(5), 5U);
    EXPECT_EQ(create("B"), 13U);
    EXPECT_THAT(ids(), ElementsAre(10, 11, 5, 13));
}

TEST_F(FileAccessor, SkipsANumberForEveryIdThatAnUpdateBrings) {
    createWithId(10);
    EXPECT_EQ(mStore->updateRecord(withId(5, cardWithKey("A"))), 5U);
    EXPECT_EQ(create("B"), 12U);
    EXPECT_EQ(mStore->updateRecord(withId(40, cardWithKey("C"))), 40U);
    EXPECT_EQ(create("D"), 41U);
}

TEST_F(FileAccessor, SkipsNoNumberWhenAStoredCardIsUpdated) {
    createWithId(10);
    mStore->updateRecord(withId(10, cardWithKey("A")));
    EXPECT_EQ(create("B"), 11U);
}

TEST_F(FileAccessor, SkipsNoNumberForARefusedCard) {
    createWithId(10);
    EXPECT_EQ(thrownBy([&] { createWithId(10); }), usedIdRefusal);
    EXPECT_EQ(create("A"), 11U);
}

TEST_F(FileAccessor, RefusesAnIdThatIsStoredAndStoresNothing) {
    const RfidCard first = withId(10, cardWithKey("A"));
    mStore->createRecord(first);
    EXPECT_EQ(thrownBy([&] { mStore->createRecord(withId(10, cardWithKey("B"))); }), usedIdRefusal);
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), fieldsOf(std::vector{first}));
}

TEST_F(FileAccessor, TakesAnIdAgainOnceItsCardIsDeleted) {
    createWithId(10);
    mStore->deleteRecord(10);
    EXPECT_EQ(createWithId(10), 10U);
}

TEST_F(FileAccessor, StartsOverWithTheNumbersWhenAllRecordsAreDeleted) {
    createWithId(10);
    mStore->deleteAllRecords();
    EXPECT_EQ(create("A"), 1U);
}

TEST_F(FileAccessor, DoesNotStartOverWhenCardsAreDeletedOneByOne) {
    create("A");
    create("B");
    mStore->deleteRecord(2);
    mStore->deleteRecord("A", KeyRepresentation::Key);
    EXPECT_EQ(create("C"), 3U);
}

TEST_F(FileAccessor, WrapsTheNumbersAroundFromTheLargestToZero) {
    createWithId(4294967295U);
    EXPECT_EQ(create("A"), 0U);
    EXPECT_EQ(create("B"), 1U);
}

TEST_F(FileAccessor, WrapsTheLastIdAroundWhenACardBringsASmallOneAfterTheLargest) {
    createWithId(4294967295U);
    createWithId(5);
    EXPECT_EQ(create("A"), 6U);
}

TEST_F(FileAccessor, TakesItsOwnNumberWithoutLookingWhetherACardHasIt) {
    createWithId(1);
    createWithId(4294967295U);
    EXPECT_EQ(create("A"), 0U);
    EXPECT_EQ(create("B"), 1U);
    EXPECT_THAT(ids(), ElementsAre(1, 4294967295U, 0, 1));
}

TEST_F(FileAccessor, GivesOutAnIdASecondTimeAfterTheFileWasLoadedAgain) {
    for (const char* key : {"A", "B", "C"}) create(key);
    mStore.reload();
    EXPECT_EQ(create("D"), 2U);
    EXPECT_EQ(create("E"), 3U);
    EXPECT_EQ(create("F"), 4U);
    EXPECT_THAT(ids(), ElementsAre(1, 2, 3, 2, 3, 4));
}

TEST_F(FileAccessor, ContinuesAfterTheSmallestIdOfALoadedFile) {
    for (const unsigned id : {25U, 29U, 23U}) createWithId(id);
    mStore.reload();
    EXPECT_EQ(create("A"), 24U);
}

TEST_F(FileAccessor, StartsOverWithTheNumbersWhenALoadedFileHasNoRecord) {
    createWithId(10);
    mStore->deleteRecord(10);
    mStore.reload();
    EXPECT_EQ(create("A"), 1U);
}

// Where several cards have the same id or the same tag, the frontmost is meant.
class TwinCards : public FileAccessor {
protected:
    TwinCards() {
        for (const char* key : {"A", "B"}) create(key);
        mStore.reload();
        create("C");  // its id is 2 as well
        RfidCard card = cardWithKey("D");
        card.tags.push_back(tagWithKey("B"));
        mStore->createRecord(withId(7, card));
    }
};

TEST_F(TwinCards, AreFoundByTheFrontmost) {
    EXPECT_EQ(mStore->readRecord(2).value().description, "Card B");
    EXPECT_EQ(mStore->readRecord("B", KeyRepresentation::Key).value().id, 2U);
    EXPECT_EQ(mStore->readRecord(hashKey("B"), KeyRepresentation::Hash).value().id, 2U);
}

TEST_F(TwinCards, AreDeletedByIdOneByOneFromTheFront) {
    mStore->deleteRecord(2);
    EXPECT_THAT(keys(), ElementsAre("A", "C", "D"));
    mStore->deleteRecord(2);
    EXPECT_THAT(keys(), ElementsAre("A", "D"));
}

TEST_F(TwinCards, AreDeletedByTagOneByOneFromTheFront) {
    mStore->deleteRecord("B", KeyRepresentation::Key);
    EXPECT_THAT(keys(), ElementsAre("A", "C", "D"));
    EXPECT_TRUE(mStore->tagIsKnown(hashKey("B")));
    mStore->deleteRecord(hashKey("B"), KeyRepresentation::Hash);
    EXPECT_THAT(keys(), ElementsAre("A", "C"));
    EXPECT_FALSE(mStore->tagIsKnown(hashKey("B")));
}

TEST_F(TwinCards, AreUpdatedAtTheFrontmost) {
    EXPECT_EQ(mStore->updateRecord(withId(2, cardWithKey("E"))), 2U);
    EXPECT_THAT(keys(), ElementsAre("A", "E", "C", "D"));
}

TEST_F(TwinCards, RefuseTheirIdForYetAnother) {
    EXPECT_EQ(thrownBy([&] { createWithId(2); }), usedIdRefusal);
}

// The order: as inserted

TEST_F(FileAccessor, KeepsTheOrderOfInsertionWhateverTheIds) {
    for (const unsigned id : {3U, 1U, 2U}) createWithId(id);
    EXPECT_THAT(ids(), ElementsAre(3, 1, 2));
    EXPECT_THAT(idsOf(readRange(*mStore.accessor, {})), ElementsAre(3, 1, 2));
}

TEST_F(FileAccessor, LeavesAnUpdatedCardInItsPlace) {
    for (const unsigned id : {3U, 1U, 2U}) createWithId(id);
    mStore->updateRecord(withId(1, cardWithKey("A")));
    EXPECT_THAT(ids(), ElementsAre(3, 1, 2));
}

TEST_F(FileAccessor, InsertsAnUpdateOfAnUnknownIdAtTheBack) {
    for (const unsigned id : {3U, 50U}) createWithId(id);
    const RfidCard card = withId(40, cardWithKey("A"));
    EXPECT_EQ(mStore->updateRecord(card), 40U);
    EXPECT_THAT(ids(), ElementsAre(3, 50, 40));
    EXPECT_EQ(fieldsOf(mStore->readRecord(40).value()), fieldsOf(card));
}

TEST_F(FileAccessor, ClosesTheGapOfADeletedCardAndAppendsNewOnes) {
    for (const unsigned id : {3U, 1U, 2U}) createWithId(id);
    mStore->deleteRecord(1);
    EXPECT_THAT(ids(), ElementsAre(3, 2));
    createWithId(1);
    EXPECT_THAT(ids(), ElementsAre(3, 2, 1));
}

TEST_F(FileAccessor, KeepsTheOrderWhenTheFileIsLoadedAgain) {
    for (const unsigned id : {3U, 1U, 2U}) createWithId(id);
    mStore.reload();
    EXPECT_THAT(ids(), ElementsAre(3, 1, 2));
}

// What is kept

TEST_F(FileAccessor, KeepsTimesToTheNanosecondInMemoryAndOnFile) {
    RfidCard card = withId(1, cardWithKey("A"));
    card.expiryDate = TimePoint::max();
    card.lastAccessTime = TimePoint::min();
    card.lastModificationTime = at(1767225600) + nanoseconds(999999999);
    mStore->createRecord(card);
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), fieldsOf(std::vector{card}));
    mStore.reload();
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_F(FileAccessor, KeepsTextsWithZeroBytesAndBytesThatAreNoUtf8) {
    const std::string odd("a\0b\xFF\xC3\n", 6);
    RfidCard card = withId(1, cardWithKey(odd));
    card.description = odd;
    card.parentId = card.extraData = card.tags[0].extraData = odd;
    mStore->createRecord(card);
    mStore.reload();
    EXPECT_EQ(fieldsOf(mStore->readRecord(odd, KeyRepresentation::Key).value()), fieldsOf(card));
}

TEST_F(FileAccessor, KeepsAStatusOutsideTheEnumeration) {
    RfidCard card = withId(1, cardWithKey("A"));
    card.status = static_cast<RfidCardStatus>(77);
    mStore->createRecord(card);
    mStore.reload();
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), fieldsOf(std::vector{card}));
}

TEST_F(FileAccessor, TellsHashesApartThatDifferBehindAZeroByte) {
    RfidCard card = cardWithKey("A");
    card.tags[0].hash = std::string("h\0a", 3);
    mStore->createRecord(card);
    EXPECT_TRUE(mStore->tagIsKnown(std::string("h\0a", 3)));
    EXPECT_FALSE(mStore->tagIsKnown(std::string("h\0b", 3)));
    EXPECT_FALSE(mStore->tagIsKnown("h"));
}

TEST_F(FileAccessor, KeepsTheVersionWhenAllRecordsAreDeletedAndTheFileIsLoadedAgain) {
    mStore->updateVersion(7);
    create("A");
    mStore->deleteAllRecords();
    EXPECT_EQ(mStore->readVersion(), 7U);
    mStore.reload();
    EXPECT_EQ(mStore->readVersion(), 7U);
    EXPECT_EQ(mStore->countRecords(), 0U);
}

TEST_F(FileAccessor, HandsOutCopies) {
    create("A");
    mStore->readRecord(1).value().description = "changed";
    mStore->readRecord("A", KeyRepresentation::Key).value().description = "changed";
    mStore->readAllRecords().at(0).description = "changed";
    readRange(*mStore.accessor, {}).at(0).description = "changed";
    EXPECT_EQ(mStore->readRecord(1).value().description, "Card A");
}

// Which operations go through others, and none of them while it holds the lock

class AskedAccessor : public FileDbAccessor {
public:
    using FileDbAccessor::FileDbAccessor;
    std::optional<RfidCard> readRecord(unsigned id) const override {
        asked.push_back("id " + std::to_string(id));
        return answer;
    }
    std::optional<RfidCard> readRecord(const std::string& value, KeyRepresentation representation) const override {
        asked.push_back((representation == KeyRepresentation::Hash ? "hash " : "key ") + value);
        return answer;
    }

    mutable std::vector<std::string> asked;
    std::optional<RfidCard> answer;
};

class OverriddenLookup : public testing::Test {
protected:
    test::TemporaryFolder mFolder;
    AskedAccessor mAccessor{mFolder.file("list"), test::whenDestroyed};
};

TEST_F(OverriddenLookup, DecidesWhetherAnIdIsInUse) {
    mAccessor.answer = cardWithKey("A");
    EXPECT_EQ(thrownBy([&] { mAccessor.createRecord(withId(3, cardWithKey("A"))); }), usedIdRefusal);
    mAccessor.answer.reset();
    EXPECT_EQ(mAccessor.createRecord(withId(3, cardWithKey("A"))), 3U);
    EXPECT_EQ(mAccessor.createRecord(withId(3, cardWithKey("B"))), 3U);
    EXPECT_THAT(mAccessor.asked, ElementsAre("id 3", "id 3", "id 3"));
}

TEST_F(OverriddenLookup, IsNotAskedAboutACardWithoutId) {
    mAccessor.answer = cardWithKey("A");
    EXPECT_EQ(mAccessor.createRecord(cardWithKey("A")), 1U);
    EXPECT_THAT(mAccessor.asked, IsEmpty());
}

TEST_F(OverriddenLookup, DecidesWhetherATagIsKnown) {
    EXPECT_FALSE(mAccessor.tagIsKnown("abc"));
    mAccessor.answer = cardWithKey("A");
    EXPECT_TRUE(mAccessor.tagIsKnown("abc"));
    EXPECT_THAT(mAccessor.asked, ElementsAre("hash abc", "hash abc"));
}

TEST_F(FileAccessor, WorksOnAfterEveryKindOfFailure) {
    create("A");
    create("B");
    mStore->updateRecord(withId(4294967295U, cardWithKey("C")));
    const auto before = fieldsOf(mStore->readAllRecords());
    const auto badKey = static_cast<SortingAndFilteringKey>(5);
    EXPECT_EQ(thrownBy([&] { createWithId(1); }), usedIdRefusal);
    EXPECT_EQ(thrownBy([&] { mStore->updateRecord(cardWithKey("D")); }),
              "std::bad_optional_access: bad optional access");
    EXPECT_THROW(mStore->deleteRecordCategory(static_cast<RecordRemovalCategory>(3)), std::logic_error);
    EXPECT_THROW(readRange(*mStore.accessor, {.sortKey = badKey}), std::logic_error);
    EXPECT_THROW(
        readRange(*mStore.accessor,
                  {.filterKey = badKey, .filterOperator = FilteringOperator::Equal, .filterValue = CardValue{1U}}),
        std::logic_error);
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), before);
    EXPECT_EQ(create("E"), 0U);
}

// Searching a deque

const std::deque<RfidCard> searched{cardWithKey("no id"), withId(7, cardWithKey("A")), withId(0, cardWithKey("B")),
                                    withId(7, cardWithKey("A"))};

TEST(FindById, YieldsTheFirstCardWithTheId) {
    std::deque<RfidCard> records = searched;
    EXPECT_EQ(FileDbAccessor::findById(records, 7) - records.begin(), 1);
    EXPECT_EQ(FileDbAccessor::findById(records, 8), records.end());
}

TEST(FindById, DoesNotTakeAMissingIdForZero) {
    std::deque<RfidCard> records = searched;
    EXPECT_EQ(FileDbAccessor::findById(records, 0) - records.begin(), 2);
}

TEST(FindById, FindsNothingInAnEmptyList) {
    std::deque<RfidCard> records;
    EXPECT_EQ(FileDbAccessor::findById(records, 1), records.end());
}

TEST(FindByTag, YieldsTheFirstCardWithATagOfThatKeyOrHash) {
    std::deque<RfidCard> records = searched;
    records[0].tags.push_back(tagWithKey("B"));
    EXPECT_EQ(FileDbAccessor::findByTag(records, "B", KeyRepresentation::Key) - records.begin(), 0);
    EXPECT_EQ(FileDbAccessor::findByTag(records, hashKey("A"), KeyRepresentation::Hash) - records.begin(), 1);
}

TEST(FindByTag, ComparesHashesByteByByteAndNeverKeys) {
    std::deque<RfidCard> records = searched;
    records[0].tags = {RfidTag{"abc", "stored", std::nullopt}};
    EXPECT_EQ(FileDbAccessor::findByTag(records, "stored", KeyRepresentation::Key), records.end());
    EXPECT_EQ(FileDbAccessor::findByTag(records, "stored", KeyRepresentation::Hash), records.end());
    EXPECT_EQ(FileDbAccessor::findByTag(records, "ABC", KeyRepresentation::Hash), records.end());
    EXPECT_EQ(FileDbAccessor::findByTag(records, "ab", KeyRepresentation::Hash), records.end());
    EXPECT_EQ(FileDbAccessor::findByTag(records, "abcd", KeyRepresentation::Hash), records.end());
    EXPECT_EQ(FileDbAccessor::findByTag(records, "abc", KeyRepresentation::Hash), records.begin());
}

TEST(FindByTag, FindsNothingAmongCardsWithoutTagsOrInAnEmptyList) {
    std::deque<RfidCard> records(2);
    EXPECT_EQ(FileDbAccessor::findByTag(records, "", KeyRepresentation::Hash), records.end());
    records.clear();
    EXPECT_EQ(FileDbAccessor::findByTag(records, "", KeyRepresentation::Hash), records.end());
}

// The file

class FileOfAnAccessor : public FileAccessor {
protected:
    std::string constructionOver(const std::string& content) {
        mStore.accessor.reset();
        test::writeFile(mFile, content);
        return thrownBy([&] { const FileDbAccessor accessor(mFile, test::whenDestroyed); });
    }

    const std::string& mFile = mStore.file;
};

TEST_F(FileOfAnAccessor, HoldsTheBlobOfItsRecordsOnceItIsDestroyed) {
    RecordsBlob blob;
    blob.setVersion(7);
    blob.getRecords() = {withId(3, cardWithKey("A")), withId(1, cardWithKey("B"))};
    mStore->updateVersion(7);
    for (const RfidCard& card : blob.getRecords()) mStore->createRecord(card);
    EXPECT_FALSE(std::filesystem::exists(mFile));
    mStore.accessor.reset();
    EXPECT_EQ(hexOf(contentOf(mFile)), hexOf(test::bytesOf(blob)));
    EXPECT_EQ(test::modeOf(mFile), 0600U);
    EXPECT_THAT(test::namesIn(mStore.folder.path()), ElementsAre("list"));
}

TEST_F(FileOfAnAccessor, FollowsAChangeWhileTheAccessorIsInUse) {
    mStore.accessor = std::make_unique<FileDbAccessor>(mFile, std::chrono::milliseconds(10));
    mStore->updateVersion(7);
    EXPECT_TRUE(test::eventually([&] { return hexOf(contentOf(mFile)) == "01 01 07 00 00 00 00 00"; }));
    mStore->updateVersion(8);
    EXPECT_TRUE(test::eventually([&] { return hexOf(contentOf(mFile)) == "01 01 08 00 00 00 00 00"; }));
}

TEST_F(FileOfAnAccessor, IsLoadedByTheNextAccessor) {
    const std::vector cards{withId(3, cardWithKey("A")), withId(1, cardWithKey("B"))};
    for (const RfidCard& card : cards) mStore->createRecord(card);
    mStore.reload();
    EXPECT_EQ(fieldsOf(mStore->readAllRecords()), fieldsOf(cards));
    EXPECT_TRUE(mStore->tagIsKnown(hashKey("A")));
}

TEST_F(FileOfAnAccessor, SetsTheFormatVersionOfTheThreadThatOpensIt) {
    EXPECT_EQ(constructionOver(byte(4) + absent + count(0)), "nothing");
    EXPECT_EQ(sSavedFormatVersion, 4);
}

TEST_F(FileOfAnAccessor, IsRefusedByNameAndPositionWhenItEndsTooEarly) {
    EXPECT_EQ(constructionOver(byte(1) + present + byte(7)),
              "std::runtime_error: Cannot load " + mFile + ": The data ends inside a value at byte 3");
}

TEST_F(FileOfAnAccessor, IsRefusedByNameAndPositionWhenAFlagIsWrong) {
    EXPECT_EQ(constructionOver("no blob"),
              "std::runtime_error: Cannot load " + mFile + ": Neither 0 nor 1 in a flag before byte 2");
}

TEST_F(FileOfAnAccessor, IsRefusedByNameWhenARecordHasNoId) {
    EXPECT_EQ(constructionOver(byte(1) + absent + count(1) + absent + bareCardBytes().substr(5)),
              "std::runtime_error: Cannot load " + mFile + ": bad optional access");
}

TEST_F(FileOfAnAccessor, IsLeftAsItIsWhenItIsRefused) {
    mStore.accessor.reset();
    test::writeFile(mFile, "no blob");
    const test::FileState before = test::stateOf(mFile);
    EXPECT_THROW(FileDbAccessor(mFile, std::chrono::milliseconds(0)), std::runtime_error);
    EXPECT_EQ(test::stateOf(mFile), before);
    EXPECT_THAT(test::namesIn(mStore.folder.path()), ElementsAre("list"));
}

TEST_F(FileOfAnAccessor, StandsForAnEmptyListWhenItHasNoBytes) {
    EXPECT_EQ(constructionOver(""), "nothing");
    const FileDbAccessor accessor(mFile, test::whenDestroyed);
    EXPECT_EQ(accessor.countRecords(), 0U);
}

TEST_F(FileOfAnAccessor, NeedsItsFolder) {
    const std::string file = mStore.folder.file("missing/list");
    EXPECT_EQ(thrownBy([&] { const FileDbAccessor accessor(file, test::whenDestroyed); }),
              "std::runtime_error: Cannot load " + file + ": its folder does not exist");
}

// What the record count modulo 65,536 costs: a longer list is whole in memory only.
TEST_F(FileOfAnAccessor, KeepsOneOf65537RecordsWhenItIsLoadedAgain) {
    RfidCard card;
    for (unsigned i = 0; i < 65537; ++i) mStore->createRecord(card);
    EXPECT_EQ(mStore->countRecords(), 65537U);
    mStore.reload();
    EXPECT_THAT(ids(), ElementsAre(1));
}

TEST_F(FileOfAnAccessor, Holds65535Records) {
    RfidCard card;
    for (unsigned i = 0; i < 65535; ++i) mStore->createRecord(card);
    mStore.reload();
    EXPECT_EQ(mStore->countRecords(), 65535U);
    EXPECT_TRUE(mStore->readRecord(65535));
}

TEST_F(FileOfAnAccessor, ComesIntoBeingWithTheFirstLookup) {
    { const FileDbAccessor accessor(mFile, test::whenDestroyed); }
    EXPECT_FALSE(std::filesystem::exists(mFile));
    EXPECT_FALSE(mStore->readRecord(1));
    mStore.accessor.reset();
    EXPECT_EQ(hexOf(contentOf(mFile)), "01 00 00 00");
}

// A file that is read but not written alike: reading it is enough to bring it into the form that is written.
TEST_F(FileOfAnAccessor, LosesBytesBehindTheLastRecordAndItsFormatVersionWithTheFirstLookup) {
    mStore.accessor.reset();
    const std::string records = absent + count(1) + bareCardBytes();
    test::writeFile(mFile, byte(9) + records + "rest");
    { const FileDbAccessor accessor(mFile, test::whenDestroyed); }
    EXPECT_EQ(hexOf(contentOf(mFile)), hexOf(byte(9) + records + "rest"));
    {
        const FileDbAccessor accessor(mFile, test::whenDestroyed);
        EXPECT_TRUE(accessor.readRecord(1));
    }
    EXPECT_EQ(hexOf(contentOf(mFile)), hexOf(byte(1) + records));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
