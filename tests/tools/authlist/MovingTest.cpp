// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "support/Database.h"
#include "support/FileState.h"
#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// import, export and copy.

namespace oru::kadi::authlist::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

const std::string csvText = "SEP=,\n1,Main door,04A2B3|04C4D5,Accepted,*,,\n2,Van,04E6F7,Blocked,3,FLEET,2030-12-31\n";

/// The sample cards in whole seconds, as JSON carries them, with this version.
std::string jsonText(std::optional<unsigned> version) { return serializeRfidsAsJson(sampleCards(), version); }

std::vector<std::string> keysOf(const ListContent& list) {
    std::vector<std::string> keys;
    for (const RfidCard& card : list.cards) {
        for (const RfidTag& tag : card.tags) keys.push_back(tag.key.value_or("-"));
    }
    return keys;
}

class Importing : public OverBothStores {
protected:
    std::string textFile(const std::string& name, const std::string& text) const {
        writeFile(mFolder.file(name), text);
        return mFolder.file(name);
    }

    ToolResult import(Arguments arguments, const ToolSetting& setting = {}) const {
        arguments.insert(arguments.begin(), {"-s", GetParam().option, "import"});
        return tool(arguments, setting);
    }

    /// Checks that the text is refused with status 5 and leaves the list, and nothing beside it.
    void expectRefused(const std::string& name, const std::string& text, const std::string& culprit) const {
        const std::string file = textFile(name, text);
        const std::string before = listBytes();
        const std::vector<std::string> names = namesIn(mFolder.path());
        expectRefusal(import({file}), 5, culprit);
        EXPECT_EQ(listBytes(), before);
        EXPECT_EQ(namesIn(mFolder.path()), names);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Importing, bothStores, byName);

TEST_P(Importing, ReplacesTheCardsByThoseOfACsvText) {
    store(sampleCards(), 42);
    EXPECT_EQ(import({textFile("site.csv", csvText)}).exitStatus, 0);
    const ListContent after = stored();
    EXPECT_EQ(after.version, 42U);
    EXPECT_THAT(keysOf(after), ElementsAre("04A2B3", "04C4D5", "04E6F7"));
    EXPECT_EQ(after.card(2).expiryDate, at(1924905600));
    EXPECT_EQ(after.card(2).evseId, 3U);
}

TEST_P(Importing, ReplacesTheCardsByThoseOfAJsonText) {
    store({numbered(9, cardWithKey("NINE"))}, 7);
    EXPECT_EQ(import({textFile("site.json", jsonText(42))}).exitStatus, 0);
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
    EXPECT_EQ(stored().version, 7U);
}

TEST_P(Importing, CreatesTheListWithoutAVersion) {
    EXPECT_EQ(import({textFile("site.json", jsonText(42))}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 6U);
    EXPECT_EQ(stored().version, std::nullopt);
}

TEST_P(Importing, TakesTheVersionOfAJsonTextWhenToldTo) {
    store(sampleCards(), 7);
    EXPECT_EQ(import({textFile("site.json", jsonText(42)), "--take-version"}).exitStatus, 0);
    EXPECT_EQ(stored().version, 42U);
}

TEST_P(Importing, ReadsTheExamples) {
    for (const char* name : {"site.json", "site.csv"}) {
        EXPECT_EQ(import({std::string(AUTHLIST_EXAMPLES "/") + name}).exitStatus, 0);
        EXPECT_GT(stored().cards.size(), 100U);
        EXPECT_EQ(tool({"check"}).exitStatus, 0);
    }
}

TEST_P(Importing, ReadsStandardInputInTheFormatThatIsGiven) {
    EXPECT_EQ(import({"-", "--format", "csv"}, typing(csvText)).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 2U);
    EXPECT_EQ(import({"-", "--format", "json"}, typing(jsonText(42))).exitStatus, 0);
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
}

TEST_P(Importing, PrefersTheFormatThatIsGivenToTheExtension) {
    EXPECT_EQ(import({textFile("site.json", csvText), "--format", "csv"}).exitStatus, 0);
    EXPECT_EQ(import({textFile("site.txt", jsonText(1)), "--format", "json"}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 6U);
}

TEST_P(Importing, OnlyReadsInADryRun) {
    store(sampleCards(), 42);
    const std::string before = listBytes();
    const std::string good = textFile("site.csv", csvText);
    const std::string bad = textFile("bad.csv", csvText + "3,Bad,04FF,Nobody,*,,\n");
    const std::vector<std::string> names = namesIn(mFolder.path());
    const ToolResult result = import({good, "--dry-run", "--keep-backup"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("2"));
    const ToolResult refused = import({bad, "--dry-run"});
    EXPECT_EQ(refused.exitStatus, 5);
    EXPECT_THAT(refused.out + refused.err, HasSubstr("4"));
    EXPECT_EQ(listBytes(), before);
    EXPECT_EQ(namesIn(mFolder.path()), names);
}

TEST_P(Importing, CreatesNoListInADryRun) {
    const std::string file = textFile("site.csv", csvText);
    EXPECT_EQ(import({file, "--dry-run"}).exitStatus, 0);
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("site.csv"));
}

TEST_P(Importing, KeepsTheOldListAsABackup) {
    store(sampleCards(), 42);
    const std::string before = listBytes();
    const std::string name = std::filesystem::path(mList).filename();
    EXPECT_EQ(import({textFile("site.csv", csvText), "--keep-backup"}).exitStatus, 0);
    std::vector<std::string> names = namesIn(mFolder.path());
    std::erase_if(names, [&name](const std::string& each) { return each == name || each == "site.csv"; });
    ASSERT_THAT(names, ElementsAre(StartsWith(name + ".backup-")));
    // A backup of a database holds the same content, in the same pages or others.
    if (mStore == fileStore) {
        EXPECT_EQ(contentOf(mFolder.file(names.front())), before);
    }
    const ListContent backup = readList(mStore, mFolder.file(names.front()));
    EXPECT_EQ(fieldsOf(backup.cards), fieldsOf(sampleCards()));
    EXPECT_EQ(backup.version, 42U);
    EXPECT_EQ(stored().cards.size(), 2U);
}

TEST_P(Importing, NeverWritesABackupOverAnother) {
    store(sampleCards(), 42);
    const std::string file = textFile("site.csv", csvText);
    for (int i = 0; i < 3; ++i) import({file, "--keep-backup"});
    const std::string name = std::filesystem::path(mList).filename();
    int withSamples = 0;
    for (const std::string& each : namesIn(mFolder.path())) {
        if (!each.starts_with(name + ".backup-")) continue;
        withSamples += readList(mStore, mFolder.file(each)).cards.size() == 6 ? 1 : 0;
    }
    EXPECT_EQ(withSamples, 1);
}

TEST_P(Importing, LeavesNothingBesideTheList) {
    store(sampleCards());
    const std::string file = textFile("site.csv", csvText);
    const std::vector<std::string> names = namesIn(mFolder.path());
    EXPECT_EQ(import({file}).exitStatus, 0);
    EXPECT_EQ(namesIn(mFolder.path()), names);
}

TEST_P(Importing, RefusesTextsThatCannotBeReadAndNamesTheLine) {
    store(sampleCards(), 42);
    expectRefused("status.csv", csvText + "3,Bad,04FF,Nobody,*,,\n", "the status is none of");
    expectRefused("line.csv", csvText + "3,Bad,04FF,Nobody,*,,\n", "4");
    expectRefused("columns.csv", csvText + "3,Bad,04FF\n", "4");
    expectRefused("id.csv", csvText + "three,Bad,04FF,Accepted,*,,\n", "4");
    expectRefused("evse.csv", csvText + "3,Bad,04FF,Accepted,,,\n", "4");
    expectRefused("broken.json", jsonText(1).substr(0, 500), "broken.json");
    expectRefused("array.json", "[]", "array.json");
    expectRefused("hash.json", R"({"localAuthorizationList":[{"id":8,"status":"Accepted","tags":[{"hash":"12"}]}]})",
                  "hash.json");
    expectRefused("status.json", R"({"localAuthorizationList":[{"id":8,"status":"Nobody","tags":[]}]})",
                  "the status is none of");
}

TEST_P(Importing, RefusesAKeyThatOccursTwice) {
    store(sampleCards(), 42);
    expectRefused("twice.csv", csvText + "3,Again,04E6F7,Accepted,*,,\n", "");
    expectRefused("within.csv", "SEP=,\n1,Again,04E6F7|04E6F7,Accepted,*,,\n", "");
}

TEST_P(Importing, RefusesAnIdThatOccursTwice) {
    store(sampleCards(), 42);
    expectRefused("twice.csv", csvText + "1,Again,04FFFF,Accepted,*,,\n", "1");
}

TEST_P(Importing, RefusesAnExpiryDateThatCannotBeRead) {
    store(sampleCards(), 42);
    expectRefused("expiry.csv", csvText + "3,Bad,04FFFF,Accepted,*,,31.12.2030\n", "31.12.2030");
}

TEST_P(Importing, DoesNotPrintKeysOfATextThatIsRefused) {
    const std::string file =
        textFile("twice.csv", csvText + "3,A,0499887766,Accepted,*,,\n4,B,0499887766,Blocked,*,,\n");
    const ToolResult result = import({file});
    EXPECT_EQ(result.exitStatus, 5);
    EXPECT_THAT(result.err, Not(HasSubstr("0499887766")));
}

TEST_P(Importing, KeepsAListWithTheSameCardsUsable) {
    store(sampleCards());
    EXPECT_EQ(import({textFile("site.json", jsonText(1))}).exitStatus, 0);
    EXPECT_EQ(tool({"-s", GetParam().option, "add", "NEW-KEY-1"}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 7U);
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
}

// export

class Exporting : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards(), 42); }
};

INSTANTIATE_TEST_SUITE_P(Stores, Exporting, bothStores, byName);

TEST_P(Exporting, WritesJsonToStandardOutput) {
    const std::string before = listBytes();
    for (const Arguments& arguments : {Arguments{"export"}, Arguments{"export", "-"}}) {
        const ToolResult result = tool(arguments);
        expectSuccess(result);
        EXPECT_EQ(fieldsOf(deserializeRfidsFromJson(result.out)), fieldsOf(sampleCards()));
        EXPECT_EQ(JsonText::text(JsonText(result.out).root(), "listVersion"), "42");
    }
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Exporting, WritesCsvToStandardOutput) {
    const ToolResult result = tool({"export", "--format", "csv"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("1,Main door,04A2B3C4D5,Accepted,*,,\n"));
    EXPECT_THAT(result.out, HasSubstr("VID:321994913B9B|04C4D5E6F7,Blocked,3,FLEET,2030-12-31T23:00:00Z"));
}

TEST_P(Exporting, WritesTheFormatOfTheExtension) {
    EXPECT_EQ(tool({"export", mFolder.file("out.csv")}).exitStatus, 0);
    EXPECT_EQ(tool({"export", mFolder.file("out.json")}).exitStatus, 0);
    EXPECT_EQ(tool({"export", mFolder.file("out.txt"), "--format", "csv"}).exitStatus, 0);
    EXPECT_EQ(deserializeRfidsFromCsv(contentOf(mFolder.file("out.csv"))).size(), 5U);
    EXPECT_EQ(contentOf(mFolder.file("out.txt")), contentOf(mFolder.file("out.csv")));
    EXPECT_EQ(fieldsOf(deserializeRfidsFromJson(contentOf(mFolder.file("out.json")))), fieldsOf(sampleCards()));
}

TEST_P(Exporting, ReplacesAFileAndLeavesNothingElse) {
    const std::string file = mFolder.file("out.json");
    writeFile(file, std::string(100000, 'x'));
    const std::vector<std::string> names = namesIn(mFolder.path());
    EXPECT_EQ(tool({"export", file}).exitStatus, 0);
    EXPECT_EQ(fieldsOf(deserializeRfidsFromJson(contentOf(file))), fieldsOf(sampleCards()));
    EXPECT_EQ(namesIn(mFolder.path()), names);
}

TEST_P(Exporting, RefusesToReplaceTheListItself) {
    const std::string before = listBytes();
    std::filesystem::create_symlink(mList, mFolder.file("link.json"));
    EXPECT_NE(tool({"export", mList, "--format", "json"}).exitStatus, 0);
    EXPECT_NE(tool({"export", mFolder.file("link.json")}).exitStatus, 0);
    EXPECT_NE(tool({"export", mFolder.file("./") + std::filesystem::path(mList).filename().string(), "--format", "csv"})
                  .exitStatus,
              0);
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Exporting, LeavesTheFileWhenTheFolderIsMissing) {
    expectRefusal(tool({"export", mFolder.file("missing/out.json")}), 4, "missing/out.json");
}

TEST_P(Exporting, IsImportedAsTheSameList) {
    const std::string file = mFolder.file("out.json");
    EXPECT_EQ(tool({"export", file}).exitStatus, 0);
    for (const Store& other : {sqliteStore, fileStore}) {
        const std::string copy = mFolder.file(std::string("copy.") + other.option);
        EXPECT_EQ(runTool({"-l", copy, "-s", other.option, "import", file, "--take-version"}).exitStatus, 0);
        EXPECT_EQ(fieldsOf(readList(other, copy).cards), fieldsOf(sampleCards()));
        EXPECT_EQ(readList(other, copy).version, 42U);
    }
}

TEST_P(Exporting, ExportsAnEmptyList) {
    EXPECT_EQ(tool({"clear", "-y"}).exitStatus, 0);
    const ToolResult result = tool({"export"});
    expectSuccess(result);
    EXPECT_THAT(deserializeRfidsFromJson(result.out), IsEmpty());
}

// copy

class Copying : public testing::TestWithParam<std::tuple<Store, Store>>, protected ListUnderTest {
protected:
    Copying() : ListUnderTest(std::get<0>(GetParam())) {}

    ToolResult copy() const { return tool({"copy", mTarget, "--to", mOther.option}); }

    Store mOther = std::get<1>(GetParam());
    std::string mTarget = mFolder.file("target");
};

const auto byBothNames = [](const auto& each) {
    return std::string(std::get<0>(each.param).name) + "To" + std::get<1>(each.param).name;
};

INSTANTIATE_TEST_SUITE_P(Stores, Copying, testing::Combine(bothStores, bothStores), byBothNames);

TEST_P(Copying, KeepsEveryFieldAndTheVersion) {
    store(sampleCards(), 42);
    const std::string before = listBytes();
    EXPECT_EQ(copy().exitStatus, 0);
    const ListContent target = readList(mOther, mTarget);
    EXPECT_EQ(fieldsOf(target.cards), fieldsOf(sampleCards()));
    EXPECT_EQ(target.version, 42U);
    EXPECT_EQ(listBytes(), before);
    EXPECT_THAT(namesIn(mFolder.path()), SizeIs(2));
}

TEST_P(Copying, KeepsAListWithoutVersionWithout) {
    store(sampleCards());
    EXPECT_EQ(copy().exitStatus, 0);
    EXPECT_EQ(readList(mOther, mTarget).version, std::nullopt);
}

TEST_P(Copying, CopiesAnEmptyList) {
    store({}, 3);
    EXPECT_EQ(copy().exitStatus, 0);
    EXPECT_THAT(readList(mOther, mTarget).cards, IsEmpty());
    EXPECT_EQ(readList(mOther, mTarget).version, 3U);
}

TEST_P(Copying, RefusesATargetThatExists) {
    store(sampleCards());
    for (const std::string content : {"something", ""}) {
        writeFile(mTarget, content);
        expectRefusal(copy(), 4, mTarget);
        EXPECT_EQ(contentOf(mTarget), content);
    }
    EXPECT_NE(tool({"copy", mList}).exitStatus, 0);
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
}

TEST_F(OverFileStore, IsCopiedToADatabaseUnlessToldOtherwise) {
    store(sampleCards());
    EXPECT_EQ(tool({"copy", mFolder.file("target")}).exitStatus, 0);
    EXPECT_EQ(fieldsOf(readList(sqliteStore, mFolder.file("target")).cards), fieldsOf(sampleCards()));
}

// What a blob file can count

std::string csvOf(unsigned cards) {
    std::string text = "SEP=,\n";
    for (unsigned id = 1; id <= cards; ++id) {
        text += std::to_string(id) + ",,K" + std::to_string(id) + ",Accepted,*,,\n";
    }
    return text;
}

TEST_F(OverFileStore, ImportsAtMost65535Cards) {
    const std::string text = mFolder.file("long.csv");
    writeFile(text, csvOf(65535));
    EXPECT_EQ(tool({"-s", "file", "import", text}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 65535U);
    const std::string before = listBytes();
    writeFile(text, csvOf(65536));
    expectRefusal(tool({"-s", "file", "import", text}), 5, "65,535");
    EXPECT_TRUE(listBytes() == before);
}

TEST_F(OverFileStore, TakesNoCardBeyondThe65535th) {
    std::vector<RfidCard> cards;
    for (unsigned id = 1; id <= 65534; ++id) cards.push_back(numbered(id, cardWithKey("K" + std::to_string(id))));
    store(cards);
    EXPECT_EQ(tool({"add", "THE-LAST-KEY"}).exitStatus, 0);
    const std::string before = listBytes();
    expectRefusal(tool({"add", "ONE-MORE-KEY"}), 5, "65,535");
    EXPECT_TRUE(listBytes() == before);
}

TEST_F(OverFileStore, TakesNoCopyOfALongerDatabase) {
    const std::string database = mFolder.file("long.db");
    writeSqliteList(database, {});
    Database(database).execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 65536) INSERT INTO rfid_card "
        "SELECT i, '', 'Accepted', NULL, NULL, NULL, NULL, '2026-01-01T00:00:00Z', '2026-01-01T00:00:00Z', NULL FROM n;"
        "INSERT INTO rfid_tag SELECT id, id, printf('%064x', id), NULL, NULL FROM rfid_card");
    expectRefusal(runTool({"-l", database, "copy", mList, "--to", "file"}), 5, "65,535");
    EXPECT_FALSE(std::filesystem::exists(mList));
}

}  // namespace
}  // namespace oru::kadi::authlist::test
