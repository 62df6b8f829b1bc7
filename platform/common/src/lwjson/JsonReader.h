// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rapidjson/encodings.h>
#include <rapidjson/reader.h>

#include <cstddef>
#include <new>

namespace oru::common::lwjson {

/// Where the engine would write through a null pointer when memory runs out, an exception leaves it instead.
struct ThrowingAllocator : rapidjson::CrtAllocator {
    void* Malloc(std::size_t size) { return Realloc(nullptr, 0, size); }
    void* Realloc(void* block, std::size_t oldSize, std::size_t newSize) {
        void* moved = rapidjson::CrtAllocator::Realloc(block, oldSize, newSize);
        if (moved == nullptr && newSize > 0) throw std::bad_alloc();
        return moved;
    }
};

using JsonReader = rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator>;

}  // namespace oru::common::lwjson
