// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "authlist/IDbAccessor.h"
#include "authlist/KeyHash.h"
#include "authlist/Timestamp.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/AnyBackend.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileStore.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

// The same random operations on a list in SQLite, on one in a file and on a plain map: all three agree, but for what
// the backends do differently on purpose, which the operations stay clear of:
//
//  - The ids that a backend hands out: cards bring their own, apart from some that are compared without and removed.
//  - The order without a sort key, and among equals: SQLite by id, the file as inserted and by falling ids. Lists are
//    compared by id; every range has a sort key, and no two cards have a time in common.
//  - Statuses compare as texts in SQLite and as numbers in a file: they are filtered for equality only, not sorted by.
//  - A card without expiry date passes a filter for "not equal" in a file only: there is no such filter.
//  - An offset without a limit is ignored by SQLite: each comes with one.
//  - The oldest card is that of the earliest change in SQLite and of the earliest access in a file: it is made both.
//  - Times are whole seconds from 1970 to 2106 in SQLite: there are no others. Expiry dates lie far from today, as the
//    backends look at fractions of this second or do not.
//  - Two tags with one hash, values of the wrong type for a filter, texts with zero bytes, ids from 2^31: none.

namespace oru::kadi::authlist::db {
namespace {

using Key = SortingAndFilteringKey;
using Op = FilteringOperator;
using test::at;
using test::fieldsOf;
using test::Range;
using test::readRange;
using test::thrownBy;

constexpr unsigned operations = 10000;
constexpr std::size_t mostCards = 20;

// While it lives, databases are opened without waiting for the disk at each commit: nobody will cut the power.
class WithoutWaitingForTheDisk {
public:
    WithoutWaitingForTheDisk() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(&opened)); }
    WithoutWaitingForTheDisk(const WithoutWaitingForTheDisk&) = delete;
    WithoutWaitingForTheDisk& operator=(const WithoutWaitingForTheDisk&) = delete;
    ~WithoutWaitingForTheDisk() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&opened)); }

private:
    static int opened(sqlite3* db, char** /*message*/, const sqlite3_api_routines* /*api*/) {
        return sqlite3_exec(db, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr);
    }
};

// A source of chance that is the same on every machine.
class Chance {
public:
    explicit Chance(std::uint32_t seed) : mRandom(seed) {}

    std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(mRandom() % bound); }
    std::uint32_t any32Bits() { return static_cast<std::uint32_t>(mRandom()); }
    bool oneIn(std::uint32_t chances) { return below(chances) == 0; }

    template <class Value>
    Value oneOf(const std::vector<Value>& values) {
        return values[below(static_cast<std::uint32_t>(values.size()))];
    }

private:
    std::mt19937 mRandom;
};

class TwoStores {
public:
    explicit TwoStores(std::uint32_t seed) : mChance(seed) { open(); }

    /// Carries out one operation on all three lists, compares what it yields and tells what it was.
    std::string next() {
        struct Kind {
            std::uint32_t weight;
            std::string (TwoStores::*run)();
        };
        static const std::array<Kind, 15> kinds{{
            {24, &TwoStores::create},
            {3, &TwoStores::createWithUsedId},
            {3, &TwoStores::createWithoutId},
            {14, &TwoStores::update},
            {3, &TwoStores::updateUnknown},
            {1, &TwoStores::updateWithoutId},
            {12, &TwoStores::find},
            {12, &TwoStores::remove},
            {1, &TwoStores::removeCategory},
            {3, &TwoStores::removeOldest},
            {3, &TwoStores::changeVersion},
            {24, &TwoStores::readAPage},
            {4, &TwoStores::ask},
            {1, &TwoStores::reopen},
            {1, &TwoStores::removeAllNowAndThen},
        }};
        std::uint32_t total = 0;
        for (const Kind& kind : kinds) total += kind.weight;
        std::uint32_t chosen = mChance.below(total);
        auto kind = kinds.begin();
        for (; chosen >= kind->weight; ++kind) chosen -= kind->weight;
        return (this->*kind->run)();
    }

