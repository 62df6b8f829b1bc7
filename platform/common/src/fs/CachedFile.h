// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "fs/FileReplacement.h"
#include "oru/common/fs/CachedFileManager.h"
#include "oru/common/stream/IStreamable.h"
#include "oru/common/stream/StreamableHandler.h"

namespace oru::common::fs {

/// One file of a CachedFileManager: its streamable's handler and the thread that writes it back.
class CachedFile {
public:
    /// Loads the file and starts the thread. Throws as CachedFileManager::add does.
    CachedFile(std::unique_ptr<stream::IStreamable> streamable, const std::string& path,
               const CachedFileManager::Options& options);
    CachedFile(const CachedFile&) = delete;
    CachedFile& operator=(const CachedFile&) = delete;
    ~CachedFile();

    stream::StreamableHandler& handler() { return mHandler; }

private:
    void run();
    void writeBack(std::unique_lock<std::mutex>& lock) noexcept;

    FileReplacement mFile;
    stream::StreamableHandler::Clock::duration mRetryAfter;
    stream::StreamableHandler mHandler;
    bool mStopped = false;  // guarded by the handler's mutex
    std::thread mThread;    // last: it uses all of the above
};

}  // namespace oru::common::fs
