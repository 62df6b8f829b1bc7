// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "authlist/JsonExchange.h"
#include "authlist/KeyHash.h"
#include "support/CardFields.h"
#include "support/Cards.h"
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

const std::string notJson = "std::runtime_error: Failed to process input JSON file/string.";
const std::string noText = "std::runtime_error: Cannot get value from a non-scalar or null";
const std::string noArray = "std::runtime_error: JSON value is not an array";
const std::string badExtraData = "std::runtime_error: The extraData field should contain valid JSON object.";
const std::string badHash = "std::runtime_error: Invalid hash string!";
const std::string foreignHash = "std::runtime_error: Hash string does not match key!";
const std::string emptyTag = "std::runtime_error: Hash and key are both empty!";
const std::string noTime = "std::bad_optional_access: bad optional access";

std::string badMandatoryData(const std::string& cause) {
    return "std::runtime_error: The import file does not contain all mandatory data: " + cause;
}

std::string inQuotes(const std::string& text) { return "\"" + text + "\""; }

std::string listOf(const std::string& elements) { return R"({"localAuthorizationList":[)" + elements + "]}"; }

/// A card object: these members and, where they leave it out, the mandatory part.
std::string cardText(const std::string& members, const std::string& tags = "[]") {
    return R"({"id":1,"status":"Accepted","tags":)" + tags + (members.empty() ? "" : "," + members) + "}";
}

std::string failureOf(const std::string& text) {
    return thrownBy([&] { deserializeRfidsFromJson(text); });
}

/// What the import of a card with these members beside the mandatory ones throws.
std::string failureOfCard(const std::string& members) { return failureOf(listOf(cardText(members))); }

/// The same for a card whose only tag has these members.
std::string failureOfTag(const std::string& members) { return failureOf(listOf(cardText("", "[{" + members + "}]"))); }

RfidCard onlyCardOf(const std::string& text) {
    const std::vector<RfidCard> cards = deserializeRfidsFromJson(text);
    EXPECT_EQ(cards.size(), 1U);
    return cards.at(0);
}

RfidCard cardWith(const std::string& members) { return onlyCardOf(listOf(cardText(members))); }

RfidTag tagWith(const std::string& members) {
    const RfidCard card = onlyCardOf(listOf(cardText("", "[{" + members + "}]")));
    EXPECT_EQ(card.tags.size(), 1U);
    return card.tags.at(0);
}

// The document

struct Document : NamedCase {
    std::string text;
    std::string failure;
};

class JsonImportOfADocument : public testing::TestWithParam<Document> {};

TEST_P(JsonImportOfADocument, ThrowsTheFailure) { EXPECT_EQ(failureOf(GetParam().text), GetParam().failure); }

INSTANTIATE_TEST_SUITE_P(
    NotJson, JsonImportOfADocument,
    testing::Values(Document{{"Empty"}, "", notJson}, Document{{"Blank"}, " \n", notJson},
                    Document{{"Word"}, "hello", notJson}, Document{{"Csv"}, "SEP=,\n1,d,k,Accepted,*,,", notJson},
                    Document{{"OpenObject"}, "{", notJson},
                    Document{{"Truncated"}, R"({"localAuthorizationList":[)", notJson},
                    Document{{"TrailingBytes"}, listOf("") + "x", notJson},
                    Document{{"TwoDocuments"}, listOf("") + "{}", notJson},
                    Document{{"TrailingComma"}, listOf(cardText("") + ","), notJson},
                    Document{{"SingleQuotes"}, "{'localAuthorizationList':[]}", notJson},
                    Document{{"Comment"}, "/* */" + listOf(""), notJson},
                    Document{{"ByteOrderMark"}, "\xEF\xBB\xBF" + listOf(""), notJson},
                    Document{{"NotUtf8"}, listOf(cardText("\"description\":\"\xFF\"")), notJson},
                    Document{{"LineFeedInAText"}, listOf(cardText("\"description\":\"a\nb\"")), notJson},
                    Document{{"UnknownEscape"}, listOf(cardText(R"("description":"\x41")")), notJson},
                    Document{{"LoneSurrogate"}, listOf(cardText(R"("description":"\ud83d")")), notJson},
                    Document{{"LeadingZero"}, listOf(cardText(R"("evseId":01)")), notJson},
                    Document{{"NotANumber"}, listOf(cardText(R"("evseId":NaN)")), notJson},
                    Document{{"NulByte"}, "\0"s, notJson}, Document{{"NulByteAtTheEnd"}, listOf("") + "\0"s, notJson},
                    Document{{"BadUnknownMember"}, R"({"localAuthorizationList":[],"other":nul})", notJson},
                    Document{{"AMillionLevels"}, std::string(1'000'000, '['), notJson}),
    test::byName);

