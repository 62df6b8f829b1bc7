// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "authlist/JsonExchange.h"
#include "support/Database.h"
#include "support/FileState.h"
#include "tools/authlist/ToolLists.h"

// Names, links, owners and modes of files, and empty files.

namespace oru::kadi::authlist::test {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

/// A name of a file that a database library, given the bare name, takes for something else.
struct SpecialName : NamedCase {
    const char* file;
};

const SpecialName specialNames[] = {
    {{"Memory"}, ":memory:"},
    {{"Address"}, "file:list.db"},
    {{"AddressWithQuery"}, "file:list.db?mode=memory"},
    {{"AddressOfMemory"}, "file::memory:"},
};

class SpecialNames : public testing::TestWithParam<std::tuple<Store, SpecialName>>, protected ListUnderTest {
protected:
    SpecialNames() : ListUnderTest(std::get<0>(GetParam())) {
        mList = mFolder.file(mName);
        mInFolder.folder = mFolder.path();
    }

    /// The tool in the folder of the list, by its bare name.
    ToolResult byBareName(Arguments arguments) const {
        arguments.insert(arguments.begin(), {"-s", mStore.option, "-l", mName});
        return runTool(arguments, mInFolder);
    }

    std::string mName = std::get<1>(GetParam()).file;
    ToolSetting mInFolder;
};

const auto byStoreAndName = [](const auto& each) {
    return std::string(std::get<0>(each.param).name) + std::get<1>(each.param).name;
};

INSTANTIATE_TEST_SUITE_P(Stores, SpecialNames, testing::Combine(bothStores, testing::ValuesIn(specialNames)),
                         byStoreAndName);

TEST_P(SpecialNames, AreFilesOfTheseNames) {
    expectSuccess(byBareName({"add", "04A2B3C4"}));
    expectSuccess(byBareName({"version", "5"}));
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre(mName));
    EXPECT_THAT(stored().cards, SizeIs(1));
    EXPECT_EQ(stored().version, 5U);
    expectSuccess(byBareName({"authorize", "04A2B3C4"}));
    expectSuccess(byBareName({"check"}));
    expectSuccess(byBareName({"update", "--filter", "id>0", "-y", "--evse", "3"}));
    EXPECT_EQ(storedCard(1).evseId, 3U);
    expectSuccess(byBareName({"remove", "04A2B3C4"}));
    EXPECT_THAT(stored().cards, SizeIs(0));
}

TEST_P(SpecialNames, AreImportedWithABackupBesideThem) {
    store(sampleCards());
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    EXPECT_EQ(byBareName({"import", "good.csv", "--keep-backup"}).exitStatus, 0);
    EXPECT_THAT(stored().cards, SizeIs(1));
    std::vector<std::string> names = namesIn(mFolder.path());
    std::erase(names, "good.csv");
    ASSERT_THAT(names, UnorderedElementsAre(mName, StartsWith(mName + ".backup-")));
    std::erase(names, mName);
    EXPECT_EQ(fieldsOf(readList(mStore, mFolder.file(names.front())).cards), fieldsOf(sampleCards()));
}

TEST_P(SpecialNames, AreCopiedTo) {
    const std::string source = mFolder.file("source");
    writeSqliteList(source, sampleCards());
    expectSuccess(runTool({"-l", "source", "copy", mName, "--to", mStore.option}, mInFolder));
    EXPECT_THAT(namesIn(mFolder.path()), UnorderedElementsAre("source", mName));
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
}

TEST_P(SpecialNames, LeaveOtherFilesAlone) {
    Database(mFolder.file("list.db")).execute("CREATE TABLE songs(title TEXT)");
    const FileState before = stateOf(mFolder.file("list.db"));
    expectSuccess(byBareName({"add", "04A2B3C4"}));
    EXPECT_EQ(stateOf(mFolder.file("list.db")), before);
    EXPECT_THAT(stored().cards, SizeIs(1));
}

class Links : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards()); }
    bool isExport(const std::string& file) const {
        return fieldsOf(deserializeRfidsFromJson(contentOf(file))) == fieldsOf(sampleCards());
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Links, bothStores, byName);

TEST_P(Links, AreFollowedByAnExportToTheFileBehind) {
    writeFile(mFolder.file("real.json"), "old");
    fs::create_symlink("real.json", mFolder.file("link.json"));
    EXPECT_EQ(tool({"export", mFolder.file("link.json")}).exitStatus, 0);
    EXPECT_TRUE(fs::is_symlink(mFolder.file("link.json")));
    EXPECT_FALSE(fs::is_symlink(mFolder.file("real.json")));
    EXPECT_TRUE(isExport(mFolder.file("real.json")));
}

