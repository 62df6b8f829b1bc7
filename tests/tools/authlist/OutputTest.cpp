// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "authlist/JsonExchange.h"
#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// JSON, CSV, masked keys and times, whatever the command.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Value = JsonText::Value;

class Printing : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards(), 42); }

    ToolResult json(Arguments arguments) const {
        arguments.insert(arguments.begin(), {"-o", "json"});
        return tool(arguments);
    }
    ToolResult csv(Arguments arguments) const {
        arguments.insert(arguments.begin(), {"-o", "csv"});
        return tool(arguments);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Printing, bothStores, byName);

// JSON

TEST_P(Printing, WritesEveryFieldOfACardAsJson) {
    const ToolResult result = json({"show", "--id", "2", "--show-keys"});
    expectSuccess(result);
    const JsonText text(result.out);
    const std::vector<Value> cards = text.elements();
    ASSERT_THAT(cards, SizeIs(1));
    const Value& card = cards.front();
    EXPECT_EQ(card.getMember("id").rawText(), "2");
    EXPECT_EQ(JsonText::text(card, "description"), "Van 7, \"blue\"");
    EXPECT_EQ(card.getMember("status").rawText(), "\"Blocked\"");
    EXPECT_EQ(card.getMember("expiryDate").rawText(), "\"2030-12-31T23:00:00Z\"");
    EXPECT_EQ(card.getMember("parentId").rawText(), "\"FLEET\"");
    EXPECT_EQ(card.getMember("evseId").rawText(), "3");
    EXPECT_EQ(JsonText::text(card, "extraData"), R"({"floor":2})");
    EXPECT_EQ(card.getMember("lastAccessTime").rawText(), "\"2026-05-04T08:15:00Z\"");
    EXPECT_EQ(card.getMember("lastModificationTime").rawText(), "\"2026-05-01T12:00:00Z\"");
    EXPECT_EQ(card.getMember("recordLifetime").rawText(), "4000000000");
    const std::vector<Value> tags = JsonText::elementsOf(card.getMember("tags"));
    ASSERT_THAT(tags, SizeIs(2));
    EXPECT_EQ(JsonText::text(tags[0], "key"), "VID:321994913B9B");
    EXPECT_EQ(JsonText::text(tags[1], "hash"), hashKey("04C4D5E6F7"));
    EXPECT_EQ(JsonText::text(tags[1], "extraData"), R"({"kind":"key fob"})");
}

TEST_P(Printing, WritesAbsentFieldsAsNull) {
    const JsonText text(json({"show", "--id", "4"}).out);
    const std::vector<Value> cards = text.elements();
    ASSERT_THAT(cards, SizeIs(1));
    for (const char* field : {"expiryDate", "parentId", "evseId", "extraData", "recordLifetime"}) {
        EXPECT_TRUE(cards.front().getMember(field).isNull()) << field;
    }
    EXPECT_TRUE(JsonText::elementsOf(cards.front().getMember("tags")).front().getMember("key").isNull());
}

TEST_P(Printing, WritesListsAsOneJsonDocument) {
    EXPECT_THAT(JsonText(json({"list"}).out).elements(), SizeIs(6));
    EXPECT_THAT(JsonText(json({"show", "--id", "1", "--id", "3"}).out).elements(), SizeIs(2));
    EXPECT_THAT(JsonText(json({"find", "Tür"}).out).elements(), SizeIs(1));
    EXPECT_THAT(JsonText(json({"list", "--limit", "0"}).out).elements(), IsEmpty());
    EXPECT_THAT(JsonText(json({"find", "nothing like it"}).out).elements(), IsEmpty());
}

TEST_P(Printing, WritesVerdictsAsJson) {
    const JsonText refused(json({"authorize", "0466778899"}).out);
    EXPECT_EQ(JsonText::text(refused.root(), "verdict"), "Refused");
    EXPECT_NE(JsonText::text(refused.root(), "reason"), "");
    EXPECT_EQ(JsonText::text(refused.root().getMember("card"), "description"), "Season ticket");
    EXPECT_EQ(JsonText::text(JsonText(json({"authorize", "04A2B3C4D5"}).out).root(), "verdict"), "Accepted");
    EXPECT_EQ(JsonText::text(JsonText(json({"authorize", "04FFFFFFFF"}).out).root(), "verdict"), "Unknown");
}

