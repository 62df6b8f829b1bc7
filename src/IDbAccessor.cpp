// SPDX-License-Identifier: Apache-2.0
#include "authlist/IDbAccessor.h"

namespace oru::kadi::authlist {

IDbAccessor::~IDbAccessor() = default;

}  // namespace oru::kadi::authlist
