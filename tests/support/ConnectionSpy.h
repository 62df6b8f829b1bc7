// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/SqlText.h"

namespace oru::kadi::authlist::test {

/// Gets hold of the connection that a part of the library opens for itself, and notes the statements that run on it.
/// Must outlive that connection.
class ConnectionSpy {
public:
    ConnectionSpy() = default;
    ConnectionSpy(const ConnectionSpy&) = delete;
    ConnectionSpy& operator=(const ConnectionSpy&) = delete;

    /// What open returns; the connection that it opens on this thread is the one that is watched from then on.
    template <class Open>
    auto watch(Open open) {
        const Registration registration(*this);
        return open();
    }

    sqlite3* connection() const { return mConnection; }

    /// The statements begun since the last call, in order, each trimmed and on one line with its parameters' values.
    std::vector<std::string> takeStatements() {
        const std::lock_guard lock(mMutex);
        return std::exchange(mStatements, {});
    }

private:
    using EntryPoint = void (*)();

    // SQLite calls an automatic extension for every connection that is opened.
    struct Registration {
        explicit Registration(ConnectionSpy& spy) {
            sWatching = &spy;
            sqlite3_auto_extension(reinterpret_cast<EntryPoint>(&connectionOpened));
        }
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;
        ~Registration() {
            sqlite3_cancel_auto_extension(reinterpret_cast<EntryPoint>(&connectionOpened));
            sWatching = nullptr;
        }
    };

    static int connectionOpened(sqlite3* db, char** /*message*/, const sqlite3_api_routines* /*api*/) {
        if (sWatching == nullptr) return SQLITE_OK;
        sWatching->mConnection = db;
        return sqlite3_trace_v2(db, SQLITE_TRACE_STMT, &statementBegun, sWatching);
    }

    static int statementBegun(unsigned /*event*/, void* spy, void* statement, void* /*sql*/) {
        static_cast<ConnectionSpy*>(spy)->note(static_cast<sqlite3_stmt*>(statement));
        return 0;
    }

    void note(sqlite3_stmt* statement) {
        // What a statement sets off (a cascading delete, RETURNING) is reported as the statement once more.
        if (sqlite3_stmt_status(statement, SQLITE_STMTSTATUS_RUN, 0) != 0) return;
        char* sql = sqlite3_expanded_sql(statement);
        const std::lock_guard lock(mMutex);
        mStatements.push_back(squeezed(sql == nullptr ? "" : sql));
        sqlite3_free(sql);
    }

    static inline thread_local ConnectionSpy* sWatching = nullptr;

    sqlite3* mConnection = nullptr;
    std::mutex mMutex;
    std::vector<std::string> mStatements;
};

/// While it lives, the connection refuses to prepare what refuses says: an authorizer action (SQLITE_INSERT, ...) with
/// the table or transaction operation that it is about.
class Refusal {
public:
    using Refuses = std::function<bool(int action, const std::string& subject)>;

    Refusal(sqlite3* db, Refuses refuses) : mDb(db), mRefuses(std::move(refuses)) {
        sqlite3_set_authorizer(mDb, &authorize, this);
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;
    ~Refusal() { sqlite3_set_authorizer(mDb, nullptr, nullptr); }

private:
    static int authorize(void* refusal, int action, const char* subject, const char*, const char*, const char*) {
        const bool refused =
            static_cast<Refusal*>(refusal)->mRefuses(action, subject == nullptr ? std::string() : subject);
        return refused ? SQLITE_DENY : SQLITE_OK;
    }

    sqlite3* mDb;
    Refuses mRefuses;
};

}  // namespace oru::kadi::authlist::test
