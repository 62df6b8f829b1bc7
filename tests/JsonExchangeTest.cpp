// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "authlist/KeyHash.h"
#include "oru/common/lwjson/Deserializer.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/ExchangedCards.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::at;
using test::cardWithKey;
using test::fieldsOf;
using test::fullCard;
using test::NamedCase;
using test::thrownBy;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

RfidCard cardWithExtraData(const std::string& extraData) {
    RfidCard card = cardWithKey("K");
    card.extraData = extraData;
    return card;
}

RfidCard cardWithTagExtraData(const std::string& extraData) {
    RfidCard card = cardWithKey("K");
    card.tags[0].extraData = extraData;
    return card;
}

/// The cards after an export and an import.
std::vector<RfidCard> roundTrip(const std::vector<RfidCard>& cards) {
    return deserializeRfidsFromJson(serializeRfidsAsJson(cards, std::nullopt));
}

TEST(JsonExport, WritesAnEmptyListWithItsVersion) {
    EXPECT_EQ(serializeRfidsAsJson({}, 5), R"({"listVersion":5,"localAuthorizationList":[]})");
    EXPECT_EQ(serializeRfidsAsJson({}, 0), R"({"listVersion":0,"localAuthorizationList":[]})");
    EXPECT_EQ(serializeRfidsAsJson({}, 4294967295), R"({"listVersion":4294967295,"localAuthorizationList":[]})");
}

TEST(JsonExport, WritesAnEmptyTextWithoutAVersion) {
    EXPECT_EQ(serializeRfidsAsJson({}, std::nullopt), R"({"listVersion":"","localAuthorizationList":[]})");
}

TEST(JsonExport, WritesEveryMemberOfAFullCardInOrder) {
    EXPECT_EQ(serializeRfidsAsJson({fullCard()}, 5),
              R"({"listVersion":5,"localAuthorizationList":[{"id":70,"description":"Main door",)"
              R"("status":"ConcurrentTx","lastAccessTime":"2026-01-01T00:00:00Z",)"
              R"("lastModificationTime":"2026-01-01T00:00:01Z","tags":[{"hash":")" +
                  hashKey("04A2B3") + R"(","key":"04A2B3","extraData":{"b": 2}},{"hash":")" + hashKey("hidden") +
                  R"(","key":"","extraData":null}],"evseId":2,"expiryDate":"2026-12-31T23:59:59Z",)"
                  R"("extraData":{"a":[1 ,{}]},"parentId":"FLEET-1","recordLifetime":3600}]})");
}

TEST(JsonExport, WritesAllMembersOfACardWithNothingSet) {
    EXPECT_EQ(serializeRfidsAsJson({RfidCard{}}, std::nullopt),
              R"({"listVersion":"","localAuthorizationList":[{"id":0,"description":"","status":"Accepted",)"
              R"("lastAccessTime":"1970-01-01T00:00:00Z","lastModificationTime":"1970-01-01T00:00:00Z","tags":[],)"
              R"("evseId":"","expiryDate":"","extraData":null,"parentId":"","recordLifetime":""}]})");
}

TEST(JsonExport, WritesAnEmptyKeyAndExtraDataThatAreSetLikeAbsentOnes) {
    RfidCard absent = cardWithKey("K");
    absent.tags[0].key.reset();
    RfidCard empty = absent;
    empty.tags[0].key = empty.tags[0].extraData = empty.extraData = empty.parentId = "";
    EXPECT_EQ(serializeRfidsAsJson({empty}, 1), serializeRfidsAsJson({absent}, 1));
}

TEST(JsonExport, WritesZerosThatAreSetAsNumbers) {
    RfidCard card;
    card.evseId = card.recordLifetime = 0;
    const std::string text = serializeRfidsAsJson({card}, std::nullopt);
    EXPECT_THAT(text, HasSubstr(R"("evseId":0,)"));
    EXPECT_THAT(text, HasSubstr(R"("recordLifetime":0})"));
}

TEST(JsonExport, WritesTheLargestNumbers) {
    RfidCard card;
    card.id = card.evseId = card.recordLifetime = 4294967295;
    const std::string text = serializeRfidsAsJson({card}, std::nullopt);
    EXPECT_THAT(text, HasSubstr(R"({"id":4294967295,)"));
    EXPECT_THAT(text, HasSubstr(R"("evseId":4294967295,)"));
    EXPECT_THAT(text, HasSubstr(R"("recordLifetime":4294967295})"));
}

