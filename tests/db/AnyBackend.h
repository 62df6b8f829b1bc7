// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "authlist/IDbAccessor.h"
#include "authlist/KeyHash.h"
#include "authlist/RfidCard.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/Cards.h"
#include "support/NamedCase.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::db::test {

using namespace authlist::test;

/// A storage backend under test.
struct Backend : NamedCase {
    std::unique_ptr<IDbAccessor> (*open)(const std::string& file);
    const char* usedIdRefusal;  ///< what createRecord throws for an id that is in use
};

/// Every backend that there is.
inline const auto allBackends = testing::Values(
    Backend{{"Sqlite"},
            [](const std::string& file) -> std::unique_ptr<IDbAccessor> {
                return std::make_unique<sqlite::SqliteDbAccessor>(file);
            },
            "std::runtime_error: Cannot create new record in DB: 19SQL constraint violation"},
    Backend{{"File"},
            [](const std::string& file) -> std::unique_ptr<IDbAccessor> {
                return std::make_unique<filestorage::FileDbAccessor>(file, std::chrono::milliseconds(5));
            },
            "std::runtime_error: Cannot create new record in DB: constraint violation"});

/// One of them over a new file.
class BackendFixture : public testing::Test {
protected:
    explicit BackendFixture(const Backend& backend) : mBackend(backend), mAccessor(backend.open(mFile)) {}

    /// The card as the list holds it after it was stored and must come back.
    RfidCard stored(RfidCard card) const {
        card.id = mAccessor->createRecord(card);
        return card;
    }

    TemporaryFolder mFolder;
    std::string mFile = mFolder.file("list");
    Backend mBackend;
    std::unique_ptr<IDbAccessor> mAccessor;
};

class AnyBackend : public BackendFixture, public testing::WithParamInterface<Backend> {
protected:
    AnyBackend() : BackendFixture(GetParam()) {}
};

inline RfidCard withId(unsigned id, RfidCard card) {
    card.id = id;
    return card;
}

/// A card in which every field holds something; its keys are 04A2B3 and, kept as its hash only, 04C4D5.
inline RfidCard fullCard() {
    RfidCard card;
    card.description = "Caretaker";
    card.tags = {RfidTag{hashKey("04A2B3"), "04A2B3", R"({"colour":"red"})"},
                 RfidTag{hashKey("04C4D5"), std::nullopt, std::nullopt}};
    card.status = RfidCardStatus::ConcurrentTx;
    card.expiryDate = at(1893456000);
    card.parentId = "Staff";
    card.evseId = 2;
    card.extraData = R"({"shift":"night"})";
    card.lastAccessTime = at(1767225601);
    card.lastModificationTime = at(1767225602);
    card.recordLifetime = 86400;
    return card;
}

inline std::vector<unsigned> idsOf(const std::vector<RfidCard>& cards) {
    std::vector<unsigned> ids;
    for (const RfidCard& card : cards) ids.push_back(card.id.value());
    return ids;
}

/// The arguments of a range query, all of them absent at first.
struct Range {
    std::optional<unsigned> limit{};
    std::optional<unsigned> offset{};
    std::optional<SortingAndFilteringKey> filterKey{};
    std::optional<FilteringOperator> filterOperator{};
    std::optional<CardValue> filterValue{};
    std::optional<SortingAndFilteringKey> sortKey{};
    std::optional<SortingOrder> sortOrder{};
};

inline std::vector<RfidCard> readRange(const IDbAccessor& accessor, const Range& range) {
    return accessor.readRecordRange(range.limit, range.offset, range.filterKey, range.filterOperator, range.filterValue,
                                    range.sortKey, range.sortOrder);
}

}  // namespace oru::kadi::authlist::db::test
