// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "oru/common/lwjson/Deserializer.h"
#include "support/GroupingLocale.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::common::lwjson {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::GroupingLocale;
using kadi::authlist::test::NamedCase;
using kadi::authlist::test::thrownBy;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using namespace std::string_literals;
using namespace std::string_view_literals;

// The value of a text, which must outlive it.
Deserializer imported(std::string_view text) {
    Deserializer value(Options::Strict);
    value.importJson(text);
    return value;
}

std::string_view rawMember(const Deserializer& object, const char* key) {
    const auto member = object.findMember(key);
    return member ? member->rawText() : std::string_view{"(none)"};
}

std::vector<std::string> rawElements(const Deserializer& array) {
    std::vector<std::string> elements;
    array.forEachElement([&elements](const Deserializer& element) { elements.emplace_back(element.rawText()); });
    return elements;
}

TEST(JsonReader, ReadsAsNullUntilItImports) {
    const Deserializer value(Options::Strict);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(value.kind(), Kind::Null);
    EXPECT_EQ(value.rawText(), "null");
    EXPECT_FALSE(value.findMember("a"));
}

TEST(JsonReader, IsMadeWithTheOptionValueOne) {
    Deserializer value(static_cast<Options>(1));
    value.importJson("[1]");
    EXPECT_EQ(value.rawText(), "[1]");
}

struct Value : NamedCase {
    std::string text;
    Kind kind;
    std::string scalarText;
};

class JsonValue : public testing::TestWithParam<Value> {};

TEST_P(JsonValue, TellsItsKind) {
    const Deserializer value = imported(GetParam().text);
    const Kind kind = GetParam().kind;
    EXPECT_EQ(value.kind(), kind);
    EXPECT_EQ(value.isNull(), kind == Kind::Null);
    EXPECT_EQ(value.isObject(), kind == Kind::Object);
    EXPECT_EQ(value.isScalar(), kind != Kind::Object && kind != Kind::Array);
}

TEST_P(JsonValue, KeepsItsTextExactly) {
    const Deserializer alone = imported(GetParam().text);
    EXPECT_EQ(alone.rawText(), GetParam().text);
    if (alone.isScalar()) {
        EXPECT_EQ(alone.scalarText(), GetParam().scalarText);
    }

    const std::string blanks = " \t\r\n";
    const std::string element = "[" + blanks + GetParam().text + blanks + ",0]";
    EXPECT_THAT(rawElements(imported(element)), ElementsAre(GetParam().text, "0"));

    const std::string member = "{\"a\"" + blanks + ":" + blanks + GetParam().text + blanks + "}";
    EXPECT_EQ(rawMember(imported(member), "a"), GetParam().text);

    const std::string surrounded = blanks + GetParam().text + blanks;
    EXPECT_EQ(imported(surrounded).rawText(), GetParam().text);
}

const Value values[] = {
    {{"Null"}, "null", Kind::Null, "null"},
    {{"True"}, "true", Kind::Boolean, "true"},
    {{"False"}, "false", Kind::Boolean, "false"},
    {{"Zero"}, "0", Kind::Number, "0"},
    {{"NegativeNumber"}, "-17", Kind::Number, "-17"},
    {{"OddlyWrittenNumber"}, "-0.50E+02", Kind::Number, "-0.50E+02"},
    {{"LongNumber"}, "123456789012345678901234567890.5", Kind::Number, "123456789012345678901234567890.5"},
    {{"EmptyString"}, R"("")", Kind::String, ""},
    {{"String"}, R"(" a b ")", Kind::String, " a b "},
    {{"StringThatReadsLikeAnotherKind"}, R"("null")", Kind::String, "null"},
    {{"StringWithEscapes"}, R"("\u0041\"\\\/\n")", Kind::String, R"(\u0041\"\\\/\n)"},
    {{"StringThatEndsInABackslash"}, R"("a\\")", Kind::String, R"(a\\)"},
    {{"StringThatEndsInAQuote"}, R"("a\\\"")", Kind::String, R"(a\\\")"},
    {{"StringOfBrackets"}, R"("]},{[:")", Kind::String, "]},{[:"},
    {{"EmptyArray"}, "[]", Kind::Array, {}},
    {{"EmptyArrayWithBlanks"}, "[ \n ]", Kind::Array, {}},
    {{"Array"}, "[ 1,\t[2 , [ ]] ]", Kind::Array, {}},
    {{"ArrayOfTrickyStrings"}, R"(["]", "\"]", "\\"])", Kind::Array, {}},
    {{"EmptyObject"}, "{}", Kind::Object, {}},
    {{"EmptyObjectWithBlanks"}, "{ \r\n }", Kind::Object, {}},
    {{"Object"}, R"({ "b" : 1,"a":{ "c":[ ] } })", Kind::Object, {}},
    {{"ObjectOfTrickyStrings"}, R"({"}":"{","\"}":"\\"})", Kind::Object, {}},
};

