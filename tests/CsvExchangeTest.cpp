// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "authlist/CsvExchange.h"
#include "authlist/KeyHash.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::at;
using test::cardWithKey;
using test::fieldsOf;
using test::NamedCase;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

using Keys = std::vector<std::optional<std::string>>;

constexpr auto noKey = std::nullopt;

/// Card 1 with a tag for each of keys; a tag without key has only a hash.
RfidCard cardWithKeys(const Keys& keys) {
    RfidCard card;
    card.id = 1;
    card.description = "d";
    for (const auto& key : keys) card.tags.push_back(RfidTag{hashKey("hidden"), key, std::nullopt});
    return card;
}

/// The line of a single card, without the separator line before it.
std::string exportedLine(const RfidCard& card) {
    const std::string text = serializeRfidsAsCsv({card});
    EXPECT_EQ(text.substr(0, 6), "SEP=,\n");
    return text.substr(std::min<std::size_t>(6, text.size()));
}

TEST(CsvExport, WritesNothingForAnEmptyList) { EXPECT_EQ(serializeRfidsAsCsv({}), ""); }

TEST(CsvExport, WritesNothingWhenNoCardHasAPlainKey) {
    EXPECT_EQ(serializeRfidsAsCsv({cardWithKeys({noKey}), cardWithKeys({noKey, noKey})}), "");
}

TEST(CsvExport, WritesNothingForACardWithoutTags) { EXPECT_EQ(serializeRfidsAsCsv({cardWithKeys({})}), ""); }

TEST(CsvExport, WritesTheSevenColumnsOfAFullCardAndNothingElse) {
    RfidCard card = cardWithKey("04A2B3");
    card.id = 4294967295;
    card.description = "Main door";
    card.status = RfidCardStatus::ConcurrentTx;
    card.expiryDate = at(1798761599);
    card.parentId = "FLEET-1";
    card.evseId = 4294967295;
    card.extraData = R"({"a":1})";
    card.tags[0].extraData = R"({"b":2})";
    card.recordLifetime = 3600;
    EXPECT_EQ(serializeRfidsAsCsv({card}),
              "SEP=,\n4294967295,Main door,04A2B3,ConcurrentTx,4294967295,FLEET-1,2026-12-31T23:59:59Z");
}

TEST(CsvExport, WritesACardWithNothingSetButAKey) {
    RfidCard card;
    card.tags.push_back(RfidTag{"", "K", std::nullopt});
    EXPECT_EQ(serializeRfidsAsCsv({card}), "SEP=,\n0,,K,Accepted,*,,");
}

TEST(CsvExport, WritesACardWhoseKeyIsPresentButEmpty) {
    EXPECT_EQ(serializeRfidsAsCsv({cardWithKeys({""})}), "SEP=,\n1,d,,Accepted,*,,");
}

TEST(CsvExport, WritesEvseZeroAsANumber) {
    RfidCard card = cardWithKeys({"K"});
    card.evseId = 0;
    EXPECT_EQ(exportedLine(card), "1,d,K,Accepted,0,,");
}

TEST(CsvExport, WritesEveryStatusAsItsText) {
    const std::vector<std::string> texts{"Accepted", "Expired", "Blocked", "Invalid", "ConcurrentTx", "Operator"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        RfidCard card = cardWithKeys({"K"});
        card.status = static_cast<RfidCardStatus>(i);
        EXPECT_EQ(exportedLine(card), "1,d,K," + texts[i] + ",*,,");
    }
}

TEST(CsvExport, RefusesAStatusOutsideTheEnumeration) {
    RfidCard card = cardWithKeys({"K"});
    card.status = static_cast<RfidCardStatus>(-1);
    EXPECT_EQ(thrownBy([&] { serializeRfidsAsCsv({card}); }),
              "std::invalid_argument: -1 was not found in N3oru4kadi8authlist14RfidCardStatusE");
}

TEST(CsvExport, DoesNotLookAtTheStatusOfACardThatItSkips) {
    RfidCard card = cardWithKeys({noKey});
    card.status = static_cast<RfidCardStatus>(7);
    EXPECT_EQ(serializeRfidsAsCsv({card}), "");
}

