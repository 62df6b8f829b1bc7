// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include "support/ForkedProcess.h"

namespace oru::kadi::authlist::test {

/// Sanitizers keep memory of their own beside and behind every allocation, so a process's size says nothing then.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool memoryCanBeMeasured = false;
#else
inline constexpr bool memoryCanBeMeasured = true;
#endif

/// A line like "VmHWM:  2256 kB" of this process's status, in bytes.
inline std::uint64_t ownMemory(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, field.size() + 1, field + ":") == 0) {
            return std::stoull(line.substr(field.size() + 1)) * 1024;
        }
    }
    throw std::runtime_error("No " + field + " in /proc/self/status");
}

/// What an action in a process of its own returned, and by how many bytes that process had grown at its largest.
struct MeasuredRun {
    std::string result;
    std::uint64_t peakGrowth;
};

/// Runs action in a forked process, so that the peak is the action's own.
inline MeasuredRun runMeasured(const std::function<std::string()>& action) {
    const ForkedRun run = runForked([&action](const Reporter& report) {
        malloc_trim(0);                                 // what the parent had freed is not there to be used again
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak so far is forgotten
        const std::uint64_t before = ownMemory("VmRSS");
        const std::string result = action();
        report(std::to_string(std::max(before, ownMemory("VmHWM")) - before) + " " + result);
    });
    if (!run.finished()) throw std::runtime_error("The forked process failed: " + run.report);
    const std::size_t blank = run.report.find(' ');
    return MeasuredRun{run.report.substr(blank + 1), std::stoull(run.report.substr(0, blank))};
}

}  // namespace oru::kadi::authlist::test
