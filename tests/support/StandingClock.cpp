// SPDX-License-Identifier: Apache-2.0
#include "support/StandingClock.h"

#include <ctime>

namespace oru::kadi::authlist::test {
namespace {

StandingClock* standingClock = nullptr;

TimePoint timeOfTheSystem() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return TimePoint{std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec)};
}

}  // namespace

StandingClock::StandingClock(TimePoint now, std::chrono::nanoseconds step) : mNow(now), mStep(step) {
    standingClock = this;
}

StandingClock::~StandingClock() { standingClock = nullptr; }

TimePoint StandingClock::read() {
    const TimePoint now = mNow;
    mNow += mStep;
    return now;
}

}  // namespace oru::kadi::authlist::test

/// Stands before the standard library's own, for the whole program.
std::chrono::system_clock::time_point std::chrono::system_clock::now() noexcept {
    using namespace oru::kadi::authlist::test;
    return standingClock == nullptr ? timeOfTheSystem() : standingClock->read();
}
