// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "oru/common/Split.h"

namespace oru::common {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_view_literals;

using Pieces = std::vector<std::string_view>;

constexpr auto npos = std::string_view::npos;
constexpr std::optional<char> noQuote = std::nullopt;

Pieces splitAtCommas(std::string_view text, std::optional<char> quote = noQuote) {
    return split<std::string_view>(text, ",", quote);
}

TEST(FindEsc, IsAPlainSearchWithoutAQuoteCharacter) {
    EXPECT_EQ(findEsc("a,b,c", ",", 0, noQuote), 1U);
    EXPECT_EQ(findEsc("a,b,c", ",", 1, noQuote), 1U);
    EXPECT_EQ(findEsc("a,b,c", ",", 2, noQuote), 3U);
    EXPECT_EQ(findEsc("a,b,c", ",", 4, noQuote), npos);
    EXPECT_EQ(findEsc(R"("a,b")", ",", 0, noQuote), 2U);
}

TEST(FindEsc, PassesOverQuotedStretches) {
    EXPECT_EQ(findEsc(R"("a,b",c)", ",", 0, '"'), 5U);
    EXPECT_EQ(findEsc(R"(x"a,b"y,c)", ",", 0, '"'), 7U);
    EXPECT_EQ(findEsc(R"("a,b""c,d",e)", ",", 0, '"'), 10U);
}

TEST(FindEsc, TakesAnyCharacterAsTheQuote) {
    EXPECT_EQ(findEsc("'a,b',c", ",", 0, '\''), 5U);
    EXPECT_EQ(findEsc(R"("a,b",c)", ",", 0, '\''), 2U);
}

TEST(FindEsc, FindsNothingInAStretchThatIsNeverClosed) {
    EXPECT_EQ(findEsc(R"(a,"b,c,d)", ",", 2, '"'), npos);
    EXPECT_EQ(findEsc(R"(",)", ",", 0, '"'), npos);
}

TEST(FindEsc, ReadsADoubledQuoteAsTwoToggles) {
    EXPECT_EQ(findEsc(R"("a"",b",c)", ",", 0, '"'), 7U) << "still inside behind the doubled quote";
    EXPECT_EQ(findEsc(R"(a"",b)", ",", 0, '"'), 3U) << "still outside behind the doubled quote";
}

TEST(FindEsc, CountsQuotesFromTheStartPositionOnly) {
    EXPECT_EQ(findEsc(R"("a,b",c)", ",", 1, '"'), 2U);
    EXPECT_EQ(findEsc(R"("a,b",c,d)", ",", 4, '"'), npos) << "the closing quote opens a stretch here";
}

TEST(FindEsc, FindsANeedleOfSeveralCharacters) {
    EXPECT_EQ(findEsc("a-b--c", "--", 0, noQuote), 3U);
    EXPECT_EQ(findEsc(R"(a-"--"--c)", "--", 0, '"'), 6U);
    EXPECT_EQ(findEsc("a-", "--", 0, '"'), npos) << "half of the needle at the end";
}

TEST(FindEsc, FindsTheFirstOfOverlappingNeedles) {
    EXPECT_EQ(findEsc("aaa", "aa", 0, '"'), 0U);
    EXPECT_EQ(findEsc("aaa", "aa", 1, '"'), 1U);
    EXPECT_EQ(findEsc("aaa", "aa", 2, '"'), npos);
}

TEST(FindEsc, FindsNothingBehindTheEnd) {
    for (const auto quote : {noQuote, std::optional<char>('"')}) {
        EXPECT_EQ(findEsc("", ",", 0, quote), npos);
        EXPECT_EQ(findEsc("a,b", ",", 3, quote), npos);
        EXPECT_EQ(findEsc("a,b", ",", 4, quote), npos);
        EXPECT_EQ(findEsc("a,b", ",", npos, quote), npos);
    }
}

TEST(FindEsc, FindsAnEmptyNeedleAtTheStartPosition) {
    for (const auto quote : {noQuote, std::optional<char>('"')}) {
        EXPECT_EQ(findEsc(R"("a")", "", 0, quote), 0U);
        EXPECT_EQ(findEsc("abc", "", 2, quote), 2U);
        EXPECT_EQ(findEsc("abc", "", 3, quote), 3U);
        EXPECT_EQ(findEsc("abc", "", 4, quote), npos);
        EXPECT_EQ(findEsc("", "", 0, quote), 0U);
    }
}

TEST(FindEsc, TreatsZeroAndHighBytesLikeAnyOther) {
    EXPECT_EQ(findEsc("a\0b,c"sv, ",", 0, '"'), 3U);
    EXPECT_EQ(findEsc("a\0b"sv, "\0"sv, 0, '"'), 1U);
    EXPECT_EQ(findEsc("\xFF\xFE,"sv, ",", 0, '\xFE'), npos);
    EXPECT_EQ(findEsc("\xFF\xFE,\xFE,"sv, ",", 0, '\xFE'), 4U);
}

TEST(Split, GivesNoPiecesOfAnEmptyText) {
    EXPECT_THAT(splitAtCommas(""), IsEmpty());
    EXPECT_THAT(splitAtCommas("", '"'), IsEmpty());
}

TEST(Split, GivesTheWholeTextWithoutADelimiter) { EXPECT_THAT(splitAtCommas("abc"), ElementsAre("abc")); }

TEST(Split, KeepsAnEmptyLastPiece) { EXPECT_THAT(splitAtCommas("a,b,"), ElementsAre("a", "b", "")); }

TEST(Split, KeepsEmptyPiecesAnywhere) {
    EXPECT_THAT(splitAtCommas(","), ElementsAre("", ""));
    EXPECT_THAT(splitAtCommas(",,a"), ElementsAre("", "", "a"));
}

TEST(Split, LeavesQuotedDelimitersAndTheQuotesInThePieces) {
    EXPECT_THAT(splitAtCommas(R"(1,"a,b",c)", '"'), ElementsAre("1", R"("a,b")", "c"));
    EXPECT_THAT(splitAtCommas(R"(1,"a,b",c)"), ElementsAre("1", R"("a)", R"(b")", "c"));
}

TEST(Split, LeavesAStretchThatIsNeverClosedInOnePiece) {
    EXPECT_THAT(splitAtCommas(R"(a,"b,c,d)", '"'), ElementsAre("a", R"("b,c,d)"));
}

TEST(Split, StartsEveryPieceOutsideQuotes) {
    EXPECT_THAT(splitAtCommas(R"("",a,"b,c",d)", '"'), ElementsAre(R"("")", "a", R"("b,c")", "d"));
}

TEST(Split, GoesOnBehindADelimiterOfSeveralCharacters) {
    EXPECT_THAT(split<std::string_view>("a--b---c", "--", noQuote), ElementsAre("a", "b", "-c"));
    EXPECT_THAT(split<std::string_view>("-----", "--", noQuote), ElementsAre("", "", "-"));
}

TEST(Split, SplitsLinesOutsideQuotes) {
    EXPECT_THAT(split<std::string_view>("a\r\n\"b\nc\"\n\nd", "\n", '"'), ElementsAre("a\r", "\"b\nc\"", "", "d"));
}

TEST(Split, LetsViewsBorrowFromTheText) {
    const std::string text = "ab,cd";
    const Pieces pieces = splitAtCommas(text);
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0].data(), text.data());
    EXPECT_EQ(pieces[1].data(), text.data() + 3);
}

TEST(Split, MakesPiecesOfAnotherType) {
    EXPECT_EQ(split<std::string>("a,b", ",", noQuote), (std::vector<std::string>{"a", "b"}));
}

TEST(Split, SplitsAMillionPieces) {
    const std::string text(1'000'000, ',');
    EXPECT_EQ(splitAtCommas(text, '"').size(), 1'000'001U);
}

TEST(ForEachPiece, VisitsThePiecesInOrder) {
    Pieces visited;
    forEachPiece(R"(a,"b,c",)", ",", '"', [&visited](std::string_view piece) { visited.push_back(piece); });
    EXPECT_THAT(visited, ElementsAre("a", R"("b,c")", ""));
}

TEST(ForEachPiece, VisitsNothingOfAnEmptyText) {
    forEachPiece("", ",", noQuote, [](std::string_view) { ADD_FAILURE() << "a piece of nothing"; });
}

}  // namespace
}  // namespace oru::common