const std::string noList = "std::out_of_range: JSON member \"localAuthorizationList\" not found";

INSTANTIATE_TEST_SUITE_P(
    NoList, JsonImportOfADocument,
    testing::Values(Document{{"EmptyObject"}, "{}", noList}, Document{{"OtherMembers"}, R"({"listVersion":1})", noList},
                    Document{{"KeyInAnotherCase"}, R"({"localauthorizationlist":[]})", noList},
                    Document{{"NestedOneLevelDeeper"}, R"({"a":{"localAuthorizationList":[]}})", noList},
                    Document{{"Array"}, "[]", noList}, Document{{"ArrayOfLists"}, "[" + listOf("") + "]", noList},
                    Document{{"Null"}, "null", noList}, Document{{"Number"}, "5", noList},
                    Document{{"Boolean"}, "true", noList}, Document{{"Text"}, R"("localAuthorizationList")", noList}),
    test::byName);

INSTANTIATE_TEST_SUITE_P(NoArray, JsonImportOfADocument,
                         testing::Values(Document{{"Object"}, R"({"localAuthorizationList":{}})", noArray},
                                         Document{{"Null"}, R"({"localAuthorizationList":null})", noArray},
                                         Document{{"Number"}, R"({"localAuthorizationList":5})", noArray},
                                         Document{{"Boolean"}, R"({"localAuthorizationList":false})", noArray},
                                         Document{{"Text"}, R"({"localAuthorizationList":"[]"})", noArray}),
                         test::byName);

TEST(JsonImport, ReadsAnEmptyList) {
    EXPECT_EQ(deserializeRfidsFromJson(listOf("")).size(), 0U);
    EXPECT_EQ(deserializeRfidsFromJson(listOf(" \n")).size(), 0U);
}

TEST(JsonImport, DoesNotReadTheListVersion) {
    for (const char* version : {"7", "\"\"", "null", "{}", "-1", "[[]]"}) {
        const std::string text = R"({"listVersion":)"s + version + R"(,"localAuthorizationList":[]})";
        EXPECT_EQ(failureOf(text), "nothing") << text;
    }
}

TEST(JsonImport, ReadsAllFieldsOfACard) {
    const RfidCard card = onlyCardOf(R"({
        "listVersion" : 3 ,
        "localAuthorizationList" : [ {
            "id" : 7 , "description" : "Main door" , "status" : "Operator" ,
            "lastAccessTime" : "2026-01-01T00:00:00Z" , "lastModificationTime" : "2026-01-01T00:00:01Z" ,
            "tags" : [ { "hash" : ")" +
                                     hashKey("k1") +
                                     R"(" , "key" : "k1" , "extraData" : {"b":2} } , { "key" : "k2" } ] ,
            "evseId" : 2 , "expiryDate" : "2026-12-31T23:59:59Z" , "extraData" : {"a":1} , "parentId" : "FLEET-1" ,
            "recordLifetime" : 3600
        } ]
    })");
    RfidCard expected;
    expected.id = 7;
    expected.description = "Main door";
    expected.status = RfidCardStatus::Operator;
    expected.lastAccessTime = at(1767225600);
    expected.lastModificationTime = at(1767225601);
    expected.tags = {test::tagWithKey("k1"), test::tagWithKey("k2")};
    expected.tags[0].extraData = R"({"b":2})";
    expected.evseId = 2;
    expected.expiryDate = at(1798761599);
    expected.extraData = R"({"a":1})";
    expected.parentId = "FLEET-1";
    expected.recordLifetime = 3600;
    EXPECT_EQ(fieldsOf(card), fieldsOf(expected));
}

TEST(JsonImport, ReadsACardOfMandatoryMembersOnly) {
    const test::StandingClock clock(at(1767225600));
    RfidCard expected;
    expected.id = 1;
    expected.lastAccessTime = expected.lastModificationTime = at(1767225600);
    EXPECT_EQ(fieldsOf(cardWith("")), fieldsOf(expected));
}

