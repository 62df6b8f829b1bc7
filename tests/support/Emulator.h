// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <string>

namespace oru::kadi::authlist::test {

/// Whether another architecture's system emulates this process (qemu-arm): system calls may be missing, and work takes
/// many times as long.
inline bool isEmulated() {
    static const bool emulated = [] {
        std::ifstream name("/proc/self/comm");  // of the program that the system has started
        std::string text;
        return std::getline(name, text) && text.starts_with("qemu-");
    }();
    return emulated;
}

}  // namespace oru::kadi::authlist::test
