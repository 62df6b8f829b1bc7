// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "authlist/Export.h"

struct sqlite3;

namespace oru::kadi::authlist::db::sqlite {

/// Owns one open database connection and turns SQLite's result codes into exceptions. Shared by the accessor and its
/// statement builder, never copied. Takes no lock; the connection has SQLite's default threading mode.
class ORU_AUTHLIST_EXPORT SqliteConnector {
public:
    /// Opens filename, creating it when missing, and configures the connection (UTF-8, foreign keys on, integrity
    /// check, whose findings are not looked at). Throws std::runtime_error when filename is empty, cannot be opened or
    /// cannot be configured, for example because it is no database. In that last case the handle stays open.
    explicit SqliteConnector(const std::string& filename);
    SqliteConnector(const SqliteConnector&) = delete;
    SqliteConnector& operator=(const SqliteConnector&) = delete;
    ~SqliteConnector();

    sqlite3* getDb();

    /// Returns for SQLITE_OK and SQLITE_DONE; throws std::runtime_error with the code and SQLite's message for every
    /// other code, SQLITE_ROW included.
    void checkReturnStatement(int resultCode);

private:
    sqlite3* mDb = nullptr;
};

}  // namespace oru::kadi::authlist::db::sqlite
