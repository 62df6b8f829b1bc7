// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/sqlite/AccessorFixture.h"
#include "db/sqlite/BuilderFixture.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/Database.h"
#include "support/OrdinaryRights.h"
#include "support/SqlText.h"
#include "support/ThrownBy.h"

// The index makes finding a card's tags fast. Nothing may depend on it: lists of other writers have none, and where it
// cannot be created the backend works without.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::cardWithKey;
using test::Database;
using test::fieldsOf;
using test::tagWithKey;
using test::thrownBy;

constexpr const char* indexCount = "SELECT COUNT(*) FROM sqlite_master WHERE name = 'rfid_tag_rfid_card'";
constexpr const char* dropIndex = "DROP INDEX rfid_tag_rfid_card";

class TagIndex : public test::AccessorFixture {
protected:
    bool exists() const { return committed(indexCount) == "1"; }

    // Closes the accessor, takes the index away and leaves the list for somebody who opens it.
    void closeWithoutIndex() {
        mAccessor.reset();
        change(dropIndex);
    }

    // Whether an accessor finds, changes and deletes cards as it should.
    static void expectToWork(const IDbAccessor& accessor) {
        RfidCard card = cardWithKey("new");
        card.tags.push_back(tagWithKey("newer"));
        card.id = accessor.createRecord(card);
        EXPECT_EQ(fieldsOf(accessor.readRecord("newer", KeyRepresentation::Key).value()), fieldsOf(card));
        card.tags.pop_back();
        accessor.updateRecord(card);
        EXPECT_EQ(fieldsOf(accessor.readRecord(*card.id).value()), fieldsOf(card));
        accessor.deleteRecord("new", KeyRepresentation::Key);
        EXPECT_FALSE(accessor.tagIsKnown(hashKey("new")));
    }
};

TEST_F(TagIndex, ComesWithANewDatabase) {
    EXPECT_EQ(test::squeezed(committed("SELECT sql FROM sqlite_master WHERE name = 'rfid_tag_rfid_card'")),
              R"(CREATE INDEX "rfid_tag_rfid_card" ON "rfid_tag"("rfid_card"))");
}

TEST_F(TagIndex, ComesToADatabaseThatHasNone) {
    RfidCard card = cardWithKey("A");
    card.id = mAccessor->createRecord(card);
    closeWithoutIndex();
    ASSERT_FALSE(exists());
    const SqliteDbAccessor accessor(mFile);
    EXPECT_TRUE(exists());
    EXPECT_EQ(fieldsOf(accessor.readAllRecords()), fieldsOf(std::vector{card}));
    EXPECT_EQ(committed("PRAGMA integrity_check"), "ok");
}

TEST_F(TagIndex, IsUsedToFindTheTagsOfACard) {
    const auto plan = [&] {
        const SqliteStatement statement = prepared("EXPLAIN QUERY PLAN SELECT * FROM rfid_tag WHERE rfid_card=?");
        EXPECT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
        return std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 3)));
    };
    EXPECT_EQ(plan(), "SEARCH rfid_tag USING INDEX rfid_tag_rfid_card (rfid_card=?)");
    change(dropIndex);
    mAccessor->countRecords();  // the connection takes notice
    EXPECT_EQ(plan(), "SCAN rfid_tag");
}

TEST_F(TagIndex, MayBeDroppedWhileTheListIsOpen) {
    change(dropIndex);
    expectToWork(*mAccessor);
}

TEST_F(TagIndex, IsDoneWithoutWhileAnotherConnectionWrites) {
    RfidCard card = cardWithKey("A");
    card.id = mAccessor->createRecord(card);
    closeWithoutIndex();
    std::unique_ptr<SqliteDbAccessor> accessor;
    {
        const Database other(mFile);
        other.execute("BEGIN IMMEDIATE");
        accessor = mSpy.watch([this] { return std::make_unique<SqliteDbAccessor>(mFile); });
        EXPECT_EQ(test::liveStatements(connection()), 0);
        EXPECT_FALSE(inTransaction());
        EXPECT_EQ(fieldsOf(accessor->readAllRecords()), fieldsOf(std::vector{card}));
        other.execute("COMMIT");
    }
    EXPECT_FALSE(exists());
    expectToWork(*accessor);
    EXPECT_FALSE(exists());
    accessor.reset();
    expectToWork(SqliteDbAccessor(mFile));
    EXPECT_TRUE(exists());
}

