// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// Words of the command line that might be taken for something else than what they say.

namespace oru::kadi::authlist::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

std::vector<std::string> keysOf(const RfidCard& card) {
    std::vector<std::string> keys;
    for (const RfidTag& tag : card.tags) keys.push_back(tag.key.value_or("-"));
    return keys;
}

class Words : public OverBothStores {
protected:
    ToolResult add(Arguments arguments) const {
        arguments.insert(arguments.begin(), {"--store", GetParam().option, "add"});
        return tool(arguments);
    }

    void expectUntouched(const Arguments& arguments, int exitStatus) const {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const std::string before = listBytes();
        expectRefusal(tool(arguments), exitStatus, "");
        EXPECT_EQ(listBytes(), before);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Words, bothStores, byName);

TEST_P(Words, BehindAnOptionWithAnEmptyValueAreNotItsValue) {
    for (const char* option : {"--description=", "--parent=", "--extra-data="}) {
        expectSuccess(add({"04A2B3C4", "--id", "1", option, "--status", "Blocked"}));
        const RfidCard card = storedCard(1);
        EXPECT_THAT(keysOf(card), ElementsAre("04A2B3C4")) << option;
        EXPECT_EQ(card.status, RfidCardStatus::Blocked) << option;
        EXPECT_EQ(card.description, "");
        EXPECT_EQ(card.parentId, std::nullopt);
        EXPECT_EQ(card.extraData, std::nullopt);
        expectSuccess(tool({"remove", "--id", "1"}));
    }
}

TEST_P(Words, MayBeAnEmptyOneAsAValue) {
    expectSuccess(add({"04A2B3C4", "--id", "1", "--parent", "", "--description", "", "--status", "Blocked"}));
    EXPECT_THAT(keysOf(storedCard(1)), ElementsAre("04A2B3C4"));
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Blocked);
    EXPECT_EQ(storedCard(1).parentId, std::nullopt);
}

TEST_P(Words, TakeAFieldAwayWhenTheValueIsEmpty) {
    store(sampleCards());
    expectSuccess(tool({"update", "VID:321994913B9B", "--parent=", "--evse", "7"}));
    EXPECT_EQ(storedCard(2).parentId, std::nullopt);
    EXPECT_EQ(storedCard(2).evseId, 7U);
    expectSuccess(tool({"update", "--id", "2", "--extra-data=", "--description=", "--evse=8"}));
    EXPECT_EQ(storedCard(2).extraData, std::nullopt);
    EXPECT_EQ(storedCard(2).description, "");
    EXPECT_EQ(storedCard(2).evseId, 8U);
}

TEST_P(Words, AreNotTakenForTheHashOrFilterThatIsMissing) {
    store(sampleCards());
    expectUntouched({"remove", "--hash=", "--id", "1"}, 2);
    expectUntouched({"remove", "--id=", "04A2B3C4D5"}, 2);
    expectUntouched({"remove", "--filter=", "--yes"}, 2);
    expectUntouched({"update", "--id", "1", "--status=", "--evse", "4"}, 2);
    expectUntouched({"update", "--id", "1", "--add-key=", "--evse", "4"}, 2);
    expectUntouched({"add", "NEW-KEY-1", "--hash=", "--hash-only"}, 2);
}

TEST_P(Words, InBracketsAreOneKey) {
    for (const char* key : {"[A,B]", "[A]", "[]", "[[A]]", "[A", "A]", "{A,B}", "\"A\"", "'A'", "%%"}) {
        expectSuccess(add({key, "--id", "1"}));
        EXPECT_THAT(keysOf(storedCard(1)), ElementsAre(key));
        expectSuccess(tool({"authorize", key}));
        expectSuccess(tool({"show", key}));
        expectSuccess(tool({"remove", key}));
        EXPECT_THAT(stored().cards, SizeIs(0));
    }
}

TEST_P(Words, InBracketsStandBesideOthers) {
    expectSuccess(add({"[A,B]", "C", "[D]", "--id", "1"}));
    EXPECT_THAT(keysOf(storedCard(1)), ElementsAre("[A,B]", "C", "[D]"));
    expectSuccess(tool({"update", "--id", "1", "--add-key", "[E,F]", "--add-key=[G]", "--remove-key", "[D]"}));
    EXPECT_THAT(keysOf(storedCard(1)), ElementsAre("[A,B]", "C", "[E,F]", "[G]"));
}

