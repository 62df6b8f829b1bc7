// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace oru::common::fs {

[[noreturn]] inline void throwErrno(const char* operation, const std::string& path) {
    throw std::system_error(errno, std::generic_category(), operation + (" " + path));
}

/// Owns one open file. Failures are std::system_error.
class FileDescriptor {
public:
    FileDescriptor(const std::string& path, int flags, unsigned mode = 0)
        : mPath(path), mDescriptor(open(path.c_str(), flags | O_CLOEXEC, mode)) {
        if (mDescriptor < 0) throwErrno("open", mPath);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (mDescriptor >= 0) ::close(mDescriptor);
    }

    int get() const { return mDescriptor; }

    /// Reads up to length bytes; 0 at the end of the file.
    std::size_t read(char* data, std::size_t length) {
        ssize_t result = -1;
        do {
            result = ::read(mDescriptor, data, length);
        } while (result < 0 && errno == EINTR);
        if (result < 0) throwErrno("read", mPath);
        return static_cast<std::size_t>(result);
    }

    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t written = ::write(mDescriptor, bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR) throwErrno("write", mPath);
            if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
        }
    }

    void flush() {
        if (fsync(mDescriptor) != 0) throwErrno("fsync", mPath);
    }

    /// Reports what a delayed write may still have to say.
    void close() {
        const int descriptor = mDescriptor;
        mDescriptor = -1;
        if (::close(descriptor) != 0) throwErrno("close", mPath);
    }

private:
    std::string mPath;
    int mDescriptor;
};

}  // namespace oru::common::fs
