// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "authlist/CsvExchange.h"
#include "authlist/KeyHash.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/StandingClock.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::at;
using test::fieldsOf;
using test::NamedCase;
using test::thrownBy;
using namespace std::chrono_literals;
using namespace std::string_literals;

const std::string badFirstColumn =
    "std::runtime_error: Invalid value in the first column of the CSV file (should be integer number)";
const std::string badFifthColumn =
    "std::runtime_error: Invalid value in the fifth column of the CSV file (should be integer number)";

std::string badStatus(const std::string& text) {
    return "std::invalid_argument: " + text + " was not found in N3oru4kadi8authlist14RfidCardStatusE";
}

std::string badColumnCount(std::size_t found) {
    return "std::runtime_error: Invalid number of columns on imported csv line (expectation: 7, reality: " +
           std::to_string(found) + ")";
}

/// What the import of text throws; "nothing" when it succeeds.
std::string failureOf(const std::string& text) {
    return thrownBy([&] { deserializeRfidsFromCsv(text); });
}

std::size_t countOf(const std::string& text) { return deserializeRfidsFromCsv(text).size(); }

/// The only card of text.
RfidCard cardOf(const std::string& text) {
    const std::vector<RfidCard> cards = deserializeRfidsFromCsv(text);
    EXPECT_EQ(cards.size(), 1U);
    return cards.at(0);
}

/// A good line in which one column, counted from 1, is replaced.
std::string lineWith(std::size_t column, const std::string& text) {
    std::array<std::string, 7> columns{"1", "d", "k", "Accepted", "*", "", ""};
    columns.at(column - 1) = text;
    std::string line = columns[0];
    for (std::size_t i = 1; i < columns.size(); ++i) line += "," + columns[i];
    return line;
}

/// The keys of the tags that the third column of a line gives; checks their hashes on the way.
std::vector<std::string> keysOf(const std::string& column) {
    std::vector<std::string> keys;
    for (const RfidTag& tag : cardOf(lineWith(3, column)).tags) {
        EXPECT_EQ(tag.hash, hashKey(tag.key.value()));
        EXPECT_EQ(tag.extraData, std::nullopt);
        keys.push_back(*tag.key);
    }
    return keys;
}

const std::string goodLine = "1,d,k,Accepted,*,,";

TEST(CsvImport, ReadsNothingFromAnEmptyText) { EXPECT_EQ(countOf(""), 0U); }

TEST(CsvImport, ReadsNothingFromLineFeedsOnly) {
    EXPECT_EQ(countOf("\n"), 0U);
    EXPECT_EQ(countOf("\n\n\n\n\n\n\n"), 0U);
}

TEST(CsvImport, ReadsNothingFromASeparatorLineAlone) { EXPECT_EQ(countOf("SEP=,\n"), 0U); }

TEST(CsvImport, ReadsAllSevenColumns) {
    const RfidCard card = cardOf("SEP=,\n7,Main door,k1|k2,ConcurrentTx,3,FLEET-1,2026-12-31T23:59:59Z");
    EXPECT_EQ(card.id, 7U);
    EXPECT_EQ(card.description, "Main door");
    ASSERT_EQ(card.tags.size(), 2U);
    EXPECT_EQ(fieldsOf(card.tags[0]), fieldsOf(test::tagWithKey("k1")));
    EXPECT_EQ(fieldsOf(card.tags[1]), fieldsOf(test::tagWithKey("k2")));
    EXPECT_EQ(card.status, RfidCardStatus::ConcurrentTx);
    EXPECT_EQ(card.evseId, 3U);
    EXPECT_EQ(card.parentId, "FLEET-1");
    EXPECT_EQ(card.expiryDate, at(1798761599));
    EXPECT_EQ(card.extraData, std::nullopt);
    EXPECT_EQ(card.recordLifetime, std::nullopt);
}

