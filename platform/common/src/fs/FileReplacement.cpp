// SPDX-License-Identifier: Apache-2.0
#include "fs/FileReplacement.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <vector>

#include "fs/FileDescriptor.h"
#include "fs/MemoryBuffer.h"

namespace oru::common::fs {
namespace {

// Resolves the links at path by hand, because the file that they lead to need not exist.
std::filesystem::path followLinks(const std::string& path) {
    constexpr int mostLinks = 40;
    std::filesystem::path target = std::filesystem::absolute(path);
    for (int i = 0; i < mostLinks && std::filesystem::is_symlink(target); ++i) {
        target = target.parent_path() / std::filesystem::read_symlink(target);
    }
    return target;
}

// Removes the file of this name, if it is still there, when the scope is left.
class UnfinishedFile {
public:
    explicit UnfinishedFile(std::string path) : mPath(std::move(path)) {}
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile() { unlink(mPath.c_str()); }

    const std::string& path() const { return mPath; }

    void renameTo(const std::string& target) {
        if (std::rename(mPath.c_str(), target.c_str()) != 0) throwErrno("rename to", target);
    }

private:
    std::string mPath;
};

void writeAndClose(FileDescriptor& file, const MemoryBuffer& bytes) {
    bytes.forEachPiece([&file](std::string_view piece) {
        file.write(piece);
        return true;
    });
    file.flush();
    file.close();
}

// Some folders cannot be flushed at all: trying again would only write the file again and again.
bool cannotBeFlushed(const std::error_code& error) {
    return error == std::errc::permission_denied || error == std::errc::invalid_argument ||
           error == std::errc::not_supported;
}

void flushFolder(const std::filesystem::path& folder) try {
    FileDescriptor descriptor(folder.string(), O_RDONLY | O_DIRECTORY);
    descriptor.flush();
} catch (const std::system_error& error) {
    if (!cannotBeFlushed(error.code())) throw;
}

// The process id and a number of its own keep processes and threads on one list from writing into one file.
std::string uniqueSuffix() {
    static std::atomic<unsigned> count{0};
    return std::to_string(getpid()) + "-" + std::to_string(++count);
}

// Whether the file goes on with exactly these bytes.
bool continuesWith(FileDescriptor& file, std::string_view bytes, std::vector<char>& buffer) {
    while (!bytes.empty()) {
        const std::size_t length = file.read(buffer.data(), std::min(buffer.size(), bytes.size()));
        if (length == 0 || bytes.substr(0, length) != std::string_view(buffer.data(), length)) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

}  // namespace

FileReplacement::FileReplacement(const std::string& path, const CachedFileManager::Options& options)
    : mPath(followLinks(path)),
      mAtomic(options.atomicReplace),
      mPieceSize(std::size_t{std::clamp(options.bufferKiB, 1U, 65536U)} * 1024),
      mPermissions(options.permissions),
      mBackupSuffix(options.backupSuffix.value_or("")) {}

bool FileReplacement::holds(const MemoryBuffer& bytes) const {
    try {
        FileDescriptor file(mPath.string(), O_RDONLY);
        std::vector<char> buffer(mPieceSize);
        return bytes.forEachPiece([&](std::string_view piece) { return continuesWith(file, piece, buffer); }) &&
               file.read(buffer.data(), 1) == 0;
    } catch (const std::system_error&) {
        return false;
    }
}

void FileReplacement::write(const MemoryBuffer& bytes) {
    // After a failed attempt the backup has the last good content already, and the file perhaps no longer.
    if (!mBackupSuffix.empty() && !mLastAttemptFailed) keepBackup();
    mLastAttemptFailed = true;
    if (mAtomic) {
        replace(bytes);
    } else {
        overwrite(bytes);
    }
    mLastAttemptFailed = false;
}

void FileReplacement::removeLeftovers() const {
    std::error_code error;
    std::filesystem::directory_iterator entry(mPath.parent_path(), error);
    for (; !error && entry != std::filesystem::directory_iterator{}; entry.increment(error)) {
        if (!entry->path().filename().string().starts_with(leftoverPrefix())) continue;
        std::error_code ignored;
        std::filesystem::remove(entry->path(), ignored);
    }
}

void FileReplacement::replace(const MemoryBuffer& bytes) const {
    UnfinishedFile unfinished(mPath.parent_path() / (leftoverPrefix() + uniqueSuffix()));
    FileDescriptor file(unfinished.path(), O_WRONLY | O_CREAT | O_EXCL, mPermissions);
    if (fchmod(file.get(), mPermissions) != 0) throwErrno("fchmod", unfinished.path());
    writeAndClose(file, bytes);
    unfinished.renameTo(mPath.string());
    flushFolder(mPath.parent_path());
}

void FileReplacement::overwrite(const MemoryBuffer& bytes) const {
    const bool isNew = !std::filesystem::exists(mPath);
    FileDescriptor file(mPath.string(), O_WRONLY | O_CREAT | O_TRUNC, mPermissions);
    if (isNew && fchmod(file.get(), mPermissions) != 0) throwErrno("fchmod", mPath.string());
    writeAndClose(file, bytes);
}

void FileReplacement::keepBackup() const {
    const std::string backup = mPath.string() + mBackupSuffix;
    if (!std::filesystem::exists(mPath)) return;
    if (!mAtomic) {
        std::filesystem::copy_file(mPath, backup, std::filesystem::copy_options::overwrite_existing);
        FileDescriptor(backup, O_WRONLY).flush();
        flushFolder(mPath.parent_path());
        return;
    }
    // A link under another name first: so there is a backup at every moment once there was one.
    UnfinishedFile link(mPath.parent_path() / (leftoverPrefix() + "backup-" + uniqueSuffix()));
    unlink(link.path().c_str());
    if (::link(mPath.c_str(), link.path().c_str()) != 0) throwErrno("link", link.path());
    link.renameTo(backup);
}

// Only so much of a long name that the file system can still take what follows it.
std::string FileReplacement::leftoverPrefix() const {
    constexpr std::size_t longestPart = 200;
    return "." + mPath.filename().string().substr(0, longestPart) + ".unfinished-";
}

}  // namespace oru::common::fs
