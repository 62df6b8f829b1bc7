// SPDX-License-Identifier: Apache-2.0
// What people do with a list, from the first command to the last, and what the tool says on the way.
#include <gmock/gmock.h>

#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class Job : public OverBothStores {};
INSTANTIATE_TEST_SUITE_P(Stores, Job, bothStores, byName);

}  // namespace

TEST_P(Job, FindsOutWhyACardIsRefusedWithoutAnAccess) {
    store(sampleCards());
    const std::string before = listBytes();
    EXPECT_THAT(tool({"show", "0401020305"}).out, HasSubstr("Refused: the card expired on 2020-01-01T00:00:00Z"));
    EXPECT_THAT(tool({"show", "--id", "2"}).out, HasSubstr("Refused: the card is blocked"));
    EXPECT_THAT(tool({"show", "--id", "1"}).out, HasSubstr("Accepted: the card may charge"));
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Job, IsToldThatAKeyIsThereInOtherLetterCase) {
    store(sampleCards());
    const ToolResult result = tool({"authorize", "04a2b3c4d5"});
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.out, HasSubstr("one has it in other letter case"));
}

TEST_P(Job, IsToldThatAnIdWasGivenForAKey) {
    store(sampleCards());
    expectRefusal(tool({"show", "3"}), 3, "for the card with this id give --id");
}

TEST_P(Job, BlocksALostCardAndHearsWhoseItWas) {
    store(sampleCards());
    const ToolResult result = tool({"update", "04A2B3C4D5", "--status", "Blocked"});
    EXPECT_EQ(result.out, "Updated card 1 (Main door).\n");
    EXPECT_EQ(storedCard(1).status, RfidCardStatus::Blocked);
    EXPECT_EQ(storedCard(1).lastAccessTime, sampleCards()[0].lastAccessTime);
}

TEST_P(Job, ReplacesALostKey) {
    store(sampleCards());
    expectSuccess(tool({"update", "--id", "1", "--add-key", "04D5E6F7A8", "--remove-key", "04A2B3C4D5"}));
    EXPECT_EQ(tool({"authorize", "04D5E6F7A8"}).exitStatus, 0);
    EXPECT_EQ(tool({"authorize", "04A2B3C4D5"}).exitStatus, 3);
}

TEST_P(Job, SeesTheDateThatASpanCameTo) {
    store(sampleCards());
    const ToolResult result = tool({"update", "--id", "2", "--expiry", "2027-06-01"});
    EXPECT_EQ(
        result.out,
        "Updated card 2 (Van 7, \"blue\"), with the expiry date 2027-06-01T00:00:00Z (earlier than before for 1).\n");
}

TEST_P(Job, IsNotGivenAMinuteForAMonth) {
    store(sampleCards());
    expectRefusal(tool({"update", "--id", "2", "--expiry", "+1m"}), 2, "+1m");
}

TEST_P(Job, AddsAVisitorAndRemovesThoseOfThePast) {
    store(sampleCards());
    const ToolResult added = tool({"add", "04FFEE0199", "--description", "visitor Smith", "--expiry", "+1d"});
    EXPECT_EQ(added.out, "Added card 7 with the key 04****99.\n");
    expectSuccess(tool({"remove", "--filter", "description~visitor", "--filter", "expiry<now", "--yes"}));
    EXPECT_THAT(stored().cards, SizeIs(6));  // without card 5, whose description is "Visitor"
    EXPECT_EQ(storedCard(7).description, "visitor Smith");
}

TEST_P(Job, FindsCardsByDescriptionAndParent) {
    store(sampleCards());
    const auto ids = [this](const std::string& filter) {
        std::vector<std::string> found;
        for (const CsvRow& row : csvRows(tool({"list", "-o", "csv", "--filter", filter}).out)) found.push_back(row[0]);
        return found;
    };
    EXPECT_THAT(ids("description=Visitor"), ElementsAre("id", "5"));
    EXPECT_THAT(ids("description~TICKET"), ElementsAre("id", "6"));
    EXPECT_THAT(ids("parent=FLEET"), ElementsAre("id", "2"));
    EXPECT_THAT(ids("parent!=FLEET"), SizeIs(6));
    expectRefusal(tool({"list", "--filter", "parent<FLEET"}), 2, "parent<FLEET");
}

TEST_P(Job, ExportsToCsvAndHearsHowManyCardsAreMissing) {
    store(sampleCards());
    const std::string file = mFolder.file("list.csv");
    const ToolResult result = tool({"export", file});
    EXPECT_EQ(result.out, "Exported 5 cards to " + file + ".\n");
    EXPECT_THAT(result.err, AllOf(HasSubstr("1 tag without plain key"), HasSubstr("and so 1 card")));
    EXPECT_EQ(tool({"export", file}).out, "Exported 5 cards to " + file + ", replacing what was there.\n");
}

TEST_P(Job, KeepsQuotesOnTheWayThroughCsv) {
    auto cards = sampleCards();
    cards.erase(cards.begin() + 3);  // known by its hash only
    store(cards);
    const std::string csv = mFolder.file("list.csv");
    const std::string json = mFolder.file("list.json");
    expectSuccess(tool({"export", csv}));
    expectSuccess(tool({"export", json}));
    EXPECT_EQ(runTool({"diff", json, csv}).out, "No differences.\n");
    expectSuccess(tool({"import", csv}));
    EXPECT_EQ(storedCard(2).description, "Van 7, \"blue\"");
}

TEST_P(Job, IsToldWhatKindOfListWasMade) {
    store(sampleCards());
    const std::string copy = mFolder.file("copy.blob");
    EXPECT_EQ(tool({"copy", copy}).out, "Copied 6 cards to " + copy + ", a SQLite database.\n");
    EXPECT_EQ(tool({"copy", copy + "2", "--to", "file"}).out,
              "Copied 6 cards to " + copy + "2, a file of the file store.\n");
    expectRefusal(tool({"import", copy}), 5, "copy.blob");
}

TEST_P(Job, IsToldThatAMisspeltListIsANewOne) {
    const std::string misspelt = mFolder.file("lsit");
    EXPECT_EQ(runTool({"-l", misspelt, "-s", mStore.option, "add", "04A2B3C4D5"}).out,
              "Added card 1 with the key 04****D5 to the new list " + misspelt + ".\n");
}

TEST_P(Job, IsToldThatANameIsNoKey) {
    store(sampleCards());
    EXPECT_THAT(tool({"add", "Visitor Meier"}).err, HasSubstr("a name goes into --description"));
}

TEST_P(Job, RestoresATruncatedList) {
    store(sampleCards());
    const std::string json = mFolder.file("list.json");
    expectSuccess(tool({"export", json}));
    writeFile(mList, listBytes().substr(0, listBytes().size() / 3));
    const ToolResult check = tool({"check"});
    EXPECT_EQ(check.exitStatus, 1);
    EXPECT_THAT(check.out, HasSubstr("To restore a list, move its file away"));
    std::filesystem::rename(mList, mList + ".damaged");
    expectSuccess(tool({"-s", mStore.option, "import", json}));
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
    EXPECT_THAT(stored().cards, SizeIs(6));
}

}  // namespace oru::kadi::authlist::test
