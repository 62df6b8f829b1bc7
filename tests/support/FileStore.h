// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::test {

/// A delay that no test lasts: the file is written when the accessor is destroyed and not before.
inline constexpr std::chrono::milliseconds whenDestroyed = std::chrono::hours(1);

/// An accessor over a file of its own, which does not exist at first.
struct FileStore {
    TemporaryFolder folder;
    std::string file = folder.file("list");
    std::unique_ptr<db::filestorage::FileDbAccessor> accessor =
        std::make_unique<db::filestorage::FileDbAccessor>(file, whenDestroyed);

    /// Writes the file and goes on with an accessor that has loaded it.
    void reload() {
        accessor.reset();
        accessor = std::make_unique<db::filestorage::FileDbAccessor>(file, whenDestroyed);
    }

    const db::filestorage::FileDbAccessor* operator->() const { return accessor.get(); }
};

}  // namespace oru::kadi::authlist::test
