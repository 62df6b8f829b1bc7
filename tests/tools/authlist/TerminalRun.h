// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

#include "tools/authlist/ToolRun.h"

namespace oru::kadi::authlist::test {

/// A run on a pseudo terminal, as runToolOnTerminal, whose user reads before typing. What the setting holds as input is
/// typed at once. The destructor kills the run.
class TerminalRun {
public:
    explicit TerminalRun(const Arguments& arguments, const ToolSetting& setting = {});
    TerminalRun(const TerminalRun&) = delete;
    TerminalRun& operator=(const TerminalRun&) = delete;
    ~TerminalRun();

    /// Reads until text has appeared; false when the run ends or a minute goes by before.
    bool waitFor(const std::string& text);
    void type(const std::string& text) const;
    /// Reads on to the end of the run. A run that takes longer than a minute is killed and fails the test.
    ToolResult finish();

private:
    /// False at the end of the output, and when a minute has gone by.
    bool readSome();

    pid_t mProcess = -1;
    int mTerminal = -1;
    std::string mOut;
};

}  // namespace oru::kadi::authlist::test
