// SPDX-License-Identifier: Apache-2.0
#include "CardQuery.h"

#include <algorithm>
#include <utility>

namespace oru::kadi::authlist::tool {
namespace {

constexpr unsigned pageSize = 4000;  // sorting is done anew for each page, so pages are not small

std::optional<Filter::RangeFilter> firstRangeFilter(const std::vector<Filter>& filters) {
    for (const Filter& filter : filters) {
        if (auto range = filter.asRangeFilter()) return range;
    }
    return std::nullopt;
}

std::vector<RfidCard> readRange(const AuthListManager& manager, const CardQuery& query,
                                const std::optional<Filter::RangeFilter>& filter, unsigned limit, unsigned offset) {
    const auto order = query.isDescending ? SortingOrder::Descending : SortingOrder::Ascending;
    if (!filter) {
        return manager.getRange(limit, offset, std::nullopt, std::nullopt, std::nullopt, query.sortKey, order);
    }
    return manager.getRange(limit, offset, filter->key, filter->op, filter->value, query.sortKey, order);
}

void keepMatching(std::vector<RfidCard>& cards, const CardQuery& query) {
    std::erase_if(cards, [&query](const RfidCard& card) {
        return !query.filters.pass(card) || (query.matches && !query.matches(card));
    });
}

}  // namespace

void forEachPage(const AuthListManager& manager, const CardQuery& query,
                 const std::function<void(std::vector<RfidCard>)>& visit) {
    const bool isPlain = query.filters.isEmpty() && !query.matches;
    const auto filter = firstRangeFilter(query.filters.plain);
    unsigned position = isPlain ? query.offset : 0;
    unsigned toSkip = isPlain ? 0 : query.offset;
    unsigned toShow = query.limit;
    while (toShow > 0) {
        const unsigned size = isPlain ? std::min(pageSize, toShow) : pageSize;
        auto cards = readRange(manager, query, filter, size, position);
        const bool isLast = cards.size() < size;
        keepMatching(cards, query);
        const auto skipped = std::min<std::size_t>(toSkip, cards.size());
        cards.erase(cards.begin(), cards.begin() + static_cast<std::ptrdiff_t>(skipped));
        if (cards.size() > toShow) cards.resize(toShow);
        toSkip -= static_cast<unsigned>(skipped);
        toShow -= static_cast<unsigned>(cards.size());
        if (!cards.empty()) visit(std::move(cards));
        // Below also where position would run over: no list is that long.
        if (isLast || position > std::numeric_limits<unsigned>::max() - size) return;
        position += size;
    }
}

void forEachCard(const AuthListManager& manager, const CardQuery& query,
                 const std::function<void(const RfidCard&)>& visit) {
    forEachPage(manager, query, [&visit](const std::vector<RfidCard>& cards) {
        for (const RfidCard& card : cards) visit(card);
    });
}

}  // namespace oru::kadi::authlist::tool
