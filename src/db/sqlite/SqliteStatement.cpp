// SPDX-License-Identifier: Apache-2.0
#include "authlist/db/sqlite/SqliteStatement.h"

#include <sqlite3.h>

namespace oru::kadi::authlist::db::sqlite {

void SqliteStatement::Finalize::operator()(sqlite3_stmt* handle) const noexcept { sqlite3_finalize(handle); }

}  // namespace oru::kadi::authlist::db::sqlite
