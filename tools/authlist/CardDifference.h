// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "KeyMask.h"
#include "TimeText.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// One field in which two cards differ, as people read it.
struct FieldDifference {
    std::string field;
    std::string before;
    std::string after;
};

/// The differences in what a card means: not in its id, nor in the times of access and modification. With onlyCsv only
/// in what CSV carries.
std::vector<FieldDifference> differencesOf(const RfidCard& before, const RfidCard& after, bool onlyCsv,
                                           const KeyMask& keys, const TimeText& times);

}  // namespace oru::kadi::authlist::tool