TEST(CsvImport, LeavesWhatEmptyColumnsAndAStarStandForUnset) {
    const RfidCard card = cardOf("0,,k,Accepted,*,,");
    EXPECT_EQ(card.id, 0U);
    EXPECT_EQ(card.description, "");
    EXPECT_EQ(card.evseId, std::nullopt);
    EXPECT_EQ(card.parentId, std::nullopt);
    EXPECT_EQ(card.expiryDate, std::nullopt);
}

TEST(CsvImport, ReadsASemicolonListWithAHeader) {
    const RfidCard card = cardOf("SEP=;\nid;d;t;s;e;p;x\n1;desc;k1|k2;Accepted;*;;");
    EXPECT_EQ(card.id, 1U);
    EXPECT_EQ(card.description, "desc");
    EXPECT_EQ(card.tags.size(), 2U);
    EXPECT_EQ(card.evseId, std::nullopt);
    EXPECT_EQ(card.parentId, std::nullopt);
    EXPECT_EQ(card.expiryDate, std::nullopt);
}

TEST(CsvImport, KeepsTheOrderOfTheLines) {
    std::string text = "SEP=,\n";
    for (int id = 5000; id > 0; --id) text += std::to_string(id) + ",d,k,Accepted,*,,\n";
    const std::vector<RfidCard> cards = deserializeRfidsFromCsv(text);
    ASSERT_EQ(cards.size(), 5000U);
    for (unsigned i = 0; i < 5000; ++i) ASSERT_EQ(cards[i].id, 5000 - i);
}

TEST(CsvImport, IgnoresEmptyLinesEverywhere) {
    EXPECT_EQ(countOf("\n\nSEP=,\n\n" + goodLine + "\n\n\n" + goodLine + "\n\n"), 2U);
}

TEST(CsvImport, ReadsTheClockForTheAccessTimeAndAgainForTheModificationTime) {
    const test::StandingClock clock(at(1767225600), 1ns);
    const std::vector<RfidCard> cards = deserializeRfidsFromCsv(goodLine + "\n" + goodLine);
    ASSERT_EQ(cards.size(), 2U);
    EXPECT_EQ(cards[0].lastAccessTime, at(1767225600));
    EXPECT_EQ(cards[0].lastModificationTime, at(1767225600) + 1ns);
    EXPECT_EQ(cards[1].lastAccessTime, at(1767225600) + 2ns);
    EXPECT_EQ(cards[1].lastModificationTime, at(1767225600) + 3ns);
}

// The start of the text

TEST(CsvImport, DropsALineOfFiveCharactersAtTheStartSilently) {
    EXPECT_EQ(countOf("hello"), 0U);
    EXPECT_EQ(countOf("hello\n" + goodLine), 1U);
    EXPECT_EQ(countOf("hello\nworld\n\n,,,,,\n" + goodLine), 1U);
}

TEST(CsvImport, CountsTheFiveCharactersInBytes) {
    EXPECT_EQ(failureOf("h\xC3\xA4llo\n" + goodLine), badColumnCount(1));
}

TEST(CsvImport, ReadsALineOfFiveCharactersAsDataAfterTheFirstCard) {
    EXPECT_EQ(failureOf(goodLine + "\nhello"), badColumnCount(1));
    EXPECT_EQ(failureOf(goodLine + "\nSEP=;\n" + goodLine), badColumnCount(1));
}

TEST(CsvImport, ReadsALineOfFiveCharactersAsDataAfterTheHeader) {
    EXPECT_EQ(failureOf("id,description\nhello"), badColumnCount(1));
    EXPECT_EQ(failureOf("id;description\nSEP=;\n1;d;k;Accepted;*;;"), badColumnCount(1));
}

TEST(CsvImport, KeepsLookingForASeparatorLineAfterADroppedLine) {
    EXPECT_EQ(countOf("hello\nSEP=;\n1;d;k;Accepted;*;;"), 1U);
}

TEST(CsvImport, FollowsTheLastOfSeveralSeparatorLines) {
    EXPECT_EQ(countOf("SEP=;\nSEP=/\n1/d/k/Accepted/*//"), 1U);
    EXPECT_EQ(failureOf("SEP=;\nSEP=/\n1;d;k;Accepted;*;;"), badColumnCount(1));
}

