// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "authlist/KeyHash.h"
#include "authlist/RfidCard.h"
#include "authlist/db/filestorage/FileDbAccessor.h"
#include "authlist/db/filestorage/RecordsBlob.h"
#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/Files.h"
#include "support/ListFile.h"
#include "support/NamedCase.h"
#include "support/TemporaryFolder.h"
#include "tools/authlist/ToolRun.h"

namespace oru::kadi::authlist::test {

/// A kind of list: what --store calls it.
struct Store : NamedCase {
    const char* option;
};

inline const Store sqliteStore{{"Sqlite"}, "sqlite"};
inline const Store fileStore{{"File"}, "file"};

inline bool operator==(const Store& a, const Store& b) { return std::string(a.option) == b.option; }

inline void writeSqliteList(const std::string& path, const std::vector<RfidCard>& cards,
                            std::optional<unsigned> version = {}) {
    const db::sqlite::SqliteDbAccessor accessor(path);
    for (const RfidCard& card : cards) accessor.createRecord(card);
    if (version) accessor.updateVersion(*version);
}

inline void writeBlobList(const std::string& path, const std::vector<RfidCard>& cards,
                          std::optional<unsigned> version = {}) {
    db::filestorage::RecordsBlob blob;
    blob.getRecords().assign(cards.begin(), cards.end());
    if (version) blob.setVersion(*version);
    std::ofstream stream(path, std::ios::binary);
    blob.serialize(stream);
    if (!stream.flush()) throw std::runtime_error("Cannot write " + path);
}

inline void writeList(const Store& store, const std::string& path, const std::vector<RfidCard>& cards,
                      std::optional<unsigned> version = {}) {
    if (store == sqliteStore) {
        writeSqliteList(path, cards, version);
    } else {
        writeBlobList(path, cards, version);
    }
}

/// What a list holds, the cards by ascending id.
struct ListContent {
    std::vector<RfidCard> cards;
    std::optional<unsigned> version;

    const RfidCard& card(unsigned id) const {
        for (const RfidCard& each : cards) {
            if (each.id == id) return each;
        }
        throw std::runtime_error("No card " + std::to_string(id));
    }
};

inline ListContent readList(const Store& store, const std::string& path) {
    ListContent content;
    if (store == sqliteStore) {
        if (contentOf(path).empty()) throw std::runtime_error("No list " + path);
        const db::sqlite::SqliteDbAccessor accessor(path);
        content = {accessor.readAllRecords(), accessor.readVersion()};
    } else {
        const StoredList stored = storedIn(path);
        content = {{stored.cards.begin(), stored.cards.end()}, stored.version};
    }
    std::stable_sort(content.cards.begin(), content.cards.end(),
                     [](const RfidCard& a, const RfidCard& b) { return a.id < b.id; });
    return content;
}

inline TimePoint now() { return std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now()); }

inline RfidCard numbered(unsigned id, RfidCard card) {
    card.id = id;
    return card;
}

/// Six cards that have little in common: 1 plain, 2 with every field set and two tags, 3 for staff, 4 known by its hash
/// only, 5 accepted but past its expiry date, 6 expired.
inline std::vector<RfidCard> sampleCards() {
    std::vector<RfidCard> cards;
    cards.push_back(numbered(1, cardWithKey("04A2B3C4D5")));
    cards.back().description = "Main door";

    cards.push_back(numbered(2, cardWithKey("VID:321994913B9B", RfidCardStatus::Blocked)));
    cards.back().description = "Van 7, \"blue\"";
    cards.back().tags.push_back(tagWithKey("04C4D5E6F7"));
    cards.back().tags.back().extraData = R"({"kind":"key fob"})";
    cards.back().expiryDate = at(1924988400);  // 2030-12-31T23:00:00Z
    cards.back().parentId = "FLEET";
    cards.back().evseId = 3;
    cards.back().extraData = R"({"floor":2})";
    cards.back().lastAccessTime = at(1777882500);        // 2026-05-04T08:15:00Z
    cards.back().lastModificationTime = at(1777636800);  // 2026-05-01T12:00:00Z
    cards.back().recordLifetime = 4000000000;

    cards.push_back(numbered(3, cardWithKey("04FFEE0102", RfidCardStatus::Operator)));
    cards.back().description = "Tür Süd";

    cards.push_back(numbered(4, cardWithKey("SECRET-OF-FOUR")));
    cards.back().description = "Hash only";
    cards.back().tags.front().key.reset();

    cards.push_back(numbered(5, cardWithKey("0401020305")));
    cards.back().description = "Visitor";
    cards.back().expiryDate = at(1577836800);  // 2020-01-01

    cards.push_back(numbered(6, cardWithKey("0466778899", RfidCardStatus::Expired)));
    cards.back().description = "Season ticket";
    cards.back().expiryDate = at(1719792000);  // 2024-07-01
    return cards;
}

/// A run that reads this text.
inline ToolSetting typing(const std::string& text) {
    ToolSetting setting;
    setting.input = text;
    return setting;
}

/// A run with this environment variable.
inline ToolSetting with(const std::string& variable, const std::string& value) {
    ToolSetting setting;
    setting.variables[variable] = value;
    return setting;
}

/// A list of one store in a folder of its own, and the tool that works on it.
class ListUnderTest {
protected:
    explicit ListUnderTest(const Store& store) : mStore(store) {}

    void store(const std::vector<RfidCard>& cards, std::optional<unsigned> version = {}) const {
        writeList(mStore, mList, cards, version);
    }
    ListContent stored() const { return readList(mStore, mList); }
    RfidCard storedCard(unsigned id) const { return stored().card(id); }
    std::string listBytes() const { return contentOf(mList); }

    Arguments onList(const Arguments& arguments) const {
        Arguments all{"--list", mList};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }
    ToolResult tool(const Arguments& arguments, const ToolSetting& setting = {}) const {
        return runTool(onList(arguments), setting);
    }
    ToolResult onTerminal(const Arguments& arguments, const ToolSetting& setting = {}) const {
        return runToolOnTerminal(onList(arguments), setting);
    }

    Store mStore;
    TemporaryFolder mFolder;
    std::string mList = mFolder.file(std::string("list.") + mStore.option);
};

/// The base of a suite that runs over both stores.
class OverBothStores : public testing::TestWithParam<Store>, protected ListUnderTest {
protected:
    OverBothStores() : ListUnderTest(GetParam()) {}
};

class OverSqlite : public testing::Test, protected ListUnderTest {
protected:
    OverSqlite() : ListUnderTest(sqliteStore) {}
};

class OverFileStore : public testing::Test, protected ListUnderTest {
protected:
    OverFileStore() : ListUnderTest(fileStore) {}
};

inline const auto bothStores = testing::Values(sqliteStore, fileStore);

inline void expectSuccess(const ToolResult& result) {
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_EQ(result.err, "");
}

/// Nothing on standard output, and exactly one line on standard error, which names the culprit.
inline void expectRefusal(const ToolResult& result, int exitStatus, const std::string& culprit) {
    EXPECT_EQ(result.exitStatus, exitStatus);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, testing::StartsWith("authlist: "));
    EXPECT_THAT(result.err, testing::EndsWith("\n"));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_THAT(result.err, testing::HasSubstr(culprit));
}

}  // namespace oru::kadi::authlist::test