TEST_P(Links, AreFollowedByAnExportToAFileThatIsMissing) {
    fs::create_directory(mFolder.file("folder"));
    fs::create_symlink("folder/new.json", mFolder.file("second.json"));
    fs::create_symlink("second.json", mFolder.file("first.json"));
    EXPECT_EQ(tool({"export", mFolder.file("first.json")}).exitStatus, 0);
    EXPECT_TRUE(fs::is_symlink(mFolder.file("first.json")));
    EXPECT_TRUE(fs::is_symlink(mFolder.file("second.json")));
    ASSERT_TRUE(fs::is_regular_file(mFolder.file("folder/new.json")));
    EXPECT_TRUE(isExport(mFolder.file("folder/new.json")));
    EXPECT_THAT(namesIn(mFolder.file("folder")), SizeIs(1));
}

TEST_P(Links, ThatLeadInACircleAreRefused) {
    fs::create_symlink("b.json", mFolder.file("a.json"));
    fs::create_symlink("a.json", mFolder.file("b.json"));
    expectRefusal(tool({"export", mFolder.file("a.json")}), 4, "json");
    EXPECT_TRUE(fs::is_symlink(mFolder.file("a.json")));
    EXPECT_TRUE(fs::is_symlink(mFolder.file("b.json")));
    EXPECT_THAT(namesIn(mFolder.path()), SizeIs(3));
}

TEST_P(Links, ToAListAreTheList) {
    const std::string link = mFolder.file("link");
    fs::create_symlink(mList, link);
    expectSuccess(runTool({"-l", link, "update", "--id", "1", "--evse", "4"}));
    EXPECT_EQ(storedCard(1).evseId, 4U);
    EXPECT_EQ(readList(mStore, link).card(1).evseId, 4U);
}

class Modes : public OverBothStores {
protected:
    void SetUp() override {
        store(sampleCards());
        ASSERT_EQ(chmod(mList.c_str(), 0600), 0);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Modes, bothStores, byName);

TEST_P(Modes, OfNewFilesWithKeysAllowNoMoreThanThatOfTheList) {
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    EXPECT_EQ(tool({"export", mFolder.file("out.json")}).exitStatus, 0);
    EXPECT_EQ(tool({"export", mFolder.file("out.csv")}).exitStatus, 0);
    EXPECT_EQ(tool({"copy", mFolder.file("copy.db")}).exitStatus, 0);
    EXPECT_EQ(tool({"copy", mFolder.file("copy.blob"), "--to", "file"}).exitStatus, 0);
    EXPECT_EQ(tool({"import", mFolder.file("good.csv"), "--keep-backup"}).exitStatus, 0);
    std::vector<std::string> names = namesIn(mFolder.path());
    std::erase(names, "good.csv");
    EXPECT_THAT(names, SizeIs(6));  // the list, its backup, two exports and two copies
    for (const std::string& name : names) EXPECT_EQ(modeOf(mFolder.file(name)), 0600U) << name;
}

TEST_P(Modes, OfFilesThatAreReplacedStay) {
    const std::string file = mFolder.file("out.json");
    for (const unsigned mode : {0600U, 0640U, 0664U}) {
        writeFile(file, "old");
        ASSERT_EQ(chmod(file.c_str(), mode), 0);
        EXPECT_EQ(tool({"export", file}).exitStatus, 0);
        EXPECT_EQ(modeOf(file), mode);
    }
}

TEST_P(Modes, OfAListStayWhenItIsChanged) {
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    for (const unsigned mode : {0600U, 0640U, 0664U}) {
        ASSERT_EQ(chmod(mList.c_str(), mode), 0);
        for (const Arguments& command :
             {Arguments{"add", "NEW-KEY"}, Arguments{"update", "NEW-KEY", "--evse", "2"},
              Arguments{"authorize", "NEW-KEY"}, Arguments{"remove", "NEW-KEY"}, Arguments{"version", "7"},
              Arguments{"import", mFolder.file("good.csv")}, Arguments{"clear", "-y"}}) {
            EXPECT_EQ(tool(command).exitStatus, 0) << testing::PrintToString(command);
            EXPECT_EQ(modeOf(mList), mode) << testing::PrintToString(command);
        }
    }
}

constexpr uid_t otherUser = 1234;
constexpr gid_t otherGroup = 2345;

/// While it lives, what is run belongs to another user than root.
class AsOtherUser {
public:
    AsOtherUser() {
        if (seteuid(otherUser) != 0) throw std::runtime_error("seteuid failed");
    }
    AsOtherUser(const AsOtherUser&) = delete;
    AsOtherUser& operator=(const AsOtherUser&) = delete;
    ~AsOtherUser() {
        if (seteuid(0) != 0) std::abort();
    }
};

/// Files that belong to somebody else, which only root can make. Their modes let everybody in: root of these runs is
/// bound by them.
class Owners : public OverBothStores {
protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "Only root can give files away";
        store(sampleCards());
        if (chown(mList.c_str(), otherUser, otherGroup) != 0) GTEST_SKIP() << "No files of other users here";
    }