TEST(JsonImport, KeepsTheOrderOfCardsAndTags) {
    const std::vector<RfidCard> cards = deserializeRfidsFromJson(
        listOf(cardText("", R"([{"key":"c"},{"key":"a"},{"key":"b"}])") +
               R"(,{"tags":[],"status":"Blocked","id":0},{"id":5,"tags":[],"status":"Expired"})"));
    ASSERT_EQ(cards.size(), 3U);
    ASSERT_EQ(cards[0].tags.size(), 3U);
    EXPECT_EQ(cards[0].tags[0].key, "c");
    EXPECT_EQ(cards[0].tags[1].key, "a");
    EXPECT_EQ(cards[0].tags[2].key, "b");
    EXPECT_EQ(cards[1].id, 0U);
    EXPECT_EQ(cards[1].status, RfidCardStatus::Blocked);
    EXPECT_EQ(cards[2].id, 5U);
}

TEST(JsonImport, KeepsEqualIdsAndEqualTagsForTheBackendToJudge) {
    const std::string card = cardText("", R"([{"key":"k"},{"key":"k"}])");
    EXPECT_EQ(deserializeRfidsFromJson(listOf(card + "," + card)).size(), 2U);
}

TEST(JsonImport, IgnoresUnknownMembersEverywhere) {
    const RfidCard card =
        onlyCardOf(R"({"x":1,"localAuthorizationList":[{"id":1,"idTag":"no","Status":5,)"
                   R"("status":"Blocked","tags":[{"y":{"hash":5},"key":"k","z":[]}],"":null}],"x":2})");
    EXPECT_EQ(card.status, RfidCardStatus::Blocked);
    EXPECT_EQ(card.tags.at(0).key, "k");
}

TEST(JsonImport, TakesTheFirstOfMembersWithTheSameKey) {
    EXPECT_EQ(failureOf(R"({"localAuthorizationList":[],"localAuthorizationList":5})"), "nothing");
    EXPECT_EQ(failureOf(R"({"localAuthorizationList":5,"localAuthorizationList":[]})"), noArray);
    EXPECT_EQ(cardWith(R"("id":"x","evseId":2,"evseId":3)").evseId, 2U);
    EXPECT_EQ(tagWith(R"("key":"k","key":{},"hash":"","hash":"x")").key, "k");
}

TEST(JsonImport, ResolvesEscapesInTheKeysOfMembers) {
    EXPECT_EQ(onlyCardOf(R"({"local\u0041uthorizationList":[{"\u0069d":5,"status":"Accepted","tags":[]}]})").id, 5U);
}

