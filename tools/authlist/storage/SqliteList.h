// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "storage/ListStorage.h"

namespace oru::kadi::authlist::tool {

/// A list in a SQLite database.
class SqliteList : public ListStorage {
public:
    /// How much of a file recognises wants to see.
    static constexpr std::size_t recognisedBytes = 16;
    static bool recognises(std::string_view begin);

    using ListStorage::ListStorage;

    Store store() const override { return Store::Sqlite; }
    unsigned capacity() const override;
    std::unique_ptr<IDbAccessor> open() const override;
    void replaceAll(const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                    const ReportProgress& report) const override;
    void backUp(const std::string& target) const override;
    std::vector<Finding> inspect(const std::function<void(const RfidCard&)>& visit) const override;

    /// "wal", "delete" and so on, as SQLite calls it.
    std::string journalMode() const;
    /// Returns the mode that came of it.
    std::string setJournalMode(const std::string& mode) const;

private:
    /// The path as SQLite takes no other meaning from it (":memory:", "file:...").
    std::string databaseName() const;

    /// A database of something else must not get the tables of a list.
    void requireList() const;
};

}  // namespace oru::kadi::authlist::tool
