// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <type_traits>

#include "oru/common/Export.h"

namespace oru::common {

/// Writes values to a stream in a fixed binary form: integers little-endian in their own width, a flag as one byte 0 or
/// 1, a string as its length in 4 bytes and its bytes. Throws std::runtime_error when the stream takes no more, and for
/// a string of 4 GiB or more. Borrows the stream.
class ORU_COMMON_EXPORT BinarySerializer {
public:
    explicit BinarySerializer(std::ostream& stream) : mStream(stream) {}

    BinarySerializer& operator<<(const bool& flag);
    BinarySerializer& operator<<(const std::string& text);

    // Would be taken for flags.
    BinarySerializer& operator<<(const char* text) = delete;
    template <class Number>
    requires std::is_arithmetic_v<Number> BinarySerializer& operator<<(Number number) = delete;

    template <std::integral Integer>
    void writeInteger(Integer value) {
        std::array<unsigned char, sizeof(Integer)> bytes{};
        auto rest = static_cast<std::make_unsigned_t<Integer>>(value);
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(rest & 0xFFU);
            if constexpr (sizeof(Integer) > 1) rest >>= 8U;
        }
        write(bytes.data(), bytes.size());
    }

    void write(const unsigned char* data, std::size_t length);

private:
    std::ostream& mStream;
};

}  // namespace oru::common