TEST(CsvImport, ReadsTheWordSepInAnyCase) {
    EXPECT_EQ(countOf("sep=;\n1;d;k;Accepted;*;;"), 1U);
    EXPECT_EQ(countOf("sEp=;\n1;d;k;Accepted;*;;"), 1U);
}

TEST(CsvImport, TurnsASeparatorLetterIntoUpperCase) {
    EXPECT_EQ(cardOf("SEP=x\n1XdXkXAcceptedX*XX").description, "d");
    EXPECT_EQ(failureOf("SEP=x\n1xdxkxAcceptedx*xx"), badColumnCount(1));
}

TEST(CsvImport, DoesNotRecogniseASeparatorLineThatEndsWithACarriageReturn) {
    EXPECT_EQ(failureOf("SEP=,\r\n" + goodLine), badColumnCount(2));
    EXPECT_EQ(failureOf("SEP=;\r\n1;d;k;Accepted;*;;"), badColumnCount(1));
}

struct Separator : NamedCase {
    char character;
};

class CsvImportWithASeparator : public testing::TestWithParam<Separator> {};

TEST_P(CsvImportWithASeparator, SplitsTheColumnsThere) {
    const std::string separator(1, GetParam().character);
    std::string text = "SEP=" + separator + "\n7";
    for (const char* column : {"d", "k", "Accepted", "3", "p", ""}) text += separator + column;
    const RfidCard card = cardOf(text);
    EXPECT_EQ(card.id, 7U);
    EXPECT_EQ(card.description, "d");
    ASSERT_EQ(card.tags.size(), 1U);
    EXPECT_EQ(card.tags[0].key, "k");
    EXPECT_EQ(card.evseId, 3U);
    EXPECT_EQ(card.parentId, "p");
}

INSTANTIATE_TEST_SUITE_P(Table, CsvImportWithASeparator,
                         testing::Values(Separator{{"Comma"}, ','}, Separator{{"Semicolon"}, ';'},
                                         Separator{{"Tab"}, '\t'}, Separator{{"Bar"}, '|'}, Separator{{"Blank"}, ' '},
                                         Separator{{"EqualsSign"}, '='}, Separator{{"CarriageReturn"}, '\r'},
                                         Separator{{"Digit"}, '9'}, Separator{{"UpperCaseLetter"}, 'X'},
                                         Separator{{"NulByte"}, '\0'}, Separator{{"HighByte"}, '\xE9'}),
                         test::byName);

TEST(CsvImport, LeavesNoBarForTheKeysWhereTheBarSeparatesColumns) {
    EXPECT_EQ(failureOf("SEP=|\n1|d|k1|k2|Accepted|*||"), badColumnCount(8));
    EXPECT_EQ(cardOf("SEP=|\n1|d|\"k1|k2\"|Accepted|*||").tags.size(), 2U);
}

TEST(CsvImport, CannotSeparateByQuotesBecauseOneOpensAQuotedStretch) {
    EXPECT_EQ(countOf("SEP=\""), 0U);
    EXPECT_EQ(failureOf("SEP=\"\n1\"d\"k\"Accepted\"*\"\""), badColumnCount(1));
}

TEST(CsvImport, ReadsAByteOrderMarkAsPartOfTheFirstLine) {
    EXPECT_EQ(failureOf("\xEF\xBB\xBFSEP=;\n1;d;k;Accepted;*;;"), badColumnCount(1));
    EXPECT_EQ(failureOf("\xEF\xBB\xBFSEP=,\n" + goodLine), badColumnCount(2));
    EXPECT_EQ(failureOf("\xEF\xBB\xBFid,d,t,s,e,p,x\n" + goodLine), badFirstColumn);
    EXPECT_EQ(failureOf("\xEF\xBB\xBF" + goodLine), badFirstColumn);
}

// The header

