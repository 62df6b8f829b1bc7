// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/CardFields.h"
#include "support/Database.h"
#include "support/Files.h"
#include "support/SampleList.h"
#include "support/TemporaryFolder.h"

// A database that an earlier build wrote on x86-64: every later build, on any machine, reads it as the same list and
// stores that list as the same tables and rows. Never change the file.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::Database;
using test::fieldsOf;

const std::string golden = std::string(ORU_TEST_DATA) + "/sqlite/sample-list.db";

// A copy, because whoever opens a database may change it.
class GoldenDatabase : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(std::filesystem::exists(golden));
        std::filesystem::copy_file(golden, mFile);
    }

    test::TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list.db");
};

TEST_F(GoldenDatabase, IsReadAsTheListThatItHolds) {
    const SqliteDbAccessor accessor(mFile);
    EXPECT_EQ(accessor.readVersion(), test::sampleVersion);
    EXPECT_EQ(accessor.countRecords(), test::sampleCards().size());
    for (const RfidCard& card : test::sampleCards()) {
        const auto stored = accessor.readRecord(card.id.value());
        ASSERT_TRUE(stored) << card.description;
        EXPECT_EQ(fieldsOf(*stored), fieldsOf(card));
        for (const RfidTag& tag : card.tags) {
            const auto found = accessor.readRecord(tag.hash, KeyRepresentation::Hash);
            EXPECT_TRUE(found && found->id == card.id) << tag.hash;
        }
    }
}

TEST_F(GoldenDatabase, IsLeftAsItIsByAReader) {
    { EXPECT_EQ(fieldsOf(SqliteDbAccessor(mFile).readAllRecords()), fieldsOf(test::sampleCards())); }
    EXPECT_TRUE(test::contentOf(mFile) == test::contentOf(golden));
}

TEST_F(GoldenDatabase, IsStoredForThatList) {
    const std::string newFile = mFolder.file("new.db");
    test::storeSampleList(SqliteDbAccessor(newFile));
    const Database written(newFile);
    const Database earlier(mFile);
    const auto rowsAgree = [&](const std::string& sql) {
        EXPECT_EQ(written.rows(sql), earlier.rows(sql)) << sql;
        EXPECT_FALSE(earlier.rows(sql).empty()) << sql;
    };
    rowsAgree("SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY name");
    rowsAgree("SELECT * FROM sqlite_sequence ORDER BY name");
    rowsAgree("SELECT id, quote(version) FROM metadata");
    rowsAgree(
        "SELECT id, quote(description), quote(rfid_card_status), quote(expiry_date), quote(parent_id), "
        "quote(evse_id), quote(extra_data), quote(last_access_time), quote(last_modification_time), "
        "quote(record_lifetime) FROM rfid_card ORDER BY id");
    rowsAgree("SELECT id, rfid_card, quote(hash), quote(key), quote(extra_data) FROM rfid_tag ORDER BY id");
    rowsAgree("PRAGMA encoding");
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
