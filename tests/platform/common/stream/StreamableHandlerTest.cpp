// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>

#include "oru/common/stream/StreamableHandler.h"
#include "support/TextFile.h"

namespace oru::common::stream {
namespace {

using kadi::authlist::test::Text;
using namespace std::chrono_literals;

constexpr auto halfADay = 12h;

class AStreamableHandler : public testing::Test {
protected:
    using LockedStreamable = StreamableHandler::LockedStreamable;

    // Whether another thread could take the mutex now.
    bool isFree() {
        return std::async(std::launch::async,
                          [this] {
                              const std::unique_lock lock(mHandler.mutex(), std::try_to_lock);
                              return lock.owns_lock();
                          })
            .get();
    }

    std::optional<StreamableHandler::Clock::time_point> dueAt() {
        const std::lock_guard lock(mHandler.mutex());
        return mHandler.cachedStreamable().dueAt;
    }

    StreamableHandler mHandler{std::make_unique<Text>(), halfADay};
};

TEST_F(AStreamableHandler, IsLockedForTheLifeOfALockedStreamable) {
    EXPECT_TRUE(isFree());
    {
        LockedStreamable locked(mHandler.mutex(), mHandler.cachedStreamable());
        EXPECT_FALSE(isFree());
        locked.get();
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(AStreamableHandler, GivesTheSameStreamableSeveralTimesUnderOneLock) {
    const IStreamable* streamable = mHandler.cachedStreamable().streamable.get();
    LockedStreamable locked(mHandler.mutex(), mHandler.cachedStreamable());
    EXPECT_EQ(&locked.get(), streamable);
    EXPECT_EQ(&locked.get(), streamable);
}

TEST_F(AStreamableHandler, HasNothingToWriteBeforeAnybodyAskedForTheStreamable) {
    EXPECT_FALSE(dueAt());
    { LockedStreamable locked(mHandler.mutex(), mHandler.cachedStreamable()); }
    EXPECT_FALSE(dueAt());
}

TEST_F(AStreamableHandler, IsDueTheGivenTimeAfterTheFirstAccess) {
    const auto before = StreamableHandler::Clock::now();
    LockedStreamable(mHandler.mutex(), mHandler.cachedStreamable()).get();
    const auto after = StreamableHandler::Clock::now();
    ASSERT_TRUE(dueAt());
    EXPECT_GE(*dueAt(), before + halfADay);
    EXPECT_LE(*dueAt(), after + halfADay);
}

TEST_F(AStreamableHandler, IsNotPutOffByFurtherAccesses) {
    LockedStreamable(mHandler.mutex(), mHandler.cachedStreamable()).get();
    const auto first = dueAt();
    while (StreamableHandler::Clock::now() == *first - halfADay) {
    }
    LockedStreamable(mHandler.mutex(), mHandler.cachedStreamable()).get();
    EXPECT_EQ(dueAt(), first);
}

TEST_F(AStreamableHandler, WakesItsWriterAtTheFirstAccess) {
    std::promise<void> waiting;
    auto woken = std::async(std::launch::async, [this, &waiting] {
        auto& cached = mHandler.cachedStreamable();
        std::unique_lock lock(mHandler.mutex());
        waiting.set_value();
        // The mutex is released by waiting only, so the access below comes after the wait has begun.
        while (!cached.dueAt) {
            if (cached.wakeWriter.wait_for(lock, 30s) == std::cv_status::timeout) return false;
        }
        return true;
    });
    waiting.get_future().wait();
    LockedStreamable(mHandler.mutex(), mHandler.cachedStreamable()).get();
    EXPECT_TRUE(woken.get());
}

TEST(StreamableHandler, IsNeitherCopiedNorMoved) {
    static_assert(!std::is_copy_constructible_v<StreamableHandler> && !std::is_move_constructible_v<StreamableHandler>);
    using Locked = StreamableHandler::LockedStreamable;
    static_assert(!std::is_copy_constructible_v<Locked> && !std::is_move_constructible_v<Locked>);
    static_assert(!std::is_copy_assignable_v<Locked> && !std::is_move_assignable_v<Locked>);
}

TEST(AnIStreamable, CanBeDestroyedThroughItsBase) { static_assert(std::has_virtual_destructor_v<IStreamable>); }

}  // namespace
}  // namespace oru::common::stream
