// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace oru::kadi::authlist::tool {

/// What the process reports to its caller; told in the man page.
enum class ExitStatus : int {
    Done = 0,
    No = 1,       ///< refused, different, damaged, not confirmed
    Usage = 2,    ///< an option, a command or a value that cannot be read
    Unknown = 3,  ///< a card is not in the list
    Storage = 4,  ///< a file cannot be opened, read or written, or is no list
    Refused = 5,  ///< data that the list cannot take
    Interrupted = 130,
};

/// Ends a command: the line that is printed, and the exit status.
class ToolError : public std::runtime_error {
public:
    ToolError(ExitStatus status, const std::string& line) : std::runtime_error(line), mStatus(status) {}
    ExitStatus status() const { return mStatus; }

private:
    ExitStatus mStatus;
};

/// What an error says, without the line feed at the end that SQLite's errors have.
inline std::string reasonOf(const std::exception& error) {
    std::string reason = error.what();
    while (!reason.empty() && reason.back() == '\n') reason.pop_back();
    return reason;
}

}  // namespace oru::kadi::authlist::tool
