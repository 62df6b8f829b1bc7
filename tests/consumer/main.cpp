// SPDX-License-Identifier: Apache-2.0
// A program of somebody else: adds a card and finds it again over both stores, with nothing but the public headers and
// the three libraries. Keeps its lists in the folder that it is given.
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/KeyHash.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "oru/common/Split.h"
#include "oru/crypto/Sha256.h"

namespace {

using namespace oru::kadi::authlist;

const std::string key = "04A2B3";

void require(bool holds, const char* what) {
    if (!holds) throw std::logic_error(what);
}

/// A store of the program's own, made from one of the library's.
class CountingStore : public db::filestorage::FileDbAccessor {
public:
    CountingStore(const std::string& path, unsigned& created)
        : FileDbAccessor(path, std::chrono::milliseconds(0)), mCreated(created) {}

    unsigned createRecord(const RfidCard& card) const override {
        ++mCreated;
        return FileDbAccessor::createRecord(card);
    }

private:
    unsigned& mCreated;
};

bool refusesKnownCard(AuthListManager& list, RfidCard card) {
    try {
        list.emplace(card, false, false);
    } catch (const std::runtime_error& refusal) {
        return refusal.what() == std::string("Identifier already in database");
    }
    return false;
}

/// An exception class that the library and the program each have a copy of.
bool refusesUpdateWithoutId(const IDbAccessor& store) {
    try {
        store.updateRecord(RfidCard{});
    } catch (const std::bad_optional_access&) {
        return true;
    }
    return false;
}

void addAndFind(std::unique_ptr<IDbAccessor> store) {
    require(refusesUpdateWithoutId(*store), "a card without id must not be updated");
    AuthListManager list(std::move(store), AuthListConfiguration{100, "", nullptr});
    RfidCard card;
    card.description = "Main door";
    card.tags.push_back({"", key, std::nullopt});
    const unsigned id = list.emplace(card, false, false);
    const auto found = list.getByKey(key);
    require(found && found->id == id && found->description == "Main door", "the card must be found");
    require(refusesKnownCard(list, card), "a known card must be refused");
}

void useBothStores(const std::string& folder) {
    auto inSqlite = std::make_unique<db::sqlite::SqliteDbAccessor>(folder + "/list.db");
    const IDbAccessor* store = inSqlite.get();
    require(dynamic_cast<const db::sqlite::SqliteDbAccessor*>(store) != nullptr, "the store must know its type");
    addAndFind(std::move(inSqlite));

    unsigned created = 0;
    addAndFind(std::make_unique<CountingStore>(folder + "/list.blob", created));
    require(created == 1, "the program's own store must be called");
}

void useCompanions() {
    const auto* bytes = reinterpret_cast<const unsigned char*>(key.data());
    require(oru::crypto::calculateSha256(bytes, static_cast<unsigned>(key.size())) == hashKey(key),
            "hashes must agree");
    require(oru::common::split<std::string>("a,b", ",", std::nullopt) == std::vector<std::string>{"a", "b"},
            "a text must be split");
}

}  // namespace

int main(int argc, char** argv) try {
    require(argc == 2, "usage: consumer <empty folder>");
    useBothStores(argv[1]);
    useCompanions();
    std::cout << "added and found a card in both stores\n";
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