TEST(CsvImport, SkipsAFirstLineThatBeginsWithId) {
    EXPECT_EQ(countOf("id,description,tags,status,evse,parent,expiry\n" + goodLine), 1U);
    EXPECT_EQ(countOf("id\n" + goodLine), 1U);
    EXPECT_EQ(countOf("idle words\n" + goodLine), 1U);
    EXPECT_EQ(countOf("id,no data"), 0U);
}

TEST(CsvImport, SkipsAHeaderAfterEmptyLines) {
    EXPECT_EQ(countOf("SEP=,\n\n\nid,description\n\n" + goodLine), 1U);
    EXPECT_EQ(countOf("\nid,description\n" + goodLine), 1U);
}

TEST(CsvImport, SkipsAHeaderThatEndsWithACarriageReturn) {
    EXPECT_EQ(countOf("id,description\r\n" + goodLine + "\r\n"), 1U);
}

TEST(CsvImport, DropsAHeaderOfFiveCharactersAndStillSkipsTheNextOne) {
    EXPECT_EQ(countOf("id,ab\nid,description\n" + goodLine), 1U);
}

TEST(CsvImport, ReadsAHeaderInAnotherCaseAsData) {
    EXPECT_EQ(failureOf("ID,d,t,s,e,p,x\n" + goodLine), badFirstColumn);
    EXPECT_EQ(failureOf("Id,d,t,s,e,p,x\n" + goodLine), badFirstColumn);
    EXPECT_EQ(failureOf(" id,d,t,s,e,p,x\n" + goodLine), badFirstColumn);
    EXPECT_EQ(failureOf("\"id\",d,t,s,e,p,x\n" + goodLine), badFirstColumn);
    EXPECT_EQ(failureOf("i\n" + goodLine), badColumnCount(1));
}

TEST(CsvImport, ReadsASecondHeaderAsData) {
    EXPECT_EQ(failureOf("id,description\nid,d,t,s,e,p,x\n" + goodLine), badFirstColumn);
    EXPECT_EQ(failureOf(goodLine + "\nid,d,t,s,e,p,x"), badFirstColumn);
}

// Columns and quotes

TEST(CsvImport, AcceptsSevenColumnsAndNoOtherNumber) {
    std::string line = "111";
    for (std::size_t count = 1; count <= 20; ++count, line += ",111") {
        EXPECT_EQ(failureOf(line), count == 7 ? badStatus("111") : badColumnCount(count));
    }
}

TEST(CsvImport, CountsAnEmptyColumnAtTheEnd) {
    EXPECT_EQ(failureOf("1,d,k,Accepted,*,"), badColumnCount(6));
    EXPECT_EQ(failureOf("1,d,k,Accepted,*,,,"), badColumnCount(8));
}

TEST(CsvImport, ChecksTheNumberOfColumnsBeforeTheirValues) {
    EXPECT_EQ(failureOf("x,d,k,bad,bad,"), badColumnCount(6));
}

TEST(CsvImport, ReportsTheFirstColumnThenTheStatusThenTheFifthColumn) {
    EXPECT_EQ(failureOf("x,d,k,bad,bad,,"), badFirstColumn);
    EXPECT_EQ(failureOf("1,d,k,bad,bad,,"), badStatus("bad"));
    EXPECT_EQ(failureOf("1,d,k,Accepted,bad,,"), badFifthColumn);
    EXPECT_EQ(failureOf(",,,,,,"), badFirstColumn);
}

TEST(CsvImport, FailsOnTheFirstBadLine) {
    EXPECT_EQ(failureOf(goodLine + "\n1,d,k,bad,*,,\nx,d,k,Accepted,*,,\n"), badStatus("bad"));
    EXPECT_EQ(failureOf(goodLine + "\n" + goodLine + "\n1"), badColumnCount(1));
}

