// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

#include "authlist/db/sqlite/SqlStatementBuilder.h"

namespace oru::kadi::authlist::db::sqlite {

/// Holds the write lock and one open transaction for the length of a scope.
/// Leaving the scope commits, even while an exception passes; only a failing COMMIT is rolled back, and when that fails
/// too the process ends.
class TransactionGuard {
public:
    explicit TransactionGuard(const SqlStatementBuilder& builder) : mLock(builder.writeMutex()), mBuilder(builder) {
        mBuilder.beginTransaction();
    }
    TransactionGuard(const TransactionGuard&) = delete;
    TransactionGuard& operator=(const TransactionGuard&) = delete;
    ~TransactionGuard() {
        try {
            mBuilder.commitTransaction();
        } catch (...) {
            mBuilder.rollbackTransaction();
        }
    }

private:
    std::lock_guard<std::mutex> mLock;  // taken before BEGIN, released after COMMIT and when BEGIN throws
    const SqlStatementBuilder& mBuilder;
};

}  // namespace oru::kadi::authlist::db::sqlite
