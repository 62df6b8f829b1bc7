// SPDX-License-Identifier: Apache-2.0
#include "fs/CachedFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "fs/MemoryBuffer.h"

namespace oru::common::fs {
namespace {

using namespace std::chrono_literals;
using Clock = stream::StreamableHandler::Clock;

// Far beyond any sensible delay, and far from overflowing a time point.
constexpr std::chrono::milliseconds longestDelay = 365 * 24h;
constexpr std::chrono::milliseconds shortestRetry = 100ms;

std::chrono::milliseconds delayOf(const CachedFileManager::Options& options) {
    return std::clamp(options.delay, std::chrono::milliseconds{0}, longestDelay);
}

void read(stream::IStreamable& streamable, const std::filesystem::path& path, std::size_t bufferSize) {
    if (!std::filesystem::exists(path)) {
        if (!std::filesystem::is_directory(path.parent_path())) throw std::runtime_error("its folder does not exist");
        return;
    }
    if (!std::filesystem::is_regular_file(path)) throw std::runtime_error("it is not a regular file");
    std::vector<char> buffer(bufferSize);
    std::ifstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    file.open(path, std::ios::binary);
    if (!file.is_open()) throw std::runtime_error(std::generic_category().message(errno));
    if (file.peek() == std::ifstream::traits_type::eof() && !file.bad()) return;
    if (!streamable.deserialize(file)) throw std::runtime_error("its content cannot be decoded");
}

[[noreturn]] void fail(const std::string& path, const std::exception& cause) {
    throw std::runtime_error("Cannot load " + path + ": " + cause.what());
}

FileReplacement resolve(const std::string& path, const CachedFileManager::Options& options) try {
    return {path, options};
} catch (const std::exception& error) {
    fail(path, error);
}

std::unique_ptr<stream::IStreamable> load(std::unique_ptr<stream::IStreamable> streamable, const std::string& path,
                                          const FileReplacement& file) {
    try {
        read(*streamable, file.path(), file.pieceSize());
    } catch (const std::exception& error) {
        fail(path, error);
    }
    return streamable;
}

}  // namespace

CachedFile::CachedFile(std::unique_ptr<stream::IStreamable> streamable, const std::string& path,
                       const CachedFileManager::Options& options)
    : mFile(resolve(path, options)),
      mRetryAfter(std::max(delayOf(options), shortestRetry)),
      // Half the delay to wait, the other half for the disk.
      mHandler(load(std::move(streamable), path, mFile), delayOf(options) / 2) {
    mFile.removeLeftovers();
    mThread = std::thread([this] { run(); });
}

CachedFile::~CachedFile() {
    {
        const std::lock_guard lock(mHandler.mutex());
        mStopped = true;
        mHandler.cachedStreamable().wakeWriter.notify_one();
    }
    mThread.join();
}

void CachedFile::run() {
    auto& cached = mHandler.cachedStreamable();
    std::unique_lock lock(mHandler.mutex());
    while (true) {
        cached.wakeWriter.wait(lock, [&] { return mStopped || cached.dueAt; });
        if (!cached.dueAt) return;
        cached.wakeWriter.wait_until(lock, *cached.dueAt, [&] { return mStopped; });
        const bool isLast = mStopped;
        writeBack(lock);
        if (isLast) return;
    }
}

// Called with the lock held and returns so; the disk works without it.
void CachedFile::writeBack(std::unique_lock<std::mutex>& lock) noexcept {
    auto& cached = mHandler.cachedStreamable();
    bool failed = true;
    try {
        MemoryBuffer bytes(mFile.pieceSize());
        std::ostream stream(&bytes);
        cached.streamable->serialize(stream);
        if (!stream) throw std::bad_alloc();
        cached.dueAt.reset();
        lock.unlock();
        if (mFile.lastAttemptFailed() || !mFile.holds(bytes)) mFile.write(bytes);
        failed = false;
    } catch (const std::exception&) {  // the next attempt may succeed
    }
    if (!lock.owns_lock()) lock.lock();
    if (failed) cached.dueAt = Clock::now() + mRetryAfter;
}

}  // namespace oru::common::fs
