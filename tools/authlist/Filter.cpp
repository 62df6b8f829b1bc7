// SPDX-License-Identifier: Apache-2.0
#include "Filter.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <utility>

#include "Ascii.h"
#include "Numbers.h"
#include "Outcome.h"
#include "authlist/Timestamp.h"

namespace oru::kadi::authlist::tool {
namespace {

using Key = SortingAndFilteringKey;
using Operator = FilteringOperator;

constexpr std::array<std::pair<const char*, Key>, 5> columns{{{"id", Key::Id},
                                                              {"status", Key::Status},
                                                              {"expiry", Key::ExpiryDate},
                                                              {"accessed", Key::LastAccessTime},
                                                              {"modified", Key::LastModificationTime}}};

// Those of two characters first: "<=" begins with "<".
constexpr std::array<std::pair<std::string_view, Operator>, 6> operators{{{"!=", Operator::NotEqual},
                                                                          {"<=", Operator::LessOrEqual},
                                                                          {">=", Operator::GreaterOrEqual},
                                                                          {"=", Operator::Equal},
                                                                          {"<", Operator::Less},
                                                                          {">", Operator::Greater}}};

[[noreturn]] void refuse(const std::string& what, const std::string& reason) {
    throw ToolError(ExitStatus::Usage, what + ": " + reason);
}

bool compare(std::int64_t left, Operator op, std::int64_t right) {
    switch (op) {
        case Operator::Equal:
            return left == right;
        case Operator::Less:
            return left < right;
        case Operator::Greater:
            return left > right;
        case Operator::LessOrEqual:
            return left <= right;
        case Operator::GreaterOrEqual:
            return left >= right;
        case Operator::NotEqual:
            return left != right;
    }
    return false;
}

// None: the card never expires.
std::optional<std::int64_t> attribute(const RfidCard& card, Key key) {
    switch (key) {
        case Key::Id:
            return card.id.value_or(0);
        case Key::Status:
            return static_cast<std::int64_t>(card.status);
        case Key::ExpiryDate:
            return card.expiryDate ? std::optional(secondsOf(*card.expiryDate)) : std::nullopt;
        case Key::LastAccessTime:
            return secondsOf(card.lastAccessTime);
        case Key::LastModificationTime:
            return secondsOf(card.lastModificationTime);
    }
    return std::nullopt;
}

std::string canonicalTime(std::int64_t seconds) {
    return timestampToString(TimePoint(std::chrono::seconds(seconds))).value();
}

bool isEquality(Operator op) { return op == Operator::Equal || op == Operator::NotEqual; }

}  // namespace

Key readColumn(const std::string& text, const std::string& what) {
    const auto* const found =
        std::find_if(columns.begin(), columns.end(), [&text](const auto& column) { return text == column.first; });
    if (found == columns.end()) {
        refuse(what, "\"" + text +
                         "\" is no column; there are id, status, expiry, accessed and modified (and description and "
                         "parent to filter by)");
    }
    return found->second;
}

RfidCardStatus readStatus(const std::string& text, const std::string& what) {
    try {
        return statusFromText(text);
    } catch (const std::invalid_argument&) {
        refuse(what, "\"" + text +
                         "\" is no status; there are Accepted, Expired, Blocked, Invalid, ConcurrentTx and Operator");
    }
}

Filter Filter::read(const std::string& text, const TimeText& times) {
    const std::string what = "filter \"" + text + "\"";
    const std::size_t position = text.find_first_of("!=<>");
    const std::string_view rest = std::string_view(text).substr(std::min(position, text.size()));
    const auto* const found =
        std::find_if(operators.begin(), operators.end(), [rest](const auto& op) { return rest.starts_with(op.first); });
    if (found == operators.end()) refuse(what, "write a column, an operator and a value, as in status=Blocked");

    Filter filter(readColumn(text.substr(0, position), what), found->second);
    const std::string value(rest.substr(found->first.size()));
    if (filter.mKey == Key::Id) {
        filter.mNumber = readNumber(value, what);
    } else if (filter.mKey == Key::Status) {
        if (!isEquality(filter.mOperator)) refuse(what, "a status is only compared with = or !=");
        filter.mNumber = static_cast<std::int64_t>(readStatus(value, what));
    } else if (filter.mKey == Key::ExpiryDate && value == "never") {
        if (!isEquality(filter.mOperator)) refuse(what, "\"never\" is only compared with = or !=");
    } else {
        filter.mNumber = secondsOf(times.read(value, what));
    }
    return filter;
}

bool Filter::passes(const RfidCard& card) const {
    const auto value = attribute(card, mKey);
    if (!mNumber) return value.has_value() == (mOperator == Operator::NotEqual);
    return value && compare(*value, mOperator, *mNumber);
}

std::optional<Filter::RangeFilter> Filter::asRangeFilter() const {
    if (!mNumber) return std::nullopt;
    // Larger ids compare as negative numbers in a database.
    if (mKey == Key::Id) {
        if (*mNumber > std::numeric_limits<std::int32_t>::max() || mOperator != Operator::Equal) return std::nullopt;
        return RangeFilter{mKey, mOperator, static_cast<unsigned>(*mNumber)};
    }
    if (mKey == Key::Status) return RangeFilter{mKey, mOperator, static_cast<RfidCardStatus>(*mNumber)};
    // A record in memory has fractions of a second, which only these two disregard.
    if (mOperator == Operator::Less || mOperator == Operator::GreaterOrEqual) {
        return RangeFilter{mKey, mOperator, canonicalTime(*mNumber)};
    }
    if (isEquality(mOperator) || *mNumber == std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    const auto op = mOperator == Operator::LessOrEqual ? Operator::Less : Operator::GreaterOrEqual;
    return RangeFilter{mKey, op, canonicalTime(*mNumber + 1)};
}

std::optional<TextFilter> TextFilter::read(const std::string& text) {
    const std::size_t position = text.find_first_of("~!=<>");
    const std::string column = text.substr(0, position);
    if (position == std::string::npos || (column != "description" && column != "parent")) return std::nullopt;
    TextFilter filter;
    filter.mIsParent = column == "parent";
    filter.mOperator = text[position];
    const std::size_t length = filter.mOperator == '!' ? 2 : 1;
    if (filter.mOperator == '<' || filter.mOperator == '>' || (length == 2 && text.substr(position, 2) != "!=")) {
        refuse("filter \"" + text + "\"", "a text is only compared with =, != or ~ (contains)");
    }
    filter.mText = text.substr(position + length);
    return filter;
}

bool TextFilter::passes(const RfidCard& card) const {
    const std::string text = mIsParent ? card.parentId.value_or("") : card.description;
    if (mOperator == '~') return containsIgnoringCase(text, mText);
    return (text == mText) == (mOperator == '=');
}

bool Filters::pass(const RfidCard& card) const {
    const auto passes = [&card](const auto& filter) { return filter.passes(card); };
    return std::all_of(plain.begin(), plain.end(), passes) && std::all_of(texts.begin(), texts.end(), passes);
}

}  // namespace oru::kadi::authlist::tool
