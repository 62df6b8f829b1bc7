// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace oru::kadi::authlist::test {

/// A call to the operating system about a file in the watched folder, or about that folder.
struct FileCall {
    std::string operation;   ///< open, read, write, fchmod, fsync, close, link, rename or unlink
    std::string name;        ///< of the file in the folder (the old name where there are two); "." is the folder itself
    std::string newName;     ///< of a link or rename
    std::size_t length = 0;  ///< of a read or write
    bool toWrite = false;    ///< of an open
};

/// What becomes of a call that is about to be made.
struct Verdict {
    int error = 0;  ///< it fails with this errno and does nothing; only a close closes all the same
    std::optional<std::size_t> atMost{};  ///< of a read or write: it moves no more bytes than these
    bool skip = false;                    ///< it succeeds and does nothing
};

/// A call that has returned, with an errno or with 0.
struct FinishedCall : FileCall {
    int error = 0;
    std::chrono::steady_clock::time_point begun;
    std::chrono::steady_clock::time_point ended;
    std::thread::id thread;
};

/// While it lives, sees every call of this process about one folder (not about those within it) that goes through the
/// shared C library, decides what becomes of it and keeps it in a log. Programs that link FileCalls.cpp have it; one
/// at a time. It has to outlive the threads that make the calls.
class FileCallWatch {
public:
    /// Asked before each call, on its thread. It may block or end the process, and use files itself: those calls pass.
    using Judge = std::function<Verdict(const FileCall&)>;
    enum class Threads { Others, All };  ///< Others: not the calls of the thread that made the watch

    explicit FileCallWatch(const std::string& folder, Judge judge = {}, Threads threads = Threads::Others);
    FileCallWatch(const FileCallWatch&) = delete;
    FileCallWatch& operator=(const FileCallWatch&) = delete;
    ~FileCallWatch();

    /// Those that have returned until now, in that order.
    std::vector<FinishedCall> calls() const;

    // For the functions that stand before those of the C library.
    bool isAbout(const std::string& path) const;
    std::string nameOf(const std::string& path) const;
    bool isWatched(std::thread::id thread) const;
    Verdict judge(const FileCall& call) const { return mJudge ? mJudge(call) : Verdict{}; }
    void keep(const FinishedCall& call);

private:
    bool isTheFolder(const std::string& path) const { return path == mGivenFolder || path == mFolder; }

    std::string mGivenFolder;
    std::string mFolder;  // without symbolic links, as the path of an open file is told
    Judge mJudge;
    std::optional<std::thread::id> mExempt;
    mutable std::mutex mMutex;
    std::vector<FinishedCall> mCalls;
};

}  // namespace oru::kadi::authlist::test
