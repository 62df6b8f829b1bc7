// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <mutex>
#include <string>

namespace oru::kadi::authlist::db::sqlite {

/// A result code and SQLite's message for it, "19=UNIQUE constraint failed". Copied under the connection's own mutex: a
/// call on another thread may replace the message, which then belongs to that call.
inline std::string errorText(sqlite3* db, int resultCode) {
    struct ConnectionMutex {
        sqlite3_mutex* mutex;
        void lock() { sqlite3_mutex_enter(mutex); }
        void unlock() { sqlite3_mutex_leave(mutex); }
    } mutex{sqlite3_db_mutex(db)};
    const std::lock_guard lock(mutex);
    return std::to_string(resultCode) + "=" + sqlite3_errmsg(db);
}

}  // namespace oru::kadi::authlist::db::sqlite
