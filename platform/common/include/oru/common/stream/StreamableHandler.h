// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

#include "oru/common/Export.h"
#include "oru/common/stream/IStreamable.h"

namespace oru::common::stream {

/// One cached streamable and the mutex that guards it.
class ORU_COMMON_EXPORT StreamableHandler {
public:
    using Clock = std::chrono::steady_clock;

    /// A streamable, and when it has to be written back. Everything in it is guarded by the handler's mutex.
    struct CachedStreamable {
        std::unique_ptr<IStreamable> streamable;
        Clock::duration writeAfter{};            ///< from the first possible change to the start of the write
        std::optional<Clock::time_point> dueAt;  ///< when to start writing; none while nothing can have changed
        std::condition_variable wakeWriter;      ///< notified when dueAt is set
    };

    /// Access to the streamable, with the mutex held, for the length of a scope.
    class ORU_COMMON_EXPORT LockedStreamable {
    public:
        LockedStreamable(std::mutex& mutex, CachedStreamable& cached) : mLock(mutex), mCached(cached) {}
        LockedStreamable(const LockedStreamable&) = delete;
        LockedStreamable& operator=(const LockedStreamable&) = delete;

        /// The streamable, which counts as changed from now on: it will be written back if its bytes differ then.
        IStreamable& get();

    private:
        std::lock_guard<std::mutex> mLock;
        CachedStreamable& mCached;
    };

    StreamableHandler(std::unique_ptr<IStreamable> streamable, Clock::duration writeAfter);
    StreamableHandler(const StreamableHandler&) = delete;
    StreamableHandler& operator=(const StreamableHandler&) = delete;

    std::mutex& mutex() { return mMutex; }
    CachedStreamable& cachedStreamable() { return mCached; }

private:
    std::mutex mMutex;
    CachedStreamable mCached;
};

}  // namespace oru::common::stream
