// SPDX-License-Identifier: Apache-2.0
#include "storage/FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "Outcome.h"

namespace oru::kadi::authlist::tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, const char* action) {
    const int error = errno;
    throw ToolError(ExitStatus::Storage, path + ": cannot be " + action + ": " + std::strerror(error));
}

/// Closes a descriptor that it owns.
class Descriptor {
public:
    explicit Descriptor(int number) : mNumber(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (mNumber >= 0) ::close(mNumber);
    }
    int get() const { return mNumber; }

private:
    int mNumber;
};

std::string readUpTo(int descriptor, std::size_t count, const std::string& path) {
    std::string bytes;
    std::array<char, 65536> piece{};
    while (bytes.size() < count) {
        const ssize_t got = ::read(descriptor, piece.data(), std::min(piece.size(), count - bytes.size()));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail(path, "read");
        if (got == 0) break;
        bytes.append(piece.data(), static_cast<std::size_t>(got));
    }
    return bytes;
}

void writeAll(int descriptor, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) fail(path, "written");
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void flush(const std::string& path, int flags) {
    const Descriptor file(::open(path.c_str(), flags | O_CLOEXEC));
    if (file.get() < 0 || ::fsync(file.get()) != 0) fail(path, "flushed");
}

// Not fsync's failure for what cannot be flushed, such as a pipe.
void overwrite(const std::string& path, std::string_view bytes) {
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.get() < 0) fail(path, "opened");
    writeAll(file.get(), bytes, path);
}

// Where a symbolic link leads, also when there is no file yet.
std::string behindLinks(const std::string& path) {
    constexpr int mostLinks = 40;  // as the system follows
    fs::path target = path;
    std::error_code ignored;
    for (int i = 0; i < mostLinks && fs::is_symlink(fs::symlink_status(target, ignored)); ++i) {
        target = target.parent_path() / fs::read_symlink(target, ignored);
    }
    if (fs::is_symlink(fs::symlink_status(target, ignored))) {
        errno = ELOOP;
        fail(path, "opened");
    }
    return target.string();
}

}  // namespace

std::string readFileBegin(const std::string& path, std::size_t count) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) fail(path, "opened");
    return readUpTo(file.get(), count, path);
}

std::string readFile(const std::string& path) { return readFileBegin(path, std::string::npos); }

std::string readInput(const std::string& file) {
    return file == "-" ? readUpTo(STDIN_FILENO, std::string::npos, "standard input") : readFile(file);
}

unsigned modeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0600U;
}

void createFile(const std::string& path, std::string_view bytes, unsigned mode) {
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (file.get() < 0) fail(path, "created");
    try {
        writeAll(file.get(), bytes, path);
        if (::fsync(file.get()) != 0) fail(path, "flushed");
    } catch (...) {
        ::unlink(path.c_str());
        throw;
    }
}

void flushFile(const std::string& path) {
    flush(path, O_RDONLY);
    flush(fs::absolute(path).parent_path().string(), O_RDONLY | O_DIRECTORY);
}

void replaceFile(const std::string& path, std::string_view bytes, unsigned newMode) {
    struct stat old {};
    const bool exists = ::stat(path.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) return overwrite(path, bytes);

    const std::string target = behindLinks(path);
    const std::string unfinished = target + ".unfinished-" + std::to_string(::getpid());
    createFile(unfinished, bytes, exists ? old.st_mode & 0777U : newMode);
    if (exists) {
        // Only root may give files away; for others the file is theirs anyway, or becomes so.
        const bool isGiven = ::chown(unfinished.c_str(), old.st_uid, old.st_gid) == 0;
        ::chmod(unfinished.c_str(), old.st_mode & (isGiven ? 07777U : 0777U));
    }
    if (::rename(unfinished.c_str(), target.c_str()) != 0) {
        const int error = errno;
        ::unlink(unfinished.c_str());
        errno = error;
        fail(path, "replaced");
    }
    flushFile(target);
}

}  // namespace oru::kadi::authlist::tool