    void expectSameLists() const {
        std::vector<RfidCard> expected;
        for (const auto& [id, card] : mCards) expected.push_back(card);
        EXPECT_EQ(fieldsOf(byId(mSqlite->readAllRecords())), fieldsOf(expected)) << "SQLite";
        EXPECT_EQ(fieldsOf(byId(mFile->readAllRecords())), fieldsOf(expected)) << "file";
        EXPECT_EQ(mSqlite->readVersion(), mVersion) << "SQLite";
        EXPECT_EQ(mFile->readVersion(), mVersion) << "file";
    }

    unsigned pagesWithCards() const { return mPagesWithCards; }

private:
    void open() {
        const WithoutWaitingForTheDisk fast;
        mSqlite = std::make_unique<sqlite::SqliteDbAccessor>(mFolder.file("list.db"));
        mFile = std::make_unique<filestorage::FileDbAccessor>(mFolder.file("list"), std::chrono::milliseconds(50));
    }

    static std::vector<RfidCard> byId(std::vector<RfidCard> cards) {
        std::stable_sort(cards.begin(), cards.end(),
                         [](const RfidCard& a, const RfidCard& b) { return a.id.value() < b.id.value(); });
        return cards;
    }

    // The outcome of an operation on both backends, which must be the same.
    template <class Ask>
    auto bothAnswer(Ask ask) {
        const auto fromSqlite = ask(static_cast<const IDbAccessor&>(*mSqlite));
        const auto fromFile = ask(static_cast<const IDbAccessor&>(*mFile));
        EXPECT_EQ(fromSqlite, fromFile);
        return fromFile;
    }
    template <class Act>
    void both(Act act) {
        act(static_cast<const IDbAccessor&>(*mSqlite));
        act(static_cast<const IDbAccessor&>(*mFile));
    }

    // Random cards

    unsigned unusedId() {
        unsigned id = 0;
        do id = mChance.below(mChance.oneIn(2) ? 200 : 1U << 30U);
        while (mCards.contains(id));
        return id;
    }

    unsigned storedId() {
        auto card = mCards.begin();
        std::advance(card, mChance.below(static_cast<std::uint32_t>(mCards.size())));
        return card->first;
    }

    unsigned anyId() { return mCards.empty() || mChance.oneIn(4) ? unusedId() : storedId(); }

    // A second that no other card has in any of its times, far from today; every one of the 2^32 comes once.
    TimePoint unusedTime() {
        std::uint32_t second = 0;
        do second = ++mTimes * 2654435761U;
        while (second > 1600000000 && second < 2200000000);
        return at(second);
    }

    std::string anyText() {
        return mChance.oneOf<std::string>({"", "Tür für Jörg", "it's \"quoted\"", "a,b;c|d\r\n", "{\"a\":1}", "%_",
                                           "NULL", "0x1F", std::string(300, 'y'), std::to_string(mChance.any32Bits())});
    }

    template <class Value>
    std::optional<Value> maybe(Value value) {
        return mChance.oneIn(3) ? std::nullopt : std::optional(std::move(value));
    }

    RfidTag newTag() {
        const std::string key = "key " + std::to_string(mKeys++) + anyText();
        return RfidTag{hashKey(key), mChance.oneIn(8) ? std::string() : maybe(key), maybe(anyText())};
    }

    RfidCard newCard(std::optional<unsigned> id) {
        RfidCard card;
        card.id = id;
        card.description = anyText();
        for (std::uint32_t tags = mChance.below(4); tags > 0; --tags) card.tags.push_back(newTag());
        card.status = static_cast<RfidCardStatus>(mChance.below(6));
        card.expiryDate = maybe(unusedTime());
        card.parentId = maybe(anyText());
        card.evseId = maybe(mChance.any32Bits());
        card.extraData = maybe(anyText());
        card.lastAccessTime = unusedTime();
        card.lastModificationTime = unusedTime();
        card.recordLifetime = maybe(mChance.any32Bits());
        return card;
    }