INSTANTIATE_TEST_SUITE_P(Of, JsonValue, testing::ValuesIn(values), byName);

TEST(JsonText, IsBorrowedNotCopied) {
    const std::string text = R"({"a": "b"})";
    const Deserializer document = imported(text);
    EXPECT_EQ(document.rawText().data(), text.data());
    EXPECT_EQ(document.getMember("a").rawText().data(), text.data() + 6);
}

TEST(JsonText, OutlivesTheReaderInItsMembers) {
    const std::string text = R"({"a": {"b": [7]}})";
    auto document = std::make_unique<Deserializer>(imported(text));
    const Deserializer member = document->getMember("a");
    document.reset();
    EXPECT_EQ(rawMember(member, "b"), "[7]");
}

TEST(JsonText, MayBePartOfALargerOne) {
    const std::string larger = R"(x{"a": 12}y)";
    const Deserializer document = imported(std::string_view(larger).substr(1, 9));
    EXPECT_EQ(document.rawText(), R"({"a": 12})");
    EXPECT_EQ(imported(std::string_view("1234").substr(0, 2)).rawText(), "12");
    EXPECT_EQ(imported(std::string_view("true!").substr(0, 4)).rawText(), "true");
}

TEST(JsonText, IsNotReadBeyondItsEnd) {
    // Exact copies on the heap: the address sanitizer sees every byte read too many.
    for (const std::string_view text :
         {"12"sv,  "null"sv,  R"("a")"sv, "[1]"sv,      R"({"a":1})"sv, "-"sv,           "1."sv,         "1e"sv,
          "nul"sv, R"("a)"sv, R"("\)"sv,  R"("\u12)"sv, R"("\uD83D)"sv, R"("\uD83D\)"sv, "\"\xF0\x9F"sv, "["sv,
          "[1"sv,  "[1,"sv,   "{"sv,      R"({"a")"sv,  R"({"a":)"sv,   R"({"a":1)"sv,   " "sv}) {
        const std::vector<char> exact(text.begin(), text.end());
        Deserializer value(Options::Strict);
        const std::string thrown = thrownBy([&] { value.importJson({exact.data(), exact.size()}); });
        EXPECT_TRUE(thrown == "nothing" ? value.rawText() == text : value.isNull()) << text << ": " << thrown;
    }
}

TEST(JsonText, CopiesReadLikeTheOriginal) {
    const Deserializer original = imported(R"({"a":1,"b":[2]})");
    EXPECT_EQ(rawMember(original, "a"), "1");
    const Deserializer copy = original;
    EXPECT_EQ(rawMember(copy, "b"), "[2]");
    EXPECT_EQ(rawMember(original, "b"), "[2]");
}

TEST(JsonMember, IsFoundByItsKey) {
    const Deserializer document = imported(R"({"id": 7, "tags": [], "evseId": "", "key": null})");
    EXPECT_EQ(rawMember(document, "id"), "7");
    EXPECT_EQ(rawMember(document, "tags"), "[]");
    EXPECT_EQ(rawMember(document, "evseId"), R"("")");
    EXPECT_EQ(rawMember(document, "key"), "null");
}

