// SPDX-License-Identifier: Apache-2.0
#include "support/ByHand.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "oru/crypto/Sha256.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

std::string hashOf(const std::string& key) {
    return crypto::calculateSha256(reinterpret_cast<const unsigned char*>(key.data()),
                                   static_cast<unsigned>(key.size()));
}

std::string now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string text(sqlite3_stmt* statement, int column) {
    return reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
}

std::optional<std::string> textOrNone(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    return text(statement, column);
}

std::optional<int> numberOrNone(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    return sqlite3_column_int(statement, column);
}

PlainCard cardFromRow(sqlite3_stmt* statement) {
    return {sqlite3_column_int(statement, 0),
            text(statement, 1),
            text(statement, 2),
            textOrNone(statement, 3),
            textOrNone(statement, 4),
            numberOrNone(statement, 5),
            textOrNone(statement, 6),
            text(statement, 7),
            text(statement, 8),
            numberOrNone(statement, 9),
            {}};
}

int readInteger(void* result, int /*columns*/, char** values, char** /*names*/) {
    *static_cast<int*>(result) = std::atoi(values[0]);
    return 0;
}

}  // namespace

ByHand::ByHand(const std::string& file) {
    check(sqlite3_open(file.c_str(), &mDb));
    execute("PRAGMA encoding; PRAGMA encoding = \"UTF-8\"; PRAGMA foreign_keys = ON; PRAGMA integrity_check;");
}

ByHand::~ByHand() { sqlite3_close(mDb); }

std::optional<PlainCard> ByHand::lookUpByKey(const std::string& key) { return lookUpByHash(hashOf(key)); }

std::optional<PlainCard> ByHand::lookUpByHash(const std::string& hash) {
    sqlite3_stmt* statement = prepare("SELECT DISTINCT rfid_card FROM rfid_tag WHERE hash = ?;");
    bind(statement, 1, hash);
    std::optional<int> id;
    while (nextRow(statement)) id = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    return id ? lookUpById(*id) : std::nullopt;
}

std::optional<PlainCard> ByHand::lookUpById(int id) { return trackAccess(readCard(id)); }

bool ByHand::tagIsKnown(const std::string& hash) {
    sqlite3_stmt* statement = prepare("SELECT hash FROM rfid_tag WHERE hash = ?;");
    bind(statement, 1, hash);
    bool isKnown = false;
    while (nextRow(statement)) isKnown = true;
    sqlite3_finalize(statement);
    return isKnown;
}

int ByHand::emplace(PlainCard card, int capacity) {
    card.lastAccessTime = now();
    card.lastModificationTime = card.lastAccessTime;
    for (PlainTag& tag : card.tags) tag.hash = hashOf(*tag.key);
    for (const PlainTag& tag : card.tags) {
        if (tagIsKnown(tag.hash)) throw std::runtime_error("known tag");
    }
    if (integer(" SELECT COUNT(id) FROM rfid_card ") == capacity) throw std::runtime_error("full list");

    execute(" BEGIN TRANSACTION; ");
    sqlite3_stmt* statement = prepare(
        "INSERT INTO rfid_card (description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
        "last_access_time, last_modification_time, record_lifetime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?);");
    bindFields(statement, 1, card);
    finish(statement);
    const int id = integer(" SELECT last_insert_rowid() FROM rfid_card ");
    insertTags(card.tags, id);
    execute(" COMMIT; ");
    return id;
}

std::vector<PlainCard> ByHand::select(const char* sql) { return readCards(prepare(sql)); }

std::optional<int> ByHand::version() {
    sqlite3_stmt* statement = prepare("SELECT version FROM metadata;");
    std::optional<int> result;
    while (nextRow(statement)) result = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    return result;
}

void ByHand::replaceAll(const std::vector<PlainCard>& cards) {
    sqlite3_stmt* statement = prepare("DELETE FROM rfid_card;");
    execute(" BEGIN TRANSACTION; ");
    finish(statement);
    execute(" COMMIT; ");
    for (const PlainCard& card : cards) {
        execute(" BEGIN TRANSACTION; ");
        insert(card);
        execute(" COMMIT; ");
    }
}

void ByHand::fill(const std::vector<PlainCard>& cards) {
    execute("BEGIN");
    for (const PlainCard& card : cards) insert(card);
    execute("COMMIT");
}

void ByHand::execute(const char* sql) { check(sqlite3_exec(mDb, sql, nullptr, nullptr, nullptr)); }

void ByHand::check(int result) {
    if (result != SQLITE_OK) throw std::runtime_error(std::string("by hand: ") + sqlite3_errmsg(mDb));
}

sqlite3_stmt* ByHand::prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(mDb, sql, -1, &statement, nullptr));
    return statement;
}

