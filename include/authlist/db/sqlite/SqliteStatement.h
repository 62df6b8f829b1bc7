// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "authlist/Export.h"

struct sqlite3_stmt;

namespace oru::kadi::authlist::db::sqlite {

/// Owns one prepared statement and finalizes it exactly once; moves, never copies.
/// The handle is null for an empty SQL text. Must not outlive the connection that prepared it.
class ORU_AUTHLIST_EXPORT SqliteStatement {
public:
    explicit SqliteStatement(sqlite3_stmt* handle) noexcept : mHandle(handle) {}
    sqlite3_stmt* get() const noexcept { return mHandle.get(); }

private:
    struct ORU_AUTHLIST_EXPORT Finalize {
        void operator()(sqlite3_stmt* handle) const noexcept;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> mHandle;
};

}  // namespace oru::kadi::authlist::db::sqlite
