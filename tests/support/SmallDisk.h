// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

namespace oru::kadi::authlist::test {

/// Mounts a new disk of this size ("256k") at folder, for this process and its children only: it goes with the last of
/// them. Meant for a forked process, which has one thread. Returns why this is not possible here, or an empty text.
inline std::string mountDiskOf(const std::string& size, const std::string& folder) {
    const auto because = [](const char* obstacle) { return std::string(obstacle) + ": " + std::strerror(errno); };
    const auto isWritten = [](const char* file, const std::string& text) {
        std::ofstream out(file);
        return static_cast<bool>(out << text << std::flush);
    };
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return because("No mount namespace of its own");
        const bool isMapped = isWritten("/proc/self/setgroups", "deny") &&
                              isWritten("/proc/self/uid_map", "0 " + user + " 1") &&
                              isWritten("/proc/self/gid_map", "0 " + group + " 1");
        if (!isMapped) return because("No user of its own");
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return because("No private mounts");
    if (mount("tmpfs", folder.c_str(), "tmpfs", 0, ("size=" + size).c_str()) != 0) return because("No tmpfs");
    return {};
}

}  // namespace oru::kadi::authlist::test
