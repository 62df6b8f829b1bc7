// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace oru::kadi::authlist::test {

/// Makes the connection hand its writes to the system without waiting for the disk, which no test pulls the plug of.
inline void spareTheDisk(sqlite3* db) { sqlite3_exec(db, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr); }

/// A connection of the test's own to a database file: looks at it, and changes it, behind the library's back.
class Database {
public:
    /// Each row as texts, as sqlite3_exec delivers it; NULL is "NULL". Use quote() or typeof() to see the type.
    using Rows = std::vector<std::vector<std::string>>;

    explicit Database(const std::string& file) {
        sqlite3* db = nullptr;
        const int result = sqlite3_open(file.c_str(), &db);
        mDb.reset(db);
        if (result != SQLITE_OK) throw std::runtime_error("Cannot open " + file);
        spareTheDisk(db);
    }

    Rows rows(const std::string& sql) const {
        Rows all;
        if (sqlite3_exec(mDb.get(), sql.c_str(), &appendRow, &all, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(mDb.get()) + (" in " + sql));
        }
        return all;
    }

    void execute(const std::string& script) const { rows(script); }

    /// The first column of the only row.
    std::string value(const std::string& sql) const {
        const Rows all = rows(sql);
        if (all.size() != 1) throw std::runtime_error(std::to_string(all.size()) + " rows from " + sql);
        return all.front().front();
    }

private:
    struct Close {
        void operator()(sqlite3* db) const { sqlite3_close(db); }
    };

    static int appendRow(void* all, int columns, char** values, char** /*names*/) {
        auto& row = static_cast<Rows*>(all)->emplace_back();
        for (int column = 0; column < columns; ++column) {
            row.emplace_back(values[column] == nullptr ? "NULL" : values[column]);
        }
        return 0;
    }

    std::unique_ptr<sqlite3, Close> mDb;
};

/// The number of statements on this connection that are prepared and not yet finalized.
inline int liveStatements(sqlite3* db) {
    int count = 0;
    for (sqlite3_stmt* each = sqlite3_next_stmt(db, nullptr); each != nullptr; each = sqlite3_next_stmt(db, each)) {
        ++count;
    }
    return count;
}

}  // namespace oru::kadi::authlist::test