TEST(JsonImport, PassesOverAHundredThousandLevelsInUnknownMembers) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    EXPECT_EQ(failureOf("{\"x\":" + deep + R"(,"localAuthorizationList":[)" + cardText("\"x\":" + deep) + "]}"),
              "nothing");
    std::string objects;
    for (int i = 0; i < 100'000; ++i) objects += R"({"":)";
    EXPECT_EQ(failureOfCard("\"x\":" + objects + "5" + std::string(100'000, '}')), "nothing");
}

TEST(JsonImport, FailsOnTheFirstBadCard) {
    EXPECT_EQ(failureOf(listOf(cardText("") + "," + cardText(R"("extraData":5)") + ",{}")), badExtraData);
    EXPECT_EQ(failureOf(listOf(cardText("") + ",{}," + cardText(R"("extraData":5)"))),
              badMandatoryData("JSON member \"id\" not found"));
}

// The mandatory part of a card

struct Element : NamedCase {
    std::string text;
    std::string cause;
};

class JsonImportOfMandatoryData : public testing::TestWithParam<Element> {};

TEST_P(JsonImportOfMandatoryData, FailsWithTheCause) {
    EXPECT_EQ(failureOf(listOf(GetParam().text)), badMandatoryData(GetParam().cause));
}

const std::string noId = "JSON member \"id\" not found";
const std::string noStatus = "JSON member \"status\" not found";
const std::string noTags = "JSON member \"tags\" not found";
const std::string outOfRange = "lwjson::deserializer \"\" value out of range";
const std::string cannotGetValue = "Cannot get value from a non-scalar or null";

std::string unknownStatus(const std::string& text) {
    return text + " was not found in N3oru4kadi8authlist14RfidCardStatusE";
}

INSTANTIATE_TEST_SUITE_P(Missing, JsonImportOfMandatoryData,
                         testing::Values(Element{{"Everything"}, "{}", noId},
                                         Element{{"Id"}, R"({"status":"Accepted","tags":[]})", noId},
                                         Element{{"Status"}, R"({"id":1,"tags":[]})", noStatus},
                                         Element{{"Tags"}, R"({"id":1,"status":"Accepted"})", noTags},
                                         Element{{"StatusAndTags"}, R"({"id":1})", noStatus}),
                         test::byName);

INSTANTIATE_TEST_SUITE_P(NoObject, JsonImportOfMandatoryData,
                         testing::Values(Element{{"Number"}, "5", noId}, Element{{"Null"}, "null", noId},
                                         Element{{"Text"}, "\"id\"", noId}, Element{{"Boolean"}, "true", noId},
                                         Element{{"Array"}, "[[]]", noId}),
                         test::byName);

INSTANTIATE_TEST_SUITE_P(
    Order, JsonImportOfMandatoryData,
    testing::Values(Element{{"IdBeforeStatus"}, R"({"id":"x","status":"x","tags":[]})", "stoull"},
                    Element{{"IdBeforeMissingStatus"}, R"({"id":"x"})", "stoull"},
                    Element{{"StatusBeforeTags"}, R"({"id":1,"status":"x"})", unknownStatus("x")},
                    Element{{"TagsBeforeDescription"}, R"({"id":1,"status":"Accepted","description":{}})", noTags}),
    test::byName);

std::string withId(const std::string& id) { return "{\"id\":" + id + R"(,"status":"Accepted","tags":[]})"; }

INSTANTIATE_TEST_SUITE_P(
    Id, JsonImportOfMandatoryData,
    testing::Values(Element{{"Null"}, withId("null"), cannotGetValue},
                    Element{{"Object"}, withId("{}"), cannotGetValue},
                    Element{{"Array"}, withId("[1]"), cannotGetValue}, Element{{"EmptyText"}, withId("\"\""), "stoull"},
                    Element{{"Word"}, withId("\"x\""), "stoull"}, Element{{"Blank"}, withId("\" \""), "stoull"},
                    Element{{"True"}, withId("true"), "stoull"}, Element{{"False"}, withId("false"), "stoull"},
                    Element{{"OneTooLarge"}, withId("4294967296"), outOfRange},
                    Element{{"TextTooLarge"}, withId("\"4294967296\""), outOfRange},
                    Element{{"BeyondSixtyFourBits"}, withId("99999999999999999999"), outOfRange},
                    Element{{"Negative"}, withId("-1"), outOfRange},
                    Element{{"FarNegative"}, withId("-99999999999999999999"), outOfRange}),
    test::byName);

std::string withStatus(const std::string& status) { return R"({"id":1,"status":)" + status + R"(,"tags":[]})"; }

INSTANTIATE_TEST_SUITE_P(Status, JsonImportOfMandatoryData,
                         testing::Values(Element{{"Null"}, withStatus("null"), cannotGetValue},
                                         Element{{"Object"}, withStatus("{}"), cannotGetValue},
                                         Element{{"Array"}, withStatus(R"(["Accepted"])"), cannotGetValue},
                                         Element{{"LowerCase"}, withStatus("\"accepted\""), unknownStatus("accepted")},
                                         Element{{"Empty"}, withStatus("\"\""), unknownStatus("")},
                                         Element{
                                             {"BlankAfterIt"}, withStatus("\"Accepted \""), unknownStatus("Accepted ")},
                                         Element{{"Number"}, withStatus("0"), unknownStatus("0")},
                                         Element{{"Boolean"}, withStatus("true"), unknownStatus("true")},
                                         Element{{"Escaped"}, withStatus(R"("\u0041\"")"), unknownStatus("A\"")}),
                         test::byName);

TEST(JsonImport, ReadsEveryStatusText) {
    const std::vector<std::string> texts{"Accepted", "Expired", "Blocked", "Invalid", "ConcurrentTx", "Operator"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(onlyCardOf(listOf(withStatus(inQuotes(texts[i])))).status, static_cast<RfidCardStatus>(i))
            << texts[i];
    }
}

TEST(JsonImport, ResolvesEscapesInAStatus) {
    EXPECT_EQ(onlyCardOf(listOf(withStatus(R"("\u0042locked")"))).status, RfidCardStatus::Blocked);
}

// Numbers

struct Number : NamedCase {
    std::string text;
    std::optional<unsigned> value;
};

class JsonImportOfANumber : public testing::TestWithParam<Number> {};

TEST_P(JsonImportOfANumber, ReadsAnId) {
    if (GetParam().value) {
        EXPECT_EQ(onlyCardOf(listOf(withId(GetParam().text))).id, GetParam().value);
    } else {
        EXPECT_NE(failureOf(listOf(withId(GetParam().text))), "nothing");
    }
}

TEST_P(JsonImportOfANumber, LeavesABadRecordLifetimeUnset) {
    EXPECT_EQ(cardWith("\"recordLifetime\":" + GetParam().text).recordLifetime, GetParam().value);
}

TEST_P(JsonImportOfANumber, LeavesABadEvseIdAndEvseZeroUnset) {
    const std::optional<unsigned> expected = GetParam().value == 0U ? std::nullopt : GetParam().value;
    EXPECT_EQ(cardWith("\"evseId\":" + GetParam().text).evseId, expected);
}

INSTANTIATE_TEST_SUITE_P(
    Read, JsonImportOfANumber,
    testing::Values(Number{{"Zero"}, "0", 0}, Number{{"MinusZero"}, "-0", 0}, Number{{"Seven"}, "7", 7},
                    Number{{"Largest"}, "4294967295", 4294967295}, Number{{"Fraction"}, "1.5", 1},
                    Number{{"Exponent"}, "1e3", 1}, Number{{"InQuotes"}, "\"7\"", 7},
                    Number{{"ZeroInQuotes"}, "\"0\"", 0}, Number{{"LeadingZerosInQuotes"}, "\"007\"", 7},
                    Number{{"TrailingText"}, "\"7x\"", 7}, Number{{"LeadingBlanksInQuotes"}, "\"  7\"", 7},
                    Number{{"PlusInQuotes"}, "\"+7\"", 7}, Number{{"HexadecimalInQuotes"}, "\"0x10\"", 0},
                    Number{{"WrapsAroundSixtyFourBits"}, "-18446744073709551615", 1}),
    test::byName);

INSTANTIATE_TEST_SUITE_P(Refused, JsonImportOfANumber,
                         testing::Values(Number{{"Empty"}, "\"\"", {}}, Number{{"Null"}, "null", {}},
                                         Number{{"Word"}, "\"x\"", {}}, Number{{"True"}, "true", {}},
                                         Number{{"OneTooLarge"}, "4294967296", {}},
                                         Number{{"BeyondSixtyFourBits"}, "99999999999999999999", {}},
                                         Number{{"Negative"}, "-1", {}}, Number{{"Object"}, "{}", {}},
                                         Number{{"Array"}, "[7]", {}}),
                         test::byName);

// The optional members of a card

struct Member : NamedCase {
    std::string text;
    std::string failure;
};

class JsonImportOfAMember : public testing::TestWithParam<Member> {};

TEST_P(JsonImportOfAMember, ThrowsTheFailure) { EXPECT_EQ(failureOfCard(GetParam().text), GetParam().failure); }

INSTANTIATE_TEST_SUITE_P(NoText, JsonImportOfAMember,
                         testing::Values(Member{{"DescriptionNull"}, R"("description":null)", noText},
                                         Member{{"DescriptionObject"}, R"("description":{})", noText},
                                         Member{{"DescriptionArray"}, R"("description":["d"])", noText},
                                         Member{{"ParentIdNull"}, R"("parentId":null)", noText},
                                         Member{{"ParentIdObject"}, R"("parentId":{})", noText},
                                         Member{{"ExpiryDateNull"}, R"("expiryDate":null)", noText},
                                         Member{{"ExpiryDateArray"}, R"("expiryDate":[])", noText},
                                         Member{{"LastAccessTimeNull"}, R"("lastAccessTime":null)", noText},
                                         Member{{"LastAccessTimeObject"}, R"("lastAccessTime":{})", noText},
                                         Member{
                                             {"LastModificationTimeNull"}, R"("lastModificationTime":null)", noText}),
                         test::byName);

INSTANTIATE_TEST_SUITE_P(NoTime, JsonImportOfAMember,
                         testing::Values(Member{{"LastAccessTimeEmpty"}, R"("lastAccessTime":"")", noTime},
                                         Member{{"LastAccessTimeWord"}, R"("lastAccessTime":"now")", noTime},
                                         Member{{"LastAccessTimeNumber"}, R"("lastAccessTime":1767225600)", noTime},
                                         Member{{"LastModificationTimeEmpty"}, R"("lastModificationTime":"")", noTime},
                                         Member{
                                             {"LastModificationTimeWord"}, R"("lastModificationTime":"now")", noTime}),
                         test::byName);

INSTANTIATE_TEST_SUITE_P(BadExtraData, JsonImportOfAMember,
                         testing::Values(Member{{"Text"}, R"("extraData":"text")", badExtraData},
                                         Member{{"EmptyText"}, R"("extraData":"")", badExtraData},
                                         Member{{"TheTextNull"}, R"("extraData":"null")", badExtraData},
                                         Member{{"Number"}, R"("extraData":5)", badExtraData},
                                         Member{{"Boolean"}, R"("extraData":true)", badExtraData},
                                         Member{{"Array"}, R"("extraData":[])", badExtraData}),
                         test::byName);

INSTANTIATE_TEST_SUITE_P(
    Order, JsonImportOfAMember,
    testing::Values(Member{{"DescriptionBeforeExtraData"}, R"("extraData":5,"description":null)", noText},
                    Member{{"ParentIdBeforeExtraData"}, R"("extraData":5,"parentId":null)", noText},
                    Member{{"ExtraDataBeforeExpiryDate"}, R"("expiryDate":null,"extraData":5)", badExtraData},
                    Member{{"ExpiryDateBeforeLastAccessTime"}, R"("lastAccessTime":"","expiryDate":null)", noText},
                    Member{{"LastAccessTimeBeforeLastModificationTime"},
                           R"("lastModificationTime":"","lastAccessTime":null)",
                           noText},
                    Member{{"BadLastAccessTimeBeforeLastModificationTime"},
                           R"("lastModificationTime":null,"lastAccessTime":"")",
                           noTime}),
    test::byName);

TEST(JsonImport, ReadsTagsAfterEveryOtherMember) {
    EXPECT_EQ(failureOf(listOf(cardText(R"("lastModificationTime":"")", "5"))), noTime);
    EXPECT_EQ(failureOf(listOf(cardText(R"("lastModificationTime":"")", "[{}]"))), noTime);
}

TEST(JsonImport, WantsAnArrayOfTags) {
    for (const char* tags : {"5", "null", "{}", R"("x")", "true"}) {
        EXPECT_EQ(failureOf(listOf(cardText("", tags))), noArray) << tags;
    }
}

TEST(JsonImport, ReadsScalarsThatAreNoTextsAsTheirText) {
    EXPECT_EQ(cardWith(R"("description":5)").description, "5");
    EXPECT_EQ(cardWith(R"("description":true)").description, "true");
    EXPECT_EQ(cardWith(R"("description":-1.50E+2)").description, "-1.50E+2");
    EXPECT_EQ(cardWith(R"("parentId":false)").parentId, "false");
    EXPECT_EQ(tagWith(R"("key":4711)").key, "4711");
}

TEST(JsonImport, ResolvesEscapesInTexts) {
    const RfidCard card =
        cardWith(R"("description":"\"\\\/\b\f\n\r\t\u00e4\u20AC\ud83d\udd11\u0000.","parentId":"\u0070")");
    EXPECT_EQ(card.description, "\"\\/\b\f\n\r\t\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\x91\0."s);
    EXPECT_EQ(card.parentId, "p");
}

TEST(JsonImport, LeavesAnEmptyParentIdUnset) {
    EXPECT_EQ(cardWith(R"("parentId":"")").parentId, std::nullopt);
    EXPECT_EQ(cardWith(R"("parentId":" ")").parentId, " ");
    EXPECT_EQ(cardWith(R"("description":"")").description, "");
}

TEST(JsonImport, LeavesAnExpiryDateThatIsNoTimeUnset) {
    for (const char* text : {"\"\"", "\"never\"", "5", "true"}) {
        EXPECT_EQ(cardWith("\"expiryDate\":"s + text).expiryDate, std::nullopt) << text;
    }
}

TEST(JsonImport, ReadsTheTimes) {
    const RfidCard card = cardWith(R"("expiryDate":"1970-01-01T00:00:00Z","lastAccessTime":"2026-01-01T00:00:00Z",)"
                                   R"("lastModificationTime":"2106-02-07T06:28:15Z")");
    EXPECT_EQ(card.expiryDate, at(0));
    EXPECT_EQ(card.lastAccessTime, at(1767225600));
    EXPECT_EQ(card.lastModificationTime, at(4294967295));
}

TEST(JsonImport, StampsEachTimeThatIsAbsentWithTheMomentOfTheImport) {
    const test::StandingClock clock(at(1767225600), 1ns);
    const RfidCard neither = cardWith("");
    EXPECT_EQ(neither.lastAccessTime, at(1767225600));
    EXPECT_EQ(neither.lastModificationTime, at(1767225600) + 1ns);
    const RfidCard accessed = cardWith(R"("lastAccessTime":"1970-01-01T00:00:00Z")");
    EXPECT_EQ(accessed.lastAccessTime, at(0));
    EXPECT_EQ(accessed.lastModificationTime, at(1767225600) + 2ns);
    const RfidCard modified = cardWith(R"("lastModificationTime":"1970-01-01T00:00:00Z")");
    EXPECT_EQ(modified.lastAccessTime, at(1767225600) + 3ns);
    EXPECT_EQ(modified.lastModificationTime, at(0));
}

TEST(JsonImport, KeepsExtraDataExactlyAsItStands) {
    const std::vector<std::string> objects{"{}", "{ }", R"({"a":{"b":[1,2.50,"}"]}})",
                                           "{\n\t\"a\" : 1.0E+2 ,\r\n \"\\u0061\":\"\\/ \\\"}\" }", R"({"a":1,"a":2})"};
    for (const std::string& object : objects) {
        EXPECT_EQ(cardWith("\"extraData\" : " + object + " ").extraData, object);
        EXPECT_EQ(tagWith("\"key\":\"k\",\"extraData\" : " + object + " ").extraData, object);
    }
}