TEST_P(Printing, WritesStatisticsAsJson) {
    const JsonText text(json({"stats"}).out);
    const auto number = [&text](const char* figure) { return std::string(text.root().getMember(figure).rawText()); };
    EXPECT_EQ(number("cards"), "6");
    EXPECT_EQ(number("tags"), "7");
    EXPECT_EQ(number("cardsAccepted"), "3");
    EXPECT_EQ(number("tagsBlocked"), "2");
    EXPECT_EQ(number("cardsInvalid"), "0");
    EXPECT_EQ(number("cardsPastExpiry"), "2");
    EXPECT_EQ(number("cardsExpiringSoon"), "0");
    EXPECT_EQ(number("cardsWithLifetime"), "1");
    EXPECT_EQ(number("listVersion"), "42");
    EXPECT_EQ(number("fileSize"), std::to_string(listBytes().size()));
    EXPECT_EQ(number("lastModificationTime"), "\"2026-05-01T12:00:00Z\"");
}

TEST_P(Printing, WritesDifferencesAsJsonAndCsv) {
    const std::string other = mFolder.file("other");
    std::vector<RfidCard> cards = sampleCards();
    cards[0].status = RfidCardStatus::Invalid;
    cards.pop_back();
    writeList(mStore, other, cards);
    const ToolResult asJson = runTool({"-o", "json", "diff", mList, other});
    EXPECT_EQ(asJson.exitStatus, 1);
    EXPECT_NO_THROW(JsonText{asJson.out});
    EXPECT_THAT(asJson.out, AllOf(HasSubstr("Main door"), HasSubstr("Season ticket"), HasSubstr("Invalid")));
    const ToolResult asCsv = runTool({"-o", "csv", "diff", mList, other});
    EXPECT_EQ(asCsv.exitStatus, 1);
    EXPECT_GT(CsvTable(asCsv.out).size(), 1U);
    const ToolResult same = runTool({"-o", "json", "diff", mList, mList});
    EXPECT_EQ(same.exitStatus, 0);
    EXPECT_NO_THROW(JsonText{same.out});
}

TEST_P(Printing, EscapesTextsInJson) {
    RfidCard card = numbered(1, cardWithKey("04A2B3C4"));
    card.description = "Quote \" backslash \\ line\nbell\x07 Tür \xF0\x9F\x9A\x97";
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {card});
    const JsonText text(runTool({"-l", other, "-o", "json", "list"}).out);
    EXPECT_EQ(JsonText::text(text.elements().at(0), "description"), card.description);
}

TEST_P(Printing, WritesValidJsonOfTextsThatAreNotUtf8) {
    RfidCard card = numbered(1, cardWithKey("04A2B3C4"));
    card.description = "Caf\xE9 \xFF\xC3";
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {card});
    EXPECT_THAT(JsonText(runTool({"-l", other, "-o", "json", "list"}).out).elements(), SizeIs(1));
    EXPECT_EQ(runTool({"-l", other, "list"}).exitStatus, 0);
}

// CSV

TEST_P(Printing, WritesColumnNamesCellsAndQuotesAsCsv) {
    const ToolResult result = csv({"list", "--sort", "id", "--show-keys"});
    expectSuccess(result);
    const CsvTable table(result.out);
    EXPECT_EQ(table.size(), 6U);
    EXPECT_EQ(table.cell(1, "description"), "Van 7, \"blue\"");
    EXPECT_THAT(result.out, HasSubstr("\"Van 7, \"\"blue\"\"\""));
    EXPECT_EQ(table.cell(1, "keys"), "VID:321994913B9B|04C4D5E6F7");
    EXPECT_EQ(table.cell(1, "status"), "Blocked");
    EXPECT_EQ(table.cell(1, "expiryDate"), "2030-12-31T23:00:00Z");
    EXPECT_EQ(table.cell(1, "parentId"), "FLEET");
    EXPECT_EQ(table.cell(1, "evseId"), "3");
    EXPECT_EQ(table.cell(1, "extraData"), R"({"floor":2})");
    EXPECT_EQ(table.cell(1, "recordLifetime"), "4000000000");
    for (const char* column : {"expiryDate", "parentId", "evseId", "extraData", "recordLifetime", "keys"}) {
        EXPECT_EQ(table.cell(3, column), "") << column;
    }
}

