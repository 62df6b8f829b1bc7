// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace oru::kadi::authlist::benchmarks {

/// Registers reading and writing of both formats, as ReadJson/text/1000 and so on.
void registerExchangeText(unsigned largest);

}  // namespace oru::kadi::authlist::benchmarks
