// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace oru::kadi::authlist::test {

/// How many descriptors of this process are open on the file.
inline int openDescriptorsOf(const std::string& file) {
    const std::filesystem::path wanted = std::filesystem::canonical(file);
    int count = 0;
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the one that reads this folder
        if (std::filesystem::read_symlink(descriptor.path(), gone) == wanted) ++count;
    }
    return count;
}

}  // namespace oru::kadi::authlist::test
