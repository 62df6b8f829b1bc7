// SPDX-License-Identifier: Apache-2.0
// Leaves one and the same list in every stored and exchanged format, and checks such files: with this program built for
// two machines, each reads and changes what the other wrote. See scripts/exchange-lists.
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "authlist/CsvExchange.h"
#include "authlist/IDbAccessor.h"
#include "authlist/JsonExchange.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/FileStore.h"
#include "support/Files.h"
#include "support/SampleList.h"

namespace oru::kadi::authlist::test {
namespace {

using Accessors = std::vector<std::unique_ptr<IDbAccessor>>;

constexpr unsigned changedVersion = 8;

// A list is written to its file when its accessor goes.
Accessors listsIn(const std::filesystem::path& folder) {
    Accessors lists;
    lists.push_back(std::make_unique<db::sqlite::SqliteDbAccessor>(folder / "list.db"));
    lists.push_back(std::make_unique<db::filestorage::FileDbAccessor>(folder / "list.blob", whenDestroyed));
    return lists;
}

void expect(bool condition, const std::string& what) {
    if (!condition) throw std::runtime_error("not as expected: " + what);
}

void write(const std::filesystem::path& folder) {
    expect(std::filesystem::is_empty(folder), folder.string() + ", which should be empty");
    for (const auto& list : listsIn(folder)) storeSampleList(*list);
    writeFile(folder / "list.csv", serializeRfidsAsCsv(sampleCards()));
    writeFile(folder / "list.json", serializeRfidsAsJson(sampleCards(), sampleVersion));
}

std::vector<RfidCard> changedCards() {
    std::vector<RfidCard> cards = sampleCards();
    cards.erase(cards.begin() + 3);
    cards[0].tags.pop_back();
    cards[0].description += " (changed)";
    cards[1].expiryDate = at(4102444800);
    RfidCard added = cardWithKey("added");
    added.id = 2147483001;
    cards.push_back(added);
    return cards;
}

void change(const std::filesystem::path& folder) {
    for (const auto& list : listsIn(folder)) {
        list->deleteRecord("expired", KeyRepresentation::Key);
        for (const RfidCard& card : changedCards()) list->updateRecord(card);
        list->updateVersion(changedVersion);
    }
}

void checkLists(const std::filesystem::path& folder, const std::vector<RfidCard>& cards, unsigned version) {
    expect(std::filesystem::exists(folder / "list.db") && std::filesystem::exists(folder / "list.blob"), "both files");
    for (const auto& list : listsIn(folder)) {
        expect(fieldsOf(list->readAllRecords()) == fieldsOf(cards), "the cards");
        expect(list->readVersion() == version, "the version");
        for (const RfidCard& card : cards) {
            const auto found = list->readRecord(card.tags.at(0).hash, KeyRepresentation::Hash);
            expect(found && fieldsOf(*found) == fieldsOf(card), "the card " + card.description + " by its hash");
        }
    }
}

void checkWritten(const std::filesystem::path& folder) {
    checkLists(folder, sampleCards(), sampleVersion);
    const std::string json = contentOf(folder / "list.json");
    expect(contentOf(folder / "list.csv") == serializeRfidsAsCsv(sampleCards()), "the CSV file");
    expect(json == serializeRfidsAsJson(sampleCards(), sampleVersion), "the JSON file");
    expect(serializeRfidsAsJson(deserializeRfidsFromJson(json), sampleVersion) == json, "the cards of the JSON file");
}

void run(const std::string& command, const std::filesystem::path& folder) {
    if (command == "write") return write(folder);
    if (command == "change") return change(folder);
    if (command == "check-written") return checkWritten(folder);
    if (command == "check-changed") return checkLists(folder, changedCards(), changedVersion);
    throw std::runtime_error("no such command: " + command);
}

}  // namespace
}  // namespace oru::kadi::authlist::test

int main(int argc, char** argv) try {
    if (argc != 3) {
        throw std::runtime_error("usage: list-exchange write|change|check-written|check-changed <folder>");
    }
    oru::kadi::authlist::test::run(argv[1], argv[2]);
    return 0;
} catch (const std::exception& error) {
    std::cerr << "list-exchange: " << error.what() << '\n';
    return 1;
}