    static void expectOther(const std::string& file) {
        EXPECT_EQ(statOf(file).st_uid, otherUser) << file;
        EXPECT_EQ(statOf(file).st_gid, otherGroup) << file;
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Owners, bothStores, byName);

TEST_P(Owners, KeepAListThatRootChanges) {
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    ASSERT_EQ(chmod(mList.c_str(), 0666), 0);
    for (const Arguments& command :
         {Arguments{"add", "NEW-KEY"}, Arguments{"update", "NEW-KEY", "--evse", "2"}, Arguments{"authorize", "NEW-KEY"},
          Arguments{"update", "--filter", "id>1", "-y", "--evse", "2"}, Arguments{"remove", "NEW-KEY"},
          Arguments{"version", "7"}, Arguments{"import", mFolder.file("good.csv")}, Arguments{"clear", "-y"}}) {
        EXPECT_EQ(tool(command).exitStatus, 0) << testing::PrintToString(command);
        expectOther(mList);
    }
}

TEST_P(Owners, KeepAnExportThatRootReplaces) {
    const std::string file = mFolder.file("out.json");
    writeFile(file, "old");
    ASSERT_EQ(chown(file.c_str(), otherUser, otherGroup), 0);
    ASSERT_EQ(chmod(file.c_str(), 0604), 0);
    EXPECT_EQ(tool({"export", file}).exitStatus, 0);
    expectOther(file);
    EXPECT_EQ(modeOf(file), 0604U);
    EXPECT_EQ(fieldsOf(deserializeRfidsFromJson(contentOf(file))), fieldsOf(sampleCards()));
}

TEST_P(Owners, AreNotLockedOutOfAListByAnotherUserOfTheFolder) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "Fails in the sanitizer's leak check, which cannot look into another user's process";
#endif
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    ASSERT_EQ(chown(mList.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(mList.c_str(), 0644), 0);
    ASSERT_EQ(chown(mFolder.path().c_str(), otherUser, otherGroup), 0);
    const FileState before = stateOf(mList);
    const std::vector<std::string> names = namesIn(mFolder.path());
    {
        const AsOtherUser user;
        if (runTool({"--version"}).exitStatus != 0) GTEST_SKIP() << "The tool is out of another user's reach";
        expectSuccess(tool({"count"}));
        for (const Arguments& command :
             {Arguments{"add", "NEW-KEY"}, Arguments{"update", "--id", "1", "--evse", "2"},
              Arguments{"authorize", "04A2B3C4D5"}, Arguments{"remove", "--id", "1"}, Arguments{"version", "7"},
              Arguments{"import", mFolder.file("good.csv")}, Arguments{"clear", "-y"}}) {
            SCOPED_TRACE(testing::PrintToString(command));
            expectRefusal(tool(command), 4, mList);
        }
    }
    EXPECT_EQ(stateOf(mList), before);
    EXPECT_EQ(statOf(mList).st_uid, 0U);
    EXPECT_EQ(namesIn(mFolder.path()), names);
}

class EmptyFile : public OverBothStores {
protected:
    void SetUp() override { writeFile(mList, ""); }
};

INSTANTIATE_TEST_SUITE_P(Stores, EmptyFile, bothStores, byName);

TEST_P(EmptyFile, IsNoListUnlessToldWhichKind) {
    writeFile(mFolder.file("good.csv"), "9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    for (const Arguments& command :
         {Arguments{"list"}, Arguments{"count"}, Arguments{"find", "a"}, Arguments{"stats"}, Arguments{"check"},
          Arguments{"show", "--id", "1"}, Arguments{"export"}, Arguments{"version"}, Arguments{"tune"},
          Arguments{"copy", mFolder.file("target")}, Arguments{"authorize", "04A2B3C4"}, Arguments{"add", "04A2B3C4"},
          Arguments{"import", mFolder.file("good.csv")}, Arguments{"clear", "-y"}}) {
        SCOPED_TRACE(testing::PrintToString(command));
        const ToolResult result = tool(command);
        expectRefusal(result, 4, mList);
        EXPECT_THAT(result.err, HasSubstr("--store"));
        EXPECT_EQ(fs::file_size(mList), 0U);
    }
    EXPECT_THAT(namesIn(mFolder.path()), SizeIs(2));
}

TEST_P(EmptyFile, IsAnEmptyListOfTheKindThatIsTold) {
    const ToolResult count = tool({"-s", GetParam().option, "count"});
    expectSuccess(count);
    EXPECT_EQ(count.out, "0\n");
    expectSuccess(tool({"-s", GetParam().option, "add", "04A2B3C4"}));
    EXPECT_THAT(stored().cards, SizeIs(1));
}

TEST_P(EmptyFile, IsToldAndLeftAloneByACheck) {
    const ToolResult result = tool({"-s", GetParam().option, "check"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("empty"));
    EXPECT_EQ(fs::file_size(mList), 0U);
}

}  // namespace
}  // namespace oru::kadi::authlist::test