TEST(JsonImport, KeepsExtraDataOfAHundredThousandLevels) {
    const std::string object = R"({"a":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    EXPECT_TRUE(cardWith("\"extraData\":" + object).extraData == object);
    EXPECT_TRUE(tagWith("\"key\":\"k\",\"extraData\":" + object).extraData == object);
}

TEST(JsonImport, LeavesExtraDataThatIsNullUnset) {
    EXPECT_EQ(cardWith(R"("extraData": null )").extraData, std::nullopt);
    EXPECT_EQ(tagWith(R"("key":"k","extraData":null)").extraData, std::nullopt);
}

// Tags

const std::string hashOfK = hashKey("k");

std::string inUpperCase(std::string text) {
    for (char& character : text) character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    return text;
}

class JsonImportOfATag : public testing::TestWithParam<Member> {};

TEST_P(JsonImportOfATag, ThrowsTheFailure) { EXPECT_EQ(failureOfTag(GetParam().text), GetParam().failure); }

INSTANTIATE_TEST_SUITE_P(
    Table, JsonImportOfATag,
    testing::Values(
        Member{{"Nothing"}, "", emptyTag}, Member{{"BothEmpty"}, R"("hash":"","key":"")", emptyTag},
        Member{{"HashEmpty"}, R"("hash":"")", emptyTag}, Member{{"HashNull"}, R"("hash":null)", emptyTag},
        Member{{"HashObject"}, R"("hash":{},"key":"")", emptyTag}, Member{{"KeyEmpty"}, R"("key":"")", emptyTag},
        Member{{"KeyNull"}, R"("key":null)", noText}, Member{{"KeyObject"}, R"("key":{})", noText},
        Member{{"KeyNullBesideAHash"}, "\"key\":null,\"hash\":" + inQuotes(hashOfK), noText},
        Member{{"HashTooShort"}, "\"hash\":" + inQuotes(hashOfK.substr(1)), badHash},
        Member{{"HashTooLong"}, "\"hash\":" + inQuotes(hashOfK + "0"), badHash},
        Member{{"HashWithAG"}, "\"hash\":" + inQuotes("g" + hashOfK.substr(1)), badHash},
        Member{{"HashWithABlank"}, "\"hash\":" + inQuotes(" " + hashOfK.substr(1)), badHash},
        Member{{"HashNumber"}, R"("hash":5)", badHash}, Member{{"HashBoolean"}, R"("hash":false)", badHash},
        Member{{"BadHashBesideAKey"}, R"("hash":"x","key":"k")", badHash},
        Member{{"HashOfAnotherKey"}, "\"key\":\"l\",\"hash\":" + inQuotes(hashOfK), foreignHash},
        Member{{"HashOfTheKeyInAnotherCase"}, "\"key\":\"K\",\"hash\":" + inQuotes(hashOfK), foreignHash},
        Member{{"UpperCaseHashOfTheKey"}, "\"key\":\"k\",\"hash\":" + inQuotes(inUpperCase(hashOfK)), foreignHash},
        Member{{"ExtraDataText"}, R"("key":"k","extraData":"null")", badExtraData},
        Member{{"ExtraDataArray"}, R"("key":"k","extraData":[{}])", badExtraData},
        Member{{"KeyBeforeHash"}, R"("hash":"x","key":null)", noText},
        Member{{"HashBeforeExtraData"}, R"("extraData":5,"hash":"x")", badHash},
        Member{{"MatchBeforeExtraData"}, "\"extraData\":5,\"key\":\"l\",\"hash\":" + inQuotes(hashOfK), foreignHash},
        Member{{"EmptinessBeforeExtraData"}, R"("extraData":5)", emptyTag}),
    test::byName);

