// SPDX-License-Identifier: Apache-2.0
#include "authlist/db/sqlite/SqlStatementBuilder.h"

#include <sqlite3.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "EnumerationText.h"
#include "authlist/Timestamp.h"
#include "db/sqlite/ErrorText.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

constexpr std::array<EnumerationText<SortingAndFilteringKey>, 5> columnNames{{
    {SortingAndFilteringKey::Id, "id"},
    {SortingAndFilteringKey::Status, "rfid_card_status"},
    {SortingAndFilteringKey::ExpiryDate, "expiry_date"},
    {SortingAndFilteringKey::LastAccessTime, "last_access_time"},
    {SortingAndFilteringKey::LastModificationTime, "last_modification_time"},
}};

constexpr std::array<EnumerationText<FilteringOperator>, 6> operators{{
    {FilteringOperator::Equal, "="},
    {FilteringOperator::Less, "<"},
    {FilteringOperator::Greater, ">"},
    {FilteringOperator::LessOrEqual, "<="},
    {FilteringOperator::GreaterOrEqual, ">="},
    {FilteringOperator::NotEqual, "!="},
}};

constexpr std::array<EnumerationText<SortingOrder>, 2> sortingOrders{{
    {SortingOrder::Ascending, "ASC"},
    {SortingOrder::Descending, "DESC"},
}};

// Lives longer than every object of an application, which may look cards up to its end.
const std::string recordById = " SELECT * FROM rfid_card WHERE id=? ";

// An unsigned number is stored as the same 32 bits.
SqlValue bindable(unsigned number) { return static_cast<int>(number); }

SqlValue bindable(const std::optional<unsigned>& number) { return number ? bindable(*number) : SqlValue{}; }

SqlValue bindable(const std::optional<std::string>& text) { return text ? SqlValue{*text} : SqlValue{}; }

SqlValue bindable(const std::optional<TimePoint>& time) { return bindable(timestampToString(time)); }

SqlValue bindable(const TimePoint& time) { return timestampToString(time).value(); }

// Every column of rfid_card but the id.
std::vector<SqlValue> cardValues(const RfidCard& card) {
    return {card.description,
            std::string(statusToText(card.status)),
            bindable(card.expiryDate),
            bindable(card.parentId),
            bindable(card.evseId),
            bindable(card.extraData),
            bindable(card.lastAccessTime),
            bindable(card.lastModificationTime),
            bindable(card.recordLifetime)};
}

// Every column of rfid_tag but the card's and its own id.
std::vector<SqlValue> tagValues(const RfidTag& tag) { return {tag.hash, bindable(tag.key), bindable(tag.extraData)}; }

const char* createTableStatement(DbTableType table) {
    switch (table) {
        case DbTableType::Metadata:
            return "CREATE TABLE IF NOT EXISTS \"metadata\" ("
                   "\"id\"\tINTEGER NOT NULL UNIQUE, "
                   "\"version\"\tINTEGER NOT NULL DEFAULT 0, "
                   "PRIMARY KEY(\"id\" AUTOINCREMENT));";
        case DbTableType::RfidTag:
            return "CREATE TABLE IF NOT EXISTS \"rfid_tag\" ("
                   "\"id\"\tINTEGER NOT NULL UNIQUE, "
                   "\"rfid_card\"\tINTEGER NOT NULL, "
                   "\"hash\"\tTEXT UNIQUE, "
                   "\"key\"\tTEXT, "
                   "\"extra_data\"\tTEXT DEFAULT NULL, "
                   "FOREIGN KEY(\"rfid_card\") REFERENCES \"rfid_card\"(\"id\") ON DELETE CASCADE, "
                   "PRIMARY KEY(\"id\" AUTOINCREMENT));";
        case DbTableType::RfidCard:
            return "CREATE TABLE IF NOT EXISTS \"rfid_card\" ("
                   "\"id\"\tINTEGER NOT NULL UNIQUE, "
                   "\"description\"\tTEXT NOT NULL DEFAULT \"\", "
                   "\"rfid_card_status\"\tTEXT NOT NULL, "
                   "\"expiry_date\"\tTEXT, "
                   "\"parent_id\"\tTEXT, "
                   "\"evse_id\"\tINTEGER, "
                   "\"extra_data\"\tTEXT DEFAULT NULL, "
                   "\"last_access_time\"\tTEXT NOT NULL, "
                   "\"last_modification_time\"\tTEXT NOT NULL, "
                   "\"record_lifetime\"\tINTEGER, "
                   "PRIMARY KEY(\"id\" AUTOINCREMENT));";
    }
    return "";
}

