// SPDX-License-Identifier: Apache-2.0
#include "support/AllocationMeter.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace oru::kadi::authlist::test {
namespace {

constinit thread_local AllocationMeter* sMeter = nullptr;

}  // namespace

AllocationMeter::AllocationMeter() { sMeter = this; }

AllocationMeter::~AllocationMeter() { sMeter = nullptr; }

AllocationMeter* AllocationMeter::ofThisThread() { return sMeter; }

bool AllocationMeter::refuses() {
    if (!mFails) return false;
    if (mAllowed > 0) {
        --mAllowed;
        return false;
    }
    mFails = false;
    mHasFailed = true;
    return true;
}

void AllocationMeter::add(std::size_t size) {
    mInUse += size;
    mPeak = std::max(mPeak, mInUse);
}

// What was handed out before the meter was made does not count when it is given back.
void AllocationMeter::subtract(std::size_t size) { mInUse -= std::min(mInUse, size); }

namespace {

void* allocate(std::size_t size) {
    AllocationMeter* const meter = AllocationMeter::ofThisThread();
    if (meter != nullptr && meter->refuses()) throw std::bad_alloc();
    void* const memory = std::malloc(std::max<std::size_t>(size, 1));
    if (memory == nullptr) throw std::bad_alloc();
    if (meter != nullptr) meter->add(malloc_usable_size(memory));
    return memory;
}

void release(void* memory) noexcept {
    AllocationMeter* const meter = AllocationMeter::ofThisThread();
    if (meter != nullptr && memory != nullptr) meter->subtract(malloc_usable_size(memory));
    std::free(memory);
}

}  // namespace
}  // namespace oru::kadi::authlist::test

// They stand before the standard library's own, for the whole program; the forms for arrays come here too.
void* operator new(std::size_t size) { return oru::kadi::authlist::test::allocate(size); }
void operator delete(void* memory) noexcept { oru::kadi::authlist::test::release(memory); }
void operator delete(void* memory, std::size_t) noexcept { oru::kadi::authlist::test::release(memory); }
