// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace oru::kadi::authlist::test {

/// While it lives, counts what operator new hands out on its thread, and can make it fail. Programs that link
/// AllocationMeter.cpp have it; one at a time per thread.
class AllocationMeter {
public:
    AllocationMeter();
    AllocationMeter(const AllocationMeter&) = delete;
    AllocationMeter& operator=(const AllocationMeter&) = delete;
    ~AllocationMeter();

    /// The most bytes that were in use at any moment, of those handed out since the meter was made.
    std::size_t peak() const { return mPeak; }

    /// The next allocations succeed up to this number, then one throws std::bad_alloc; those behind it succeed again.
    void failAfter(std::uint64_t allocations) {
        mAllowed = allocations;
        mFails = true;
    }
    bool hasFailed() const { return mHasFailed; }

    // For operator new and delete.
    static AllocationMeter* ofThisThread();
    bool refuses();
    void add(std::size_t size);
    void subtract(std::size_t size);

private:
    std::size_t mInUse = 0;
    std::size_t mPeak = 0;
    std::uint64_t mAllowed = 0;
    bool mFails = false;
    bool mHasFailed = false;
};

}  // namespace oru::kadi::authlist::test
