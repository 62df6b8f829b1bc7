// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Files.h"

namespace oru::kadi::authlist::test {

/// All that a program that leaves a file alone leaves as it is.
struct FileState {
    std::string content;
    std::uint64_t inode;
    std::int64_t seconds;  ///< of the last modification
    std::int64_t nanoseconds;
    unsigned mode;  ///< the permission bits

    bool operator==(const FileState&) const = default;

    friend std::ostream& operator<<(std::ostream& out, const FileState& state) {
        return out << state.content.size() << " bytes in inode " << state.inode << " of " << state.seconds << "."
                   << state.nanoseconds << ", mode 0" << std::oct << state.mode << std::dec;
    }
};

inline struct stat statOf(const std::string& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) throw std::runtime_error("No file " + file);
    return status;
}

inline unsigned modeOf(const std::string& file) { return static_cast<unsigned>(statOf(file).st_mode & 07777U); }

inline FileState stateOf(const std::string& file) {
    const struct stat status = statOf(file);
    return {contentOf(file), status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, modeOf(file)};
}

/// The names of all that is in a folder, in order.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace oru::kadi::authlist::test
