// SPDX-License-Identifier: Apache-2.0
#include "support/StatementLog.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

thread_local sqlite3* openedLast = nullptr;

// SQLite calls an automatic extension for every connection that is opened.
int connectionOpened(sqlite3* connection, char** /*message*/, const sqlite3_api_routines* /*api*/) {
    openedLast = connection;
    return SQLITE_OK;
}

using EntryPoint = void (*)();
const auto extension = reinterpret_cast<EntryPoint>(&connectionOpened);

int statementBegun(unsigned /*event*/, void* statements, void* /*statement*/, void* sql) {
    static_cast<std::vector<std::string>*>(statements)->emplace_back(static_cast<const char*>(sql));
    return 0;
}

}  // namespace

ConnectionWatch::ConnectionWatch() { sqlite3_auto_extension(extension); }

ConnectionWatch::~ConnectionWatch() { sqlite3_cancel_auto_extension(extension); }

sqlite3* ConnectionWatch::connection() const { return openedLast; }

StatementLog::StatementLog(sqlite3* connection) : mConnection(connection) {
    sqlite3_trace_v2(mConnection, SQLITE_TRACE_STMT, &statementBegun, &mStatements);
}

StatementLog::~StatementLog() { sqlite3_trace_v2(mConnection, 0, nullptr, nullptr); }

}  // namespace oru::kadi::authlist::benchmarks
