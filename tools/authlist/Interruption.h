// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

namespace oru::kadi::authlist::tool {

/// While it lives, ^C and a request to terminate do not end the process but are remembered, so that what is going on
/// can be undone. One at a time.
class Interruption {
public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// Throws ToolError when there was one.
    static void throwIfRequested();

private:
    struct sigaction mInterrupt {};
    struct sigaction mTerminate {};
};

}  // namespace oru::kadi::authlist::tool
