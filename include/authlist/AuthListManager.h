// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "authlist/AuthListConfiguration.h"
#include "authlist/CardValue.h"
#include "authlist/Enumerations.h"
#include "authlist/Export.h"
#include "authlist/IDbAccessor.h"
#include "authlist/RfidCard.h"

namespace oru::kadi::authlist {

/// The local authorization list of one charging controller: adds, finds, changes, removes, imports and exports cards.
///
/// Owns a copy of its configuration and its storage backend, nothing else. Every operation runs on the caller's thread
/// and is finished when it returns. It takes no lock: several threads may share a manager as far as the backend allows
/// (both backends do, single operation by single operation); an import must have the manager to itself.
/// Unless told otherwise, exceptions of the backend and of the log callback pass to the caller.
class ORU_AUTHLIST_EXPORT AuthListManager {
public:
    /// A list over a backend of the caller's choice, which must not be null. The database file name is not used.
    AuthListManager(std::unique_ptr<IDbAccessor> accessor, AuthListConfiguration configuration);

    /// A list in the SQLite database databaseFileName, which is created when missing. Throws std::runtime_error when
    /// the file name is empty or the file cannot be opened as a database.
    explicit AuthListManager(AuthListConfiguration configuration);

    AuthListManager(const AuthListManager&) = delete;
    AuthListManager& operator=(const AuthListManager&) = delete;
    ~AuthListManager();

    // Adding

    /// Stores card and returns its id. Sets both times to now and the hash of every tag that has only a key; the card
    /// keeps these changes even when an exception follows.
    ///
    /// When one of the tags is already stored: with updateAllowed replaces the record that card.id names (so the card
    /// must carry the id of the stored record), otherwise throws. When the list is full: with makeRoomIfFull calls
    /// makeRoom first, otherwise throws. Throws std::runtime_error for a card without tags, a tag without hash and key,
    /// a known tag ("Identifier already in database") and a full list ("Database full").
    unsigned emplace(RfidCard& card, bool makeRoomIfFull, bool updateAllowed);

    /// Whether the list holds exactly maxRecords records. A list that grew beyond (an import may) does not count as
    /// full.
    bool isDatabaseFull() const;

    /// Whether a tag of card is stored, whatever the card's id. The tags need their hashes.
    bool isRfidCardAlreadyStored(const RfidCard& card) const;

    /// Removes records past their expiry date; if there are none, blocked or invalid ones; if none, those with status
    /// Expired; if none, the single oldest record. Logs failures instead of throwing them.
    void makeRoom();

    // Looking up. A lookup that finds a card is an access: it stores the access time; a card whose lifetime is over is
    // removed and not returned; an accepted card at or past its expiry date becomes Expired, in storage too. When that
    // step fails the card is not returned.

    std::optional<RfidCard> getByKey(const std::string& key) const;
    std::optional<RfidCard> getByHash(const std::string& hash) const;
    std::optional<RfidCard> getById(unsigned id) const;

    /// The record as it is stored; no access.
    std::optional<RfidCard> retrieveRecord(const std::string& value, KeyRepresentation representation) const;
    std::optional<RfidCard> retrieveRecord(unsigned id) const;

    /// The access step of a lookup: changes card, stores it and returns a copy. Throws std::runtime_error when the
    /// record's lifetime is over; the record is then removed.
    RfidCard updateOnAccess(RfidCard& card) const;

    /// Whether the card has an expiry date and it is now or earlier.
    static bool dateExpired(const RfidCard& card);

    /// Records as they are stored; no access. The filter applies when all three of its parts are given. Over SQLite a
    /// text filter value becomes part of the SQL statement as it stands: never pass untrusted text.
    std::vector<RfidCard> getRange(std::optional<unsigned> limit, std::optional<unsigned> offset,
                                   std::optional<SortingAndFilteringKey> filterKey,
                                   std::optional<FilteringOperator> filterOperator,
                                   std::optional<CardValue> filterValue, std::optional<SortingAndFilteringKey> sortKey,
                                   std::optional<SortingOrder> sortOrder) const;

    unsigned countRecords() const;

    // Changing and removing

    /// Replaces the given fields of record id, stamps both times and so restarts its lifetime. The largest TimePoint as
    /// expiryDate removes the expiry date. Throws std::runtime_error "Rfid Card does not exist".
    void updateData(unsigned id, std::optional<std::string> description, std::optional<RfidCardStatus> status,
                    std::optional<TimePoint> expiryDate, std::optional<std::string> extraData);

    /// The same with the expiry date as ISO 8601 text: an empty text removes it, text that is no time leaves it as it
    /// is.
    void updateDataIso8601(unsigned id, std::optional<std::string> description, std::optional<RfidCardStatus> status,
                           std::optional<std::string> expiryDate, std::optional<std::string> extraData);

    /// Removing what is not stored does nothing.
    void deleteByKey(const std::string& key);
    void deleteByHash(const std::string& hash);
    void deleteById(unsigned id);

    /// Removes every record; the list version stays.
    void clearAll() const;

    void setVersion(unsigned version) const;
    /// None when no version was ever stored.
    std::optional<unsigned> getVersion() const;

    // Import and export. Import replaces the stored list, without regard to the capacity; the text is read whole before
    // anything is deleted, but a backend failure midway leaves the cards stored before it. It logs every card, plain
    // keys included. A type outside the enumeration stands for an empty text. Zip archives are not supported: with zip
    // set both file operations throw std::invalid_argument.

    std::string exportStr(ExchangeDataType type) const;

    /// Throws std::runtime_error when the file cannot be opened or written. A password without zip is disregarded.
    void exportFile(const std::string& path, ExchangeDataType type, bool zip, const std::string& password) const;

    void importStr(const std::string& text, ExchangeDataType type);

    /// Throws std::runtime_error when the file cannot be opened or read, or is empty.
    void importFile(const std::string& path, ExchangeDataType type, bool zip, const std::string& password);

    std::string buildStringFromDatabase(const std::vector<RfidCard>& cards, ExchangeDataType type) const;
    std::vector<RfidCard> buildDatabaseFromString(const std::string& text, ExchangeDataType type) const;

    /// Always throws std::invalid_argument; would return the text of the archive at path.
    std::string retrieveDataFromZip(const std::string& path, ExchangeDataType type, const std::string& password);

    /// Always throws std::invalid_argument; would write text into an archive at path.
    void outputDataAsZip(const std::string& path, const std::string& text, const std::string& password) const;

    // Support

    /// Opens the SQLite backend on fileName, after a line in the log.
    std::unique_ptr<IDbAccessor> buildDbAccessor(const std::string& fileName);

    /// Hands a copy of message to the log callback, if there is one.
    void logMessage(const std::string& message, bool isError) const;

private:
    std::optional<RfidCard> trackAccess(std::optional<RfidCard> card) const;

    AuthListConfiguration mConfiguration;
    std::unique_ptr<IDbAccessor> mDbAccessor;
};

}  // namespace oru::kadi::authlist