TEST(CsvImport, KeepsSeparatorsAndLineFeedsInsideQuotes) {
    EXPECT_EQ(cardOf(lineWith(2, "\"a,b\"")).description, "a,b");
    EXPECT_EQ(cardOf(lineWith(2, "\"a\nb\"") + "\n").description, "a\nb");
    EXPECT_EQ(cardOf(lineWith(6, "\"p,\n\nq\"")).parentId, "p,\n\nq");
    EXPECT_EQ(cardOf("SEP=;\n1;\"a;b,c\";k;Accepted;*;;").description, "a;b,c");
}

TEST(CsvImport, DropsTheQuotesAroundEveryColumn) {
    const RfidCard card = cardOf(R"("7","d","k1|k2","Accepted","3","p","2026-01-01T00:00:00Z")"
                                 "\r\n");
    EXPECT_EQ(card.id, 7U);
    EXPECT_EQ(card.description, "d");
    EXPECT_EQ(card.tags.size(), 2U);
    EXPECT_EQ(card.evseId, 3U);
    EXPECT_EQ(card.parentId, "p");
    EXPECT_EQ(card.expiryDate, at(1767225600));
}

TEST(CsvImport, ReadsQuotesWithNothingBetweenAsAnEmptyColumn) {
    const RfidCard card = cardOf(R"(1,"","",Accepted,"*","","")");
    EXPECT_EQ(card.description, "");
    EXPECT_TRUE(card.tags.empty());
    EXPECT_EQ(card.evseId, std::nullopt);
    EXPECT_EQ(card.parentId, std::nullopt);
    EXPECT_EQ(card.expiryDate, std::nullopt);
}