TEST(JsonMember, IsNotFoundByAnotherKey) {
    const Deserializer document = imported(R"({"id": {"inner": 1}, "text": "\"other\":1", "list": [{"deep": 1}]})");
    for (const char* key : {"", "i", "id ", "ID", "inner", "other", "deep", "\"id\""}) {
        EXPECT_FALSE(document.findMember(key)) << key;
    }
}

TEST(JsonMember, IsNotFoundInWhatIsNoObject) {
    for (const char* text : {"null", "1", "true", R"("a")", R"(["a", {"a": 1}])"}) {
        EXPECT_FALSE(imported(text).findMember("a")) << text;
    }
}

TEST(JsonMember, WithAnEmptyKeyIsFound) {
    const Deserializer document = imported(R"({"a": 1, "": 2})");
    EXPECT_EQ(rawMember(document, ""), "2");
    EXPECT_EQ(rawMember(document, "a"), "1");
}

TEST(JsonMember, IsTheFirstOfAKeyThatOccursTwice) {
    EXPECT_EQ(rawMember(imported(R"({"a": 1, "b": 2, "a": 3, "b": 4})"), "a"), "1");
    EXPECT_EQ(rawMember(imported(R"({"a": 1, "b": 2, "a": 3, "b": 4})"), "b"), "2");
}

TEST(JsonMember, IsTheFirstOfAKeyThatIsWrittenInTwoWays) {
    EXPECT_EQ(rawMember(imported(R"({"\u0061": 1, "a": 2})"), "a"), "1");
    EXPECT_EQ(rawMember(imported(R"({"a": 1, "\u0061": 2})"), "a"), "1");
}

TEST(JsonMember, IsFoundByAKeyWithEscapes) {
    const Deserializer document = imported(
        R"({"\u006Cist": 1, "a\"b": 2, "a\\b": 3, "a\/b": 4, "a\nb": 5, "\ud83d\ude00": 6, "\\u0061": 7, "\u00e9": 8})");
    EXPECT_EQ(rawMember(document, "list"), "1");
    EXPECT_EQ(rawMember(document, "a\"b"), "2");
    EXPECT_EQ(rawMember(document, "a\\b"), "3");
    EXPECT_EQ(rawMember(document, "a/b"), "4");
    EXPECT_EQ(rawMember(document, "a\nb"), "5");
    EXPECT_EQ(rawMember(document, "\U0001F600"), "6");
    EXPECT_EQ(rawMember(document, "\\u0061"), "7");
    EXPECT_EQ(rawMember(document, "\u00E9"), "8");
    EXPECT_FALSE(document.findMember("a")) << "an escaped backslash starts no escape";
}

TEST(JsonMember, IsNotFoundByTheStartOfAKeyWithAZeroByte) {
    EXPECT_FALSE(imported(R"({"a\u0000b": 1})").findMember("a"));
}

TEST(JsonMember, IsFoundBehindAnyOtherValue) {
    for (const std::string_view value : {R"("]}\"[{\\")"sv, R"("\\\\")"sv, R"([[[]], {"id": 1}])"sv,
                                         R"({"id": {"id": [1]}})"sv, "-1.5e3"sv, "null"sv, R"(["\\", "\"", "]"])"sv}) {
        const std::string text = "{\"x\":" + std::string(value) + ",\"id\":7}";
        EXPECT_EQ(rawMember(imported(text), "id"), "7") << text;
    }
}

TEST(JsonMember, ThatIsMissingMakesGetMemberNameIt) {
    const Deserializer document = imported(R"({"id": 7})");
    EXPECT_EQ(document.getMember("id").rawText(), "7");
    EXPECT_THAT(thrownBy([&] { document.getMember("localAuthorizationList"); }),
                AllOf(StartsWith("std::out_of_range: "), HasSubstr("localAuthorizationList")));
    EXPECT_THAT(thrownBy([&] { imported("[1]").getMember("tags"); }),
                AllOf(StartsWith("std::out_of_range: "), HasSubstr("tags")));
}

TEST(JsonMember, IsFoundAmongAHundredThousand) {
    std::string text = "{";
    for (int i = 0; i < 100'000; ++i) text += "\"key" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    text.back() = '}';
    const Deserializer document = imported(text);
    EXPECT_EQ(rawMember(document, "key0"), "0");
    EXPECT_EQ(rawMember(document, "key99999"), "99999");
    EXPECT_FALSE(document.findMember("key100000"));
}

