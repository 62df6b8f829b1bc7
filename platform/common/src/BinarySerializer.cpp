// SPDX-License-Identifier: Apache-2.0
#include "oru/common/BinarySerializer.h"

#include <cstdint>
#include <limits>
#include <ostream>
#include <stdexcept>

namespace oru::common {

BinarySerializer& BinarySerializer::operator<<(const bool& flag) {
    writeInteger(static_cast<std::uint8_t>(flag ? 1 : 0));
    return *this;
}

BinarySerializer& BinarySerializer::operator<<(const std::string& text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) throw std::runtime_error("String of 4 GiB or more");
    writeInteger(static_cast<std::uint32_t>(text.size()));
    write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    return *this;
}

void BinarySerializer::write(const unsigned char* data, std::size_t length) {
    mStream.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(length));
    if (!mStream) throw std::runtime_error("The stream takes no more data");
}

}  // namespace oru::common
