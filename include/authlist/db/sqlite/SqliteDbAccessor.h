// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "authlist/Export.h"
#include "authlist/IDbAccessor.h"
#include "authlist/db/sqlite/SqlStatementBuilder.h"
#include "authlist/db/sqlite/SqliteConnector.h"
#include "authlist/db/sqlite/SqliteStatement.h"

namespace oru::kadi::authlist::db::sqlite {

/// The authorization list in a SQLite database. Keeps nothing in memory: accessors on the same file see each other's
/// committed changes.
///
/// Every writing operation is one transaction under one mutex, so threads may share an accessor. A failing operation is
/// not rolled back: what it had written before stays (a card whose second tag is refused keeps its first). Reads take
/// no lock. Where a COMMIT and the ROLLBACK after it both fail, as they do on a full disk, the process ends.
/// Failures of SQLite are std::runtime_error with its code and message; rows that it cannot have written itself throw
/// what SqlStatementBuilder::retrieveRfidCards does, and a card with a status outside the enumeration is refused with
/// std::invalid_argument.
class ORU_AUTHLIST_EXPORT SqliteDbAccessor : public IDbAccessor {
public:
    /// Opens the database or creates it, with its tables and the index of their tags; an older list without the index
    /// gets it. Throws as SqliteConnector does.
    explicit SqliteDbAccessor(const std::string& filename);

    /// An id that is in use is refused with "Cannot create new record in DB: 19SQL constraint violation".
    unsigned createRecord(const RfidCard& card) const override;
    unsigned updateRecord(const RfidCard& card) const override;
    std::optional<RfidCard> readRecord(const std::string& value, KeyRepresentation representation) const override;
    std::optional<RfidCard> readRecord(unsigned id) const override;
    /// Without a sort key by ascending id; an offset without a limit is ignored. See getRangeStatement.
    std::vector<RfidCard> readRecordRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                          std::optional<SortingAndFilteringKey> filterKey,
                                          std::optional<FilteringOperator> filterOperator,
                                          std::optional<CardValue> filterValue,
                                          std::optional<SortingAndFilteringKey> sortKey,
                                          std::optional<SortingOrder> sortOrder) const override;
    std::vector<RfidCard> readAllRecords() const override;
    void deleteAllRecords() const override;
    void deleteRecord(const std::string& value, KeyRepresentation representation) const override;
    void deleteRecord(unsigned id) const override;
    bool deleteRecordCategory(RecordRemovalCategory category) const override;
    /// Oldest by last modification time.
    void deleteOldestRecord() const override;
    unsigned countRecords() const override;
    bool tagIsKnown(const std::string& hash) const override;
    std::optional<unsigned> readVersion() const override;
    void updateVersion(unsigned version) const override;
    ~SqliteDbAccessor() override;

    /// Runs a statement that returns no rows, as one transaction.
    void performNonReturningStatement(sqlite3_stmt* statement) const;

    /// Column 0 of the current row.
    static int getCardIdFromTagRowFromStatement(SqliteStatement& statement);

private:
    std::optional<unsigned> findCardId(const std::string& value, KeyRepresentation representation) const;
    void insertTags(const RfidCard& card, unsigned cardId) const;

    std::shared_ptr<SqliteConnector> mConnector;
    SqlStatementBuilder mBuilder;
};

}  // namespace oru::kadi::authlist::db::sqlite
