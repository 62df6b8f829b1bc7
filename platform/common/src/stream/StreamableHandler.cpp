// SPDX-License-Identifier: Apache-2.0
#include "oru/common/stream/StreamableHandler.h"

#include <utility>

namespace oru::common::stream {

StreamableHandler::StreamableHandler(std::unique_ptr<IStreamable> streamable, Clock::duration writeAfter) {
    mCached.streamable = std::move(streamable);
    mCached.writeAfter = writeAfter;
}

IStreamable& StreamableHandler::LockedStreamable::get() {
    if (!mCached.dueAt) {
        mCached.dueAt = Clock::now() + mCached.writeAfter;
        mCached.wakeWriter.notify_one();
    }
    return *mCached.streamable;
}

}  // namespace oru::common::stream
