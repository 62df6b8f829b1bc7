// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/Database.h"
#include "support/FileState.h"
#include "tools/authlist/ToolLists.h"

// Files that are missing, unreadable, in use, or not what they are taken for.

namespace oru::kadi::authlist::test {
namespace {

namespace fs = std::filesystem;

const std::vector<Arguments> lookingCommands = {{"list"},  {"find", "a"}, {"count"},  {"show", "--id", "1"},
                                                {"stats"}, {"tune"},      {"export"}, {"version"}};

const std::vector<Arguments> changingCommands = {{"authorize", "04A2B3C4D5"},
                                                 {"update", "--id", "1", "--status", "Blocked"},
                                                 {"remove", "--id", "1"},
                                                 {"clear", "-y"}};

const std::vector<Arguments> creatingCommands = {{"add", "NEW-KEY-1"}, {"version", "5"}};

/// A failed opening of a database leaks its connection, as docs/sharp-edges.md tells; that is no news.
ToolSetting withoutLeakCheck() { return with("ASAN_OPTIONS", "detect_leaks=0"); }

/// Authorizes as the controller does whose write is lost, but says so.
void expectVerdictOnly(const ToolResult& result) {
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, testing::HasSubstr("Accepted"));
    EXPECT_THAT(result.err, testing::StartsWith("authlist: "));
}

class BadFile : public OverBothStores {
protected:
    void SetUp() override { writeFile(mCsv, "SEP=,\n9,Nine,KEY-OF-NINE,Accepted,*,,\n"); }

    std::vector<Arguments> allCommands() const {
        std::vector<Arguments> all{{"import", mCsv}, {"copy", mFolder.file("target")}, {"diff", mCsv}};
        for (const auto& commands : {lookingCommands, changingCommands, creatingCommands}) {
            all.insert(all.end(), commands.begin(), commands.end());
        }
        return all;
    }

    /// Checks that every command refuses the list with status 4 and leaves it, and the folder, as they are; check may
    /// also take it for a damaged one.
    void expectNoCommandTouches(const std::vector<Arguments>& commands) const {
        const std::vector<std::string> names = namesIn(mFolder.path());
        const bool isFile = fs::is_regular_file(mList);
        const std::string before = isFile ? listBytes() : "";
        for (const Arguments& command : commands) {
            SCOPED_TRACE(testing::PrintToString(command));
            expectRefusal(tool(command, withoutLeakCheck()), 4, mList);
            EXPECT_EQ(namesIn(mFolder.path()), names);
            EXPECT_TRUE(!isFile || listBytes() == before);
        }
        EXPECT_THAT(tool({"check"}).exitStatus, testing::AnyOf(1, 4));
        EXPECT_EQ(namesIn(mFolder.path()), names);
        EXPECT_TRUE(!isFile || listBytes() == before);
    }