TEST_P(Printing, WritesTheSameColumnsForListShowAndFind) {
    const CsvRow names = CsvTable(csv({"list"}).out).names();
    EXPECT_EQ(CsvTable(csv({"show", "--id", "1", "--id", "2"}).out).names(), names);
    EXPECT_EQ(CsvTable(csv({"find", "nothing like it"}).out).names(), names);
    EXPECT_EQ(CsvTable(csv({"list", "--limit", "0"}).out).size(), 0U);
}

TEST_P(Printing, WritesStatisticsAndVerdictsAsCsv) {
    EXPECT_GT(CsvTable(csv({"stats"}).out).size(), 0U);
    EXPECT_THAT(csvRows(csv({"authorize", "0466778899"}).out), Contains(Contains(HasSubstr("Refused"))));
}

TEST_P(Printing, QuotesLineBreaksInCsv) {
    RfidCard card = numbered(1, cardWithKey("04A2B3C4"));
    card.description = "two\nlines\rand a return";
    const std::string other = mFolder.file("other");
    writeList(mStore, other, {card});
    const CsvTable table(runTool({"-l", other, "-o", "csv", "list"}).out);
    ASSERT_EQ(table.size(), 1U);
    EXPECT_EQ(table.cell(0, "description"), card.description);
}

// Masking

TEST_P(Printing, MasksKeysInEveryFormat) {
    for (const char* format : {"table", "json", "csv"}) {
        for (const Arguments& command :
             {Arguments{"list"}, Arguments{"show", "--id", "1", "--id", "2"}, Arguments{"find", "a"},
              Arguments{"find", "04A2B3C4D5"}, Arguments{"authorize", "04A2B3C4D5"}}) {
            Arguments arguments{"-o", format};
            arguments.insert(arguments.end(), command.begin(), command.end());
            const ToolResult result = tool(arguments);
            EXPECT_EQ(result.exitStatus, 0);
            EXPECT_THAT(result.out + result.err,
                        AllOf(Not(HasSubstr("04A2B3C4D5")), Not(HasSubstr("VID:321994913B9B"))))
                << testing::PrintToString(arguments);
        }
        EXPECT_THAT(tool({"-o", format, "list"}).out, AllOf(HasSubstr("04****D5"), HasSubstr("VI****9B")));
        EXPECT_THAT(tool({"-o", format, "list", "--show-keys"}).out,
                    AllOf(HasSubstr("04A2B3C4D5"), HasSubstr("VID:321994913B9B")));
    }
}

TEST_P(Printing, MasksShortKeysWhollyAndLongOnesByCharacters) {
    const std::string other = mFolder.file("other");
    writeList(mStore, other,
              {numbered(1, cardWithKey("1234567")), numbered(2, cardWithKey("12345678")),
               numbered(3, cardWithKey("ÄÖ-Schlüssel-ßß"))});
    const CsvTable table(runTool({"-l", other, "-o", "csv", "list", "--sort", "id"}).out);
    EXPECT_THAT(table.column("keys"), ElementsAre("****", "12****78", "ÄÖ****ßß"));
}

TEST_P(Printing, ShowsTagsWithoutKeyByTheBeginningOfTheirHash) {
    const std::string shown = "#" + hashKey("SECRET-OF-FOUR").substr(0, 8);
    EXPECT_THAT(tool({"list"}).out, HasSubstr(shown));
    EXPECT_THAT(tool({"list", "--show-keys"}).out, HasSubstr(shown));
}

