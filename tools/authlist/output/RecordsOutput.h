// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Session.h"
#include "output/Table.h"

namespace oru::kadi::authlist::tool {

/// Prints records of any kind, page by page, in the format of --output: as a table, as one JSON array, or as CSV.
class RecordsOutput {
public:
    /// columns are the table's, names those of the CSV.
    RecordsOutput(const Session& session, std::vector<Column> columns, const std::vector<std::string>& names);

    struct Record {
        Row cells{};                        ///< for a table
        std::string json{};                 ///< an object
        std::vector<std::string> values{};  ///< for CSV, one for each name; empty where absent
    };
    void print(const std::vector<Record>& page);

    /// Ends the output. A table without records says nothing but the text.
    void finish(const std::string& textForNone);

private:
    const Session& mSession;
    std::optional<Table> mTable;
    bool mIsEmpty = true;
};

/// A line of CSV: commas, quotes where they are needed.
std::string csvLine(const std::vector<std::string>& values);

}  // namespace oru::kadi::authlist::tool