    std::optional<RfidTag> anyStoredTag() {
        if (mCards.empty()) return std::nullopt;
        const RfidCard& card = mCards.at(storedId());
        return card.tags.empty() ? std::nullopt : std::optional(mChance.oneOf(card.tags));
    }

    // A key or hash, stored or not, that stands for a card.
    std::pair<std::string, KeyRepresentation> anyLookup() {
        const auto tag = anyStoredTag();
        if (!tag || mChance.oneIn(4))
            return {"unknown", mChance.oneIn(2) ? KeyRepresentation::Key : KeyRepresentation::Hash};
        if (tag->key && !tag->key->empty() && mChance.oneIn(2)) return {*tag->key, KeyRepresentation::Key};
        return {tag->hash, KeyRepresentation::Hash};
    }

    // What the map has for the tag of a lookup.
    std::map<unsigned, RfidCard>::iterator expectedAt(const std::pair<std::string, KeyRepresentation>& lookup) {
        const std::string hash = lookup.second == KeyRepresentation::Key ? hashKey(lookup.first) : lookup.first;
        return std::find_if(mCards.begin(), mCards.end(), [&hash](const auto& entry) {
            const auto& tags = entry.second.tags;
            return std::any_of(tags.begin(), tags.end(), [&hash](const RfidTag& tag) { return tag.hash == hash; });
        });
    }

    // The operations

