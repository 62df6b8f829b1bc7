// SPDX-License-Identifier: Apache-2.0
#include "oru/common/BinaryDeserializer.h"

#include <algorithm>
#include <istream>
#include <stdexcept>

namespace oru::common {
namespace {

[[noreturn]] void fail(const char* problem, std::uint64_t position) {
    throw std::runtime_error(problem + std::to_string(position));
}

}  // namespace

BinaryDeserializer& BinaryDeserializer::operator>>(bool& flag) {
    const auto byte = readInteger<std::uint8_t>();
    if (byte > 1) fail("Neither 0 nor 1 in a flag before byte ", mPosition);
    flag = byte == 1;
    return *this;
}

BinaryDeserializer& BinaryDeserializer::operator>>(std::string& text) {
    constexpr std::size_t pieceSize = 4096;
    std::size_t rest = readInteger<std::uint32_t>();
    text.clear();
    while (rest > 0) {
        const std::size_t start = text.size();
        const std::size_t length = std::min(rest, pieceSize);
        text.resize(start + length);
        read(reinterpret_cast<unsigned char*>(text.data() + start), length);
        rest -= length;
    }
    return *this;
}

void BinaryDeserializer::read(unsigned char* data, std::size_t length) {
    mStream.read(reinterpret_cast<char*>(data), static_cast<std::streamsize>(length));
    mPosition += static_cast<std::uint64_t>(mStream.gcount());
    if (mStream) return;
    fail(mStream.bad() ? "Reading failed at byte " : "The data ends inside a value at byte ", mPosition);
}

}  // namespace oru::common
