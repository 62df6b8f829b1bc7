// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <typeindex>

#include "authlist/db/filestorage/RecordsBlob.h"
#include "oru/common/fs/CachedFileManager.h"
#include "oru/common/stream/StreamableHandler.h"

namespace oru::kadi::authlist::db::filestorage {

/// The blob of a file manager, locked for the length of a scope. Not recursive.
class LockedBlob {
public:
    explicit LockedBlob(const common::fs::CachedFileManager& files)
        : LockedBlob(files.getHandler(typeid(RecordsBlob))) {}

    RecordsBlob& operator*() { return static_cast<RecordsBlob&>(mLocked.get()); }
    RecordsBlob* operator->() { return &**this; }

private:
    explicit LockedBlob(common::stream::StreamableHandler& handler)
        : mLocked(handler.mutex(), handler.cachedStreamable()) {}

    common::stream::StreamableHandler::LockedStreamable mLocked;
};

}  // namespace oru::kadi::authlist::db::filestorage
