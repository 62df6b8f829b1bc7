// SPDX-License-Identifier: Apache-2.0
#include "support/List.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/PlainCard.h"
#include "support/SampleCards.h"
#include "support/StatementLog.h"

namespace oru::kadi::authlist::benchmarks {
namespace {

std::string serialized(unsigned size, ExchangeDataType type) {
    const auto cards = sampleCards(size);
    return type == ExchangeDataType::CSV ? serializeRfidsAsCsv(cards) : serializeRfidsAsJson(cards, std::nullopt);
}

// The library creates the tables, on this connection.
std::unique_ptr<IDbAccessor> openLibrary(const std::string& file, sqlite3*& connection) {
    const ConnectionWatch watch;
    auto accessor = std::make_unique<db::sqlite::SqliteDbAccessor>(file);
    connection = watch.connection();
    return accessor;
}

}  // namespace

List::List(const std::string& file, unsigned size)
    : mSize(size),
      mManager([&] {
          auto accessor = openLibrary(file, mLibraryConnection);
          mAccessor = accessor.get();
          return std::make_unique<AuthListManager>(std::move(accessor), AuthListConfiguration{capacity, {}, {}});
      }()),
      mByHand(file),
      mUpkeep(file) {
    const auto cards = sampleCards(size);
    for (const RfidCard& card : cards) {
        mKeys.push_back(card.tags.front().key.value());
        mHashes.push_back(card.tags.front().hash);
    }
    mUpkeep.fill(plain(cards));
}

unsigned List::nextCard() {
    mCurrent = static_cast<unsigned>(1 + ++mStep * 7919ULL % mSize);
    return mCurrent;
}

unsigned List::middleCard() {
    mCurrent = mSize / 2;
    return mCurrent;
}

const std::string& List::exchangeText(ExchangeDataType type) {
    std::string& text = mTexts[type];
    if (text.empty()) text = serialized(mSize, type);
    return text;
}

void List::restore() {
    const std::string script = "DELETE FROM rfid_card WHERE id > " + std::to_string(mSize) +
                               ";"
                               "UPDATE rfid_card SET last_access_time = '" +
                               sampleAccessTime + "' WHERE last_access_time <> '" + sampleAccessTime + "';";
    mUpkeep.execute(("BEGIN;" + script + "COMMIT;").c_str());
    mStep = 0;
}

void Lists::addMedium(const std::string& medium, const std::string& folder) {
    std::string pattern = folder + "/authlist-benchmark-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("Cannot create a folder in " + folder);
    mFolders[medium] = pattern;
}

Lists::~Lists() {
    mLists.clear();
    std::error_code ignored;
    for (const auto& [medium, folder] : mFolders) std::filesystem::remove_all(folder, ignored);
}

List& Lists::get(const std::string& medium, unsigned size, const std::string& purpose) {
    const std::string file = mFolders.at(medium) + "/" + purpose + "-" + std::to_string(size) + ".db";
    return mLists.try_emplace(file, file, size).first->second;
}

}  // namespace oru::kadi::authlist::benchmarks