TEST_P(Words, InBracketsAreNotOtherCards) {
    store({numbered(1, cardWithKey("X1")), numbered(2, cardWithKey("X2"))});
    for (const char* key : {"[X1,X2]", "[X1]", "[X2,]", "[,X1]"}) {
        expectUntouched({"remove", key}, 3);
        expectUntouched({"show", key}, 3);
        expectUntouched({"update", key, "--status", "Blocked"}, 3);
        EXPECT_EQ(tool({"authorize", key}).exitStatus, 3);
    }
    expectUntouched({"remove", "--id", "[1,2]"}, 2);
    expectUntouched({"remove", "--hash", "[" + hashKey("X1") + "]"}, 2);
    expectUntouched({"remove", "--filter", "[id=1,id=2]", "--yes"}, 2);
}

TEST_P(Words, InBracketsAreTextsAndTextToFind) {
    store(sampleCards());
    for (const Arguments& fields :
         {Arguments{"--description", "[a,b]", "--parent", "[c]"}, Arguments{"--description=[a,b]", "--parent=[c]"}}) {
        Arguments arguments{"update", "--id", "1"};
        arguments.insert(arguments.end(), fields.begin(), fields.end());
        expectSuccess(tool(arguments));
        EXPECT_EQ(storedCard(1).description, "[a,b]");
        EXPECT_EQ(storedCard(1).parentId, "[c]");
        EXPECT_THAT(idsIn(tool({"-o", "csv", "find", "[a,b]"}).out), ElementsAre(1U));
        EXPECT_THAT(idsIn(tool({"-o", "csv", "find", "[Visitor]"}).out), SizeIs(0));
    }
}

TEST_P(Words, OfControlCharactersAreKept) {
    for (const std::string key : {"\1A", "\1[A]", "\1\1", "\x7F"}) {
        expectSuccess(add({key, "--id", "1", "--description", key}));
        EXPECT_THAT(keysOf(storedCard(1)), ElementsAre(key));
        EXPECT_EQ(storedCard(1).description, key);
        expectSuccess(tool({"remove", key}));
    }
}

TEST_P(Words, BehindTwoDashesAreKeysWhateverTheyLookLike) {
    expectSuccess(add({"--id", "1", "--", "--description=", "--status", "-5", "[A]"}));
    EXPECT_THAT(keysOf(storedCard(1)), ElementsAre("--description=", "--status", "-5", "[A]"));
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Accepted);
}

TEST_P(Words, InBracketsAreNamesOfFiles) {
    ToolSetting inFolder;
    inFolder.folder = mFolder.path();
    writeList(mStore, mFolder.file("[a,b]"), sampleCards());
    writeList(mStore, mFolder.file("[c]"), {});
    writeList(mStore, mFolder.file("a"), {});
    expectSuccess(runTool({"--list", "[a,b]", "show", "--id", "1"}, inFolder));
    EXPECT_EQ(runTool({"diff", "[a,b]", "[c]"}, inFolder).exitStatus, 1);
    EXPECT_EQ(runTool({"diff", "[c]", "a"}, inFolder).exitStatus, 0);
    expectSuccess(runTool({"-l", "[a,b]", "copy", "[d]"}, inFolder));
    EXPECT_THAT(readList(sqliteStore, mFolder.file("[d]")).cards, SizeIs(6));
    EXPECT_EQ(runTool({"-l", "[a,b]", "export", "[e].json"}, inFolder).exitStatus, 0);
    EXPECT_EQ(runTool({"-l", "[c]", "import", "[e].json"}, inFolder).exitStatus, 0);
    EXPECT_THAT(readList(mStore, mFolder.file("[c]")).cards, SizeIs(6));
}

TEST(HashedWords, InBracketsAreOneKey) {
    const ToolResult result = runTool({"hash", "[A]", "[A,B]", "[]", "C"});
    expectSuccess(result);
    EXPECT_THAT(linesOf(result.out), ElementsAre(hashKey("[A]"), hashKey("[A,B]"), hashKey("[]"), hashKey("C")));
}

}  // namespace
}  // namespace oru::kadi::authlist::test