TEST(CsvExport, CutsTheExpiryDateToTheWholeSecond) {
    RfidCard card = cardWithKeys({"K"});
    card.expiryDate = at(1767225600) + std::chrono::nanoseconds(999999999);
    EXPECT_EQ(exportedLine(card), "1,d,K,Accepted,*,,2026-01-01T00:00:00Z");
}

TEST(CsvExport, WritesAnExpiryDateAtTheEpoch) {
    RfidCard card = cardWithKeys({"K"});
    card.expiryDate = at(0);
    EXPECT_EQ(exportedLine(card), "1,d,K,Accepted,*,,1970-01-01T00:00:00Z");
}

TEST(CsvExport, WritesTheSeparatorLineOnceAndNoLineEndAfterTheLastCard) {
    EXPECT_EQ(serializeRfidsAsCsv({cardWithKeys({"A"}), cardWithKeys({"B"}), cardWithKeys({"C"})}),
              "SEP=,\n1,d,A,Accepted,*,,\n1,d,B,Accepted,*,,\n1,d,C,Accepted,*,,");
}

TEST(CsvExport, EndsEveryLineOnceACardIsSkipped) {
    const RfidCard a = cardWithKeys({"A"});
    const RfidCard b = cardWithKeys({"B"});
    const RfidCard hidden = cardWithKeys({noKey});
    const std::string bothLines = "SEP=,\n1,d,A,Accepted,*,,\n1,d,B,Accepted,*,,\n";
    EXPECT_EQ(serializeRfidsAsCsv({a, hidden, b}), bothLines);
    EXPECT_EQ(serializeRfidsAsCsv({hidden, a, b}), bothLines);
    EXPECT_EQ(serializeRfidsAsCsv({a, b, hidden}), bothLines);
}

/// The text of count equal cards, all of them written.
std::string exportOfEqualCards(std::size_t count) {
    return serializeRfidsAsCsv(std::vector<RfidCard>(count, cardWithKeys({"K"})));
}

TEST(CsvExport, CountsTheCardsInSixteenBits) {
    std::string lines = "SEP=,";
    for (int i = 0; i < 65535; ++i) lines += "\n1,d,K,Accepted,*,,";
    EXPECT_TRUE(exportOfEqualCards(65535) == lines);
    lines += "\n1,d,K,Accepted,*,,";
    EXPECT_TRUE(exportOfEqualCards(65536) == lines + "\n") << "the counter is 0 again after the last card";
    lines += "\n1,d,K,Accepted,*,,";
    EXPECT_TRUE(exportOfEqualCards(65537) == lines + "\n") << "and 1 here; the separator line still stands only once";
}

TEST(CsvExport, CountsThePositionsOfTagsInSixteenBits) {
    std::string keys = "K";
    for (int i = 1; i < 65535; ++i) keys += "|K";
    EXPECT_TRUE(exportedLine(cardWithKeys(Keys(65535, "K"))) == "1,d," + keys + ",Accepted,*,,");
    EXPECT_TRUE(exportedLine(cardWithKeys(Keys(65536, "K"))) == "1,d," + keys + "|K|,Accepted,*,,");
    EXPECT_TRUE(exportedLine(cardWithKeys(Keys(65537, "K"))) == "1,d," + keys + "|K|K|,Accepted,*,,");
}

TEST(CsvExport, PutsABarAfterEachKeyThatIsNotTheLastTag) {
    const std::vector<std::pair<Keys, std::string>> table{
        {{"A"}, "A"},
        {{"A", "B"}, "A|B"},
        {{noKey, "K"}, "K"},
        {{"K", noKey}, "K|"},
        {{"A", "B", noKey}, "A|B|"},
        {{noKey, "A", noKey, "B"}, "A|B"},
        {{noKey, noKey, "K", noKey, noKey}, "K|"},
        {{"A", "", "B"}, "A||B"},
        {{"", ""}, "|"},
        {{"A", "A"}, "A|A"},
    };
    for (const auto& [keys, column] : table) {
        EXPECT_EQ(exportedLine(cardWithKeys(keys)), "1,d," + column + ",Accepted,*,,");
    }
}

TEST(CsvExport, NeitherQuotesNorEscapesAnythingButTheDescription) {
    RfidCard card = cardWithKeys({"a,b", "c\"d", "e|f", "g\nh"});
    card.parentId = "p,\"q\"\n";
    EXPECT_EQ(exportedLine(card), "1,d,a,b|c\"d|e|f|g\nh,Accepted,*,p,\"q\"\n,");
}