int bindValue(sqlite3_stmt* statement, int index, const SqlValue& value) {
    if (const int* number = std::get_if<int>(&value)) return sqlite3_bind_int(statement, index, *number);
    if (const std::string* text = std::get_if<std::string>(&value)) {
        return sqlite3_bind_text(statement, index, text->data(), static_cast<int>(text->size()), SQLITE_TRANSIENT);
    }
    return sqlite3_bind_null(statement, index);
}

SqlValue columnValue(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            return sqlite3_column_int(statement, column);
        case SQLITE_TEXT: {
            const unsigned char* text = sqlite3_column_text(statement, column);
            if (text == nullptr) throw std::bad_alloc();
            return std::string(reinterpret_cast<const char*>(text));
        }
        default:
            return {};
    }
}

SqlRow currentRow(sqlite3_stmt* statement) {
    const int columns = sqlite3_data_count(statement);
    SqlRow row;
    row.reserve(static_cast<std::size_t>(columns));
    for (int column = 0; column < columns; ++column) row.push_back(columnValue(statement, column));
    return row;
}

std::optional<std::string> textOrNone(const SqlValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<unsigned> numberOrNone(const SqlValue& value) {
    const int* number = std::get_if<int>(&value);
    return number != nullptr ? std::optional(static_cast<unsigned>(*number)) : std::nullopt;
}

TimePoint requiredTime(const SqlValue& value) { return stringToTimestamp(std::get<std::string>(value)).value(); }

}  // namespace

SqlStatementBuilder::SqlStatementBuilder(std::shared_ptr<SqliteConnector> connector)
    : mConnector(std::move(connector)) {}

SqliteStatement SqlStatementBuilder::getAllRecords() const { return prepareStatement(" SELECT * FROM rfid_card ", {}); }

SqliteStatement SqlStatementBuilder::getRecordById(unsigned id) const {
    return prepareStatement(recordById, {bindable(id)});
}

SqliteStatement SqlStatementBuilder::getRfidTagByCardId(int cardId) const {
    return prepareStatement(" SELECT * FROM rfid_tag WHERE rfid_card=? ", {cardId});
}

SqliteStatement SqlStatementBuilder::getRfidCardIdFromHashedKey(const std::string& hash) const {
    return prepareStatement("SELECT DISTINCT rfid_card FROM rfid_tag WHERE hash = ?;", {hash});
}

SqliteStatement SqlStatementBuilder::getFindTagStatement(const std::string& hash) const {
    return prepareStatement("SELECT hash FROM rfid_tag WHERE hash = ?;", {hash});
}

SqliteStatement SqlStatementBuilder::getReadVersionStatement() const {
    return prepareStatement("SELECT version FROM metadata;", {});
}

SqliteStatement SqlStatementBuilder::getUpdateVersionStatement(unsigned version) const {
    const bool isFirst = queryInteger(" SELECT COUNT(*) FROM metadata ") == 0;
    return prepareStatement(isFirst ? "INSERT INTO metadata (version) VALUES (?);" : "UPDATE metadata SET version = ?;",
                            {bindable(version)});
}

SqliteStatement SqlStatementBuilder::getCreateRfidCardStatement(const RfidCard& card) const {
    std::vector<SqlValue> values = cardValues(card);
    if (!card.id) {
        return prepareStatement(
            "INSERT INTO rfid_card (description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
            "last_access_time, last_modification_time, record_lifetime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?);",
            values);
    }
    values.insert(values.begin(), bindable(card.id));
    return prepareStatement(
        "INSERT INTO rfid_card (id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
        "last_access_time, last_modification_time, record_lifetime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?);",
        values);
}

SqliteStatement SqlStatementBuilder::getUpdateRfidCardStatement(const RfidCard& card) const {
    std::vector<SqlValue> values = cardValues(card);
    values.push_back(bindable(card.id));
    return prepareStatement(
        "UPDATE rfid_card SET description = ?, rfid_card_status = ?, expiry_date = ?, parent_id = ?, evse_id = ?, "
        "extra_data = ?, last_access_time = ?, last_modification_time = ?, record_lifetime = ? WHERE id = ?;",
        values);
}

SqliteStatement SqlStatementBuilder::getCreateRfidTagStatement(const RfidTag& tag, unsigned cardId) const {
    std::vector<SqlValue> values = tagValues(tag);
    values.insert(values.begin(), bindable(cardId));
    return prepareStatement("INSERT INTO rfid_tag (rfid_card, hash, key, extra_data) VALUES (?, ?, ?, ?);", values);
}

SqliteStatement SqlStatementBuilder::getUpdateRfidTagStatement(const RfidTag& tag, unsigned tagId) const {
    std::vector<SqlValue> values = tagValues(tag);
    values.push_back(bindable(tagId));
    return prepareStatement("UPDATE rfid_tag SET hash = ?, key = ?, extra_data = ?WHERE id = ?;", values);
}

