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

/// The statement trimmed and on one line with its parameters' values; empty while it is being prepared.
inline std::string textWithValues(sqlite3_stmt* statement) {
    char* sql = sqlite3_expanded_sql(statement);
    const std::string text = squeezed(sql == nullptr ? "" : sql);
    sqlite3_free(sql);
    return text;
}

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

    /// The statements begun since the last call, in order, as textWithValues gives them.
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
        const std::string text = textWithValues(statement);
        const std::lock_guard lock(mMutex);
        mStatements.push_back(text);
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

/// While it lives, notes which statements are prepared and not yet finalized whenever the connection is about to
/// prepare one of a kind: an authorizer action (SQLITE_TRANSACTION, ...) with what it is about. The connection has one
/// authorizer only, so there may be no Refusal meanwhile.
class LiveStatementsWhenPreparing {
public:
    LiveStatementsWhenPreparing(sqlite3* db, int action, const std::string& subject)
        : mLookingOn(db, [=, this](int preparedAction, const std::string& preparedSubject) {
              if (preparedAction == action && preparedSubject == subject) mNoted.push_back(liveOn(db));
              return false;
          }) {}

    /// For each time the texts of those statements, the latest first; without the one that is being prepared.
    const std::vector<std::vector<std::string>>& noted() const { return mNoted; }

private:
    static std::vector<std::string> liveOn(sqlite3* db) {
        std::vector<std::string> texts;
        for (sqlite3_stmt* each = sqlite3_next_stmt(db, nullptr); each != nullptr; each = sqlite3_next_stmt(db, each)) {
            const std::string text = textWithValues(each);
            if (!text.empty()) texts.push_back(text);
        }
        return texts;
    }

    std::vector<std::vector<std::string>> mNoted;
    Refusal mLookingOn;
};

}  // namespace oru::kadi::authlist::test