struct Quoting : NamedCase {
    std::string description;
    std::string column;
};

class CsvExportOfADescription : public testing::TestWithParam<Quoting> {};

TEST_P(CsvExportOfADescription, QuotesWhereCommasLineFeedsOrQuotesStand) {
    RfidCard card = cardWithKeys({"K"});
    card.description = GetParam().description;
    EXPECT_EQ(exportedLine(card), "1," + GetParam().column + ",K,Accepted,*,,");
}

INSTANTIATE_TEST_SUITE_P(Table, CsvExportOfADescription,
                         testing::Values(Quoting{{"Comma"}, "a,b", "\"a,b\""},
                                         Quoting{{"LineFeed"}, "a\nb", "\"a\nb\""},
                                         Quoting{{"Quote"}, "a\"b", "\"a\"\"b\""},
                                         Quoting{{"LoneQuote"}, "\"", "\"\"\"\""},
                                         Quoting{{"TwoQuotes"}, "\"\"", "\"\"\"\"\"\""},
                                         Quoting{{"QuotesAtBothEnds"}, "\"a\"", "\"\"\"a\"\"\""},
                                         Quoting{{"EverythingAtOnce"}, "a,\"b\"\n", "\"a,\"\"b\"\"\n\""},
                                         Quoting{{"CarriageReturn"}, "a\rb", "a\rb"}, Quoting{{"Bar"}, "a|b", "a|b"},
                                         Quoting{{"Semicolon"}, "a;b", "a;b"}, Quoting{{"BlanksAround"}, " a ", " a "},
                                         Quoting{{"NulByte"}, std::string("a\0b", 3), std::string("a\0b", 3)},
                                         Quoting{{"Utf8"}, "Türöffner", "Türöffner"},
                                         Quoting{{"NotUtf8"}, "\xFF\xFE", "\xFF\xFE"}, Quoting{{"Empty"}, "", ""}),
                         test::byName);

TEST(CsvExport, WritesPlainDigitsWhateverTheGlobalLocale) {
    const test::GroupingLocale locale;
    std::ostringstream grouped;
    grouped << 1234567;
    ASSERT_EQ(grouped.str(), "1.234.567");

    RfidCard card = cardWithKeys({"K"});
    card.id = 1234567;
    card.evseId = 7654321;
    EXPECT_EQ(exportedLine(card), "1234567,d,K,Accepted,7654321,,");
}

TEST(CsvRoundTrip, KeepsWhatTheSevenColumnsCarry) {
    RfidCard full = cardWithKey("04A2B3");
    full.id = 7;
    full.description = "Gate 3, north\nsecond line";
    full.tags.push_back(test::tagWithKey("second key"));
    full.status = RfidCardStatus::Operator;
    full.expiryDate = at(1798761599);
    full.parentId = "FLEET-1";
    full.evseId = 2;
    RfidCard plain = cardWithKey("plain");
    plain.id = 8;

    std::vector<RfidCard> read = deserializeRfidsFromCsv(serializeRfidsAsCsv({full, plain}));
    for (RfidCard& card : read) card.lastAccessTime = card.lastModificationTime = full.lastAccessTime;
    EXPECT_EQ(fieldsOf(read), fieldsOf(std::vector<RfidCard>{full, plain}));
}

TEST(CsvRoundTrip, ComputesHashesAnewAndDropsExtraDataAndLifetime) {
    RfidCard card = cardWithKey("K");
    card.tags[0].hash = hashKey("another key");
    card.tags[0].extraData = R"({"b":2})";
    card.extraData = R"({"a":1})";
    card.recordLifetime = 60;
    const RfidCard read = deserializeRfidsFromCsv(serializeRfidsAsCsv({card})).at(0);
    EXPECT_EQ(read.tags.at(0).hash, hashKey("K"));
    EXPECT_EQ(read.tags.at(0).extraData, std::nullopt);
    EXPECT_EQ(read.extraData, std::nullopt);
    EXPECT_EQ(read.recordLifetime, std::nullopt);
}

