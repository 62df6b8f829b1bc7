// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/Table.h"

namespace oru::kadi::authlist::tool {
namespace {

using namespace std::string_literals;

const std::vector<Column> cardColumns = {{"Id", true}, {"Description", false, true}, {"Status"}};

Terminal terminalOf(std::size_t width) { return {.isTerminal = true, .width = width, .hasColour = false}; }

std::string printed(const std::vector<Column>& columns, Terminal terminal, const std::vector<std::vector<Row>>& pages) {
    std::ostringstream out;
    Table table(out, columns, terminal);
    for (const std::vector<Row>& page : pages) table.print(page);
    return out.str();
}

TEST(Table, SetsCellsUnderTitles) {
    EXPECT_EQ(printed(cardColumns, {}, {{{{"7"}, {"Main door"}, {"Accepted"}}, {{"12345"}, {"x"}, {"Blocked"}}}}),
              "   Id  Description  Status\n"
              "    7  Main door    Accepted\n"
              "12345  x            Blocked\n");
}

TEST(Table, PrintsTitlesForAnEmptyPage) {
    EXPECT_EQ(printed(cardColumns, {}, {{}, {{{"1"}, {"a"}, {"b"}}}}),
              "Id  Description  Status\n"
              " 1  a            b\n");
}

TEST(Table, PrintsTitlesOnce) {
    EXPECT_EQ(printed(cardColumns, {}, {{{{"1"}, {"a"}, {"b"}}}, {{{"2"}, {"c"}, {"d"}}}, {}}),
              "Id  Description  Status\n"
              " 1  a            b\n"
              " 2  c            d\n");
}

TEST(Table, EndsNoLineInBlanks) {
    EXPECT_EQ(printed(cardColumns, {}, {{{{"1"}, {"a"}, {""}}, {{""}, {""}, {""}}, {{""}, {"b"}, {""}}}}),
              "Id  Description  Status\n"
              " 1  a\n"
              "\n"
              "    b\n");
}

TEST(Table, FillsUpALastColumnOnItsLeftOnly) {
    EXPECT_EQ(printed({{"Status"}, {"Count", true}}, {}, {{{{"Accepted"}, {"5"}}}}),
              "Status    Count\n"
              "Accepted      5\n");
}

TEST(Table, CountsColumnsOfTheTerminalNotBytes) {
    EXPECT_EQ(printed({{"Name"}, {"Größe"}, {"End"}}, {}, {{{{"漢字字"}, {"ü"}, {"."}}, {{"e\u0301"}, {""}, {"."}}}}),
              "Name    Größe  End\n"
              "漢字字  ü      .\n"
              "e\u0301              .\n");
}

TEST(Table, MakesCellsAndTitlesPrintable) {
    EXPECT_EQ(printed({{"A\tB"}, {"C"}}, {}, {{{{"x\n\x1B[2J\xFF"}, {"\u202E"s}}}}),
              "A\\tB         C\n"
              "x\\n\\x1B[2J�  \\u202E\n");
}

TEST(Table, CutsNothingWhereTheOutputHasNoWidth) {
    const std::string text(1000, 'd');
    EXPECT_EQ(printed(cardColumns, {}, {{{{"1"}, {"short"}, {"s"}}}, {{{"2"}, {text}, {"s"}}}}),
              "Id  Description  Status\n"
              " 1  short        s\n"
              " 2  " +
                  text + "  s\n");
}

TEST(Table, CutsNothingThatFits) {
    const std::string expected =
        "Id  Description   Status\n"
        " 1  A longer one  Accepted\n";
    const std::vector<Row> page = {{{"1"}, {"A longer one"}, {"Accepted"}}};
    EXPECT_EQ(printed(cardColumns, terminalOf(26), {page}), expected);
    EXPECT_NE(printed(cardColumns, terminalOf(25), {page}), expected);
}

TEST(Table, ShrinksAColumnUntilTheLineFits) {
    EXPECT_EQ(printed(cardColumns, terminalOf(24), {{{{"1"}, {"A longer one"}, {"Accepted"}}}}),
              "Id  Descripti…  Status\n"
              " 1  A longer …  Accepted\n");
}

TEST(Table, ShrinksTheWidestColumnFirst) {
    const std::vector<Column> columns = {{"A", false, true}, {"B", false, true}, {"C", false, true}};
    const std::vector<Row> page = {{{std::string(20, 'a')}, {std::string(12, 'b')}, {"ccc"}}};
    EXPECT_EQ(printed(columns, terminalOf(31), {page}),
              "A             B             C\n"
              "aaaaaaaaaaa…  bbbbbbbbbbbb  ccc\n");
    EXPECT_EQ(printed(columns, terminalOf(27), {page}),
              "A           B           C\n"
              "aaaaaaaaa…  bbbbbbbbb…  ccc\n");
}

TEST(Table, ShrinksNoColumnBelowEight) {
    const std::vector<Column> columns = {{"A", false, true}, {"B", false, true}, {"C"}};
    const std::vector<Row> page = {{{std::string(20, 'a')}, {"bbb"}, {std::string(10, 'c')}}};
    EXPECT_EQ(printed(columns, terminalOf(5), {page}),
              "A         B    C\n"
              "aaaaaaa…  bbb  cccccccccc\n");
}

TEST(Table, ShrinksALastColumnToo) {
    EXPECT_EQ(printed({{"Id"}, {"Text", false, true}}, terminalOf(14), {{{{"1"}, {"0123456789ABC"}}, {{"2"}, {"b"}}}}),
              "Id  Text\n"
              "1   012345678…\n"
              "2   b\n");
}

TEST(Table, EndsNoLineInTheBlankOfAWideCharacterThatDidNotFit) {
    EXPECT_EQ(printed({{"Id"}, {"Text", false, true}}, terminalOf(14), {{{{"1"}, {"漢漢漢漢漢漢"}}}}),
              "Id  Text\n"
              "1   漢漢漢漢…\n");
}

TEST(Table, AlignsACutCellOnTheRight) {
    EXPECT_EQ(printed({{"Text", true, true}, {"Id"}}, terminalOf(14), {{{{"漢漢漢漢漢漢"}, {"1"}}}}),
              "      Text  Id\n"
              " 漢漢漢漢…  1\n");
}

TEST(Table, CutsLaterCellsToTheWidthsOfTheFirstPage) {
    EXPECT_EQ(
        printed(cardColumns, terminalOf(80), {{{{"1"}, {"Main door"}, {"s"}}}, {{{"2"}, {"A longer one"}, {"s"}}}}),
        "Id  Description  Status\n"
        " 1  Main door    s\n"
        " 2  A longer o…  s\n");
}

TEST(Table, LetsLaterCellsOfAColumnThatMayNotShrinkStickOut) {
    EXPECT_EQ(printed(cardColumns, terminalOf(80), {{{{"1"}, {"a"}, {"s"}}}, {{{"10000"}, {"b"}, {"ConcurrentTx"}}}}),
              "Id  Description  Status\n"
              " 1  a            s\n"
              "10000  b            ConcurrentTx\n");
}

TEST(Table, ColoursCellsButNotTheirPadding) {
    const Terminal colourful{.isTerminal = true, .width = 80, .hasColour = true};
    EXPECT_EQ(printed({{"Status"}, {"Id", true}, {"End"}}, colourful,
                      {{{{"No", Colour::Red}, {"7", Colour::Green}, {"", Colour::Yellow}},
                        {{"Yes"}, {"12345"}, {".", Colour::Yellow}}}}),
              "Status     Id  End\n"
              "\x1B[31mNo\x1B[0m          \x1B[32m7\x1B[0m\n"
              "Yes     12345  \x1B[33m.\x1B[0m\n");
}

TEST(Table, ColoursACutCellUpToItsEllipsis) {
    const Terminal colourful{.isTerminal = true, .width = 1, .hasColour = true};
    EXPECT_EQ(printed({{"Text", false, true}, {"E"}}, colourful, {{{{"漢漢漢漢漢", Colour::Red}, {"."}}}}),
              "Text      E\n"
              "\x1B[31m漢漢漢…\x1B[0m   .\n");
}

TEST(Table, ColoursNothingWhereTheTerminalHasNoColours) {
    EXPECT_EQ(printed({{"A"}}, terminalOf(80), {{{{"No", Colour::Red}}}}), "A\nNo\n");
}

TEST(Table, RefusesARowWithoutACellPerColumn) {
    EXPECT_THROW(printed(cardColumns, {}, {{{{"1"}, {"a"}}}}), std::out_of_range);
}

TEST(Table, TakesHugeCells) {
    const std::string text(500'000, '\0');
    EXPECT_EQ(printed({{"A", false, true}, {"B", false, true}}, terminalOf(26), {{{{text}, {text}}}}),
              "A             B\n"
              "\\x00\\x00\\x0…  \\x00\\x00\\x0…\n");
}

TEST(Coloured, PutsTheTextBetweenCodes) {
    EXPECT_EQ(coloured("a", Colour::Green), "\x1B[32ma\x1B[0m");
    EXPECT_EQ(coloured("a", Colour::Yellow), "\x1B[33ma\x1B[0m");
    EXPECT_EQ(coloured("a", Colour::Red), "\x1B[31ma\x1B[0m");
}

TEST(Coloured, LeavesATextWithoutColourAlone) { EXPECT_EQ(coloured("a", Colour::None), "a"); }

}  // namespace
}  // namespace oru::kadi::authlist::tool