TEST_F(TagIndex, IsDoneWithoutWhileAnotherConnectionReads) {
    closeWithoutIndex();
    const Database other(mFile);
    other.execute("BEGIN; SELECT * FROM rfid_card");
    const SqliteDbAccessor accessor(mFile);
    other.execute("COMMIT");
    EXPECT_FALSE(exists());
    expectToWork(accessor);
}

TEST_F(TagIndex, IsDoneWithoutInAReadOnlyFile) {
    RfidCard card = cardWithKey("A");
    card.tags.push_back(tagWithKey("B"));
    card.id = mAccessor->createRecord(card);
    closeWithoutIndex();
    std::filesystem::permissions(mFile, std::filesystem::perms::owner_read);
    const test::OrdinaryRights rights;
    const SqliteDbAccessor accessor(mFile);
    EXPECT_EQ(fieldsOf(accessor.readRecord("B", KeyRepresentation::Key).value()), fieldsOf(card));
    EXPECT_FALSE(exists());
}

TEST_F(TagIndex, IsDoneWithoutWhenItsNameIsTaken) {
    closeWithoutIndex();
    change("CREATE TABLE rfid_tag_rfid_card(a)");
    expectToWork(SqliteDbAccessor(mFile));
    EXPECT_EQ(committed("SELECT type FROM sqlite_master WHERE name = 'rfid_tag_rfid_card'"), "table");
}

class TagIndexCreation : public test::BuilderFixture {};

TEST_F(TagIndexCreation, IsIgnoredWhenItFails) {
    mBuilder.createTagIndex();
    EXPECT_TRUE(rowsOf("SELECT * FROM sqlite_master").empty());
    createAllTables();
    mBuilder.createTagIndex();
    mBuilder.createTagIndex();
    EXPECT_EQ(Database(mFile).value(indexCount), "1");
}

// The same random work on two lists, one of them without the index.
TEST_F(TagIndex, LeavesTheOrderOfAllResultsAsItIs) {
    const std::string otherFile = mFolder.file("without.db");
    const SqliteDbAccessor without(otherFile);
    Database(otherFile).execute(dropIndex);
    std::mt19937 random(20260101);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    unsigned tagsMade = 0;
    const auto randomCard = [&] {
        RfidCard card = cardWithKey("tag " + std::to_string(tagsMade++));
        for (unsigned more = below(4); more > 0; --more) {
            const auto place = card.tags.begin() + static_cast<std::ptrdiff_t>(below(2));
            card.tags.insert(place, tagWithKey("tag " + std::to_string(tagsMade++)));
        }
        card.status = static_cast<RfidCardStatus>(below(6));
        card.lastModificationTime += std::chrono::seconds(below(5));
        return card;
    };
    // A card with the same tag twice is refused, and leaves half of its tags behind, on both.
    const auto onBoth = [&](const auto& action) {
        EXPECT_EQ(thrownBy([&] { action(*mAccessor); }), thrownBy([&] { action(without); }));
    };
    for (int step = 0; step < 150; ++step) {
        RfidCard card = randomCard();
        card.id = below(3) == 0 ? std::optional(1 + below(30)) : std::nullopt;
        if (below(10) == 0) card.tags.push_back(card.tags.front());
        const unsigned id = 1 + below(30);
        switch (below(5)) {
            case 0:
            case 1:
                onBoth([&](const auto& accessor) { accessor.createRecord(card); });
                break;
            case 2:
                card.id = id;
                onBoth([&](const auto& accessor) { accessor.updateRecord(card); });
                break;
            case 3:
                onBoth([&](const auto& accessor) { accessor.deleteRecord(id); });
                break;
            default:
                onBoth([&](const auto& accessor) { accessor.deleteOldestRecord(); });
        }
        ASSERT_EQ(fieldsOf(mAccessor->readAllRecords()), fieldsOf(without.readAllRecords())) << step;
    }
    for (const auto key : {SortingAndFilteringKey::Status, SortingAndFilteringKey::LastModificationTime}) {
        for (const auto order : {SortingOrder::Ascending, SortingOrder::Descending}) {
            EXPECT_EQ(fieldsOf(mAccessor->readRecordRange({}, {}, {}, {}, {}, key, order)),
                      fieldsOf(without.readRecordRange({}, {}, {}, {}, {}, key, order)));
        }
    }
    EXPECT_GT(mAccessor->countRecords(), 5U);
    EXPECT_TRUE(exists());
    EXPECT_EQ(Database(otherFile).value(indexCount), "0");
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
