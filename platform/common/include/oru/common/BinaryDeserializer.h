// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>

#include "oru/common/Export.h"

namespace oru::common {

/// Reads what BinarySerializer writes. Throws std::runtime_error with the byte position, counted from where it started,
/// when the data ends inside a value, cannot be read, or holds a flag other than 0 and 1. Never allocates by a length
/// that the data only claims. Borrows the stream.
class ORU_COMMON_EXPORT BinaryDeserializer {
public:
    explicit BinaryDeserializer(std::istream& stream) : mStream(stream) {}

    BinaryDeserializer& operator>>(bool& flag);
    BinaryDeserializer& operator>>(std::string& text);

    template <std::integral Integer>
    Integer readInteger() {
        std::array<unsigned char, sizeof(Integer)> bytes{};
        read(bytes.data(), bytes.size());
        std::uint64_t value = 0;
        for (std::size_t i = bytes.size(); i > 0; --i) value = value << 8U | bytes[i - 1];
        return static_cast<Integer>(value);
    }

    void read(unsigned char* data, std::size_t length);

private:
    std::istream& mStream;
    std::uint64_t mPosition = 0;
};

}  // namespace oru::common
