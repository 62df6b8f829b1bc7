// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TimeText.h"
#include "authlist/CardValue.h"
#include "authlist/Enumerations.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist::tool {

/// A condition on one column, such as "status=Blocked". The same cards pass over both stores: one without expiry date
/// passes no comparison with a time, and times count to the second.
class Filter {
public:
    /// Throws ToolError naming text.
    static Filter read(const std::string& text, const TimeText& times);

    bool passes(const RfidCard& card) const;

    /// What a range query may be asked for instead: it finds all cards that pass, maybe others too.
    struct RangeFilter {
        SortingAndFilteringKey key;
        FilteringOperator op;
        CardValue value;
    };
    /// None where no range query does.
    std::optional<RangeFilter> asRangeFilter() const;

private:
    Filter(SortingAndFilteringKey key, FilteringOperator op) : mKey(key), mOperator(op) {}

    SortingAndFilteringKey mKey;
    FilteringOperator mOperator;
    std::optional<std::int64_t> mNumber;  // an id, a status, seconds; none: never
};

/// A condition on a text of a card, which no range query knows: "description~visitor" (contains, upper and lower case
/// of a to z taken as equal), "parent=FLEET", "parent!=FLEET".
class TextFilter {
public:
    /// None where text names no column of text. Throws ToolError for other operators.
    static std::optional<TextFilter> read(const std::string& text);

    bool passes(const RfidCard& card) const;

private:
    bool mIsParent = false;
    char mOperator = '=';  // '!' for "!="
    std::string mText;
};

/// All filters of a command; all must pass.
struct Filters {
    std::vector<Filter> plain;
    std::vector<TextFilter> texts;

    bool isEmpty() const { return plain.empty() && texts.empty(); }
    bool pass(const RfidCard& card) const;
};

/// The column that a word names, as in filters and --sort. Throws ToolError naming what.
SortingAndFilteringKey readColumn(const std::string& text, const std::string& what);

/// The status that a word names. Throws ToolError naming what.
RfidCardStatus readStatus(const std::string& text, const std::string& what);

}  // namespace oru::kadi::authlist::tool