TEST(JsonExport, CutsTimesToTheWholeSecond) {
    RfidCard card = cardWithKey("K");
    card.expiryDate = card.lastAccessTime += std::chrono::nanoseconds(999999999);
    const std::string text = serializeRfidsAsJson({card}, std::nullopt);
    EXPECT_THAT(text, HasSubstr(R"("lastAccessTime":"2026-01-01T00:00:00Z")"));
    EXPECT_THAT(text, HasSubstr(R"("expiryDate":"2026-01-01T00:00:00Z")"));
}

TEST(JsonExport, WritesEveryStatusAsItsText) {
    for (const char* text : {"Accepted", "Expired", "Blocked", "Invalid", "ConcurrentTx", "Operator"}) {
        const RfidCard card = cardWithKey("K", statusFromText(text));
        EXPECT_THAT(serializeRfidsAsJson({card}, 1), HasSubstr(R"("status":")" + std::string(text) + "\","));
    }
}

TEST(JsonExport, RefusesAStatusOutsideTheEnumeration) {
    EXPECT_EQ(thrownBy([] { serializeRfidsAsJson({cardWithKey("K", static_cast<RfidCardStatus>(6))}, 1); }),
              "std::invalid_argument: 6 was not found in N3oru4kadi8authlist14RfidCardStatusE");
}

TEST(JsonExport, KeepsTheOrderOfCardsAndWritesThoseWithoutKeyToo) {
    std::vector<RfidCard> cards(3, cardWithKey("K"));
    cards[0].id = 9;
    cards[1].id = 2;
    cards[1].tags[0].key.reset();
    cards[2].tags.clear();
    cards[2].id = 5;
    const std::vector<RfidCard> read = roundTrip(cards);
    ASSERT_EQ(read.size(), 3U);
    EXPECT_EQ(read[0].id, 9U);
    EXPECT_EQ(read[1].id, 2U);
    EXPECT_EQ(read[2].id, 5U);
}

TEST(JsonExport, WritesPlainDigitsWhateverTheGlobalLocale) {
    const test::GroupingLocale locale;
    std::ostringstream grouped;
    grouped << 1234567;
    ASSERT_EQ(grouped.str(), "1.234.567");

    RfidCard card;
    card.id = card.evseId = card.recordLifetime = 1234567;
    const std::string text = serializeRfidsAsJson({card}, 7654321);
    EXPECT_THAT(text, HasSubstr(R"({"listVersion":7654321,)"));
    EXPECT_THAT(text, HasSubstr(R"({"id":1234567,)"));
    EXPECT_THAT(text, HasSubstr(R"("evseId":1234567,)"));
    EXPECT_THAT(text, HasSubstr(R"("recordLifetime":1234567})"));
    EXPECT_EQ(fieldsOf(deserializeRfidsFromJson(text)), fieldsOf(std::vector<RfidCard>{card}));
}

// Extra data

TEST(JsonExport, EmbedsExtraDataAsTheValueThatItHolds) {
    for (const char* extraData : {"{}", R"({"a":1})", "[1,2]", "5", "true", "null", R"("text")", R"({ "a" : [ ] })"}) {
        EXPECT_THAT(serializeRfidsAsJson({cardWithExtraData(extraData)}, 1),
                    HasSubstr("\"extraData\":" + std::string(extraData) + ",\"parentId\""));
        EXPECT_THAT(serializeRfidsAsJson({cardWithTagExtraData(extraData)}, 1),
                    HasSubstr("\"extraData\":" + std::string(extraData) + "}],\"evseId\""));
    }
}

struct BadExtraData : NamedCase {
    std::string text;
};

class JsonExportOfBadExtraData : public testing::TestWithParam<BadExtraData> {};

