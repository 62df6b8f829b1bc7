// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::test {

/// While it lives, std::chrono::system_clock shows what the test sets; before and after that, the time.
/// For one thread and one object at a time, in programs that link StandingClock.cpp.
class StandingClock {
public:
    explicit StandingClock(TimePoint now, std::chrono::nanoseconds step = std::chrono::nanoseconds(0));
    StandingClock(const StandingClock&) = delete;
    StandingClock& operator=(const StandingClock&) = delete;
    ~StandingClock();

    /// What the next reading shows; each reading moves the clock on by the step.
    void set(TimePoint now) { mNow = now; }
    TimePoint read();

private:
    TimePoint mNow;
    std::chrono::nanoseconds mStep;
};

}  // namespace oru::kadi::authlist::test
