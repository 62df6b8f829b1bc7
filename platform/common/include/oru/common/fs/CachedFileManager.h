// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <typeindex>
#include <unordered_map>

#include "oru/common/Export.h"
#include "oru/common/stream/IStreamable.h"
#include "oru/common/stream/StreamableHandler.h"

namespace oru::common::fs {

class CachedFile;

/// Keeps objects in memory that live in files: loads each when it is added and writes it back after changes, on a
/// thread of its own for each file.
///
/// Writing starts half the delay after the first possible change and so is done within the delay, however steady the
/// traffic, on any disk that takes a file in the other half. The object is locked only while it is serialized into
/// memory, not while the disk works. Bytes that the file holds already are not written again. A failed write is
/// tried again after the delay (at least 100 ms) and the change stays pending; a replacement that fails leaves the old
/// file as it is. The destructor writes what is pending, once, and joins the threads; only what that last attempt
/// cannot write is lost.
///
/// add must not run beside other calls; getHandler and the handlers may be used from any thread.
class ORU_COMMON_EXPORT CachedFileManager {
public:
    struct Options {
        /// Write a new file beside the old one, flush it, rename it over the old one and flush the folder, so that a
        /// power cut leaves either. Otherwise the file is overwritten in place, which a power cut can tear; for folders
        /// in which no file can be created.
        bool atomicReplace = true;
        unsigned bufferKiB = 32;      ///< size of the pieces in which the file is read and written, 1 to 65536
        unsigned permissions = 0600;  ///< of each file that is created, whatever the umask
        std::chrono::milliseconds delay{0};
        /// Keep the previous file under its name with this suffix (an atomic replacement makes it a hard link, so the
        /// file system must know those); absent or empty: keep none.
        std::optional<std::string> backupSuffix;
    };

    CachedFileManager();
    CachedFileManager(const CachedFileManager&) = delete;
    CachedFileManager& operator=(const CachedFileManager&) = delete;
    ~CachedFileManager();

    /// Takes streamable over and loads it from the file at path; a missing file and one of zero bytes load nothing.
    /// What a killed process left unfinished beside the file is removed. A symbolic link at path is followed, and kept.
    /// Throws std::runtime_error naming path when the file cannot be read or decoded (it is left untouched) or its
    /// folder does not exist, std::invalid_argument when this type of streamable was added before.
    void add(std::unique_ptr<stream::IStreamable> streamable, const std::string& path, const Options& options);

    /// The handler of the streamable of this type. Throws std::out_of_range when none was added.
    stream::StreamableHandler& getHandler(const std::type_index& type) const;

private:
    std::unordered_map<std::type_index, std::unique_ptr<CachedFile>> mFiles;
};

}  // namespace oru::common::fs
