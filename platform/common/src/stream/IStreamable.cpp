// SPDX-License-Identifier: Apache-2.0
#include "oru/common/stream/IStreamable.h"

namespace oru::common::stream {

IStreamable::~IStreamable() = default;

}  // namespace oru::common::stream
