// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <istream>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <typeinfo>
#include <utility>

#include "oru/common/fs/CachedFileManager.h"
#include "oru/common/stream/IStreamable.h"
#include "oru/common/stream/StreamableHandler.h"

namespace oru::kadi::authlist::test {

/// A streamable that is a text, stored as it is. One that begins with "damaged" is not accepted.
class Text : public common::stream::IStreamable {
public:
    void serialize(std::ostream& stream) const override { stream << text; }
    bool deserialize(std::istream& stream) override {
        char piece[512];
        while (stream.read(piece, sizeof piece) || stream.gcount() > 0) {
            text.append(piece, static_cast<std::size_t>(stream.gcount()));
        }
        return !stream.bad() && !text.starts_with("damaged");
    }

    std::string text;
};

/// The default options with another delay.
inline common::fs::CachedFileManager::Options delayedBy(std::chrono::milliseconds delay) {
    common::fs::CachedFileManager::Options options;
    options.delay = delay;
    return options;
}

/// The same, for a file that is read and written in pieces of this size.
inline common::fs::CachedFileManager::Options inPieces(unsigned bufferKiB, std::chrono::milliseconds delay) {
    auto options = delayedBy(delay);
    options.bufferKiB = bufferKiB;
    return options;
}

/// The same with a backup.
inline common::fs::CachedFileManager::Options withBackup(common::fs::CachedFileManager::Options options) {
    options.backupSuffix = ".bak";
    return options;
}

/// The same without a new file.
inline common::fs::CachedFileManager::Options inPlace(common::fs::CachedFileManager::Options options) {
    options.atomicReplace = false;
    return options;
}

/// Adds a file with a new streamable to the manager.
template <class Streamable = Text>
void addFile(common::fs::CachedFileManager& files, const std::string& path,
             const common::fs::CachedFileManager::Options& options) {
    files.add(std::make_unique<Streamable>(), path, options);
}

/// Does something with the manager's streamable under its lock.
template <class Streamable = Text, class Action>
auto withLocked(const common::fs::CachedFileManager& files, Action action) {
    auto& handler = files.getHandler(typeid(Streamable));
    common::stream::StreamableHandler::LockedStreamable locked(handler.mutex(), handler.cachedStreamable());
    return action(static_cast<Streamable&>(locked.get()));
}

template <class Streamable = Text>
void setText(const common::fs::CachedFileManager& files, const std::string& text) {
    withLocked<Streamable>(files, [&text](Streamable& streamable) { streamable.text = text; });
}

/// The text in memory; a lookup, as far as the manager can tell.
template <class Streamable = Text>
std::string textOf(const common::fs::CachedFileManager& files) {
    return withLocked<Streamable>(files, [](const Streamable& streamable) { return streamable.text; });
}

}  // namespace oru::kadi::authlist::test
