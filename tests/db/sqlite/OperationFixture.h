// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "authlist/IDbAccessor.h"
#include "authlist/KeyHash.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "db/sqlite/AccessorFixture.h"
#include "support/Cards.h"
#include "support/ConnectionSpy.h"
#include "support/Database.h"
#include "support/NamedCase.h"

namespace oru::kadi::authlist::test {

/// An operation of the accessor with the statements that it runs, in their order, on the list of OperationFixture.
struct Operation : NamedCase {
    void (*run)(const IDbAccessor& accessor);
    bool writes;
    std::vector<std::string> statements;  ///< with 'now' for the present time
    bool hasVersion = true;               ///< of that list
};

inline RfidCard firstCard() {
    RfidCard card = cardWithId(1, "A");
    card.tags.push_back(tagWithKey("B"));
    return card;
}

inline RfidCard firstCardWithOtherTags() {
    RfidCard card = firstCard();
    card.tags = {tagWithKey("B"), tagWithKey("C")};
    return card;
}

inline RfidCard blockedCard() {
    RfidCard card = cardWithKey("X", RfidCardStatus::Blocked);
    card.expiryDate = at(1000000000);
    return card;
}

/// Statements as ConnectionSpy gives them.
namespace sql {
inline const std::string begin = "BEGIN TRANSACTION;";
inline const std::string commit = "COMMIT;";

inline std::string findCardId(const std::string& hash) {
    return "SELECT DISTINCT rfid_card FROM rfid_tag WHERE hash = '" + hash + "';";
}
inline std::string readCard(const std::string& id) { return "SELECT * FROM rfid_card WHERE id=" + id; }
inline std::string readTags(const std::string& id) { return "SELECT * FROM rfid_tag WHERE rfid_card=" + id; }
inline std::string deleteCard(const std::string& id) { return "DELETE FROM rfid_card WHERE id = " + id + ";"; }

inline const std::string cardValues =
    "'Accepted', NULL, NULL, NULL, NULL, '2026-01-01T00:00:00Z', '2026-01-01T00:00:00Z', NULL);";

inline std::string insertCard(const std::string& key) {
    return "INSERT INTO rfid_card(description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
           "last_access_time, last_modification_time, record_lifetime) VALUES('Card " +
           key + "', " + cardValues;
}
inline std::string insertCard(const std::string& id, const std::string& key) {
    return "INSERT INTO rfid_card(id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
           "last_access_time, last_modification_time, record_lifetime) VALUES(" +
           id + ", 'Card " + key + "', " + cardValues;
}
inline std::string insertTag(const std::string& card, const std::string& key) {
    return "INSERT INTO rfid_tag(rfid_card, hash, key, extra_data) VALUES(" + card + ", '" + hashKey(key) + "', '" +
           key + "', NULL);";
}
inline const std::string updateFirstCard =
    "UPDATE rfid_card SET description = 'Card A', rfid_card_status = 'Accepted', expiry_date = NULL, "
    "parent_id = NULL, evse_id = NULL, extra_data = NULL, last_access_time = '2026-01-01T00:00:00Z', "
    "last_modification_time = '2026-01-01T00:00:00Z', record_lifetime = NULL WHERE id = 1;";

inline const std::string countVersions = "SELECT COUNT(*) FROM metadata";
}  // namespace sql

inline const std::vector<Operation> operations{
    {{"CreateRecord"},
     [](const auto& accessor) { accessor.createRecord(cardWithKey("N")); },
     true,
     {sql::begin, sql::insertCard("N"), "SELECT last_insert_rowid() FROM rfid_card", sql::insertTag("3", "N"),
      sql::commit}},
    {{"CreateRecordWithId"},
     [](const auto& accessor) { accessor.createRecord(cardWithId(9, "N")); },
     true,
     {sql::begin, sql::insertCard("9", "N"), sql::insertTag("9", "N"), sql::commit}},
    {{"UpdateRecordWithTheSameTags"},
     [](const auto& accessor) { accessor.updateRecord(firstCard()); },
     true,
     {sql::readCard("1"), sql::readTags("1"), sql::begin, sql::updateFirstCard, sql::commit}},
    {{"UpdateRecordWithOtherTags"},
     [](const auto& accessor) { accessor.updateRecord(firstCardWithOtherTags()); },
     true,
     {sql::readCard("1"), sql::readTags("1"), sql::begin, sql::updateFirstCard,
      "DELETE FROM rfid_tag WHERE rfid_card = 1;", sql::insertTag("1", "B"), sql::insertTag("1", "C"), sql::commit}},
    {{"UpdateRecordOfAnUnknownId"},
     [](const auto& accessor) { accessor.updateRecord(cardWithId(40, "N")); },
     true,
     {sql::readCard("40"), sql::begin, sql::insertCard("40", "N"), sql::insertTag("40", "N"), sql::commit}},
    {{"ReadRecordByKey"},
     [](const auto& accessor) { accessor.readRecord("B", KeyRepresentation::Key); },
     false,
     {sql::findCardId(hashKey("B")), sql::readCard("1"), sql::readTags("1")}},
    {{"ReadRecordByHash"},
     [](const auto& accessor) { accessor.readRecord(hashKey("B"), KeyRepresentation::Hash); },
     false,
     {sql::findCardId(hashKey("B")), sql::readCard("1"), sql::readTags("1")}},
    {{"ReadRecordByAnUnknownHash"},
     [](const auto& accessor) { accessor.readRecord("B", KeyRepresentation::Hash); },
     false,
     {sql::findCardId("B")}},
    {{"ReadRecordById"},
     [](const auto& accessor) { accessor.readRecord(2); },
     false,
     {sql::readCard("2"), sql::readTags("2")}},
    {{"ReadRecordByAnUnknownId"}, [](const auto& accessor) { accessor.readRecord(3); }, false, {sql::readCard("3")}},
    {{"ReadRecordRange"},
     [](const auto& accessor) {
         accessor.readRecordRange(5, 0, SortingAndFilteringKey::Id, FilteringOperator::GreaterOrEqual, CardValue{1U},
                                  SortingAndFilteringKey::Id, SortingOrder::Descending);
     },
     false,
     {"SELECT * FROM rfid_card WHERE id >= 1 ORDER BY id DESC NULLS FIRST LIMIT 5 OFFSET 0", sql::readTags("2"),
      sql::readTags("1")}},
    {{"ReadAllRecords"},
     [](const auto& accessor) { accessor.readAllRecords(); },
     false,
     {"SELECT * FROM rfid_card", sql::readTags("1"), sql::readTags("2")}},
    {{"DeleteAllRecords"},
     [](const auto& accessor) { accessor.deleteAllRecords(); },
     true,
     {sql::begin, "DELETE FROM rfid_card;", sql::commit}},
    {{"DeleteRecordByKey"},
     [](const auto& accessor) { accessor.deleteRecord("X", KeyRepresentation::Key); },
     true,
     {sql::findCardId(hashKey("X")), sql::begin, sql::deleteCard("2"), sql::commit}},
    {{"DeleteRecordByHash"},
     [](const auto& accessor) { accessor.deleteRecord(hashKey("X"), KeyRepresentation::Hash); },
     true,
     {sql::findCardId(hashKey("X")), sql::begin, sql::deleteCard("2"), sql::commit}},
    {{"DeleteRecordByAnUnknownHash"},
     [](const auto& accessor) { accessor.deleteRecord("X", KeyRepresentation::Hash); },
     false,
     {sql::findCardId("X")}},
    {{"DeleteRecordById"},
     [](const auto& accessor) { accessor.deleteRecord(1); },
     true,
     {sql::begin, sql::deleteCard("1"), sql::commit}},
    {{"DeletePastExpiryDate"},
     [](const auto& accessor) { accessor.deleteRecordCategory(RecordRemovalCategory::PastExpiryDate); },
     true,
     {sql::begin, R"(DELETE FROM rfid_card WHERE expiry_date < 'now' AND expiry_date != "" RETURNING *;)",
      sql::commit}},
    {{"DeleteBlockedOrInvalid"},
     [](const auto& accessor) { accessor.deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid); },
     true,
     {sql::begin,
      R"(DELETE FROM rfid_card WHERE rfid_card_status = "Blocked" OR rfid_card_status = "Invalid" RETURNING *;)",
      sql::commit}},
    {{"DeleteExpiredStatus"},
     [](const auto& accessor) { accessor.deleteRecordCategory(RecordRemovalCategory::ExpiredStatus); },
     true,
     {sql::begin, R"(DELETE FROM rfid_card WHERE rfid_card_status = "Expired" RETURNING *;)", sql::commit}},
    {{"DeleteOldestRecord"},
     [](const auto& accessor) { accessor.deleteOldestRecord(); },
     true,
     {sql::begin,
      "DELETE FROM rfid_card WHERE id IN(SELECT id FROM rfid_card ORDER BY last_modification_time ASC LIMIT 1);",
      sql::commit}},
    {{"CountRecords"},
     [](const auto& accessor) { accessor.countRecords(); },
     false,
     {"SELECT COUNT(id) FROM rfid_card"}},
    {{"TagIsKnown"},
     [](const auto& accessor) { accessor.tagIsKnown("aa"); },
     false,
     {"SELECT hash FROM rfid_tag WHERE hash = 'aa';"}},
    {{"ReadVersion"}, [](const auto& accessor) { accessor.readVersion(); }, false, {"SELECT version FROM metadata;"}},
    {{"UpdateVersion"},
     [](const auto& accessor) { accessor.updateVersion(6); },
     true,
     {sql::countVersions, sql::begin, "UPDATE metadata SET version = 6;", sql::commit}},
    {{"UpdateVersionForTheFirstTime"},
     [](const auto& accessor) { accessor.updateVersion(6); },
     true,
     {sql::countVersions, sql::begin, "INSERT INTO metadata(version) VALUES(6);", sql::commit},
     false},
};

