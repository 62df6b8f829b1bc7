// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sqlite3.h>

#include <optional>
#include <string>
#include <vector>

#include "support/PlainCard.h"

namespace oru::kadi::authlist::benchmarks {

/// The yardstick: what the library does to a list, written straight onto SQLite as a C program would, with the same
/// statements in the same transactions, each prepared, bound, stepped and finalized anew, and with nothing above them.
///
/// Knows only what the sample cards need: they have no lifetime, and no access changes their tags.
/// Throws std::runtime_error on every failure; what was open then stays open.
class ByHand {
public:
    explicit ByHand(const std::string& file);
    ByHand(const ByHand&) = delete;
    ByHand& operator=(const ByHand&) = delete;
    ~ByHand();

    // Lookups, with access tracking.
    std::optional<PlainCard> lookUpByKey(const std::string& key);
    std::optional<PlainCard> lookUpByHash(const std::string& hash);
    std::optional<PlainCard> lookUpById(int id);

    bool tagIsKnown(const std::string& hash);

    /// Stores a card that has no id; returns its id. Refuses a known tag and a full list.
    int emplace(PlainCard card, int capacity);

    /// The cards that a SELECT of whole card rows gives.
    std::vector<PlainCard> select(const char* sql);

    std::optional<int> version();

    /// Removes every card, then stores these, each in a transaction of its own.
    void replaceAll(const std::vector<PlainCard>& cards);

    // To prepare a list; no part of any comparison.

    /// Stores the cards in one transaction.
    void fill(const std::vector<PlainCard>& cards);
    void execute(const char* sql);
    sqlite3* connection() const { return mDb; }

private:
    void check(int result);
    sqlite3_stmt* prepare(const char* sql);
    void bind(sqlite3_stmt* statement, int index, const std::string& text);
    void bind(sqlite3_stmt* statement, int index, const std::optional<std::string>& text);
    void bind(sqlite3_stmt* statement, int index, std::optional<int> number);
    void bindFields(sqlite3_stmt* statement, int index, const PlainCard& card);
    bool nextRow(sqlite3_stmt* statement);
    void finish(sqlite3_stmt* statement);
    int integer(const char* sql);

    std::vector<PlainCard> readCards(sqlite3_stmt* statement);
    std::optional<PlainCard> readCard(int id);
    std::optional<PlainCard> trackAccess(std::optional<PlainCard> card);
    void insert(const PlainCard& card);
    void insertTags(const std::vector<PlainTag>& tags, int cardId);

    sqlite3* mDb = nullptr;
};

}  // namespace oru::kadi::authlist::benchmarks
