// SPDX-License-Identifier: Apache-2.0
#include "support/FileCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace oru::kadi::authlist::test {
namespace {

std::atomic<FileCallWatch*> currentWatch = nullptr;

// Set while this file is at work: what a judge does with files is nobody's business.
thread_local bool isJudging = false;

std::string pathOf(int descriptor) {
    char path[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

class Judging {
public:
    Judging() { isJudging = true; }
    Judging(const Judging&) = delete;
    Judging& operator=(const Judging&) = delete;
    ~Judging() { isJudging = false; }
};

// The watch of a call about path on this thread; none when the call is to pass.
FileCallWatch* watchOver(const std::string& path) {
    FileCallWatch* watch = currentWatch;
    return watch != nullptr && watch->isWatched(std::this_thread::get_id()) && watch->isAbout(path) ? watch : nullptr;
}

bool isToPass() { return currentWatch == nullptr || isJudging; }

// Lets the watch decide on the call. make(most) makes it, with most bytes where it has a length; cancel() is done
// instead when it is to fail; what succeeds without being made gives skipped.
template <class Result, class Make, class Cancel>
Result decide(FileCallWatch& watch, FinishedCall call, Result skipped, Make make, Cancel cancel) {
    call.thread = std::this_thread::get_id();
    call.begun = std::chrono::steady_clock::now();
    const Verdict verdict = [&] {
        const Judging judging;
        return watch.judge(call);
    }();
    Result result = skipped;
    if (verdict.error != 0) {
        cancel();
        result = Result{-1};
        call.error = verdict.error;
    } else if (!verdict.skip) {
        result = make(std::min(call.length, verdict.atMost.value_or(call.length)));
        call.error = result < 0 ? errno : 0;
    }
    call.ended = std::chrono::steady_clock::now();
    {
        const Judging judging;
        watch.keep(call);
    }
    if (call.error != 0) errno = call.error;
    return result;
}

// A call about an open file.
template <class Result, class Make, class Cancel>
Result decideOn(int descriptor, const char* operation, std::size_t length, Make make, Cancel cancel) {
    if (isToPass()) return make(length);
    const std::string path = pathOf(descriptor);
    FileCallWatch* watch = watchOver(path);
    if (watch == nullptr) return make(length);
    const auto skipped = static_cast<Result>(length);
    return decide<Result>(*watch, {{operation, watch->nameOf(path), {}, length, false}, 0, {}, {}, {}}, skipped, make,
                          cancel);
}

// A call that names one or two files.
template <class Make>
int decideOn(const char* path, const char* newPath, const char* operation, bool toWrite, Make make) {
    FileCallWatch* watch = isToPass() ? nullptr : watchOver(path);
    if (watch == nullptr) return make();
    const std::string newName = newPath == nullptr ? std::string() : watch->nameOf(newPath);
    return decide<int>(
        *watch, {{operation, watch->nameOf(path), newName, 0, toWrite}, 0, {}, {}, {}}, 0,
        [&](std::size_t) { return make(); }, [] {});
}

// The C library's own function, or the sanitizer's that stands before it.
template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

using Open = int(const char*, int, ...);

int openBy(Open* open, const char* path, int flags, mode_t mode) {
    const bool toWrite = (flags & O_ACCMODE) != O_RDONLY;
    return decideOn(path, nullptr, "open", toWrite, [=] { return open(path, flags, mode); });
}

constexpr auto doNothing = [] {};

}  // namespace

FileCallWatch::FileCallWatch(const std::string& folder, Judge judge, Threads threads)
    : mGivenFolder(folder), mFolder(std::filesystem::canonical(folder).string()), mJudge(std::move(judge)) {
    if (threads == Threads::Others) mExempt = std::this_thread::get_id();
    if (currentWatch.exchange(this) != nullptr) throw std::logic_error("There is a watch already");
}

FileCallWatch::~FileCallWatch() { currentWatch = nullptr; }

std::vector<FinishedCall> FileCallWatch::calls() const {
    const std::lock_guard lock(mMutex);
    return mCalls;
}

bool FileCallWatch::isAbout(const std::string& path) const {
    return isTheFolder(path) || isTheFolder(std::filesystem::path(path).parent_path().string());
}

std::string FileCallWatch::nameOf(const std::string& path) const {
    return isTheFolder(path) ? "." : std::filesystem::path(path).filename().string();
}

bool FileCallWatch::isWatched(std::thread::id thread) const { return thread != mExempt; }

void FileCallWatch::keep(const FinishedCall& call) {
    const std::lock_guard lock(mMutex);
    mCalls.push_back(call);
}

}  // namespace oru::kadi::authlist::test

// The functions under the names of the C library's, for every shared library of the process. The names are given in
// assembler so that no declaration, macro or 64-bit variant of a system header gets in the way.
#define ORU_STANDS_BEFORE(name) __asm__(name) __attribute__((visibility("default")))

extern "C" {
int oruOpen(const char* path, int flags, ...) ORU_STANDS_BEFORE("open");
int oruOpen64(const char* path, int flags, ...) ORU_STANDS_BEFORE("open64");
int oruClose(int descriptor) ORU_STANDS_BEFORE("close");
int oruFsync(int descriptor) ORU_STANDS_BEFORE("fsync");
int oruFchmod(int descriptor, mode_t mode) ORU_STANDS_BEFORE("fchmod");
int oruLink(const char* path, const char* newPath) ORU_STANDS_BEFORE("link");
int oruRename(const char* path, const char* newPath) ORU_STANDS_BEFORE("rename");
int oruUnlink(const char* path) ORU_STANDS_BEFORE("unlink");
ssize_t oruRead(int descriptor, void* data, size_t length) ORU_STANDS_BEFORE("read");
ssize_t oruWrite(int descriptor, const void* data, size_t length) ORU_STANDS_BEFORE("write");
}

using namespace oru::kadi::authlist::test;

int oruOpen(const char* path, int flags, ...) {
    static const auto real = next<Open>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openBy(real, path, flags, mode);
}

int oruOpen64(const char* path, int flags, ...) {
    static const auto real = next<Open>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openBy(real, path, flags, mode);
}

int oruClose(int descriptor) {
    static const auto real = next<int(int)>("close");
    return decideOn<int>(
        descriptor, "close", 0, [=](std::size_t) { return real(descriptor); }, [=] { real(descriptor); });
}

int oruFsync(int descriptor) {
    static const auto real = next<int(int)>("fsync");
    return decideOn<int>(
        descriptor, "fsync", 0, [=](std::size_t) { return real(descriptor); }, doNothing);
}

int oruFchmod(int descriptor, mode_t mode) {
    static const auto real = next<int(int, mode_t)>("fchmod");
    return decideOn<int>(
        descriptor, "fchmod", 0, [=](std::size_t) { return real(descriptor, mode); }, doNothing);
}

int oruLink(const char* path, const char* newPath) {
    static const auto real = next<int(const char*, const char*)>("link");
    return decideOn(path, newPath, "link", false, [=] { return real(path, newPath); });
}

int oruRename(const char* path, const char* newPath) {
    static const auto real = next<int(const char*, const char*)>("rename");
    return decideOn(path, newPath, "rename", false, [=] { return real(path, newPath); });
}

int oruUnlink(const char* path) {
    static const auto real = next<int(const char*)>("unlink");
    return decideOn(path, nullptr, "unlink", false, [=] { return real(path); });
}

ssize_t oruRead(int descriptor, void* data, size_t length) {
    static const auto real = next<ssize_t(int, void*, size_t)>("read");
    return decideOn<ssize_t>(
        descriptor, "read", length, [=](std::size_t most) { return real(descriptor, data, most); }, doNothing);
}

ssize_t oruWrite(int descriptor, const void* data, size_t length) {
    static const auto real = next<ssize_t(int, const void*, size_t)>("write");
    return decideOn<ssize_t>(
        descriptor, "write", length, [=](std::size_t most) { return real(descriptor, data, most); }, doNothing);
}