SqliteStatement SqlStatementBuilder::getDeleteRecordByIdStatement(unsigned id) const {
    return prepareStatement("DELETE FROM rfid_card WHERE id = ?;", {bindable(id)});
}

SqliteStatement SqlStatementBuilder::getDeleteTagRecordsByCardIdStatement(unsigned cardId) const {
    return prepareStatement("DELETE FROM rfid_tag WHERE rfid_card = ?;", {bindable(cardId)});
}

SqliteStatement SqlStatementBuilder::getDeleteAllCardsStatement() const {
    return prepareStatement("DELETE FROM rfid_card;", {});
}

SqliteStatement SqlStatementBuilder::getDeleteAllTagsStatement() const {
    return prepareStatement("DELETE FROM rfid_tag;", {});
}

SqliteStatement SqlStatementBuilder::getDeleteOldestStatement() const {
    return prepareStatement(
        "DELETE FROM rfid_card WHERE id IN ( SELECT id FROM rfid_card ORDER BY last_modification_time ASC LIMIT 1);",
        {});
}

SqliteStatement SqlStatementBuilder::getDeletePastExpiryStatement() const {
    const TimePoint now = std::chrono::system_clock::now();
    return prepareStatement("DELETE FROM rfid_card WHERE expiry_date < ? AND expiry_date != \"\" RETURNING *;",
                            {bindable(now)});
}

SqliteStatement SqlStatementBuilder::getDeleteCategoryStatement(RecordRemovalCategory category) const {
    switch (category) {
        case RecordRemovalCategory::PastExpiryDate:
            return getDeletePastExpiryStatement();
        case RecordRemovalCategory::BlockedOrInvalid:
            return prepareStatement(
                "DELETE FROM rfid_card WHERE rfid_card_status = \"Blocked\" OR rfid_card_status = \"Invalid\" "
                "RETURNING *;",
                {});
        case RecordRemovalCategory::ExpiredStatus:
            return prepareStatement("DELETE FROM rfid_card WHERE rfid_card_status = \"Expired\" RETURNING *;", {});
    }
    return prepareStatement("", {});
}

SqliteStatement SqlStatementBuilder::getRangeStatement(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                                       std::optional<SortingAndFilteringKey> filterKey,
                                                       std::optional<FilteringOperator> filterOperator,
                                                       std::optional<CardValue> filterValue,
                                                       std::optional<SortingAndFilteringKey> sortKey,
                                                       std::optional<SortingOrder> sortOrder) const {
    std::string sql = "SELECT * FROM rfid_card ";
    if (filterKey && filterOperator && filterValue) sql += buildWhereClause(*filterKey, *filterValue, *filterOperator);
    sql +=
        buildOrderByClause(sortKey.value_or(SortingAndFilteringKey::Id), sortOrder.value_or(SortingOrder::Ascending));
    if (limit) sql += buildLimitClause(*limit, offset.value_or(0));
    return prepareStatement(sql, {});
}

SqliteStatement SqlStatementBuilder::prepareStatement(const std::string& sql,
                                                      const std::vector<SqlValue>& params) const {
    sqlite3_stmt* handle = nullptr;
    const int result =
        sqlite3_prepare_v2(mConnector->getDb(), sql.data(), static_cast<int>(sql.size()), &handle, nullptr);
    SqliteStatement statement(handle);
    mConnector->checkReturnStatement(result);
    bindFields(params, statement);
    return statement;
}

void SqlStatementBuilder::bindFields(const std::vector<SqlValue>& params, SqliteStatement& statement) const {
    int index = 0;
    for (const SqlValue& value : params) {
        mConnector->checkReturnStatement(bindValue(statement.get(), ++index, value));
    }
}

int SqlStatementBuilder::executeQuery(const std::string& sql) const {
    sqlite3* db = mConnector->getDb();
    const int result = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) {
        throw std::runtime_error("Cannot execute query: " + sql + "\nError: " + errorText(db, result));
    }
    return result;
}

void SqlStatementBuilder::beginTransaction() const { executeQuery(" BEGIN TRANSACTION; "); }

void SqlStatementBuilder::commitTransaction() const { executeQuery(" COMMIT; "); }

void SqlStatementBuilder::rollbackTransaction() const { executeQuery(" ROLLBACK; "); }

void SqlStatementBuilder::createTables(const std::vector<DbTableType>& tables) const {
    std::string script = " BEGIN TRANSACTION; ";
    for (const DbTableType table : tables) script += createTableStatement(table);
    executeQuery(script + " COMMIT; ");
}

void SqlStatementBuilder::createTagIndex() const noexcept {
    sqlite3_exec(mConnector->getDb(),
                 "CREATE INDEX IF NOT EXISTS \"rfid_tag_rfid_card\" ON \"rfid_tag\"(\"rfid_card\");", nullptr, nullptr,
                 nullptr);
}

