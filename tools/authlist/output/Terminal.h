// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>

namespace oru::kadi::authlist::tool {

/// What is known about where a stream's text goes.
struct Terminal {
    bool isTerminal = false;
    std::optional<std::size_t> width;  ///< columns to fit into: of COLUMNS, else of the terminal; none: any width
    bool hasColour = false;  ///< a terminal, TERM not "dumb", and NO_COLOR not set (an empty one counts as not set)

    /// Of an open file descriptor.
    static Terminal of(int descriptor);
};

}  // namespace oru::kadi::authlist::tool
