// SPDX-License-Identifier: Apache-2.0
#include "authlist/AuthListManager.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "authlist/KeyHash.h"
#include "authlist/Timestamp.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"

namespace oru::kadi::authlist {
namespace {

// A refused call logs a sentence and throws a short reason.
struct Refusal {
    const char* logged;
    const char* thrown;
};

constexpr Refusal noTags{"Rfid Card tags array is empty, call cannot proceed.", "RfidTag tags array empty"};
constexpr Refusal emptyTag{"Rfid Card tag hash and key both empty, emplace() call cannot proceed.",
                           "RfidTag tag hash and key both empty"};
constexpr Refusal alreadyStored{
    "Rfid Card in emplace() call is already stored in the database and update is not allowed.",
    "Identifier already in database"};
constexpr Refusal full{"Database is full, emplace() call cannot proceed.", "Database full"};

[[noreturn]] void refuse(const AuthListManager& manager, const Refusal& refusal) {
    manager.logMessage(refusal.logged, false);
    throw std::runtime_error(refusal.thrown);
}

void logIgnoringFailure(const AuthListManager& manager, const char* error) {
    try {
        manager.logMessage(error, true);
    } catch (const std::exception&) {  // there is no other place to report it
    }
}

void stampTimes(RfidCard& card) {
    card.lastAccessTime = std::chrono::system_clock::now();
    card.lastModificationTime = std::chrono::system_clock::now();
}

void completeTag(const AuthListManager& manager, RfidTag& tag) {
    if (!tag.hash.empty()) return;
    if (!tag.key || tag.key->empty()) refuse(manager, emptyTag);
    tag.hash = hashKey(*tag.key);
}

bool lifetimeIsOver(const RfidCard& card) {
    if (!card.recordLifetime) return false;
    // Added as unsigned numbers, where an overflow is defined.
    const auto lifetime = std::uint64_t{*card.recordLifetime} * 1'000'000'000U;
    const auto modified = static_cast<std::uint64_t>(card.lastModificationTime.time_since_epoch().count());
    const auto deadline = static_cast<std::int64_t>(modified + lifetime);
    return deadline < card.lastAccessTime.time_since_epoch().count();
}

}  // namespace

AuthListManager::AuthListManager(std::unique_ptr<IDbAccessor> accessor, AuthListConfiguration configuration)
    : mConfiguration(std::move(configuration)), mDbAccessor(std::move(accessor)) {}

AuthListManager::AuthListManager(AuthListConfiguration configuration) : mConfiguration(std::move(configuration)) {
    mDbAccessor = buildDbAccessor(mConfiguration.databaseFileName);
}

AuthListManager::~AuthListManager() = default;

unsigned AuthListManager::emplace(RfidCard& card, bool makeRoomIfFull, bool updateAllowed) {
    stampTimes(card);
    if (card.tags.empty()) refuse(*this, noTags);
    for (RfidTag& tag : card.tags) completeTag(*this, tag);
    if (isRfidCardAlreadyStored(card)) {
        if (!updateAllowed) refuse(*this, alreadyStored);
        return mDbAccessor->updateRecord(card);
    }
    if (isDatabaseFull()) {
        if (!makeRoomIfFull) refuse(*this, full);
        makeRoom();
    }
    return mDbAccessor->createRecord(card);
}

bool AuthListManager::isDatabaseFull() const { return mDbAccessor->countRecords() == mConfiguration.maxRecords; }

bool AuthListManager::isRfidCardAlreadyStored(const RfidCard& card) const {
    return std::any_of(card.tags.begin(), card.tags.end(),
                       [this](const RfidTag& tag) { return mDbAccessor->tagIsKnown(tag.hash); });
}

void AuthListManager::makeRoom() {
    try {
        if (mDbAccessor->deleteRecordCategory(RecordRemovalCategory::PastExpiryDate) ||
            mDbAccessor->deleteRecordCategory(RecordRemovalCategory::BlockedOrInvalid) ||
            mDbAccessor->deleteRecordCategory(RecordRemovalCategory::ExpiredStatus)) {
            logMessage("Successfully created some more space for new Rfid Card record(s).", false);
            return;
        }
        logMessage("No records past expiry date, no invalid records, no expired records, need to delete oldest record.",
                   false);
        mDbAccessor->deleteOldestRecord();
    } catch (const std::exception&) {
        logIgnoringFailure(*this, "Error when creating space for new Rfid Card record(s).");
    }
}

std::optional<RfidCard> AuthListManager::getByKey(const std::string& key) const {
    if (key.empty()) {
        logMessage("It is not possible to perform search using empty key string.", false);
        return std::nullopt;
    }
    return trackAccess(retrieveRecord(key, KeyRepresentation::Key));
}

std::optional<RfidCard> AuthListManager::getByHash(const std::string& hash) const {
    return trackAccess(retrieveRecord(hash, KeyRepresentation::Hash));
}

std::optional<RfidCard> AuthListManager::getById(unsigned id) const { return trackAccess(retrieveRecord(id)); }

std::optional<RfidCard> AuthListManager::trackAccess(std::optional<RfidCard> card) const {
    if (!card) return std::nullopt;
    try {
        return updateOnAccess(*card);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<RfidCard> AuthListManager::retrieveRecord(const std::string& value,
                                                        KeyRepresentation representation) const {
    return mDbAccessor->readRecord(value, representation);
}

std::optional<RfidCard> AuthListManager::retrieveRecord(unsigned id) const { return mDbAccessor->readRecord(id); }

RfidCard AuthListManager::updateOnAccess(RfidCard& card) const {
    card.lastAccessTime = std::chrono::system_clock::now();
    if (lifetimeIsOver(card)) {
        mDbAccessor->deleteRecord(card.id.value());
        logMessage("The queried authorization list record is no longer valid (lifetime exceeded).", false);
        throw std::runtime_error("Record lifetime has been exceeded!");
    }
    if (card.status == RfidCardStatus::Accepted && dateExpired(card)) card.status = RfidCardStatus::Expired;
    mDbAccessor->updateRecord(card);
    return card;
}

bool AuthListManager::dateExpired(const RfidCard& card) {
    return card.expiryDate && *card.expiryDate <= std::chrono::system_clock::now();
}

std::vector<RfidCard> AuthListManager::getRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                                std::optional<SortingAndFilteringKey> filterKey,
                                                std::optional<FilteringOperator> filterOperator,
                                                std::optional<CardValue> filterValue,
                                                std::optional<SortingAndFilteringKey> sortKey,
                                                std::optional<SortingOrder> sortOrder) const {
    return mDbAccessor->readRecordRange(limit, offset, filterKey, filterOperator, std::move(filterValue), sortKey,
                                        sortOrder);
}

unsigned AuthListManager::countRecords() const { return mDbAccessor->countRecords(); }

void AuthListManager::updateData(unsigned id, std::optional<std::string> description,
                                 std::optional<RfidCardStatus> status, std::optional<TimePoint> expiryDate,
                                 std::optional<std::string> extraData) {
    auto card = retrieveRecord(id);
    if (!card) {
        logMessage("Attempt to update Card that does not exist: id=" + std::to_string(id), true);
        throw std::runtime_error("Rfid Card does not exist");
    }
    if (description) card->description = *std::move(description);
    if (status) card->status = *status;
    if (expiryDate == TimePoint::max()) {
        card->expiryDate.reset();
    } else if (expiryDate) {
        card->expiryDate = expiryDate;
    }
    if (extraData) card->extraData = std::move(extraData);
    stampTimes(*card);
    mDbAccessor->updateRecord(*card);
}

void AuthListManager::updateDataIso8601(unsigned id, std::optional<std::string> description,
                                        std::optional<RfidCardStatus> status, std::optional<std::string> expiryDate,
                                        std::optional<std::string> extraData) {
    const auto time = expiryDate == "" ? TimePoint::max() : stringToTimestamp(std::move(expiryDate));
    updateData(id, std::move(description), status, time, std::move(extraData));
}

void AuthListManager::deleteByKey(const std::string& key) { mDbAccessor->deleteRecord(key, KeyRepresentation::Key); }

void AuthListManager::deleteByHash(const std::string& hash) {
    mDbAccessor->deleteRecord(hash, KeyRepresentation::Hash);
}

void AuthListManager::deleteById(unsigned id) { mDbAccessor->deleteRecord(id); }

void AuthListManager::clearAll() const { mDbAccessor->deleteAllRecords(); }

void AuthListManager::setVersion(unsigned version) const { mDbAccessor->updateVersion(version); }

std::optional<unsigned> AuthListManager::getVersion() const { return mDbAccessor->readVersion(); }

std::unique_ptr<IDbAccessor> AuthListManager::buildDbAccessor(const std::string& fileName) {
    logMessage("Creating SQLite accessor...", false);
    return std::make_unique<db::sqlite::SqliteDbAccessor>(fileName);
}

void AuthListManager::logMessage(const std::string& message, bool isError) const {
    if (mConfiguration.logCallback) mConfiguration.logCallback(message, isError);
}

}  // namespace oru::kadi::authlist
