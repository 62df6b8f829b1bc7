// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <string>
#include <vector>

#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// Tables, on a terminal of 80 columns and elsewhere.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Columns that a UTF-8 text takes: two for the CJK characters of these tests, one for every other.
std::size_t columnsOf(const std::string& text) {
    std::size_t columns = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0U) == 0x80) continue;
        columns += byte >= 0xE4 && byte <= 0xE9 ? 2 : 1;
    }
    return columns;
}

/// The text without the escape sequences of colours.
std::string withoutColours(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\x1B') {
            while (i < text.size() && text[i] != 'm') ++i;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

/// The column at which a text begins in its line.
std::size_t columnOf(const std::string& line, const std::string& text) {
    const std::size_t position = line.find(text);
    if (position == std::string::npos) throw std::runtime_error("No " + text + " in " + line);
    return columnsOf(line.substr(0, position));
}

std::string lineWith(const std::string& output, const std::string& text) {
    for (const std::string& line : linesOf(output)) {
        if (line.find(text) != std::string::npos) return line;
    }
    throw std::runtime_error("No line with " + text + " in " + output);
}

class Tables : public OverBothStores {
protected:
    void SetUp() override {
        std::vector<RfidCard> cards = sampleCards();
        cards[0].description = std::string(150, 'x') + "END";
        cards[2].description = "Tür Süd, Łódź";
        cards[3].description = "充电桩 一号";
        cards[5].description = "Saisonkarte für Besucherinnen und Besucher der oberen Altstadt im Jahr 2026";
        cards[5].parentId = "GRUPPE-DER-BESUCHERINNEN-UND-BESUCHER";
        store(cards, 42);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Tables, bothStores, byName);

TEST_P(Tables, FitTheTerminal) {
    for (const Arguments& command : {Arguments{"list"}, Arguments{"find", "a"}, Arguments{"stats"}}) {
        const ToolResult result = onTerminal(command);
        EXPECT_EQ(result.exitStatus, 0);
        for (const std::string& line : linesOf(withoutColours(result.out))) EXPECT_LE(columnsOf(line), 80U) << line;
    }
    const std::string list = withoutColours(onTerminal({"list"}).out);
    EXPECT_THAT(list, AllOf(HasSubstr("x…"), Not(HasSubstr("END"))));
}

TEST_P(Tables, FitTheWidthOfTheEnvironment) {
    const std::string list = withoutColours(onTerminal({"list"}, with("COLUMNS", "100")).out);
    std::size_t widest = 0;
    for (const std::string& line : linesOf(list)) widest = std::max(widest, columnsOf(line));
    EXPECT_LE(widest, 100U) << list;
    EXPECT_GT(widest, 80U) << list;
    EXPECT_THAT(list, HasSubstr("x…"));
    EXPECT_THAT(withoutColours(onTerminal({"list"}, with("COLUMNS", "300")).out), HasSubstr("END"));
}

TEST_P(Tables, AreWholeAwayFromTerminals) {
    const ToolResult result = tool({"list"});
    EXPECT_THAT(result.out, AllOf(HasSubstr("END"), Not(HasSubstr("…")), HasSubstr("oberen Altstadt im Jahr 2026")));
}

TEST_P(Tables, AlignUmlautsAndWideCharacters) {
    const std::string other = mFolder.file("other");
    std::vector<RfidCard> cards = sampleCards();
    cards[0].description = "Tür Süd, Łódź";
    cards[1].description = "充电桩 一号";
    cards[2].description = "plain";
    for (RfidCard& card : cards) card.parentId = "GROUP";
    writeList(mStore, other, cards);
    for (const std::string& output :
         {runTool({"-l", other, "list"}).out, withoutColours(runToolOnTerminal({"-l", other, "list"}).out)}) {
        const std::size_t column = columnOf(lineWith(output, "plain"), "GROUP");
        EXPECT_EQ(columnOf(lineWith(output, "Tür"), "GROUP"), column) << output;
        EXPECT_EQ(columnOf(lineWith(output, "充电桩"), "GROUP"), column) << output;
    }
}

TEST_P(Tables, CutWideTextsBetweenCharacters) {
    const std::string other = mFolder.file("other");
    std::string description;
    for (int i = 0; i < 60; ++i) description += "充";
    RfidCard card = numbered(1, cardWithKey("04A2B3C4"));
    card.description = description;
    writeList(mStore, other, {card});
    for (const char* width : {"80", "79"}) {
        const ToolResult result = runToolOnTerminal({"-l", other, "list"}, with("COLUMNS", width));
        const std::string line = lineWith(withoutColours(result.out), "充");
        EXPECT_LE(columnsOf(line), std::stoul(width)) << line;
        EXPECT_THAT(line, HasSubstr("充…"));
    }
}

TEST_P(Tables, HaveColoursOnATerminalOnly) {
    EXPECT_THAT(onTerminal({"list"}).out, HasSubstr("\x1B["));
    EXPECT_THAT(onTerminal({"list"}, with("NO_COLOR", "1")).out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(tool({"list"}).out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(tool({"authorize", "04A2B3C4D5"}).out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(onTerminal({"authorize", "04A2B3C4D5"}, with("NO_COLOR", "1")).out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(onTerminal({"-o", "json", "list"}).out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(onTerminal({"-o", "csv", "list"}).out, Not(HasSubstr("\x1B")));
}

TEST_P(Tables, ShowControlCharactersAsEscapes) {
    const std::string other = mFolder.file("other");
    RfidCard card = numbered(1, cardWithKey("04\x1B]0;key\x07"));
    card.description =
        "a\x1B[31mb\nc\td\x7F"
        "e\xC2\x9B"
        "f\re";
    card.parentId = "p\x1B[2J";
    writeList(mStore, other, {card});
    for (const Arguments& command : {Arguments{"list"}, Arguments{"show", "--id", "1"}, Arguments{"find", "a"}}) {
        Arguments arguments{"-l", other, "--show-keys"};
        arguments.insert(arguments.end(), command.begin(), command.end());
        for (const ToolResult& result : {runTool(arguments), runToolOnTerminal(arguments, with("NO_COLOR", "1"))}) {
            EXPECT_EQ(result.exitStatus, 0);
            for (const char* raw : {"\x1B", "\x07", "\t", "\x7F", "\r", "\xC2\x9B", "b\nc"}) {
                EXPECT_THAT(result.out, Not(HasSubstr(raw))) << testing::PrintToString(command);
            }
        }
    }
    EXPECT_EQ(linesOf(runTool({"-l", other, "list"}).out).size(), 2U);
}

TEST_P(Tables, ShowControlCharactersOfErrorsAsEscapes) {
    const ToolResult result = tool({"--show-keys", "show", "04\x1B[31m\nsecond line"});
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_THAT(result.err, Not(HasSubstr("\x1B")));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
    expectRefusal(runTool({"-l", mFolder.file("no\x1B[31m\nfile"), "list"}), 4, "no");
}

}  // namespace
}  // namespace oru::kadi::authlist::test