TEST(JsonImport, ReadsATagThatIsNoObjectAsOneWithoutMembers) {
    for (const char* tag : {"5", "null", "\"k\"", "true", "[]", R"([{"key":"k"}])"}) {
        EXPECT_EQ(failureOf(listOf(cardText("", "["s + tag + "]"))), emptyTag) << tag;
    }
}

TEST(JsonImport, FailsOnTheFirstBadTag) {
    EXPECT_EQ(failureOf(listOf(cardText("", R"([{"key":"k"},{},{"hash":"x"}])"))), emptyTag);
    EXPECT_EQ(failureOf(listOf(cardText("", R"([{"key":"k"},{"hash":"x"},{}])"))), badHash);
}

TEST(JsonImport, ComputesTheHashOfATagThatHasOnlyAKey) {
    EXPECT_EQ(fieldsOf(tagWith(R"("key":"k")")), fieldsOf(test::tagWithKey("k")));
    EXPECT_EQ(fieldsOf(tagWith(R"("key":"k","hash":"")")), fieldsOf(test::tagWithKey("k")));
    EXPECT_EQ(fieldsOf(tagWith(R"("key":4711)")), fieldsOf(test::tagWithKey("4711")));
}

TEST(JsonImport, ComputesTheHashWhereItCannotBeReadAsAText) {
    EXPECT_EQ(fieldsOf(tagWith(R"("key":"k","hash":null)")), fieldsOf(test::tagWithKey("k")));
    EXPECT_EQ(fieldsOf(tagWith(R"("key":"k","hash":{})")), fieldsOf(test::tagWithKey("k")));
    EXPECT_EQ(fieldsOf(tagWith(R"("key":"k","hash":["x"])")), fieldsOf(test::tagWithKey("k")));
}

