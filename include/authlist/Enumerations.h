// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "authlist/Export.h"

namespace oru::kadi::authlist {

/// OCPP authorization status, and Operator for cards of the charge point's own staff.
enum class RfidCardStatus : int {
    Accepted = 0,
    Expired = 1,
    Blocked = 2,
    Invalid = 3,
    ConcurrentTx = 4,
    Operator = 5,
};

/// How a lookup text is to be read.
enum class KeyRepresentation : int {
    Key = 0,   ///< a plain key, to be hashed first
    Hash = 1,  ///< already a hash
};

/// The text format of an import or export.
enum class ExchangeDataType : int {
    CSV = 0,
    JSON = 1,
};

/// The attribute by which a range query sorts or filters.
enum class SortingAndFilteringKey : int {
    Id = 0,
    Status = 1,
    ExpiryDate = 2,
    LastAccessTime = 3,
    LastModificationTime = 4,
};

/// The comparison of a range query's filter: the record's attribute, the operator, the given value.
enum class FilteringOperator : int {
    Equal = 0,
    Less = 1,
    Greater = 2,
    LessOrEqual = 3,
    GreaterOrEqual = 4,
    NotEqual = 5,
};

enum class SortingOrder : int {
    Ascending = 0,
    Descending = 1,
};

/// Which records make room in a full list; they are tried in this order.
enum class RecordRemovalCategory : int {
    PastExpiryDate = 0,    ///< the expiry date is present and lies strictly before now
    BlockedOrInvalid = 1,  ///< the status is Blocked or Invalid
    ExpiredStatus = 2,     ///< the status is Expired
};

/// The text of status as it is stored and exchanged. Throws std::invalid_argument outside the enumeration.
ORU_AUTHLIST_EXPORT std::string_view statusToText(RfidCardStatus status);

/// The status that text names, case-sensitively. Throws std::invalid_argument naming the text when there is none.
ORU_AUTHLIST_EXPORT RfidCardStatus statusFromText(std::string_view text);

}  // namespace oru::kadi::authlist