    std::string create() {
        if (mCards.size() >= mostCards) return remove();
        const RfidCard card = newCard(unusedId());
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return store.createRecord(card); }), card.id);
        mCards[*card.id] = card;
        return "create " + std::to_string(*card.id);
    }

    std::string createWithUsedId() {
        if (mCards.empty()) return create();
        const RfidCard card = newCard(storedId());
        EXPECT_EQ(thrownBy([&] { mSqlite->createRecord(card); }),
                  "std::runtime_error: Cannot create new record in DB: 19SQL constraint violation");
        EXPECT_EQ(thrownBy([&] { mFile->createRecord(card); }),
                  "std::runtime_error: Cannot create new record in DB: constraint violation");
        return "create the used " + std::to_string(*card.id);
    }

    // Each backend hands out an id of its own; but for that the cards are the same, and then they go.
    std::string createWithoutId() {
        RfidCard card = newCard(std::nullopt);
        const std::string key = "key " + std::to_string(mKeys++);
        card.tags.push_back(test::tagWithKey(key));
        both([&](const IDbAccessor& store) {
            const unsigned id = store.createRecord(card);
            RfidCard stored = store.readRecord(key, KeyRepresentation::Key).value();
            EXPECT_EQ(std::exchange(stored.id, std::nullopt), id);
            EXPECT_EQ(fieldsOf(stored), fieldsOf(card));
            EXPECT_EQ(store.countRecords(), mCards.size() + 1);
            store.deleteRecord(key, KeyRepresentation::Key);
        });
        return "create without id";
    }

    std::string update() {
        if (mCards.empty()) return create();
        const unsigned id = storedId();
        RfidCard card = newCard(id);
        if (mChance.oneIn(2)) card.tags = mCards.at(id).tags;
        if (mChance.oneIn(4)) std::reverse(card.tags.begin(), card.tags.end());
        if (mChance.oneIn(4)) card.tags.push_back(newTag());
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return store.updateRecord(card); }), id);
        mCards[id] = card;
        return "update " + std::to_string(id);
    }

    std::string updateUnknown() {
        const RfidCard card = newCard(unusedId());
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return store.updateRecord(card); }), card.id);
        mCards[*card.id] = card;
        return "update the unknown " + std::to_string(*card.id);
    }

    std::string updateWithoutId() {
        const RfidCard card = newCard(std::nullopt);
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return thrownBy([&] { store.updateRecord(card); }); }),
                  "std::bad_optional_access: bad optional access");
        return "update without id";
    }

    static auto fieldsOfFound(const std::optional<RfidCard>& card) {
        return card ? std::optional(fieldsOf(*card)) : std::nullopt;
    }

    std::string find() {
        if (mChance.oneIn(2)) {
            const unsigned id = anyId();
            const auto expected = mCards.find(id);
            EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return fieldsOfFound(store.readRecord(id)); }),
                      expected == mCards.end() ? std::nullopt : std::optional(fieldsOf(expected->second)));
            return "find " + std::to_string(id);
        }
        const auto lookup = anyLookup();
        const auto expected = expectedAt(lookup);
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) {
                      return fieldsOfFound(store.readRecord(lookup.first, lookup.second));
                  }),
                  expected == mCards.end() ? std::nullopt : std::optional(fieldsOf(expected->second)));
        return "find " + lookup.first;
    }

    std::string remove() {
        if (mChance.oneIn(2)) {
            const unsigned id = anyId();
            both([&](const IDbAccessor& store) { store.deleteRecord(id); });
            mCards.erase(id);
            return "remove " + std::to_string(id);
        }
        const auto lookup = anyLookup();
        both([&](const IDbAccessor& store) { store.deleteRecord(lookup.first, lookup.second); });
        const auto expected = expectedAt(lookup);
        if (expected != mCards.end()) mCards.erase(expected);
        return "remove " + lookup.first;
    }

    std::string removeCategory() {
        const auto category = static_cast<RecordRemovalCategory>(mChance.below(3));
        const TimePoint now = std::chrono::system_clock::now();
        const auto removed = std::erase_if(mCards, [&](const auto& entry) {
            const RfidCard& card = entry.second;
            if (category == RecordRemovalCategory::PastExpiryDate) return card.expiryDate && *card.expiryDate < now;
            if (category == RecordRemovalCategory::ExpiredStatus) return card.status == RfidCardStatus::Expired;
            return card.status == RfidCardStatus::Blocked || card.status == RfidCardStatus::Invalid;
        });
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return store.deleteRecordCategory(category); }),
                  removed > 0);
        return "remove category " + std::to_string(static_cast<int>(category));
    }

    std::string removeOldest() {
        if (!mCards.empty()) {
            RfidCard oldest = mCards.at(storedId());
            oldest.lastAccessTime = oldest.lastModificationTime = at(0);  // no other has it: unusedTime starts behind
            both([&](const IDbAccessor& store) { store.updateRecord(oldest); });
            mCards.erase(*oldest.id);
        }
        both([](const IDbAccessor& store) { store.deleteOldestRecord(); });
        return "remove the oldest";
    }

    std::string removeAllNowAndThen() {
        if (!mChance.oneIn(4)) return find();
        both([](const IDbAccessor& store) { store.deleteAllRecords(); });
        mCards.clear();
        return "remove all";
    }

    std::string changeVersion() {
        mVersion = mChance.any32Bits();
        both([this](const IDbAccessor& store) { store.updateVersion(*mVersion); });
        return "change the version";
    }

    std::string ask() {
        EXPECT_EQ(bothAnswer([](const IDbAccessor& store) { return store.countRecords(); }), mCards.size());
        const auto tag = anyStoredTag();
        const std::string hash = tag && !mChance.oneIn(4) ? tag->hash : anyText();
        const auto expected = expectedAt({hash, KeyRepresentation::Hash});
        EXPECT_EQ(bothAnswer([&](const IDbAccessor& store) { return store.tagIsKnown(hash); }),
                  expected != mCards.end());
        return "ask for the count and for " + hash;
    }

    std::string reopen() {
        mSqlite.reset();
        mFile.reset();
        open();
        return "reopen";
    }

    // Ranges

    void addFilter(Range& range) {
        const Key key = static_cast<Key>(mChance.below(5));
        const Op op = static_cast<Op>(mChance.below(key == Key::ExpiryDate ? 5 : 6));
        const RfidCard card = mCards.empty() || mChance.oneIn(4) ? newCard(anyId()) : mCards.at(storedId());
        range.filterKey = key;
        range.filterOperator = op;
        switch (key) {
            case Key::Id:
                range.filterValue = CardValue{*card.id};
                break;
            case Key::Status:
                range.filterOperator = mChance.oneIn(2) ? Op::Equal : Op::NotEqual;
                range.filterValue = CardValue{card.status};
                if (mChance.oneIn(2)) range.filterValue = CardValue{std::string(statusToText(card.status))};
                break;
            case Key::ExpiryDate:
                range.filterValue = CardValue{timestampToString(card.expiryDate.value_or(card.lastAccessTime)).value()};
                break;
            case Key::LastAccessTime:
                range.filterValue = CardValue{timestampToString(card.lastAccessTime).value()};
                break;
            case Key::LastModificationTime:
                range.filterValue = CardValue{timestampToString(card.lastModificationTime).value()};
                break;
        }
    }

    // An incomplete filter is none.
    void dropAPartOfTheFilter(Range& range) {
        switch (mChance.below(3)) {
            case 0:
                range.filterKey.reset();
                break;
            case 1:
                range.filterOperator.reset();
                break;
            default:
                range.filterValue.reset();
        }
    }

    std::string readAPage() {
        Range range;
        if (!mChance.oneIn(3)) addFilter(range);
        if (mChance.oneIn(6)) dropAPartOfTheFilter(range);
        const auto undated =
            std::count_if(mCards.begin(), mCards.end(), [](const auto& entry) { return !entry.second.expiryDate; });
        range.sortKey = mChance.oneOf<Key>({Key::Id, Key::LastAccessTime, Key::LastModificationTime, Key::ExpiryDate});
        const bool filtersTheUndatedOut = range.filterKey == Key::ExpiryDate && range.filterValue &&
                                          (range.filterOperator == Op::Less || range.filterOperator == Op::LessOrEqual);
        if (range.sortKey == Key::ExpiryDate && undated > 1 && !filtersTheUndatedOut) range.sortKey = Key::Id;
        if (!mChance.oneIn(3)) range.sortOrder = static_cast<SortingOrder>(mChance.below(2));
        if (!mChance.oneIn(3)) range.limit = mChance.below(mostCards);
        if (range.limit && mChance.oneIn(2)) range.offset = mChance.below(mostCards);
        const auto page = bothAnswer([&](const IDbAccessor& store) { return fieldsOf(readRange(store, range)); });
        if (!page.empty()) ++mPagesWithCards;
        return "read a page";
    }

    Chance mChance;
    test::TemporaryFolder mFolder;
    std::unique_ptr<sqlite::SqliteDbAccessor> mSqlite;
    std::unique_ptr<filestorage::FileDbAccessor> mFile;
    std::map<unsigned, RfidCard> mCards;
    std::optional<unsigned> mVersion;
    std::uint32_t mTimes = 0;
    unsigned mKeys = 0;
    unsigned mPagesWithCards = 0;
};

// Another seed than the usual one comes from the environment.
std::uint32_t seed() {
    const char* const given = std::getenv("AUTHLIST_SEED");
    return given == nullptr ? 20260101 : static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
}

TEST(SqliteAndFile, HoldTheSameListThroughTenThousandRandomOperations) {
    std::printf("AUTHLIST_SEED=%u\n", seed());
    TwoStores stores(seed());
    for (unsigned i = 0; i < operations && !testing::Test::HasFailure(); ++i) {
        const std::string operation = stores.next();
        if (i % 2 == 1) stores.expectSameLists();
        if (testing::Test::HasFailure()) std::printf("in operation %u: %s\n", i, operation.c_str());
    }
    EXPECT_GT(stores.pagesWithCards(), operations / 20);
}

}  // namespace
}  // namespace oru::kadi::authlist::db
