// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace oru::kadi::authlist {

/// What an AuthListManager is built from; the manager keeps a copy of its own.
struct AuthListConfiguration {
    std::uint32_t maxRecords = 0;  ///< capacity; the list is full when it holds exactly so many records (0: when empty)
    std::string databaseFileName;  ///< path of the SQLite database; unused by a manager that was handed a backend

    /// Receives every message of the manager and whether it reports an error, on the calling thread and in the middle
    /// of the operation; what it throws leaves the operation. Empty: no messages.
    std::function<void(std::string, bool)> logCallback;

    /// Never called: whatever these hold lives as long as the manager does.
    std::function<void()> firstCompanion{};
    std::function<void()> secondCompanion{};
};

}  // namespace oru::kadi::authlist
