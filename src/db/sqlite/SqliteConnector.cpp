// SPDX-License-Identifier: Apache-2.0
#include "authlist/db/sqlite/SqliteConnector.h"

#include <sqlite3.h>

#include <stdexcept>

#include "db/sqlite/ErrorText.h"

namespace oru::kadi::authlist::db::sqlite {
namespace {

// The encoding takes effect only on a database that is still empty.
constexpr const char* configuration =
    "PRAGMA encoding;\n"
    "PRAGMA encoding = \"UTF-8\";\n"
    "PRAGMA foreign_keys = ON;\n"
    "PRAGMA integrity_check;\n";

sqlite3* open(const std::string& filename) {
    if (filename.empty()) throw std::runtime_error("Filename not specified during initialization");
    sqlite3* db = nullptr;
    if (sqlite3_open(filename.c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        throw std::runtime_error("Cannot open DB connection, filename: " + filename);
    }
    return db;
}

}  // namespace

SqliteConnector::SqliteConnector(const std::string& filename) : mDb(open(filename)) {
    checkReturnStatement(sqlite3_exec(mDb, configuration, nullptr, nullptr, nullptr));
    // Clears a transaction that was left open; on a fresh connection this fails, which is as good.
    char* message = nullptr;
    const int result = sqlite3_exec(mDb, "ROLLBACK;", nullptr, nullptr, &message);
    if (result != SQLITE_OK && result != SQLITE_DONE) sqlite3_free(message);
}

SqliteConnector::~SqliteConnector() { sqlite3_close(mDb); }

sqlite3* SqliteConnector::getDb() { return mDb; }

void SqliteConnector::checkReturnStatement(int resultCode) {
    if (resultCode == SQLITE_OK || resultCode == SQLITE_DONE) return;
    throw std::runtime_error("Sqlite operation failed: " + errorText(mDb, resultCode) + "\n");
}

}  // namespace oru::kadi::authlist::db::sqlite
