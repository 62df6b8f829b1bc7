// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace oru::kadi::authlist::tool {

enum class Store { Sqlite, File };
enum class OutputFormat { Table, Json, Csv };

/// The options that every command knows.
struct Options {
    std::string list;
    std::optional<Store> store;
    OutputFormat output = OutputFormat::Table;
    bool isLocalTime = false;
    bool showsKeys = false;
};

}  // namespace oru::kadi::authlist::tool
