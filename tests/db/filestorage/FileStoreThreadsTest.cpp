// SPDX-License-Identifier: Apache-2.0
// Several threads at one accessor, while its file is written all the time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileState.h"
#include "support/ListFile.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr unsigned threads = 4;
constexpr int operations = 600;

// On a new list ids only grow, and every card is added at the end.
template <class Cards>
bool idsGrow(const Cards& cards) {
    for (auto card = cards.begin(); card != cards.end() && std::next(card) != cards.end(); ++card) {
        if (card->id >= std::next(card)->id) return false;
    }
    return true;
}

// One of the threads: works on cards of its own and remembers what must be stored of them.
class Worker {
public:
    Worker(const FileDbAccessor& accessor, unsigned number)
        : mAccessor(accessor), mName("worker " + std::to_string(number)), mRandom(number) {}

    void work() {
        for (int i = 0; i < operations; ++i) step();
    }

    const std::map<unsigned, RfidCard>& cards() const { return mCards; }
    int surprises() const { return mSurprises; }

private:
    void step() {
        switch (mRandom() % 10) {
            case 0:
                return remove();
            case 1:
                return change();
            case 2:
                return check(idsGrow(mAccessor.readAllRecords()));
            case 3:
                return check(mAccessor.countRecords() >= mCards.size());
            case 4:
                return mAccessor.updateVersion(static_cast<unsigned>(mRandom()));
            case 5:
                return search();
            case 6:
                return removeBlocked();
            default:
                return create(RfidCardStatus::Accepted);
        }
    }

    void create(RfidCardStatus status) {
        RfidCard card = cardWithKey(mName + " key " + std::to_string(mCreated++), status);
        const unsigned id = mAccessor.createRecord(card);
        card.id = id;
        check(mCards.emplace(id, card).second);
    }

    void change() {
        if (mCards.empty()) return;
        RfidCard& card = anyCard();
        card.description += '+';
        card.lastModificationTime += 1s;
        check(mAccessor.updateRecord(card) == card.id);
    }

    void remove() {
        if (mCards.empty()) return;
        const RfidCard card = anyCard();
        if (mRandom() % 2 == 0) {
            mAccessor.deleteRecord(*card.id);
        } else {
            mAccessor.deleteRecord(card.tags.front().hash, KeyRepresentation::Hash);
        }
        mCards.erase(*card.id);
        check(!mAccessor.readRecord(*card.id) && !mAccessor.tagIsKnown(card.tags.front().hash));
    }

    void search() {
        if (mCards.empty()) return;
        const RfidCard& card = anyCard();
        const auto found = mAccessor.readRecord(card.tags.front().key.value(), KeyRepresentation::Key);
        check(found && fieldsOf(*found) == fieldsOf(card));
        const auto range = mAccessor.readRecordRange(1, std::nullopt, SortingAndFilteringKey::Id,
                                                     FilteringOperator::Equal, *card.id, std::nullopt, std::nullopt);
        check(range.size() == 1 && fieldsOf(range.front()) == fieldsOf(card));
    }

    // A card that any of the threads may remove; nobody counts on it.
    void removeBlocked() {
        mAccessor.createRecord(cardWithKey(mName + " blocked " + std::to_string(mCreated++), RfidCardStatus::Blocked));
        mAccessor.deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid);
    }

    RfidCard& anyCard() {
        return std::next(mCards.begin(), static_cast<std::ptrdiff_t>(mRandom() % mCards.size()))->second;
    }

    void check(bool isAsExpected) {
        if (!isAsExpected) ++mSurprises;
    }

    const FileDbAccessor& mAccessor;
    std::string mName;
    std::mt19937 mRandom;
    std::map<unsigned, RfidCard> mCards;
    unsigned mCreated = 0;
    int mSurprises = 0;
};

TEST(FileStoreThreads, KeepEachOthersCardsWhole) {
    const TemporaryFolder folder;
    const std::string path = folder.file("list");
    std::map<unsigned, RfidCard> expected;
    std::vector<RfidCard> inMemory;
    std::optional<unsigned> version;
    {
        const FileDbAccessor accessor(path, 1ms);
        std::vector<Worker> workers;
        for (unsigned i = 0; i < threads; ++i) workers.emplace_back(accessor, i);
        std::atomic<unsigned> running = threads;
        std::vector<std::thread> running_threads;
        for (Worker& worker : workers) {
            running_threads.emplace_back([&worker, &running] {
                worker.work();
                --running;
            });
        }
        int filesSeen = 0;
        while (running > 0) {
            if (!std::filesystem::exists(path)) continue;
            EXPECT_TRUE(idsGrow(storedIn(path).cards)) << "in file " << filesSeen;
            ++filesSeen;
        }
        for (std::thread& thread : running_threads) thread.join();
        EXPECT_GT(filesSeen, 0);
        for (const Worker& worker : workers) {
            EXPECT_EQ(worker.surprises(), 0);
            expected.insert(worker.cards().begin(), worker.cards().end());
        }
        inMemory = accessor.readAllRecords();
        version = accessor.readVersion();
    }
    std::vector<RfidCard> expectedCards;
    for (const auto& [id, card] : expected) expectedCards.push_back(card);
    EXPECT_EQ(fieldsOf(inMemory), fieldsOf(expectedCards));
    EXPECT_TRUE(version);

    const FileDbAccessor reloaded(path, 1h);
    EXPECT_EQ(fieldsOf(reloaded.readAllRecords()), fieldsOf(expectedCards));
    EXPECT_EQ(reloaded.readVersion(), version);
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("list"));
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
