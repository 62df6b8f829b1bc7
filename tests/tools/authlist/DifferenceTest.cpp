// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "tools/authlist/ToolLists.h"

// diff.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Comparing : public OverBothStores {
protected:
    void SetUp() override {
        store(sampleCards(), 42);
        writeFile(mJson, serializeRfidsAsJson(sampleCards(), 42));
    }

    std::string other(const std::vector<RfidCard>& cards) const {
        const std::string path = mFolder.file("other");
        std::filesystem::remove(path);
        writeList(mStore, path, cards);
        return path;
    }

    void expectSame(const std::string& a, const std::string& b) const {
        const ToolResult result = runTool({"diff", a, b});
        EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    }

    std::string mJson = mFolder.file("site.json");
};

INSTANTIATE_TEST_SUITE_P(Stores, Comparing, bothStores, byName);

TEST_P(Comparing, FindsNoDifferenceBetweenEqualLists) {
    const std::string before = listBytes();
    expectSame(mList, mList);
    expectSame(mList, mJson);
    expectSame(mJson, mList);
    expectSame(other(sampleCards()), mList);
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Comparing, ComparesWithTheListWhenThereIsNoSecondOne) {
    EXPECT_EQ(tool({"diff", mJson}).exitStatus, 0);
    EXPECT_EQ(tool({"diff", other({})}).exitStatus, 1);
}

TEST_P(Comparing, DisregardsIdsAndTimesOfAccessAndModification) {
    std::vector<RfidCard> cards = sampleCards();
    for (RfidCard& card : cards) {
        card.id = *card.id + 100;
        card.lastAccessTime = card.lastModificationTime = at(1000000000);
    }
    expectSame(mList, other(cards));
}

TEST_P(Comparing, SaysWhatTheSecondOneAddsAndRemoves) {
    std::vector<RfidCard> cards = sampleCards();
    cards.erase(cards.begin());
    cards.push_back(numbered(20, cardWithKey("TWENTY-KEY")));
    cards.back().description = "Newcomer";
    const ToolResult result = runTool({"diff", mList, other(cards)});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, AllOf(HasSubstr("Newcomer"), HasSubstr("Main door"), Not(HasSubstr("Visitor"))));
}

TEST_P(Comparing, SeesEveryFieldThatChanges) {
    const std::vector<void (*)(RfidCard&)> changes = {
        [](RfidCard& card) { card.description = "Changed"; },
        [](RfidCard& card) { card.status = RfidCardStatus::Invalid; },
        [](RfidCard& card) { card.expiryDate = at(2000000000); },
        [](RfidCard& card) { card.expiryDate.reset(); },
        [](RfidCard& card) { card.parentId = "DEPOT"; },
        [](RfidCard& card) { card.parentId.reset(); },
        [](RfidCard& card) { card.evseId = 4; },
        [](RfidCard& card) { card.evseId.reset(); },
        [](RfidCard& card) { card.extraData = R"({"floor":3})"; },
        [](RfidCard& card) { card.extraData.reset(); },
        [](RfidCard& card) { card.recordLifetime = 5; },
        [](RfidCard& card) { card.recordLifetime.reset(); },
        [](RfidCard& card) { card.tags.pop_back(); },
        [](RfidCard& card) { card.tags.push_back(tagWithKey("ANOTHER-KEY")); },
    };
    for (const auto change : changes) {
        std::vector<RfidCard> cards = sampleCards();
        change(cards[1]);
        const ToolResult result = runTool({"diff", mList, other(cards)});
        EXPECT_EQ(result.exitStatus, 1) << testing::PrintToString(fieldsOf(cards)[1]);
        EXPECT_THAT(result.out, Not(HasSubstr("Main door")));
    }
}

TEST_P(Comparing, LooksOnlyAtWhatCsvCarries) {
    std::vector<RfidCard> cards = sampleCards();
    cards.erase(cards.begin() + 3);        // known by its hash only
    cards[1].description = "Van 7, blue";  // CSV doubles quotes
    const std::string csv = mFolder.file("site.csv");
    writeFile(csv, serializeRfidsAsCsv(cards));
    const std::string list = other(cards);
    expectSame(csv, list);
    expectSame(list, csv);
    cards[1].extraData.reset();
    cards[1].recordLifetime = 5;
    expectSame(other(cards), csv);
    cards[1].evseId = 8;
    EXPECT_EQ(runTool({"diff", csv, other(cards)}).exitStatus, 1);
}

TEST_P(Comparing, MasksKeys) {
    const ToolResult result = runTool({"diff", mList, other({})});
    EXPECT_THAT(result.out, AllOf(HasSubstr("04****D5"), Not(HasSubstr("04A2B3C4D5"))));
    EXPECT_THAT(runTool({"--show-keys", "diff", mList, other({})}).out, HasSubstr("04A2B3C4D5"));
}

TEST_P(Comparing, NamesTheSideThatCannotBeRead) {
    expectRefusal(runTool({"diff", mList, mFolder.file("missing.json")}), 4, "missing.json");
    expectRefusal(runTool({"diff", mFolder.file("missing"), mList}), 4, "missing");
    writeFile(mFolder.file("bad.json"), "{");
    expectRefusal(runTool({"diff", mList, mFolder.file("bad.json")}), 5, "bad.json");
    EXPECT_FALSE(std::filesystem::exists(mFolder.file("missing")));
}

}  // namespace
}  // namespace oru::kadi::authlist::test