TEST(JsonImport, LeavesTheKeyOfATagThatHasOnlyAHashUnset) {
    const RfidTag expected{hashOfK, std::nullopt, std::nullopt};
    EXPECT_EQ(fieldsOf(tagWith("\"hash\":" + inQuotes(hashOfK))), fieldsOf(expected));
    EXPECT_EQ(fieldsOf(tagWith("\"key\":\"\",\"hash\":" + inQuotes(hashOfK))), fieldsOf(expected));
}

TEST(JsonImport, KeepsAHashAndItsKey) {
    EXPECT_EQ(fieldsOf(tagWith("\"key\":\"k\",\"hash\":" + inQuotes(hashOfK))), fieldsOf(test::tagWithKey("k")));
}

TEST(JsonImport, KeepsAnUpperCaseHashWithoutKeyAsItIs) {
    EXPECT_EQ(tagWith("\"hash\":" + inQuotes(inUpperCase(hashOfK))).hash, inUpperCase(hashOfK));
}

TEST(JsonImport, ResolvesEscapesInTheKeyAndTheHashOfATag) {
    EXPECT_EQ(fieldsOf(tagWith(R"("key":"\u0030\u0034\u0000\"")")), fieldsOf(test::tagWithKey("04\0\""s)));
    std::string escaped;
    for (const char digit : hashOfK) {
        escaped += std::isdigit(static_cast<unsigned char>(digit)) != 0
                       ? "\\u003"s + digit
                       : "\\u006"s + static_cast<char>(digit - 'a' + '1');
    }
    EXPECT_EQ(fieldsOf(tagWith("\"key\":\"k\",\"hash\":" + inQuotes(escaped))), fieldsOf(test::tagWithKey("k")));
}

TEST(JsonImport, ReadsACardOfTenThousandTags) {
    std::string tags;
    for (int i = 0; i < 10'000; ++i) tags += (i == 0 ? "" : ",") + R"({"key":")"s + std::to_string(i) + "\"}";
    const RfidCard card = onlyCardOf(listOf(cardText("", "[" + tags + "]")));
    ASSERT_EQ(card.tags.size(), 10'000U);
    EXPECT_EQ(fieldsOf(card.tags[9'999]), fieldsOf(test::tagWithKey("9999")));
}

}  // namespace
}  // namespace oru::kadi::authlist
