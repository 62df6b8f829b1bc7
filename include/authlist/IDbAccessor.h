// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "authlist/CardValue.h"
#include "authlist/Enumerations.h"
#include "authlist/Export.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist {

/// Storage of one authorization list: everything that AuthListManager reads, writes and removes goes through here.
///
/// Finding nothing is an empty result, never an exception; failures are exceptions derived from std::exception. Records
/// cross the interface by value. Each backend states its own locking. The order of the functions is part of the ABI.
class ORU_AUTHLIST_EXPORT IDbAccessor {
public:
    IDbAccessor() = default;
    IDbAccessor(const IDbAccessor&) = delete;
    IDbAccessor& operator=(const IDbAccessor&) = delete;

    /// Stores a new record with all its tags, whose hashes must be set; returns its id. Throws std::runtime_error when
    /// the card carries an id that is in use.
    virtual unsigned createRecord(const RfidCard& card) const = 0;

    /// Replaces the record whose id the card carries, tags included, or stores the card when there is none; returns
    /// that id. Throws std::bad_optional_access for a card without id.
    virtual unsigned updateRecord(const RfidCard& card) const = 0;

    /// The record that owns the tag with this key or hash.
    virtual std::optional<RfidCard> readRecord(const std::string& value, KeyRepresentation representation) const = 0;
    virtual std::optional<RfidCard> readRecord(unsigned id) const = 0;

    /// The records that pass the filter (when all three of its parts are given), sorted, without the first offset
    /// ones, at most limit. What missing arguments mean is each backend's own rule.
    virtual std::vector<RfidCard> readRecordRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                                  std::optional<SortingAndFilteringKey> filterKey,
                                                  std::optional<FilteringOperator> filterOperator,
                                                  std::optional<CardValue> filterValue,
                                                  std::optional<SortingAndFilteringKey> sortKey,
                                                  std::optional<SortingOrder> sortOrder) const = 0;

    virtual std::vector<RfidCard> readAllRecords() const = 0;

    /// Removes every record; the list version stays.
    virtual void deleteAllRecords() const = 0;
    virtual void deleteRecord(const std::string& value, KeyRepresentation representation) const = 0;
    virtual void deleteRecord(unsigned id) const = 0;

    /// Removes every record of the category; true when there was at least one.
    virtual bool deleteRecordCategory(RecordRemovalCategory category) const = 0;

    /// Removes the one oldest record; what counts as oldest is each backend's own rule.
    virtual void deleteOldestRecord() const = 0;

    /// The number of records, not of tags.
    virtual unsigned countRecords() const = 0;

    /// Whether a stored tag has exactly this hash.
    virtual bool tagIsKnown(const std::string& hash) const = 0;

    /// The list version; none when none was ever stored.
    virtual std::optional<unsigned> readVersion() const = 0;
    virtual void updateVersion(unsigned version) const = 0;

    virtual ~IDbAccessor();
};

}  // namespace oru::kadi::authlist
