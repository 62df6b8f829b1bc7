// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include "authlist/db/filestorage/RecordsBlob.h"

namespace oru::kadi::authlist::test {

// A blob file's bytes, put together by hand from the pieces of docs/records-blob.md.

inline std::string littleEndian(std::uint64_t value, unsigned width) {
    std::string bytes;
    for (unsigned i = 0; i < width; ++i)
        bytes += static_cast<char>(static_cast<unsigned char>(value >> 8U * i & 0xFFU));
    return bytes;
}

inline std::string byte(unsigned value) { return littleEndian(value, 1); }
inline std::string count(std::uint64_t value) { return littleEndian(value, 2); }
inline std::string number(std::uint32_t value) { return littleEndian(value, 4); }
inline std::string status(std::int32_t value) { return littleEndian(static_cast<std::uint32_t>(value), 4); }
inline std::string time(std::int64_t nanoseconds) { return littleEndian(static_cast<std::uint64_t>(nanoseconds), 8); }
inline std::string text(std::string_view value) {
    return number(static_cast<std::uint32_t>(value.size())) + std::string(value);
}

inline const std::string absent = byte(0);
inline const std::string present = byte(1);

/// The bytes of card 1, which has neither tags nor anything else that may be left out; both times are the Unix epoch.
inline std::string bareCardBytes(std::uint32_t id = 1) {
    return present + number(id) + text("") + count(0) + status(0) + absent + absent + absent + absent + time(0) +
           time(0) + absent;
}

/// The bytes as "01 FF 07", for messages that can be read.
inline std::string hexOf(std::string_view bytes) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string hex;
    for (const char c : bytes) {
        const auto value = static_cast<unsigned char>(c);
        if (!hex.empty()) hex += ' ';
        hex += digits[value / 16];
        hex += digits[value % 16];
    }
    return hex;
}

inline std::string bytesOf(const db::filestorage::RecordsBlob& blob) {
    std::ostringstream stream;
    blob.serialize(stream);
    return stream.str();
}

/// What deserialize returns.
inline bool readInto(db::filestorage::RecordsBlob& blob, const std::string& bytes) {
    std::istringstream stream(bytes);
    return blob.deserialize(stream);
}

}  // namespace oru::kadi::authlist::test