TEST_P(JsonExportOfBadExtraData, ThrowsNamingTheCard) {
    for (RfidCard card : {cardWithExtraData(GetParam().text), cardWithTagExtraData(GetParam().text)}) {
        card.id = 4711;
        EXPECT_THAT(thrownBy([&] {
                        serializeRfidsAsJson({fullCard(), card}, 1);
                    }),
                    AllOf(StartsWith("std::invalid_argument: "), HasSubstr("4711")));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, JsonExportOfBadExtraData,
                         testing::Values(BadExtraData{{"Word"}, "visitor"}, BadExtraData{{"OpenObject"}, R"({"a":1)"},
                                         BadExtraData{{"TwoValues"}, "{} {}"},
                                         BadExtraData{{"TrailingComma"}, R"({"a":1,})"},
                                         BadExtraData{{"ClosesTheCard"}, R"({},"id":8)"}, BadExtraData{{"Blank"}, " "},
                                         BadExtraData{{"NotUtf8"}, "{\"a\":\"\xFF\"}"},
                                         BadExtraData{{"NulByte"}, std::string("{}\0", 3)}),
                         test::byName);

// Round trips

TEST(JsonRoundTrip, KeepsEveryField) {
    RfidCard second = cardWithKey("plain");
    second.id = 8;
    RfidCard third;
    third.id = 9;
    third.recordLifetime = 0;
    third.lastAccessTime = at(4294967295);
    const std::vector<RfidCard> cards{fullCard(), second, third};
    EXPECT_EQ(fieldsOf(roundTrip(cards)), fieldsOf(cards));
}

TEST(JsonRoundTrip, LeavesUnsetWhatWasUnset) {
    RfidCard card = cardWithKey("K");
    card.id = 1;
    const RfidCard read = roundTrip({card}).at(0);
    EXPECT_EQ(read.evseId, std::nullopt);
    EXPECT_EQ(read.parentId, std::nullopt);
    EXPECT_EQ(read.expiryDate, std::nullopt);
    EXPECT_EQ(read.recordLifetime, std::nullopt);
    EXPECT_EQ(read.extraData, std::nullopt);
    EXPECT_EQ(read.tags.at(0).extraData, std::nullopt);
}

TEST(JsonRoundTrip, GivesACardWithoutIdTheIdZero) { EXPECT_EQ(roundTrip({RfidCard{}}).at(0).id, 0U); }

TEST(JsonRoundTrip, LosesEvseZero) {
    RfidCard card;
    card.evseId = 0;
    EXPECT_EQ(roundTrip({card}).at(0).evseId, std::nullopt);
}

TEST(JsonRoundTrip, KeepsEveryCharacterOfTexts) {
    std::string everything;
    for (char character = 0; character < 127; ++character) everything += character;
    everything += "\x7F\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\x91\xE2\x80\xA8";
    RfidCard card = cardWithKey(everything);
    card.id = 1;
    card.description = everything;
    card.parentId = everything + everything;
    EXPECT_EQ(fieldsOf(roundTrip({card})), fieldsOf(std::vector<RfidCard>{card}));
}

// The one status that OCPP does not know.
TEST(OperatorStatus, IsAcceptedAndProducedLikeTheOthersOnPurpose) {
    RfidCard card = cardWithKey("k");
    card.status = RfidCardStatus::Operator;
    EXPECT_THAT(serializeRfidsAsJson({card}, std::nullopt), testing::HasSubstr(R"("status":"Operator")"));
    EXPECT_EQ(roundTrip({card}).at(0).status, RfidCardStatus::Operator);
    EXPECT_THAT(serializeRfidsAsCsv({card}), testing::HasSubstr(",Operator,"));
    EXPECT_EQ(deserializeRfidsFromCsv(serializeRfidsAsCsv({card})).at(0).status, RfidCardStatus::Operator);
}

TEST(JsonRoundTrip, ReplacesBytesThatAreNotUtf8) {
    RfidCard card;
    card.description =
        "a\xFF"
        "b";
    card.parentId = "\xC3";
    const RfidCard read = roundTrip({card}).at(0);
    EXPECT_EQ(read.description,
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(read.parentId, "\xEF\xBF\xBD");
}

TEST(JsonRoundTrip, KeepsExtraDataToTheByte) {
    RfidCard card = cardWithExtraData("{ \"a\" : [ 1 ,2.50E+1 ] ,\r\n\t\"a\":{\"\\u0041\":\"\\/\"} }");
    card.id = 1;
    card.tags[0].extraData = "{\n}";
    EXPECT_EQ(fieldsOf(roundTrip({card})), fieldsOf(std::vector<RfidCard>{card}));
}

TEST(JsonRoundTrip, KeepsExtraDataOfAHundredThousandLevels) {
    RfidCard card = cardWithExtraData(R"({"deep":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}");
    card.id = 1;
    EXPECT_TRUE(fieldsOf(roundTrip({card})) == fieldsOf(std::vector<RfidCard>{card}));
}

// The deepest that is written must be read again, also where it stands deepest: in a tag.
TEST(JsonRoundTrip, KeepsExtraDataAsDeepAsTheExportWritesIt) {
    constexpr std::size_t deepest = 199'900;
    const auto nested = [](std::size_t levels) {
        return R"({"deep":)" + std::string(levels - 1, '[') + std::string(levels - 1, ']') + "}";
    };
    RfidCard card = cardWithExtraData(nested(deepest));
    card.id = 1;
    card.tags[0].extraData = card.extraData;
    EXPECT_TRUE(fieldsOf(roundTrip({card})) == fieldsOf(std::vector<RfidCard>{card}));
    card.tags[0].extraData = nested(deepest + 1);
    EXPECT_THAT(
        thrownBy([&] { serializeRfidsAsJson({card}, std::nullopt); }),
        testing::StartsWith("std::invalid_argument: The extra data of the card with id 1 or of one of its tags"));
}

TEST(JsonRoundTrip, FailsOnExtraDataThatIsNoObject) {
    for (const char* extraData : {"[]", "5", "false", R"("text")"}) {
        EXPECT_EQ(thrownBy([&] { roundTrip({cardWithExtraData(extraData)}); }),
                  "std::runtime_error: The extraData field should contain valid JSON object.");
    }
}

TEST(JsonRoundTrip, ReadsExtraDataThatIsTheTextNullAsUnset) {
    EXPECT_EQ(roundTrip({cardWithExtraData("null")}).at(0).extraData, std::nullopt);
}

TEST(JsonRoundTrip, KeepsMoreCardsThanSixteenBitsCount) {
    const std::vector<RfidCard> read = roundTrip(std::vector<RfidCard>(65'537));
    EXPECT_EQ(read.size(), 65'537U);
}

TEST(JsonRoundTrip, FailsOnATagWithNeitherHashNorKey) {
    RfidCard card;
    card.tags.emplace_back();
    EXPECT_EQ(thrownBy([&] { roundTrip({card}); }), "std::runtime_error: Hash and key are both empty!");
}

// isValidJson

/// isValidJson of the member "m" of an object.
bool isValidAsMember(const std::string& value) {
    const std::string text = "{\"m\":" + value + "}";
    common::lwjson::Deserializer deserializer(common::lwjson::Options::Strict);
    deserializer.importJson(text);
    return isValidJson(deserializer.getMember("m"));
}

TEST(IsValidJson, AcceptsObjects) {
    for (const char* value : {"{}", R"({"a":1})", R"({"a":{"b":[]}})", "  { }  "}) {
        EXPECT_TRUE(isValidAsMember(value)) << value;
    }
}

TEST(IsValidJson, AcceptsNull) {
    EXPECT_TRUE(isValidAsMember("null"));
    EXPECT_TRUE(isValidAsMember(" null\n"));
}

TEST(IsValidJson, RefusesEveryOtherKind) {
    for (const char* value :
         {"[]", "[{}]", "[null]", "\"\"", R"("text")", R"("null")", R"("{}")", "0", "1.5", "-1", "true", "false"}) {
        EXPECT_FALSE(isValidAsMember(value)) << value;
    }
}

TEST(IsValidJson, TakesAWholeDocumentToo) {
    const std::string text = R"({"m":5})";
    common::lwjson::Deserializer deserializer(common::lwjson::Options::Strict);
    EXPECT_TRUE(isValidJson(deserializer)) << "null before an import";
    deserializer.importJson(text);
    EXPECT_TRUE(isValidJson(deserializer));
    const std::string list = "[]";
    deserializer.importJson(list);
    EXPECT_FALSE(isValidJson(deserializer));
}

}  // namespace
}  // namespace oru::kadi::authlist