int SqlStatementBuilder::countAllRecords() const { return queryInteger(" SELECT COUNT(id) FROM rfid_card "); }

int SqlStatementBuilder::getIdFromLastAddedCard() const {
    return queryInteger(" SELECT last_insert_rowid() FROM rfid_card ");
}

int SqlStatementBuilder::callbackForExec(void* result, int /*columnCount*/, char** values, char** /*columnNames*/) {
    // Not atoi: beyond 32 bits that is undefined, and differs between machines.
    *static_cast<int*>(result) = static_cast<int>(std::strtoll(values[0], nullptr, 10));
    return 0;
}

std::string SqlStatementBuilder::buildLimitClause(unsigned limit, unsigned offset) {
    return " LIMIT " + std::to_string(limit) + "  OFFSET " + std::to_string(offset);
}

std::string SqlStatementBuilder::buildOrderByClause(SortingAndFilteringKey key, SortingOrder order) {
    std::string clause = " ORDER BY ";
    clause += textOf(columnNames, key);
    clause += ' ';
    clause += textOf(sortingOrders, order);
    return clause + (order == SortingOrder::Ascending ? " NULLS LAST" : " NULLS FIRST");
}

std::string SqlStatementBuilder::buildWhereClause(SortingAndFilteringKey key, CardValue value,
                                                  FilteringOperator op) const {
    const char* quote = std::holds_alternative<unsigned>(value) ? "" : "\"";
    std::string clause = " WHERE ";
    clause += textOf(columnNames, key);
    clause += ' ';
    clause += textOf(operators, op);
    clause += ' ';
    clause += quote + getValueAsString(std::move(value)) + quote;
    if (key != SortingAndFilteringKey::ExpiryDate) return clause;
    // A card without an expiry date counts as later than every date.
    if (op == FilteringOperator::Greater || op == FilteringOperator::GreaterOrEqual) {
        clause += " OR expiry_date IS NULL";
    } else if (op == FilteringOperator::Less || op == FilteringOperator::LessOrEqual) {
        clause += " AND expiry_date IS NOT NULL";
    }
    return clause;
}

SqlRows SqlStatementBuilder::unpackFields(const SqliteStatement& statement) const {
    SqlRows rows;
    int result = sqlite3_step(statement.get());
    for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) rows.push_back(currentRow(statement.get()));
    mConnector->checkReturnStatement(result);
    return rows;
}

std::optional<unsigned> SqlStatementBuilder::retrieveRfidId(const SqliteStatement& statement) const {
    std::vector<unsigned> ids;
    for (const SqlRow& row : unpackFields(statement)) ids.push_back(static_cast<unsigned>(std::get<int>(row.at(0))));
    if (ids.size() > 1) throw std::invalid_argument("Rfid key passed as argument points to multiple rfid cards!");
    return ids.empty() ? std::nullopt : std::optional(ids.front());
}

bool SqlStatementBuilder::anyRowReturned(const SqliteStatement& statement) const {
    return !unpackFields(statement).empty();
}

std::vector<RfidCard> SqlStatementBuilder::retrieveRfidCards(const SqliteStatement& statement) const {
    const SqlRows rows = unpackFields(statement);
    std::vector<RfidCard> cards;
    cards.reserve(rows.size());
    for (const SqlRow& row : rows) cards.push_back(cardFromRow(row));
    return cards;
}

int SqlStatementBuilder::queryInteger(const char* sql) const {
    int value = 0;
    mConnector->checkReturnStatement(sqlite3_exec(mConnector->getDb(), sql, callbackForExec, &value, nullptr));
    return value;
}

RfidCard SqlStatementBuilder::cardFromRow(const SqlRow& row) const {
    RfidCard card;
    const int id = std::get<int>(row.at(0));
    card.id = static_cast<unsigned>(id);
    card.description = std::get<std::string>(row.at(1));
    card.status = statusFromText(std::get<std::string>(row.at(2)));
    card.expiryDate = stringToTimestamp(textOrNone(row.at(3)));
    card.parentId = textOrNone(row.at(4));
    card.evseId = numberOrNone(row.at(5));
    card.extraData = textOrNone(row.at(6));
    card.lastAccessTime = requiredTime(row.at(7));
    card.lastModificationTime = requiredTime(row.at(8));
    card.recordLifetime = numberOrNone(row.at(9));
    card.tags = readTags(id);
    return card;
}

std::vector<RfidTag> SqlStatementBuilder::readTags(int cardId) const {
    const SqliteStatement statement = getRfidTagByCardId(cardId);
    std::vector<RfidTag> tags;
    for (const SqlRow& row : unpackFields(statement)) {
        tags.push_back({std::get<std::string>(row.at(2)), textOrNone(row.at(3)), textOrNone(row.at(4))});
    }
    return tags;
}

}  // namespace oru::kadi::authlist::db::sqlite
