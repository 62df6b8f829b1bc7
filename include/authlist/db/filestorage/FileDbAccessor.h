// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "authlist/Export.h"
#include "authlist/IDbAccessor.h"
#include "oru/common/fs/CachedFileManager.h"

namespace oru::kadi::authlist::db::filestorage {

/// The authorization list in memory, kept in one binary file (docs/records-blob.md) that is written in the background.
///
/// Every operation holds one mutex from start to end, so threads may share an accessor; two that create a card with the
/// same given id at the same moment may both succeed. A change reaches the file within the delay, and at the latest
/// when the accessor is destroyed; see CachedFileManager for what disk errors and power cuts do. Ids that the accessor
/// hands out are one more than the last id, which falls back to the smallest stored id when the file is loaded: it may
/// hand out an id that another record has. A file holds at most 65,535 records.
class ORU_AUTHLIST_EXPORT FileDbAccessor : public IDbAccessor {
public:
    /// Loads the file at path; a missing file is an empty list. Throws std::runtime_error naming path when the file
    /// cannot be read or decoded; it is then left as it is.
    FileDbAccessor(const std::string& path, std::chrono::milliseconds delay);

    /// An id that is in use is refused with "Cannot create new record in DB: constraint violation".
    unsigned createRecord(const RfidCard& card) const override;
    unsigned updateRecord(const RfidCard& card) const override;
    std::optional<RfidCard> readRecord(const std::string& value, KeyRepresentation representation) const override;
    std::optional<RfidCard> readRecord(unsigned id) const override;
    /// Without a sort key in insertion order. Throws as filterCards and sortCards do.
    std::vector<RfidCard> readRecordRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                          std::optional<SortingAndFilteringKey> filterKey,
                                          std::optional<FilteringOperator> filterOperator,
                                          std::optional<CardValue> filterValue,
                                          std::optional<SortingAndFilteringKey> sortKey,
                                          std::optional<SortingOrder> sortOrder) const override;
    std::vector<RfidCard> readAllRecords() const override;
    /// The next id that is handed out is 1 again.
    void deleteAllRecords() const override;
    void deleteRecord(const std::string& value, KeyRepresentation representation) const override;
    void deleteRecord(unsigned id) const override;
    /// Throws std::logic_error for a category outside the enumeration, unless the list is empty.
    bool deleteRecordCategory(RecordRemovalCategory category) const override;
    /// Oldest by last access time, the first inserted among equals.
    void deleteOldestRecord() const override;
    unsigned countRecords() const override;
    bool tagIsKnown(const std::string& hash) const override;
    std::optional<unsigned> readVersion() const override;
    void updateVersion(unsigned version) const override;
    ~FileDbAccessor() override;

    /// The first card with a tag of this key or hash, or the end.
    static std::deque<RfidCard>::iterator findByTag(std::deque<RfidCard>& records, const std::string& key,
                                                    KeyRepresentation representation);
    /// The first card with this id, or the end.
    static std::deque<RfidCard>::iterator findById(std::deque<RfidCard>& records, unsigned id);

    static std::vector<const RfidCard*> copyCardPointers(const std::deque<RfidCard>& records);

    /// The cards whose attribute compares true with value, in their order. A card without expiry date counts as
    /// expiring last of all. Throws std::range_error for a text that is no time, std::invalid_argument for one that is
    /// no status; and, once there is a card to look at, std::bad_variant_access for a value of the wrong type and
    /// std::logic_error for a key or operator one past the enumeration. Keys and operators beyond that match nothing.
    static std::vector<const RfidCard*> filterCards(const std::deque<RfidCard>& records, SortingAndFilteringKey key,
                                                    FilteringOperator filterOperator, const CardValue& value);

    /// Sorts by key, ascending unless order says otherwise; does nothing without a key. Ascending, the higher id comes
    /// first among equals; descending reverses that too. Throws std::logic_error for a key outside the enumeration as
    /// soon as there are two cards to compare.
    static void sortCards(std::vector<const RfidCard*>& cards, std::optional<SortingAndFilteringKey> key,
                          std::optional<SortingOrder> order);

private:
    common::fs::CachedFileManager mFileManager;
};

}  // namespace oru::kadi::authlist::db::filestorage