TEST(CsvImport, KeepsDoubledQuotesDoubled) {
    EXPECT_EQ(cardOf(lineWith(2, R"("a ""b"" c")")).description, R"(a ""b"" c)");
    EXPECT_EQ(cardOf(lineWith(2, R"(a""b)")).description, R"(a""b)");
    EXPECT_EQ(cardOf(lineWith(2, R"("""")")).description, R"("")");
    EXPECT_EQ(cardOf(lineWith(6, R"("p""q")")).parentId, R"(p""q)");
}

TEST(CsvImport, KeepsQuotesInsideAColumn) {
    EXPECT_EQ(cardOf(lineWith(2, R"(a"b,c"d)")).description, R"(a"b,c"d)");
    EXPECT_EQ(cardOf(lineWith(2, R"( "a")")).description, R"( "a")");
}

TEST(CsvImport, ReadsToTheEndOfTheTextWhereAQuoteIsNeverClosed) {
    EXPECT_EQ(failureOf("1,\"d,k,Accepted,*,,\n" + goodLine), badColumnCount(2));
    EXPECT_EQ(failureOf("1,\",k,Accepted,*,,"), badColumnCount(2));
}

TEST(CsvImport, KeepsAColumnOfOneQuote) {
    // The last column is the only one that can be a single quote without hiding the columns behind it.
    EXPECT_EQ(cardOf(lineWith(7, "\"")).expiryDate, std::nullopt);
}

TEST(CsvImport, KeepsBlanksAroundValues) {
    EXPECT_EQ(cardOf(lineWith(2, " d ")).description, " d ");
    EXPECT_EQ(cardOf(lineWith(6, " ")).parentId, " ");
    EXPECT_EQ(keysOf(" k1 | k2 "), (std::vector<std::string>{" k1 ", " k2 "}));
}

TEST(CsvImport, KeepsNulBytes) {
    const RfidCard card = cardOf("1,a\0b,k\0l,Accepted,*,p\0,"s);
    EXPECT_EQ(card.description, "a\0b"s);
    EXPECT_EQ(card.tags.at(0).key, "k\0l"s);
    EXPECT_EQ(card.tags.at(0).hash, hashKey("k\0l"s));
    EXPECT_EQ(card.parentId, "p\0"s);
    EXPECT_EQ(failureOf("1,d,k,Accepted\0,*,,"s), "std::invalid_argument: Accepted");  // what() ends at the NUL byte
}

// Line ends

TEST(CsvImport, ReadsALineThatEndsWithACarriageReturnAsIfItWereAbsent) {
    EXPECT_EQ(cardOf(goodLine + "\r\n").expiryDate, std::nullopt);
    EXPECT_EQ(cardOf(goodLine + "\r").expiryDate, std::nullopt);
    EXPECT_EQ(cardOf(lineWith(7, "2026-01-01T00:00:00Z") + "\r\n").expiryDate, at(1767225600));
    EXPECT_EQ(countOf(goodLine + "\r\n" + goodLine + "\r\n"), 2U);
}

TEST(CsvImport, KeepsCarriageReturnsWithinALine) {
    EXPECT_EQ(cardOf(lineWith(2, "d\r")).description, "d\r");
    EXPECT_EQ(cardOf(lineWith(6, "\rp")).parentId, "\rp");
}

TEST(CsvImport, ReadsACarriageReturnOnALineOfItsOwnAsOneColumn) {
    EXPECT_EQ(failureOf(goodLine + "\r\n\r\n" + goodLine), badColumnCount(1));
}

TEST(CsvImport, DoesNotEndLinesAtCarriageReturnsAlone) {
    EXPECT_EQ(failureOf(goodLine + "\r" + goodLine), badColumnCount(13));
}

// Numbers

struct Number : NamedCase {
    std::string text;
    std::optional<unsigned> value;  // none: refused
};

class CsvImportOfANumber : public testing::TestWithParam<Number> {};

TEST_P(CsvImportOfANumber, ReadsTheLeadingDigitsOfAnId) {
    const std::string line = lineWith(1, GetParam().text);
    EXPECT_EQ(failureOf(line), GetParam().value ? "nothing" : badFirstColumn);
    if (GetParam().value) {
        EXPECT_EQ(cardOf(line).id, GetParam().value);
    }
}

TEST_P(CsvImportOfANumber, ReadsTheLeadingDigitsOfAnEvseId) {
    const std::string line = lineWith(5, GetParam().text);
    EXPECT_EQ(failureOf(line), GetParam().value ? "nothing" : badFifthColumn);
    if (GetParam().value) {
        EXPECT_EQ(cardOf(line).evseId, GetParam().value);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, CsvImportOfANumber,
                         testing::Values(Number{{"Zero"}, "0", 0}, Number{{"LeadingZeros"}, "007", 7},
                                         Number{{"Largest"}, "4294967295", 4294967295},
                                         Number{{"TooLarge"}, "4294967296", {}},
                                         Number{{"FarTooLarge"}, "99999999999999999999999", {}},
                                         Number{{"TooLargeWithTrailingText"}, "4294967296abc", {}},
                                         Number{{"TrailingText"}, "12abc", 12}, Number{{"TrailingBlank"}, "12 ", 12},
                                         Number{{"Fraction"}, "1.5", 1}, Number{{"Exponent"}, "1e3", 1},
                                         Number{{"Hexadecimal"}, "0x10", 0}, Number{{"NulByte"}, "1\0002"s, 1},
                                         Number{{"Quoted"}, "\"5\"", 5}, Number{{"Plus"}, "+5", {}},
                                         Number{{"Minus"}, "-5", {}}, Number{{"LeadingBlank"}, " 12", {}},
                                         Number{{"LeadingTab"}, "\t12", {}}, Number{{"Blank"}, " ", {}},
                                         Number{{"Empty"}, "", {}}, Number{{"Word"}, "x", {}}),
                         test::byName);

TEST(CsvImport, ReadsAStarAsNoEvse) {
    EXPECT_EQ(cardOf(lineWith(5, "*")).evseId, std::nullopt);
    EXPECT_EQ(failureOf(lineWith(5, "**")), badFifthColumn);
    EXPECT_EQ(failureOf(lineWith(5, "* ")), badFifthColumn);
    EXPECT_EQ(failureOf(lineWith(1, "*")), badFirstColumn);
}

TEST(CsvImport, ReadsPlainDigitsWhateverTheGlobalLocale) {
    const test::GroupingLocale locale;
    const RfidCard card = cardOf("1234567,d,k,Accepted,1.234.567,,");
    EXPECT_EQ(card.id, 1234567U);
    EXPECT_EQ(card.evseId, 1U);
    EXPECT_EQ(failureOf("1"), badColumnCount(1));
    std::string wide = "1";
    for (int i = 0; i < 1999; ++i) wide += ",1";
    EXPECT_EQ(failureOf(wide), badColumnCount(2000));
}

// Tags, status, expiry date

TEST(CsvImport, MakesATagOfEveryPieceBetweenBars) {
    using Keys = std::vector<std::string>;
    EXPECT_EQ(keysOf(""), Keys{});
    EXPECT_EQ(keysOf("A"), Keys{"A"});
    EXPECT_EQ(keysOf("A|B|C"), (Keys{"A", "B", "C"}));
    EXPECT_EQ(keysOf("A|"), (Keys{"A", ""}));
    EXPECT_EQ(keysOf("|A"), (Keys{"", "A"}));
    EXPECT_EQ(keysOf("|"), (Keys{"", ""}));
    EXPECT_EQ(keysOf("A||B"), (Keys{"A", "", "B"}));
    EXPECT_EQ(keysOf("A|A"), (Keys{"A", "A"}));
}

TEST(CsvImport, SplitsKeysAtBarsInsideQuotesToo) {
    EXPECT_EQ(keysOf(R"(k1|"k2|k3")"), (std::vector<std::string>{"k1", "\"k2", "k3\""}));
    EXPECT_EQ(keysOf(R"("k1|k2")"), (std::vector<std::string>{"k1", "k2"}));
}

TEST(CsvImport, ReadsEveryStatusText) {
    const std::vector<std::string> texts{"Accepted", "Expired", "Blocked", "Invalid", "ConcurrentTx", "Operator"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(cardOf(lineWith(4, texts[i])).status, static_cast<RfidCardStatus>(i)) << texts[i];
    }
}

TEST(CsvImport, RefusesEveryOtherStatusText) {
    for (const char* text : {"accepted", "ACCEPTED", "", " Accepted", "Accepted ", "Accept", "AcceptedAccepted", "0",
                             "NotFound_NotFound_NotFound"}) {
        EXPECT_EQ(failureOf(lineWith(4, text)), badStatus(text));
    }
}

TEST(CsvImport, ReadsAnExpiryDateThatIsNoTimeAsNone) {
    for (const char* text : {"never", "0", " ", "2026-13-01T00:00:00Z", "*"}) {
        EXPECT_EQ(cardOf(lineWith(7, text)).expiryDate, std::nullopt) << text;
    }
}

TEST(CsvImport, ReadsAnExpiryDateAtTheEpoch) {
    EXPECT_EQ(cardOf(lineWith(7, "1970-01-01T00:00:00Z")).expiryDate, at(0));
}

// Large texts

TEST(CsvImport, ReadsALineOfTenMegabytes) {
    const std::string description(10'000'000, 'a');
    EXPECT_TRUE(cardOf(lineWith(2, description)).description == description);
    EXPECT_EQ(failureOf(description), badColumnCount(1));
}

TEST(CsvImport, CountsAMillionSeparators) {
    EXPECT_EQ(failureOf(std::string(1'000'000, ',')), badColumnCount(1'000'001));
}

TEST(CsvImport, ReadsAMillionEmptyLines) { EXPECT_EQ(countOf(std::string(1'000'000, '\n') + goodLine), 1U); }

TEST(CsvImport, ReadsADescriptionOfAMillionQuotes) {
    const std::string quotes(1'000'000, '"');
    EXPECT_EQ(cardOf(lineWith(2, quotes)).description.size(), 999'998U);
}

TEST(CsvImport, ReadsACardOfTenThousandKeys) {
    EXPECT_EQ(cardOf(lineWith(3, std::string(9'999, '|'))).tags.size(), 10'000U);
}

}  // namespace
}  // namespace oru::kadi::authlist
