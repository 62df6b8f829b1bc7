// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

namespace oru::kadi::authlist::test {

/// While it lives, this thread and those that it starts may read, write and search only what the permission bits allow,
/// even as root.
class OrdinaryRights {
public:
    OrdinaryRights() {
        if (syscall(SYS_capget, &mHeader, mCapabilities) != 0) throw std::runtime_error("capget failed");
        constexpr std::uint32_t aboveTheBits = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;
        __user_cap_data_struct ordinary[2] = {mCapabilities[0], mCapabilities[1]};
        ordinary[0].effective &= ~aboveTheBits;
        if (syscall(SYS_capset, &mHeader, ordinary) != 0) throw std::runtime_error("capset failed");
    }
    OrdinaryRights(const OrdinaryRights&) = delete;
    OrdinaryRights& operator=(const OrdinaryRights&) = delete;
    ~OrdinaryRights() { syscall(SYS_capset, &mHeader, mCapabilities); }

private:
    __user_cap_header_struct mHeader{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct mCapabilities[2] = {};
};

}  // namespace oru::kadi::authlist::test
