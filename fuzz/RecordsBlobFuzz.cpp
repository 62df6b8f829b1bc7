// SPDX-License-Identifier: Apache-2.0
// Any bytes: the reader of blob files throws a standard exception or gives a list that is written as the bytes that
// were read, and is read from them again; and it never has more memory in use than a small multiple of the bytes.
#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "Require.h"
#include "authlist/db/filestorage/RecordsBlob.h"

namespace oru::kadi::authlist::fuzz {
namespace {

using db::filestorage::RecordsBlob;

// Memory: what is in use while the reader works, by the hooks that the sanitizer offers.

struct Memory {
    bool isWatched = false;
    std::size_t inUse = 0;
    std::size_t peak = 0;
};

thread_local Memory memory;

void allocated(const volatile void* /*block*/, std::size_t size) {
    if (!memory.isWatched) return;
    memory.inUse += size;
    memory.peak = std::max(memory.peak, memory.inUse);
}

void freed(const volatile void* block) {
    if (!memory.isWatched || block == nullptr) return;
    memory.inUse -= std::min(memory.inUse, __sanitizer_get_allocated_size(const_cast<const void*>(block)));
}

class WatchedMemory {
public:
    WatchedMemory() { memory = {true, 0, 0}; }
    WatchedMemory(const WatchedMemory&) = delete;
    WatchedMemory& operator=(const WatchedMemory&) = delete;
    ~WatchedMemory() { memory.isWatched = false; }
};

// Costliest are tags of empty texts: 6 bytes become an RfidTag, in a vector that holds up to three times its content
// while it grows. The rest is for a stack of small things: pieces of strings, the blocks of the list, an exception.
constexpr std::size_t memoryFor(std::size_t bytes) { return 16384 + bytes * 3 * sizeof(RfidTag) / 6; }

bool read(RecordsBlob& blob, const std::string& bytes) {
    std::istringstream stream(bytes);
    const WatchedMemory watched;
    try {
        return blob.deserialize(stream);
    } catch (const std::exception&) {
        return false;
    }
}

std::string written(const RecordsBlob& blob) {
    std::ostringstream stream;
    blob.serialize(stream);
    return stream.str();
}

auto fieldsOf(const RfidTag& tag) { return std::tie(tag.hash, tag.key, tag.extraData); }

auto fieldsOf(const RfidCard& card) {
    return std::tie(card.id, card.description, card.status, card.expiryDate, card.parentId, card.evseId, card.extraData,
                    card.lastAccessTime, card.lastModificationTime, card.recordLifetime);
}

bool same(const RfidCard& left, const RfidCard& right) {
    return fieldsOf(left) == fieldsOf(right) &&
           std::equal(left.tags.begin(), left.tags.end(), right.tags.begin(), right.tags.end(),
                      [](const RfidTag& a, const RfidTag& b) { return fieldsOf(a) == fieldsOf(b); });
}

void check(const std::string& bytes) {
    RecordsBlob blob;
    const bool isRead = read(blob, bytes);
    require(memory.peak <= memoryFor(bytes.size()), "Blob: memory stays within a small multiple of the bytes");
    if (!isRead) return;

    const std::string again = written(blob);
    require(again.size() <= bytes.size() && bytes.compare(1, again.size() - 1, again, 1) == 0,
            "Blob: what is read is written as it was, but for the format version and what stands behind");

    RecordsBlob reread;
    require(read(reread, again), "Blob: what is written can be read");
    require(std::equal(blob.getRecords().begin(), blob.getRecords().end(), reread.getRecords().begin(),
                       reread.getRecords().end(), same),
            "Blob: every record comes back");
    require(reread.getVersion() == blob.getVersion(), "Blob: the version comes back");
    require(reread.getLastMaxId() == blob.getLastMaxId(), "Blob: the last id comes back");
}

}  // namespace
}  // namespace oru::kadi::authlist::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace oru::kadi::authlist::fuzz;
    static const int hooked = __sanitizer_install_malloc_and_free_hooks(&allocated, &freed);
    require(hooked > 0, "Blob: memory can be watched");
    check(std::string(data, data + size));
    return 0;
}
