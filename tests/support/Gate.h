// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace oru::kadi::authlist::test {

/// Holds threads back until the test opens it (or a minute has passed, so that a test which waits for them ends).
class Gate {
public:
    void pass() {
        std::unique_lock lock(mMutex);
        mIsReached = true;
        mChanged.notify_all();
        mChanged.wait_for(lock, std::chrono::minutes(1), [this] { return mIsOpen; });
    }

    /// Waits until a thread has come to the gate; false when none comes.
    bool isReached() {
        std::unique_lock lock(mMutex);
        return mChanged.wait_for(lock, std::chrono::seconds(30), [this] { return mIsReached; });
    }

    void open() {
        const std::lock_guard lock(mMutex);
        mIsOpen = true;
        mChanged.notify_all();
    }

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mIsReached = false;
    bool mIsOpen = false;
};

/// Opens the gate at the end of a scope, however that is left. Declare it after what waits for the held thread.
class OpenAtExit {
public:
    explicit OpenAtExit(Gate& gate) : mGate(gate) {}
    OpenAtExit(const OpenAtExit&) = delete;
    OpenAtExit& operator=(const OpenAtExit&) = delete;
    ~OpenAtExit() { mGate.open(); }

private:
    Gate& mGate;
};

}  // namespace oru::kadi::authlist::test
