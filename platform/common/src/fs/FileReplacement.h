// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "oru/common/fs/CachedFileManager.h"

namespace oru::common::fs {

class MemoryBuffer;

/// Gives the file at one path new content, durably. Failures are std::system_error. Whatever fails in an atomic
/// replacement, the file holds its old or its new content and nothing is left beside it.
class FileReplacement {
public:
    /// Follows symbolic links at path once and for all.
    FileReplacement(const std::string& path, const CachedFileManager::Options& options);

    /// Where the file really is.
    const std::filesystem::path& path() const { return mPath; }
    std::size_t pieceSize() const { return mPieceSize; }
    /// Then the file may hold the bytes and yet not be flushed.
    bool lastAttemptFailed() const { return mLastAttemptFailed; }

    /// Whether the file can be read and holds exactly these bytes.
    bool holds(const MemoryBuffer& bytes) const;

    void write(const MemoryBuffer& bytes);

    /// Removes what killed processes left beside the file.
    void removeLeftovers() const;

private:
    void replace(const MemoryBuffer& bytes) const;
    void overwrite(const MemoryBuffer& bytes) const;
    void keepBackup() const;
    std::string leftoverPrefix() const;

    std::filesystem::path mPath;
    bool mAtomic;
    std::size_t mPieceSize;
    unsigned mPermissions;
    std::string mBackupSuffix;
    bool mLastAttemptFailed = false;
};

}  // namespace oru::common::fs
