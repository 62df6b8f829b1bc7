// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <string>
#include <utility>
#include <vector>

namespace oru::kadi::authlist::benchmarks {

/// Sees the connection that is opened while it lives, on this thread. That is how a benchmark gets at the library's.
class ConnectionWatch {
public:
    ConnectionWatch();
    ConnectionWatch(const ConnectionWatch&) = delete;
    ConnectionWatch& operator=(const ConnectionWatch&) = delete;
    ~ConnectionWatch();

    sqlite3* connection() const;
};

/// Writes down the SQL of every statement that runs on a connection while it lives.
class StatementLog {
public:
    explicit StatementLog(sqlite3* connection);
    StatementLog(const StatementLog&) = delete;
    StatementLog& operator=(const StatementLog&) = delete;
    ~StatementLog();

    /// What was written down so far.
    std::vector<std::string> take() { return std::exchange(mStatements, {}); }

private:
    sqlite3* mConnection;
    std::vector<std::string> mStatements;
};

}  // namespace oru::kadi::authlist::benchmarks
