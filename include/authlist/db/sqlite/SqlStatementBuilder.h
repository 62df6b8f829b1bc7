// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "authlist/CardValue.h"
#include "authlist/Enumerations.h"
#include "authlist/Export.h"
#include "authlist/RfidCard.h"
#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteStatement.h"

namespace oru::kadi::authlist::db::sqlite {

/// The tables that createTables can create.
enum class DbTableType : int {
    Metadata = 0,
    RfidTag = 1,
    RfidCard = 2,
};

/// One bound parameter or one fetched column: NULL, an integer (unsigned values as the same 32 bits) or a text.
using SqlValue = std::variant<std::monostate, int, std::string>;
using SqlRow = std::vector<SqlValue>;
using SqlRows = std::list<SqlRow>;

/// The only place where SQL about records is written: prepares statements, runs scripts, turns rows back into cards.
///
/// Decides no policy. SQLite failures are the std::runtime_error of SqliteConnector::checkReturnStatement, or of
/// executeQuery for scripts. It never locks its own mutex: the accessor's TransactionGuard does, around every write.
class ORU_AUTHLIST_EXPORT SqlStatementBuilder {
public:
    explicit SqlStatementBuilder(std::shared_ptr<SqliteConnector> connector);

    // Statements, prepared and bound. Building one with a card throws std::invalid_argument for a status
    // outside the enumeration.

    SqliteStatement getAllRecords() const;
    SqliteStatement getRecordById(unsigned id) const;
    SqliteStatement getRfidTagByCardId(int cardId) const;
    SqliteStatement getRfidCardIdFromHashedKey(const std::string& hash) const;
    SqliteStatement getFindTagStatement(const std::string& hash) const;
    SqliteStatement getReadVersionStatement() const;
    /// Counts the rows of metadata first: an INSERT when there is none, otherwise an UPDATE.
    SqliteStatement getUpdateVersionStatement(unsigned version) const;
    /// Names the id only when the card carries one.
    SqliteStatement getCreateRfidCardStatement(const RfidCard& card) const;
    SqliteStatement getUpdateRfidCardStatement(const RfidCard& card) const;
    SqliteStatement getCreateRfidTagStatement(const RfidTag& tag, unsigned cardId) const;
    SqliteStatement getUpdateRfidTagStatement(const RfidTag& tag, unsigned tagId) const;
    SqliteStatement getDeleteRecordByIdStatement(unsigned id) const;
    SqliteStatement getDeleteTagRecordsByCardIdStatement(unsigned cardId) const;
    SqliteStatement getDeleteAllCardsStatement() const;
    SqliteStatement getDeleteAllTagsStatement() const;
    /// Oldest by last_modification_time.
    SqliteStatement getDeleteOldestStatement() const;
    SqliteStatement getDeletePastExpiryStatement() const;
    /// A category outside the enumeration gives a statement without handle, which fails when it is stepped.
    SqliteStatement getDeleteCategoryStatement(RecordRemovalCategory category) const;
    /// An incomplete filter and an offset without limit are ignored; without a sort key records come by ascending id.
    /// Throws std::invalid_argument for enumerators outside their tables. The filter value is not escaped.
    SqliteStatement getRangeStatement(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                      std::optional<SortingAndFilteringKey> filterKey,
                                      std::optional<FilteringOperator> filterOperator,
                                      std::optional<CardValue> filterValue,
                                      std::optional<SortingAndFilteringKey> sortKey,
                                      std::optional<SortingOrder> sortOrder) const;

    SqliteStatement prepareStatement(const std::string& sql, const std::vector<SqlValue>& params) const;
    void bindFields(const std::vector<SqlValue>& params, SqliteStatement& statement) const;

    // Scripts

    /// Runs a script without reading results; returns 0 or throws std::runtime_error with the script and the cause.
    int executeQuery(const std::string& sql) const;
    void beginTransaction() const;
    void commitTransaction() const;
    void rollbackTransaction() const;

    /// Creates the missing ones of these tables in the order given, in one transaction; unknown values are skipped.
    void createTables(const std::vector<DbTableType>& tables) const;

    /// Speeds up finding a card's tags. A convenience that everything works without: a failure (read-only file, locked
    /// database) is ignored.
    void createTagIndex() const noexcept;

    int countAllRecords() const;
    /// Meant to be called right after a card was inserted.
    int getIdFromLastAddedCard() const;

    /// Row callback of sqlite3_exec that reads the first column into the int at result.
    static int callbackForExec(void* result, int columnCount, char** values, char** columnNames);

    // Clauses of a range query

    static std::string buildLimitClause(unsigned limit, unsigned offset);
    static std::string buildOrderByClause(SortingAndFilteringKey key, SortingOrder order);
    std::string buildWhereClause(SortingAndFilteringKey key, CardValue value, FilteringOperator op) const;

    // Reading results; each runs the statement to its end

    SqlRows unpackFields(const SqliteStatement& statement) const;

    /// Column 0 of the only row. Throws std::invalid_argument when there are several rows.
    std::optional<unsigned> retrieveRfidId(const SqliteStatement& statement) const;
    bool anyRowReturned(const SqliteStatement& statement) const;

    /// Throws std::bad_variant_access for a column of the wrong type, std::invalid_argument for an unknown status,
    /// std::bad_optional_access for access or modification times that are no times.
    std::vector<RfidCard> retrieveRfidCards(const SqliteStatement& statement) const;

    /// Held by TransactionGuard from BEGIN to COMMIT.
    std::mutex& writeMutex() const { return mWriteMutex; }

private:
    int queryInteger(const char* sql) const;
    RfidCard cardFromRow(const SqlRow& row) const;
    std::vector<RfidTag> readTags(int cardId) const;

    std::shared_ptr<SqliteConnector> mConnector;
    mutable std::mutex mWriteMutex;
};

}  // namespace oru::kadi::authlist::db::sqlite
