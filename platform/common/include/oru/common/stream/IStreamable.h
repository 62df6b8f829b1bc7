// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>

#include "oru/common/Export.h"

namespace oru::common::stream {

/// Something that can be written to a stream and read back. Failures are exceptions derived from std::exception.
class ORU_COMMON_EXPORT IStreamable {
public:
    IStreamable() = default;
    IStreamable(const IStreamable&) = delete;
    IStreamable& operator=(const IStreamable&) = delete;
    virtual ~IStreamable();

    virtual void serialize(std::ostream& stream) const = 0;
    /// False, like an exception, means that the stream could not be read.
    virtual bool deserialize(std::istream& stream) = 0;
};

}  // namespace oru::common::stream
