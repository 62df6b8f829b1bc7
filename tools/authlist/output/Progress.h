// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>

#include "output/Terminal.h"

namespace oru::kadi::authlist::tool {

/// A progress bar with rate and time left in one line of a terminal, redrawn at most ten times a second; where the
/// stream is no terminal, nothing at all. The destructor wipes the line.
class Progress {
public:
    using Clock = std::chrono::steady_clock;

    /// title stands before the bar ("Importing"); total is the number of records that makes it full.
    Progress(std::ostream& out, Terminal terminal, std::string title, std::size_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void advanceTo(std::size_t done);

    /// The line's text: title, bar, done/total, records per second, time left; as much of it as fits into width.
    static std::string line(const std::string& title, std::size_t done, std::size_t total, Clock::duration elapsed,
                            std::size_t width);

private:
    std::ostream& mOut;
    Terminal mTerminal;
    std::string mTitle;
    std::size_t mTotal;
    std::optional<Clock::time_point> mBegin;  // of the first record
    std::optional<Clock::time_point> mDrawn;
};

}  // namespace oru::kadi::authlist::tool
