// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace oru::kadi::authlist::test {

/// What one run of the tool left.
struct ToolResult {
    int exitStatus = -1;  ///< 128 + the signal for a run that a signal ended
    std::string out;      ///< of a run on a terminal: everything that appeared there, "\r\n" as "\n"
    std::string err;      ///< empty after a run on a terminal
};

/// How the tool is run besides its arguments.
struct ToolSetting {
    std::string input;  ///< its standard input; of a run on a terminal: what is typed
    std::map<std::string, std::string>
        variables;       ///< environment on top of a fixed one: TZ=UTC, no COLUMNS, no NO_COLOR
    std::string folder;  ///< to run in; empty: the present one
};

using Arguments = std::vector<std::string>;

/// Runs the real binary with pipes and waits for its end; a run that takes longer than a minute is killed and fails the
/// test.
ToolResult runTool(const Arguments& arguments, const ToolSetting& setting = {});

/// The same on a pseudo terminal of 80 columns and TERM=xterm.
ToolResult runToolOnTerminal(const Arguments& arguments, const ToolSetting& setting = {});

/// A run whose tests do something while it goes on. The destructor kills it.
class RunningTool {
public:
    explicit RunningTool(const Arguments& arguments, const ToolSetting& setting = {});
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;
    ~RunningTool();

    void signal(int number) const;
    /// Waits for the end, as runTool does.
    ToolResult finish();

private:
    int mProcess = -1;
    int mOut = -1;
    int mErr = -1;
};

}  // namespace oru::kadi::authlist::test
