// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>

namespace oru::kadi::authlist::fuzz {

/// Ends the process, which the fuzzer records as a finding, unless the property holds.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "Does not hold: %s\n", property);
    std::abort();
}

}  // namespace oru::kadi::authlist::fuzz