inline std::vector<Operation> operationsThat(bool (*hold)(const Operation&)) {
    std::vector<Operation> found;
    std::copy_if(operations.begin(), operations.end(), std::back_inserter(found), hold);
    return found;
}

/// An accessor on a list that holds firstCard() and, as card 2, blockedCard(), which expired in 2001; its version is 5
/// unless the operation wants none.
class OperationFixture : public AccessorFixture, public testing::WithParamInterface<Operation> {
protected:
    OperationFixture() {
        fill(*mAccessor);
        std::filesystem::copy_file(mFile, mFilled);
        mSpy.takeStatements();
    }

    static void fill(const IDbAccessor& accessor) {
        accessor.createRecord(firstCard());
        accessor.createRecord(blockedCard());
        if (GetParam().hasVersion) accessor.updateVersion(5);
    }

    /// Another accessor, on the list as it was filled.
    void startOver() {
        mAccessor.reset();
        std::filesystem::copy_file(mFilled, mFile, std::filesystem::copy_options::overwrite_existing);
        mAccessor = mSpy.watch([this] { return std::make_unique<db::sqlite::SqliteDbAccessor>(mFile); });
        spareTheDisk(connection());
        mSpy.takeStatements();
    }

    /// An accessor on a filled list of its own, for a forked process: no connection may be carried into one.
    std::unique_ptr<db::sqlite::SqliteDbAccessor> filledInChild(ConnectionSpy& spy) const {
        auto accessor =
            spy.watch([this] { return std::make_unique<db::sqlite::SqliteDbAccessor>(mFolder.file("child.db")); });
        spareTheDisk(spy.connection());
        fill(*accessor);
        return accessor;
    }

    void run() const { GetParam().run(*mAccessor); }

    /// Everything that is stored, as another connection sees it.
    Database::Rows everything() const {
        Database::Rows all = committedRows("SELECT * FROM rfid_card");
        for (const char* query : {"SELECT * FROM rfid_tag ORDER BY id", "SELECT * FROM metadata"}) {
            for (auto& row : committedRows(query)) all.push_back(std::move(row));
        }
        return all;
    }

    const std::string mFilled = mFolder.file("filled.db");
};

}  // namespace oru::kadi::authlist::test