TEST(JsonElements, AreVisitedInOrder) {
    EXPECT_THAT(rawElements(imported(R"([ 1 , "a,b" ,[2,3],{"c":[4]},null,true ])")),
                ElementsAre("1", R"("a,b")", "[2,3]", R"({"c":[4]})", "null", "true"));
}

TEST(JsonElements, OfAnEmptyArrayAreNone) {
    EXPECT_THAT(rawElements(imported("[]")), IsEmpty());
    EXPECT_THAT(rawElements(imported(" [ \n\t ] ")), IsEmpty());
}

TEST(JsonElements, OfWhatIsNoArrayAreRefused) {
    for (const char* text : {"null", "1", "true", R"("[1]")", R"({"a": [1]})"}) {
        EXPECT_THAT(thrownBy([text] { rawElements(imported(text)); }), StartsWith("std::runtime_error: ")) << text;
    }
}

TEST(JsonElements, LetTheVisitorsExceptionThrough) {
    int visits = 0;
    const auto visit = [&visits](const Deserializer&) {
        if (++visits == 2) throw std::range_error("enough");
    };
    EXPECT_EQ(thrownBy([&] { imported("[1,2,3]").forEachElement(visit); }), "std::range_error: enough");
    EXPECT_EQ(visits, 2);
}

TEST(JsonBlanks, MayStandBetweenAnyTokens) {
    const std::string text =
        " \t\r\n{ \t\r\n\"a\" \t\r\n: \t\r\n[ \t\r\n1 \t\r\n, \t\r\n\"b c\" \t\r\n] \t\r\n, \t\r\n\"d\":{ \t\r\n} "
        "\t\r\n} \t\r\n";
    const Deserializer document = imported(text);
    EXPECT_THAT(rawElements(document.getMember("a")), ElementsAre("1", R"("b c")"));
    EXPECT_EQ(rawMember(document, "d"), "{ \t\r\n}");
}

TEST(JsonImport, KeepsWhatItHeldWhenATextIsRefused) {
    const std::string text = R"({"a": 1})";
    Deserializer value = imported(text);
    for (const char* bad : {"", "{", R"({"a": 2)", R"({"a": 2} x)", "[1,]"}) {
        EXPECT_THROW(value.importJson(bad), std::runtime_error) << bad;
        EXPECT_EQ(value.rawText().data(), text.data()) << bad;
        EXPECT_EQ(rawMember(value, "a"), "1") << bad;
    }
}

TEST(JsonImport, ReplacesWhatItHeld) {
    Deserializer value = imported(R"({"a": 1})");
    EXPECT_EQ(rawMember(value, "a"), "1");
    value.importJson(R"({"b": 2})");
    EXPECT_FALSE(value.findMember("a"));
    EXPECT_EQ(rawMember(value, "b"), "2");
}

TEST(JsonImport, NamesTheByteWhereTheTextGoesWrong) {
    const std::string text = std::string(1234, ' ') + "x";
    EXPECT_THAT(thrownBy([&] { imported(text); }), AllOf(StartsWith("std::runtime_error: "), HasSubstr("1234")));
    const std::string behind = "[" + std::string(5678, ' ') + "]x";
    EXPECT_THAT(thrownBy([&] { imported(behind); }), AllOf(StartsWith("std::runtime_error: "), HasSubstr("5680")));
    const std::string zeroByte = std::string(4321, ' ') + "1\0"s;
    EXPECT_THAT(thrownBy([&] { imported(zeroByte); }), AllOf(StartsWith("std::runtime_error: "), HasSubstr("4322")));
}

TEST(JsonImport, DoesNotDependOnTheLocale) {
    const GroupingLocale grouping;
    EXPECT_EQ(rawMember(imported(R"({"a": 1234567.5})"), "a"), "1234567.5");
    const std::string text = std::string(1234, ' ') + "x";
    EXPECT_THAT(thrownBy([&] { imported(text); }), HasSubstr("1234"));
}

}  // namespace
}  // namespace oru::common::lwjson
