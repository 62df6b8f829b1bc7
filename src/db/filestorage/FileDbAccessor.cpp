// SPDX-License-Identifier: Apache-2.0
#include "authlist/db/filestorage/FileDbAccessor.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

#include "authlist/KeyHash.h"
#include "db/filestorage/LockedBlob.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

common::fs::CachedFileManager::Options optionsWith(std::chrono::milliseconds delay) {
    return {.atomicReplace = true, .bufferKiB = 32, .permissions = 0600, .delay = delay, .backupSuffix = ""};
}

// Skips numbers where the given id is small; intended.
void raiseLastMaxId(RecordsBlob& blob, unsigned id) { blob.setLastMaxId(std::max(id, blob.getLastMaxId() + 1)); }

bool belongsTo(const RfidCard& card, RecordRemovalCategory category, TimePoint now) {
    switch (category) {
        case RecordRemovalCategory::PastExpiryDate:
            return card.expiryDate && *card.expiryDate < now;
        case RecordRemovalCategory::BlockedOrInvalid:
            return card.status == RfidCardStatus::Blocked || card.status == RfidCardStatus::Invalid;
        case RecordRemovalCategory::ExpiredStatus:
            return card.status == RfidCardStatus::Expired;
    }
    throw std::logic_error("Incorrect value for RecordRemovalCategory");
}

bool accessedEarlier(const RfidCard& a, const RfidCard& b) { return a.lastAccessTime < b.lastAccessTime; }

}  // namespace

FileDbAccessor::FileDbAccessor(const std::string& path, std::chrono::milliseconds delay) {
    mFileManager.add(std::make_unique<RecordsBlob>(), path, optionsWith(delay));
}

FileDbAccessor::~FileDbAccessor() = default;

unsigned FileDbAccessor::createRecord(const RfidCard& card) const {
    // Before the lock is taken, because readRecord takes it too.
    if (card.id && readRecord(*card.id)) {
        throw std::runtime_error("Cannot create new record in DB: constraint violation");
    }
    LockedBlob blob(mFileManager);
    RfidCard stored = card;
    if (stored.id) {
        raiseLastMaxId(*blob, *stored.id);
    } else {
        stored.id = blob->getLastMaxId() + 1;
        blob->setLastMaxId(*stored.id);
    }
    const unsigned id = *stored.id;
    blob->getRecords().push_back(std::move(stored));
    return id;
}

unsigned FileDbAccessor::updateRecord(const RfidCard& card) const {
    LockedBlob blob(mFileManager);
    const unsigned id = card.id.value();
    auto& records = blob->getRecords();
    const auto found = findById(records, id);
    if (found != records.end()) {
        RfidCard copy = card;  // may run out of memory; moving it cannot
        *found = std::move(copy);
    } else {
        raiseLastMaxId(*blob, id);
        records.push_back(card);
    }
    return id;
}

std::optional<RfidCard> FileDbAccessor::readRecord(const std::string& value, KeyRepresentation representation) const {
    LockedBlob blob(mFileManager);
    auto& records = blob->getRecords();
    const auto found = findByTag(records, value, representation);
    return found != records.end() ? std::optional(*found) : std::nullopt;
}

std::optional<RfidCard> FileDbAccessor::readRecord(unsigned id) const {
    LockedBlob blob(mFileManager);
    auto& records = blob->getRecords();
    const auto found = findById(records, id);
    return found != records.end() ? std::optional(*found) : std::nullopt;
}

std::vector<RfidCard> FileDbAccessor::readRecordRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                                      std::optional<SortingAndFilteringKey> filterKey,
                                                      std::optional<FilteringOperator> filterOperator,
                                                      std::optional<CardValue> filterValue,
                                                      std::optional<SortingAndFilteringKey> sortKey,
                                                      std::optional<SortingOrder> sortOrder) const {
    LockedBlob blob(mFileManager);
    const auto& records = blob->getRecords();
    auto cards = filterKey && filterOperator && filterValue
                     ? filterCards(records, *filterKey, *filterOperator, *filterValue)
                     : copyCardPointers(records);
    if (offset && *offset > cards.size()) return {};
    sortCards(cards, sortKey, sortOrder);
    const std::size_t first = offset.value_or(0);
    const std::size_t count =
        std::min<std::size_t>(limit.value_or(std::numeric_limits<unsigned>::max()), cards.size() - first);
    std::vector<RfidCard> result;
    result.reserve(count);
    for (std::size_t i = first; i < first + count; ++i) result.push_back(*cards[i]);
    return result;
}

std::vector<RfidCard> FileDbAccessor::readAllRecords() const {
    LockedBlob blob(mFileManager);
    const auto& records = blob->getRecords();
    return {records.begin(), records.end()};
}

void FileDbAccessor::deleteAllRecords() const {
    LockedBlob blob(mFileManager);
    blob->getRecords().clear();
    blob->setLastMaxId(0);
}

void FileDbAccessor::deleteRecord(const std::string& value, KeyRepresentation representation) const {
    LockedBlob blob(mFileManager);
    auto& records = blob->getRecords();
    const auto found = findByTag(records, value, representation);
    if (found != records.end()) records.erase(found);
}

void FileDbAccessor::deleteRecord(unsigned id) const {
    LockedBlob blob(mFileManager);
    auto& records = blob->getRecords();
    const auto found = findById(records, id);
    if (found != records.end()) records.erase(found);
}

bool FileDbAccessor::deleteRecordCategory(RecordRemovalCategory category) const {
    LockedBlob blob(mFileManager);
    const TimePoint now = std::chrono::system_clock::now();
    const auto removed = std::erase_if(
        blob->getRecords(), [category, now](const RfidCard& card) { return belongsTo(card, category, now); });
    return removed > 0;
}

void FileDbAccessor::deleteOldestRecord() const {
    LockedBlob blob(mFileManager);
    auto& records = blob->getRecords();
    const auto oldest = std::min_element(records.begin(), records.end(), accessedEarlier);
    if (oldest != records.end()) records.erase(oldest);
}

unsigned FileDbAccessor::countRecords() const {
    LockedBlob blob(mFileManager);
    return static_cast<unsigned>(blob->getRecords().size());
}

bool FileDbAccessor::tagIsKnown(const std::string& hash) const {
    return readRecord(hash, KeyRepresentation::Hash).has_value();
}

std::optional<unsigned> FileDbAccessor::readVersion() const {
    LockedBlob blob(mFileManager);
    return blob->getVersion();
}

void FileDbAccessor::updateVersion(unsigned version) const {
    LockedBlob blob(mFileManager);
    blob->setVersion(version);
}

std::deque<RfidCard>::iterator FileDbAccessor::findByTag(std::deque<RfidCard>& records, const std::string& key,
                                                         KeyRepresentation representation) {
    const std::string hash = representation == KeyRepresentation::Key ? hashKey(key) : key;
    return std::find_if(records.begin(), records.end(), [&hash](const RfidCard& card) {
        return std::any_of(card.tags.begin(), card.tags.end(),
                           [&hash](const RfidTag& tag) { return tag.hash == hash; });
    });
}

std::deque<RfidCard>::iterator FileDbAccessor::findById(std::deque<RfidCard>& records, unsigned id) {
    return std::find_if(records.begin(), records.end(), [id](const RfidCard& card) { return card.id == id; });
}

}  // namespace oru::kadi::authlist::db::filestorage
