// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace oru::kadi::authlist::test {

/// Polls until the condition holds; false when it does not within a time that even a loaded machine keeps.
template <class Condition>
bool eventually(Condition condition) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

}  // namespace oru::kadi::authlist::test