    std::string mCsv = mFolder.file("good.csv");
};

INSTANTIATE_TEST_SUITE_P(Stores, BadFile, bothStores, byName);

TEST_P(BadFile, MissingListIsNotCreatedByOtherCommands) {
    std::vector<Arguments> commands = lookingCommands;
    commands.insert(commands.end(), changingCommands.begin(), changingCommands.end());
    commands.push_back({"copy", mFolder.file("target")});
    commands.push_back({"diff", mCsv});
    commands.push_back({"check"});
    expectNoCommandTouches(commands);
    EXPECT_FALSE(fs::exists(mList));
}

TEST_P(BadFile, ListInAMissingFolder) {
    mList = mFolder.file("missing/list");
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListIsAFolder) {
    fs::create_directory(mList);
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListIsATextFile) {
    writeFile(mList, "Dear list,\nhere are the cards.\n");
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListIsAnExport) {
    for (const char* name : {"site.csv", "site.json"}) {
        writeFile(mList, contentOf(std::string(AUTHLIST_EXAMPLES "/") + name));
        expectNoCommandTouches(allCommands());
    }
}

TEST_P(BadFile, ListIsAForeignBinaryFile) {
    std::string bytes =
        "\x7f"
        "ELF";
    for (unsigned i = 0; i < 5000; ++i) bytes += static_cast<char>(static_cast<unsigned char>(i * i * 31 >> 3));
    writeFile(mList, bytes);
    expectNoCommandTouches(allCommands());
    writeFile(mList, std::string(4096, '\0'));
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListIsAForeignDatabase) {
    Database(mList).execute("CREATE TABLE songs(title TEXT); INSERT INTO songs VALUES('La mer')");
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListIsADatabaseWithATableOfTheSameName) {
    Database(mList).execute("CREATE TABLE rfid_card(colour TEXT); INSERT INTO rfid_card VALUES('blue')");
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListIsTruncatedInItsHeader) {
    store(sampleCards());
    writeFile(mList, listBytes().substr(0, 40));
    expectNoCommandTouches(allCommands());
}

TEST_P(BadFile, ListCannotBeRead) {
    store(sampleCards());
    fs::permissions(mList, fs::perms::none);
    const std::vector<std::string> names = namesIn(mFolder.path());
    for (const Arguments& command : allCommands()) {
        SCOPED_TRACE(testing::PrintToString(command));
        expectRefusal(tool(command), 4, mList);
    }
    fs::permissions(mList, fs::perms::owner_all);
    EXPECT_EQ(namesIn(mFolder.path()), names);
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
}

TEST_P(BadFile, ListInAReadOnlyFolderCanOnlyBeLookedAt) {
    store(sampleCards());
    const std::string before = listBytes();
    fs::permissions(mFolder.path(), fs::perms::owner_read | fs::perms::owner_exec);
    expectSuccess(tool({"list"}));
    expectSuccess(tool({"show", "--id", "1"}));
    expectRefusal(tool({"import", mCsv}), 4, mList);
    expectRefusal(tool({"import", mCsv, "--keep-backup"}), 4, mList);
    expectRefusal(tool({"add", "NEW-KEY-1"}), 4, mList);
    expectRefusal(tool({"remove", "--id", "1"}), 4, mList);
    expectRefusal(tool({"clear", "--yes"}), 4, mList);
    // The controller's lookup fails over a database that it cannot write; the file store writes later.
    if (mStore == sqliteStore) {
        expectRefusal(tool({"authorize", "04A2B3C4D5"}), 4, mList);
    } else {
        expectVerdictOnly(tool({"authorize", "04A2B3C4D5"}));
    }
    expectRefusal(tool({"export", mFolder.file("out.json")}), 4, "out.json");
    expectRefusal(tool({"copy", mFolder.file("target")}), 4, "target");
    fs::permissions(mFolder.path(), fs::perms::owner_all);
    EXPECT_EQ(listBytes(), before);
    EXPECT_EQ(namesIn(mFolder.path()).size(), 2U);
}

TEST_P(BadFile, ListIsOfTheOtherKind) {
    store(sampleCards());
    const std::string before = listBytes();
    const std::string other = mStore == sqliteStore ? "file" : "sqlite";
    for (const Arguments& command : allCommands()) {
        Arguments arguments{"--store", other};
        arguments.insert(arguments.end(), command.begin(), command.end());
        SCOPED_TRACE(testing::PrintToString(arguments));
        expectRefusal(tool(arguments), 4, mList);
        EXPECT_EQ(listBytes(), before);
    }
}

TEST_P(BadFile, TextToImportCannotBeRead) {
    store(sampleCards());
    const std::string before = listBytes();
    fs::create_directory(mFolder.file("folder.csv"));
    writeFile(mFolder.file("secret.csv"), "SEP=,\n");
    fs::permissions(mFolder.file("secret.csv"), fs::perms::none);
    for (const char* name : {"missing.csv", "folder.csv", "secret.csv", "missing/good.csv"}) {
        expectRefusal(tool({"import", mFolder.file(name)}), 4, mFolder.file(name));
        expectRefusal(tool({"import", "--dry-run", mFolder.file(name)}), 4, mFolder.file(name));
    }
    EXPECT_EQ(listBytes(), before);
}

TEST_P(BadFile, TextToImportHoldsNoList) {
    store(sampleCards());
    const std::string before = listBytes();
    writeFile(mFolder.file("empty.csv"), "");
    writeFile(mFolder.file("empty.json"), "");
    writeFile(mFolder.file("binary.csv"), before);
    writeFile(mFolder.file("binary.json"), before);
    writeFile(mFolder.file("prose.csv"), "Dear list,\nhere are the cards.\n");
    for (const char* name : {"empty.csv", "empty.json", "binary.csv", "binary.json", "prose.csv"}) {
        expectRefusal(tool({"import", mFolder.file(name)}), 5, name);
        EXPECT_EQ(listBytes(), before) << name;
    }
}

TEST_P(BadFile, NoListIsCreatedFromATextThatIsRefused) {
    writeFile(mFolder.file("bad.csv"), "1,Door,04A2B3\n");
    EXPECT_EQ(tool({"-s", GetParam().option, "import", mFolder.file("bad.csv")}).exitStatus, 5);
    EXPECT_EQ(tool({"-s", GetParam().option, "import", mFolder.file("missing.csv")}).exitStatus, 4);
    EXPECT_EQ(tool({"-s", GetParam().option, "add", "NEW-KEY-1", "--expiry", "x"}).exitStatus, 2);
    EXPECT_FALSE(fs::exists(mList));
}

TEST_P(BadFile, PlacesToWriteThatAreFolders) {
    store(sampleCards());
    fs::create_directory(mFolder.file("folder.json"));
    expectRefusal(tool({"export", mFolder.file("folder.json")}), 4, "folder.json");
    expectRefusal(tool({"copy", mFolder.file("folder.json")}), 4, "folder.json");
    expectRefusal(tool({"copy", mFolder.file("missing/target")}), 4, "missing/target");
    EXPECT_TRUE(fs::is_empty(mFolder.file("folder.json")));
}

TEST_P(BadFile, OutputThatCannotBeWritten) {
    store(sampleCards());
    expectRefusal(tool({"export", "/dev/full", "--format", "json"}), 4, "/dev/full");
}

class LockedList : public OverSqlite {
protected:
    void SetUp() override { store(sampleCards()); }
};

TEST_F(LockedList, IsNeitherReadNorChangedDuringACommit) {
    const std::string before = listBytes();
    const Database other(mList);
    other.execute("BEGIN EXCLUSIVE");
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    for (const Arguments& command : {Arguments{"list"}, Arguments{"show", "--id", "1"}, Arguments{"add", "NEW-KEY-1"},
                                     Arguments{"authorize", "04A2B3C4D5"}, Arguments{"remove", "--id", "1"},
                                     Arguments{"import", mFolder.file("good.csv")}}) {
        expectRefusal(tool(command, withoutLeakCheck()), 4, mList);
    }
    other.execute("ROLLBACK");
    EXPECT_EQ(listBytes(), before);
}

TEST_F(LockedList, IsReadButNotChangedWhileAnotherWrites) {
    const std::string before = listBytes();
    const Database other(mList);
    other.execute("BEGIN IMMEDIATE");
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    expectSuccess(tool({"list"}));
    for (const Arguments& command :
         {Arguments{"add", "NEW-KEY-1"}, Arguments{"authorize", "04A2B3C4D5"}, Arguments{"remove", "--id", "1"},
          Arguments{"update", "--id", "1", "--evse", "3"}, Arguments{"clear", "-y"}, Arguments{"version", "9"},
          Arguments{"import", mFolder.file("good.csv")}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        expectRefusal(tool(command), 4, mList);
    }
    other.execute("ROLLBACK");
    EXPECT_EQ(listBytes(), before);
}

TEST_F(LockedList, LosesNoChangeWhileAnotherReads) {
    const std::string before = listBytes();
    const Database other(mList);
    other.execute("BEGIN");
    other.rows("SELECT * FROM rfid_card");
    for (const Arguments& command :
         {Arguments{"add", "NEW-KEY-1"}, Arguments{"remove", "--id", "1"},
          Arguments{"update", "--id", "1", "--evse", "3"}, Arguments{"clear", "-y"}, Arguments{"version", "9"}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        expectRefusal(tool(command), 4, mList);
    }
    expectVerdictOnly(tool({"authorize", "04A2B3C4D5"}));
    other.execute("ROLLBACK");
    EXPECT_EQ(listBytes(), before);
}

}  // namespace
}  // namespace oru::kadi::authlist::test
