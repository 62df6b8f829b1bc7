// SPDX-License-Identifier: Apache-2.0
#include "oru/common/fs/CachedFileManager.h"

#include <stdexcept>
#include <typeinfo>
#include <utility>

#include "fs/CachedFile.h"

namespace oru::common::fs {

CachedFileManager::CachedFileManager() = default;

CachedFileManager::~CachedFileManager() = default;

void CachedFileManager::add(std::unique_ptr<stream::IStreamable> streamable, const std::string& path,
                            const Options& options) {
    const stream::IStreamable& object = *streamable;
    const std::type_index type(typeid(object));
    if (mFiles.contains(type)) {
        throw std::invalid_argument("Cannot add " + path + ": there is a file for this type of content");
    }
    mFiles.emplace(type, std::make_unique<CachedFile>(std::move(streamable), path, options));
}

stream::StreamableHandler& CachedFileManager::getHandler(const std::type_index& type) const {
    const auto file = mFiles.find(type);
    if (file == mFiles.end()) throw std::out_of_range(std::string("No file was added for ") + type.name());
    return file->second->handler();
}

}  // namespace oru::common::fs
