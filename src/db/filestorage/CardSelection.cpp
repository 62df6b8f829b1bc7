// SPDX-License-Identifier: Apache-2.0
// Filtering and sorting of the cards that FileDbAccessor holds: only pointers move.
#include <algorithm>
#include <stdexcept>
#include <variant>

#include "authlist/Timestamp.h"
#include "authlist/db/filestorage/FileDbAccessor.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

// One past each enumeration: refused, where values beyond it match nothing.
constexpr auto pastLastKey = static_cast<SortingAndFilteringKey>(5);
constexpr auto pastLastOperator = static_cast<FilteringOperator>(6);

// What a card's attribute is compared with.
using Comparand = std::variant<unsigned, TimePoint, RfidCardStatus>;

struct ToComparand {
    SortingAndFilteringKey key;

    Comparand operator()(unsigned number) const { return number; }
    Comparand operator()(RfidCardStatus status) const { return status; }
    Comparand operator()(const std::string& text) const {
        if (key == SortingAndFilteringKey::Status) return statusFromText(text);
        const auto time = stringToTimestamp(text);
        if (!time) throw std::range_error("Incorrect timestamp in input data!");
        return *time;
    }
};

// A card that never expires counts as expiring last of all.
TimePoint expiryOf(const RfidCard& card) { return card.expiryDate.value_or(TimePoint::max()); }

template <class Value>
bool compare(const Value& left, FilteringOperator filterOperator, const Value& right) {
    switch (filterOperator) {
        case FilteringOperator::Equal:
            return left == right;
        case FilteringOperator::Less:
            return left < right;
        case FilteringOperator::Greater:
            return left > right;
        case FilteringOperator::LessOrEqual:
            return left <= right;
        case FilteringOperator::GreaterOrEqual:
            return left >= right;
        case FilteringOperator::NotEqual:
            return left != right;
    }
    if (filterOperator == pastLastOperator) throw std::logic_error("Incorrect value for Filtering Operator");
    return false;
}

bool matches(const RfidCard& card, SortingAndFilteringKey key, FilteringOperator filterOperator,
             const Comparand& value) {
    switch (key) {
        case SortingAndFilteringKey::Id:
            return compare(card.id.value(), filterOperator, std::get<unsigned>(value));
        case SortingAndFilteringKey::Status:
            return compare(card.status, filterOperator, std::get<RfidCardStatus>(value));
        case SortingAndFilteringKey::ExpiryDate:
            return compare(expiryOf(card), filterOperator, std::get<TimePoint>(value));
        case SortingAndFilteringKey::LastAccessTime:
            return compare(card.lastAccessTime, filterOperator, std::get<TimePoint>(value));
        case SortingAndFilteringKey::LastModificationTime:
            return compare(card.lastModificationTime, filterOperator, std::get<TimePoint>(value));
    }
    if (key == pastLastKey) throw std::logic_error("Incorrect value for Filtering Key");
    return false;
}

// Among equal values the higher id comes first; intended.
template <class Value>
bool isBefore(const Value& a, const std::optional<unsigned>& idOfA, const Value& b,
              const std::optional<unsigned>& idOfB) {
    return a != b ? a < b : idOfA > idOfB;
}

bool comesBefore(const RfidCard& a, const RfidCard& b, SortingAndFilteringKey key) {
    switch (key) {
        case SortingAndFilteringKey::Id:
            return a.id.value() < b.id.value();
        case SortingAndFilteringKey::Status:
            return isBefore(a.status, a.id, b.status, b.id);
        case SortingAndFilteringKey::ExpiryDate:
            return isBefore(expiryOf(a), a.id, expiryOf(b), b.id);
        case SortingAndFilteringKey::LastAccessTime:
            return isBefore(a.lastAccessTime, a.id, b.lastAccessTime, b.id);
        case SortingAndFilteringKey::LastModificationTime:
            return isBefore(a.lastModificationTime, a.id, b.lastModificationTime, b.id);
    }
    throw std::logic_error("Incorrect value for Sorting Key");
}

}  // namespace

std::vector<const RfidCard*> FileDbAccessor::copyCardPointers(const std::deque<RfidCard>& records) {
    std::vector<const RfidCard*> cards;
    cards.reserve(records.size());
    for (const RfidCard& card : records) cards.push_back(&card);
    return cards;
}

std::vector<const RfidCard*> FileDbAccessor::filterCards(const std::deque<RfidCard>& records,
                                                         SortingAndFilteringKey key, FilteringOperator filterOperator,
                                                         const CardValue& value) {
    const Comparand comparand = std::visit(ToComparand{key}, value);
    std::vector<const RfidCard*> cards;
    cards.reserve(records.size());
    for (const RfidCard& card : records) {
        if (matches(card, key, filterOperator, comparand)) cards.push_back(&card);
    }
    return cards;
}

void FileDbAccessor::sortCards(std::vector<const RfidCard*>& cards, std::optional<SortingAndFilteringKey> key,
                               std::optional<SortingOrder> order) {
    if (!key) return;
    // Descending swaps the cards rather than negating the answer: the same order, and still one when two ids are equal.
    const bool isDescending = order == SortingOrder::Descending;
    std::sort(cards.begin(), cards.end(), [key, isDescending](const RfidCard* a, const RfidCard* b) {
        return isDescending ? comesBefore(*b, *a, *key) : comesBefore(*a, *b, *key);
    });
}

}  // namespace oru::kadi::authlist::db::filestorage
