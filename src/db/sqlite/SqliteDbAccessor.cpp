// SPDX-License-Identifier: Apache-2.0
#include "authlist/db/sqlite/SqliteDbAccessor.h"

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

#include "authlist/KeyHash.h"
#include "db/sqlite/TransactionGuard.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

bool sameTags(const std::vector<RfidTag>& left, const std::vector<RfidTag>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const RfidTag& a, const RfidTag& b) {
        return a.hash == b.hash && a.key == b.key && a.extraData == b.extraData;
    });
}

}  // namespace

SqliteDbAccessor::SqliteDbAccessor(const std::string& filename)
    : mConnector(std::make_shared<SqliteConnector>(filename)), mBuilder(mConnector) {
    // The tag table refers to the card table.
    mBuilder.createTables({DbTableType::Metadata, DbTableType::RfidCard, DbTableType::RfidTag});
    mBuilder.createTagIndex();
}

SqliteDbAccessor::~SqliteDbAccessor() = default;

unsigned SqliteDbAccessor::createRecord(const RfidCard& card) const {
    const TransactionGuard guard(mBuilder);
    const SqliteStatement statement = mBuilder.getCreateRfidCardStatement(card);
    const int result = sqlite3_step(statement.get());
    if (result == SQLITE_CONSTRAINT) {
        throw std::runtime_error("Cannot create new record in DB: " + std::to_string(result) +
                                 "SQL constraint violation");
    }
    mConnector->checkReturnStatement(result);
    const unsigned id = card.id ? *card.id : static_cast<unsigned>(mBuilder.getIdFromLastAddedCard());
    insertTags(card, id);
    return id;
}

unsigned SqliteDbAccessor::updateRecord(const RfidCard& card) const {
    const unsigned id = card.id.value();
    const auto stored = readRecord(id);
    if (!stored) return createRecord(card);

    const TransactionGuard guard(mBuilder);
    const SqliteStatement statement = mBuilder.getUpdateRfidCardStatement(card);
    mConnector->checkReturnStatement(sqlite3_step(statement.get()));
    if (!sameTags(stored->tags, card.tags)) {
        const SqliteStatement deletion = mBuilder.getDeleteTagRecordsByCardIdStatement(id);
        mConnector->checkReturnStatement(sqlite3_step(deletion.get()));
        insertTags(card, id);
    }
    return id;
}

std::optional<RfidCard> SqliteDbAccessor::readRecord(const std::string& value, KeyRepresentation representation) const {
    const auto id = findCardId(value, representation);
    return id ? readRecord(*id) : std::nullopt;
}

std::optional<RfidCard> SqliteDbAccessor::readRecord(unsigned id) const {
    auto cards = mBuilder.retrieveRfidCards(mBuilder.getRecordById(id));
    return cards.empty() ? std::nullopt : std::optional(std::move(cards.front()));
}

std::vector<RfidCard> SqliteDbAccessor::readRecordRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                                        std::optional<SortingAndFilteringKey> filterKey,
                                                        std::optional<FilteringOperator> filterOperator,
                                                        std::optional<CardValue> filterValue,
                                                        std::optional<SortingAndFilteringKey> sortKey,
                                                        std::optional<SortingOrder> sortOrder) const {
    return mBuilder.retrieveRfidCards(mBuilder.getRangeStatement(limit, offset, filterKey, filterOperator,
                                                                 std::move(filterValue), sortKey, sortOrder));
}

std::vector<RfidCard> SqliteDbAccessor::readAllRecords() const {
    return mBuilder.retrieveRfidCards(mBuilder.getAllRecords());
}

void SqliteDbAccessor::deleteAllRecords() const {
    performNonReturningStatement(mBuilder.getDeleteAllCardsStatement().get());
}

void SqliteDbAccessor::deleteRecord(const std::string& value, KeyRepresentation representation) const {
    const auto id = findCardId(value, representation);
    if (id) deleteRecord(*id);
}

void SqliteDbAccessor::deleteRecord(unsigned id) const {
    performNonReturningStatement(mBuilder.getDeleteRecordByIdStatement(id).get());
}

bool SqliteDbAccessor::deleteRecordCategory(RecordRemovalCategory category) const {
    const SqliteStatement statement = mBuilder.getDeleteCategoryStatement(category);
    const TransactionGuard guard(mBuilder);
    return mBuilder.anyRowReturned(statement);
}

void SqliteDbAccessor::deleteOldestRecord() const {
    performNonReturningStatement(mBuilder.getDeleteOldestStatement().get());
}

unsigned SqliteDbAccessor::countRecords() const { return static_cast<unsigned>(mBuilder.countAllRecords()); }

bool SqliteDbAccessor::tagIsKnown(const std::string& hash) const {
    return mBuilder.anyRowReturned(mBuilder.getFindTagStatement(hash));
}

std::optional<unsigned> SqliteDbAccessor::readVersion() const {
    const SqliteStatement statement = mBuilder.getReadVersionStatement();
    std::optional<unsigned> version;
    int result = sqlite3_step(statement.get());
    if (result == SQLITE_ROW) {
        version = static_cast<unsigned>(sqlite3_column_int(statement.get(), 0));
        result = sqlite3_step(statement.get());
    }
    mConnector->checkReturnStatement(result);
    return version;
}

void SqliteDbAccessor::updateVersion(unsigned version) const {
    performNonReturningStatement(mBuilder.getUpdateVersionStatement(version).get());
}

void SqliteDbAccessor::performNonReturningStatement(sqlite3_stmt* statement) const {
    const TransactionGuard guard(mBuilder);
    mConnector->checkReturnStatement(sqlite3_step(statement));
}

int SqliteDbAccessor::getCardIdFromTagRowFromStatement(SqliteStatement& statement) {
    return sqlite3_column_int(statement.get(), 0);
}

std::optional<unsigned> SqliteDbAccessor::findCardId(const std::string& value, KeyRepresentation representation) const {
    const std::string hash = representation == KeyRepresentation::Key ? hashKey(value) : value;
    return mBuilder.retrieveRfidId(mBuilder.getRfidCardIdFromHashedKey(hash));
}

void SqliteDbAccessor::insertTags(const RfidCard& card, unsigned cardId) const {
    for (const RfidTag& tag : card.tags) {
        const SqliteStatement statement = mBuilder.getCreateRfidTagStatement(tag, cardId);
        mConnector->checkReturnStatement(sqlite3_step(statement.get()));
    }
}

}  // namespace oru::kadi::authlist::db::sqlite