TEST_P(Printing, PrintsNoKeyWhenCardsAreChanged) {
    const std::string text = mFolder.file("site.json");
    writeFile(text, serializeRfidsAsJson(sampleCards(), 42));
    for (const Arguments& command :
         {Arguments{"add", "04ABCDEF9999"}, Arguments{"update", "--id", "1", "--add-key", "04FEDCBA8888"},
          Arguments{"remove", "04FFEE0102"}, Arguments{"import", text, "--dry-run"}, Arguments{"import", text},
          Arguments{"copy", mFolder.file("target")}}) {
        const ToolResult result = tool(command);
        EXPECT_EQ(result.exitStatus, 0) << testing::PrintToString(command);
        for (const char* key : {"04ABCDEF9999", "04FEDCBA8888", "04FFEE0102", "04A2B3C4D5", "VID:321994913B9B"}) {
            EXPECT_THAT(result.out + result.err, Not(HasSubstr(key))) << testing::PrintToString(command);
        }
    }
}

TEST_P(Printing, MasksKeysInErrors) {
    for (const Arguments& command :
         {Arguments{"add", "04A2B3C4D5"}, Arguments{"update", "--id", "2", "--add-key", "04A2B3C4D5"},
          Arguments{"show", "04A2B3C4D5FF"}, Arguments{"remove", "04A2B3C4D5FF"},
          Arguments{"update", "--id", "2", "--remove-key", "04A2B3C4D5"}}) {
        const ToolResult result = tool(command);
        EXPECT_NE(result.exitStatus, 0);
        EXPECT_THAT(result.err, Not(HasSubstr("04A2B3C4D5"))) << testing::PrintToString(command);
    }
    EXPECT_THAT(tool({"add", "04A2B3C4D5"}).err, HasSubstr("04****D5"));
    EXPECT_THAT(tool({"add", "04A2B3C4D5", "--show-keys"}).err, HasSubstr("04A2B3C4D5"));
}

// Times

TEST_P(Printing, ShowsTimesInUtcUnlessToldOtherwise) {
    const ToolSetting berlin = with("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_THAT(tool({"show", "--id", "2"}, berlin).out, HasSubstr("2030-12-31T23:00:00Z"));
    EXPECT_THAT(tool({"-o", "csv", "list"}, berlin).out, HasSubstr("2030-12-31T23:00:00Z"));
}

TEST_P(Printing, ShowsLocalTimesWithSummerTime) {
    const ToolSetting berlin = with("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    for (const char* format : {"table", "json", "csv"}) {
        const ToolResult result = tool({"--local", "-o", format, "show", "--id", "2"}, berlin);
        expectSuccess(result);
        EXPECT_THAT(result.out, AllOf(HasSubstr("2031-01-01T00:00:00+01:00"), HasSubstr("2026-05-04T10:15:00+02:00")));
    }
    const ToolSetting newfoundland = with("TZ", "NST3:30NDT,M3.2.0,M11.1.0");
    EXPECT_THAT(tool({"--local", "show", "--id", "2"}, newfoundland).out,
                AllOf(HasSubstr("2030-12-31T19:30:00-03:30"), HasSubstr("2026-05-04T05:45:00-02:30")));
}

TEST_P(Printing, ReadsLocalTimesInFilters) {
    const ToolSetting berlin = with("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(tool({"--local", "count", "--filter", "expiry=2031-01-01"}, berlin).out, "1\n");
    EXPECT_EQ(tool({"--local", "count", "--filter", "expiry=2030-12-31T23:00Z"}, berlin).out, "1\n");
    EXPECT_EQ(tool({"count", "--filter", "expiry=2031-01-01"}, berlin).out, "0\n");
}

TEST_P(Printing, NeverWritesLocalTimesIntoExports) {
    const ToolResult result = tool({"--local", "export"}, with("TZ", "CET-1CEST,M3.5.0,M10.5.0/3"));
    EXPECT_EQ(fieldsOf(deserializeRfidsFromJson(result.out)), fieldsOf(sampleCards()));
}

TEST_P(Printing, NeverMasksExports) {
    EXPECT_THAT(tool({"export"}).out, HasSubstr("04A2B3C4D5"));
    EXPECT_THAT(tool({"export", "--format", "csv"}).out, HasSubstr("04A2B3C4D5"));
}

}  // namespace
}  // namespace oru::kadi::authlist::test
