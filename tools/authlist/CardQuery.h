// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include "Filter.h"
#include "authlist/AuthListManager.h"

namespace oru::kadi::authlist::tool {

/// Which cards of a list, in which order.
struct CardQuery {
    Filters filters{};
    /// One more condition, that no range query knows; empty: none.
    std::function<bool(const RfidCard&)> matches{};
    std::optional<SortingAndFilteringKey> sortKey{};  ///< absent: as they are stored
    bool isDescending = false;
    unsigned limit = std::numeric_limits<unsigned>::max();
    unsigned offset = 0;
};

/// Hands the cards over page by page, so that memory does not grow with the list. A page is never empty.
void forEachPage(const AuthListManager& manager, const CardQuery& query,
                 const std::function<void(std::vector<RfidCard>)>& visit);

void forEachCard(const AuthListManager& manager, const CardQuery& query,
                 const std::function<void(const RfidCard&)>& visit);

}  // namespace oru::kadi::authlist::tool