void ByHand::bind(sqlite3_stmt* statement, int index, const std::string& text) {
    check(sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
}

void ByHand::bind(sqlite3_stmt* statement, int index, const std::optional<std::string>& text) {
    if (text) {
        bind(statement, index, *text);
    } else {
        check(sqlite3_bind_null(statement, index));
    }
}

void ByHand::bind(sqlite3_stmt* statement, int index, std::optional<int> number) {
    check(number ? sqlite3_bind_int(statement, index, *number) : sqlite3_bind_null(statement, index));
}

void ByHand::bindFields(sqlite3_stmt* statement, int index, const PlainCard& card) {
    bind(statement, index, card.description);
    bind(statement, index + 1, card.status);
    bind(statement, index + 2, card.expiryDate);
    bind(statement, index + 3, card.parentId);
    bind(statement, index + 4, card.evseId);
    bind(statement, index + 5, card.extraData);
    bind(statement, index + 6, card.lastAccessTime);
    bind(statement, index + 7, card.lastModificationTime);
    bind(statement, index + 8, card.recordLifetime);
}

bool ByHand::nextRow(sqlite3_stmt* statement) {
    const int result = sqlite3_step(statement);
    if (result == SQLITE_ROW) return true;
    check(result == SQLITE_DONE ? SQLITE_OK : result);
    return false;
}

void ByHand::finish(sqlite3_stmt* statement) {
    if (nextRow(statement)) throw std::runtime_error("by hand: unexpected row");
    sqlite3_finalize(statement);
}

int ByHand::integer(const char* sql) {
    int value = 0;
    check(sqlite3_exec(mDb, sql, &readInteger, &value, nullptr));
    return value;
}

std::vector<PlainCard> ByHand::readCards(sqlite3_stmt* statement) {
    std::vector<PlainCard> cards;
    while (nextRow(statement)) cards.push_back(cardFromRow(statement));
    sqlite3_finalize(statement);
    for (PlainCard& card : cards) {
        sqlite3_stmt* tags = prepare(" SELECT * FROM rfid_tag WHERE rfid_card=? ");
        bind(tags, 1, card.id);
        while (nextRow(tags)) card.tags.push_back({text(tags, 2), textOrNone(tags, 3), textOrNone(tags, 4)});
        sqlite3_finalize(tags);
    }
    return cards;
}

std::optional<PlainCard> ByHand::readCard(int id) {
    sqlite3_stmt* statement = prepare(" SELECT * FROM rfid_card WHERE id=? ");
    bind(statement, 1, id);
    std::vector<PlainCard> cards = readCards(statement);
    return cards.empty() ? std::nullopt : std::optional(std::move(cards.front()));
}

std::optional<PlainCard> ByHand::trackAccess(std::optional<PlainCard> card) {
    if (!card) return std::nullopt;
    card->lastAccessTime = now();
    if (card->status == "Accepted" && card->expiryDate && *card->expiryDate <= card->lastAccessTime) {
        card->status = "Expired";
    }
    const auto stored = readCard(*card->id);
    if (!stored || stored->tags != card->tags) throw std::runtime_error("by hand: the list changed meanwhile");

    execute(" BEGIN TRANSACTION; ");
    sqlite3_stmt* statement = prepare(
        "UPDATE rfid_card SET description = ?, rfid_card_status = ?, expiry_date = ?, parent_id = ?, evse_id = ?, "
        "extra_data = ?, last_access_time = ?, last_modification_time = ?, record_lifetime = ? WHERE id = ?;");
    bindFields(statement, 1, *card);
    bind(statement, 10, card->id);
    finish(statement);
    execute(" COMMIT; ");
    return card;
}

void ByHand::insert(const PlainCard& card) {
    sqlite3_stmt* statement = prepare(
        "INSERT INTO rfid_card (id, description, rfid_card_status, expiry_date, parent_id, evse_id, extra_data, "
        "last_access_time, last_modification_time, record_lifetime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?);");
    bind(statement, 1, card.id);
    bindFields(statement, 2, card);
    finish(statement);
    insertTags(card.tags, *card.id);
}

void ByHand::insertTags(const std::vector<PlainTag>& tags, int cardId) {
    for (const PlainTag& tag : tags) {
        sqlite3_stmt* statement =
            prepare("INSERT INTO rfid_tag (rfid_card, hash, key, extra_data) VALUES (?, ?, ?, ?);");
        bind(statement, 1, cardId);
        bind(statement, 2, tag.hash);
        bind(statement, 3, tag.key);
        bind(statement, 4, tag.extraData);
        finish(statement);
    }
}

}  // namespace oru::kadi::authlist::benchmarks