TEST(CsvRoundTrip, DoublesTheQuotesOfADescriptionEachTime) {
    RfidCard card = cardWithKeys({"K"});
    card.description = R"(the "red" door)";
    const std::vector<RfidCard> once = deserializeRfidsFromCsv(serializeRfidsAsCsv({card}));
    ASSERT_EQ(once.size(), 1U);
    EXPECT_EQ(once[0].description, R"(the ""red"" door)");
    EXPECT_EQ(deserializeRfidsFromCsv(serializeRfidsAsCsv(once)).at(0).description, R"(the """"red"""" door)");
}

TEST(CsvRoundTrip, ReadsTheBarAfterTheLastKeyAsAnEmptyKey) {
    const RfidCard read = deserializeRfidsFromCsv(serializeRfidsAsCsv({cardWithKeys({"A", "B", noKey})})).at(0);
    ASSERT_EQ(read.tags.size(), 3U);
    EXPECT_EQ(read.tags[2].key, "");
}

TEST(CsvRoundTrip, GivesACardWithoutIdTheIdZero) {
    EXPECT_EQ(deserializeRfidsFromCsv(serializeRfidsAsCsv({cardWithKey("K")})).at(0).id, 0U);
}

TEST(CsvRoundTrip, FailsOnAKeyThatHoldsASeparator) {
    const std::string text = serializeRfidsAsCsv({cardWithKeys({"a,b"})});
    EXPECT_EQ(thrownBy([&] { deserializeRfidsFromCsv(text); }),
              "std::runtime_error: Invalid number of columns on imported csv line (expectation: 7, reality: 8)");
}

/// The columns after trimming, and a check that the copy returned holds the same.
std::vector<std::string_view> trimmed(std::vector<std::string_view> columns) {
    const std::vector<std::string_view> copy = trimCsvColumns(columns);
    EXPECT_EQ(copy, columns);
    return columns;
}

TEST(TrimCsvColumns, LeavesNoColumnsAsTheyAre) { EXPECT_THAT(trimmed({}), IsEmpty()); }

TEST(TrimCsvColumns, DropsOneCarriageReturnAtTheEndOfTheLastColumn) {
    EXPECT_THAT(trimmed({"a", "b\r"}), ElementsAre("a", "b"));
    EXPECT_THAT(trimmed({"a", "\r"}), ElementsAre("a", ""));
    EXPECT_THAT(trimmed({"a", "b\r\r"}), ElementsAre("a", "b\r"));
    EXPECT_THAT(trimmed({"a", ""}), ElementsAre("a", ""));
}

TEST(TrimCsvColumns, KeepsEveryOtherCarriageReturn) {
    EXPECT_THAT(trimmed({"a\r", "b\rc", "\rd"}), ElementsAre("a\r", "b\rc", "\rd"));
}

TEST(TrimCsvColumns, DropsTheQuotesAroundEveryColumn) {
    EXPECT_THAT(trimmed({"\"a\"", "b", "\"\"", "\"c d\""}), ElementsAre("a", "b", "", "c d"));
}

TEST(TrimCsvColumns, DropsOnlyTheOuterPairOfQuotes) {
    EXPECT_THAT(trimmed({"\"\"a\"\"", "\"\"\"", "\"a\"\"b\""}), ElementsAre("\"a\"", "\"", "a\"\"b"));
}

TEST(TrimCsvColumns, KeepsAColumnOfOneQuote) { EXPECT_THAT(trimmed({"\"", "\""}), ElementsAre("\"", "\"")); }

TEST(TrimCsvColumns, KeepsQuotesThatStandOnOneSideOnly) {
    EXPECT_THAT(trimmed({"\"a", "a\"", "a\"b", " \"a\""}), ElementsAre("\"a", "a\"", "a\"b", " \"a\""));
}

TEST(TrimCsvColumns, DropsTheCarriageReturnBeforeItLooksForQuotes) {
    EXPECT_THAT(trimmed({"\"a\"\r", "\"b\"\r"}), ElementsAre("\"a\"\r", "b"));
    EXPECT_THAT(trimmed({"\"b\r\""}), ElementsAre("b\r"));
}

TEST(TrimCsvColumns, KeepsBlanks) { EXPECT_THAT(trimmed({" a ", "\" b \""}), ElementsAre(" a ", " b ")); }

}  // namespace
}  // namespace oru::kadi::authlist
