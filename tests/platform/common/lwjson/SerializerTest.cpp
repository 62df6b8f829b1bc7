// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oru/common/lwjson/Deserializer.h"
#include "oru/common/lwjson/Serializer.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::common::lwjson {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::NamedCase;
using kadi::authlist::test::thrownBy;
using testing::StartsWith;
using namespace std::string_literals;

const std::string replacement = "\xEF\xBF\xBD";  // U+FFFD

// A finalized serializer over existing JSON text.
Serializer carrying(std::string json) {
    Serializer value(std::move(json), Format::Compact);
    value.finalize();
    return value;
}

// A finalized object whose only member is "a" with the number.
Serializer objectWithNumber(const char* number) {
    Serializer object(Format::Compact);
    object.appendKey("a");
    object.appendValue(number);
    object.finalize();
    return object;
}

// A finalized object whose only member is "a" with the string.
std::string writtenObject(const std::string& text) {
    Serializer object(Format::Compact);
    object.appendKey("a");
    object.addValue(text);
    object.finalize();
    return object.mutableJson();
}

// The string as the reader takes it from a JSON text that writtenObject made.
std::string readBack(const std::string& json) {
    Deserializer document(Options::Strict);
    document.importJson(json);
    const Deserializer member = document.getMember("a");
    EXPECT_EQ(member.kind(), Kind::String);
    const std::string_view escaped = member.scalarText();
    std::string text;
    Deserializer::extractValue(escaped.data(), static_cast<unsigned>(escaped.size()), text, "");
    return text;
}

bool isPrintable(char c) { return static_cast<unsigned char>(c) >= 0x20; }

TEST(JsonWriter, WritesAnEmptyObject) {
    Serializer object(Format::Compact);
    object.finalize();
    EXPECT_EQ(object.mutableJson(), "{}");
}

TEST(JsonWriter, IsMadeWithTheFormatValueZero) {
    Serializer object(static_cast<Format>(0));
    object.finalize();
    EXPECT_EQ(object.mutableJson(), "{}");
}

TEST(JsonWriter, KeepsTheOrderOfTheMembers) {
    Serializer object(Format::Compact);
    object.appendKey("status");
    object.addValue(std::string("Accepted"));
    object.appendKey("id");
    object.appendValue("7");
    object.appendKey("b");
    object.addValue("");
    object.appendKey("a");
    object.addValue("x");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"status":"Accepted","id":7,"b":"","a":"x"})");
}

TEST(JsonWriter, WritesAKeyTwiceWhenItIsGivenTwice) {
    Serializer object(Format::Compact);
    object.appendKey("a");
    object.appendValue("1");
    object.appendKey("a");
    object.appendValue("2");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"a":1,"a":2})");
}

TEST(JsonWriter, WritesAnEmptyKey) {
    Serializer object(Format::Compact);
    object.appendKey("");
    object.appendValue("1");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"":1})");
}

TEST(JsonWriter, EscapesKeysLikeValues) {
    Serializer object(Format::Compact);
    object.appendKey("a\"b\\c\n");
    object.appendValue("1");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"a\"b\\c\n":1})");
}

TEST(JsonWriter, WritesNumbersAsTheyAreGiven) {
    EXPECT_EQ(objectWithNumber("4294967295").mutableJson(), R"({"a":4294967295})");
    EXPECT_EQ(objectWithNumber("0").mutableJson(), R"({"a":0})");
}

TEST(JsonWriter, TakesCStringsAndStringsAlike) {
    Serializer object(Format::Compact);
    object.appendKey("a");
    object.addValue("x\"y");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), writtenObject("x\"y"));
}

TEST(JsonWriter, EmbedsAnObject) {
    Serializer object(Format::Compact);
    object.appendKey("inner");
    object.addValue(objectWithNumber("1"));
    object.appendKey("next");
    object.appendValue("2");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"inner":{"a":1},"next":2})");
}

TEST(JsonWriter, EmbedsExistingTextAsItStands) {
    const std::string text = " { \"z\" : [1 ,\t1.50e0, \"\\u0041\"],\n \"a\":null } ";
    Serializer object(Format::Compact);
    object.appendKey("extraData");
    object.addValue(carrying(text));
    object.finalize();
    EXPECT_EQ(object.mutableJson(), "{\"extraData\":" + text + "}");
}

TEST(JsonWriter, EmbedsAnEmptyTextAsNull) {
    Serializer object(Format::Compact);
    object.appendKey("extraData");
    object.addValue(carrying(""));
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"extraData":null})");
}

TEST(JsonWriter, WritesArrays) {
    const auto written = [](const std::vector<Serializer>& elements) {
        Serializer object(Format::Compact);
        object.appendKey("list");
        object.addValue(elements);
        object.appendKey("next");
        object.appendValue("1");
        object.finalize();
        return object.mutableJson();
    };
    EXPECT_EQ(written({}), R"({"list":[],"next":1})");
    EXPECT_EQ(written({objectWithNumber("1")}), R"({"list":[{"a":1}],"next":1})");
    EXPECT_EQ(written({objectWithNumber("1"), carrying("[ 2 ]"), carrying("")}),
              R"({"list":[{"a":1},[ 2 ],null],"next":1})");
}

TEST(JsonWriter, LeavesWhatItEmbedsUnchanged) {
    Serializer inner = objectWithNumber("1");
    const std::vector<Serializer> list{inner, inner};
    Serializer object(Format::Compact);
    object.appendKey("one");
    object.addValue(inner);
    object.appendKey("two");
    object.addValue(list);
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"one":{"a":1},"two":[{"a":1},{"a":1}]})");
    EXPECT_EQ(inner.mutableJson(), R"({"a":1})");
}

TEST(JsonWriter, FinalizedTwiceIsFinalizedOnce) {
    Serializer object = objectWithNumber("1");
    object.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"a":1})");
    Serializer value = carrying("[1]");
    value.finalize();
    EXPECT_EQ(value.mutableJson(), "[1]");
}

TEST(JsonWriter, LetsItsTextBeChangedAndMovedAway) {
    Serializer object = objectWithNumber("1");
    object.mutableJson() += " ";
    EXPECT_EQ(object.mutableJson(), "{\"a\":1} ");
    const std::string taken = std::move(object.mutableJson());
    EXPECT_EQ(taken, "{\"a\":1} ");
}

TEST(JsonWriter, CanBeCopiedInTheMiddle) {
    Serializer object(Format::Compact);
    object.appendKey("a");
    Serializer copy = object;
    object.appendValue("1");
    copy.appendValue("2");
    object.finalize();
    copy.finalize();
    EXPECT_EQ(object.mutableJson(), R"({"a":1})");
    EXPECT_EQ(copy.mutableJson(), R"({"a":2})");
}

struct Misuse : NamedCase {
    std::function<void(Serializer&)> calls;
};

class JsonWriterOrder : public testing::TestWithParam<Misuse> {};

TEST_P(JsonWriterOrder, IsEnforced) {
    Serializer object(Format::Compact);
    EXPECT_THAT(thrownBy([&] { GetParam().calls(object); }), StartsWith("std::logic_error: "));
}

const std::vector<Misuse> misuses{
    {{"StringWithoutKey"}, [](Serializer& object) { object.addValue(std::string("x")); }},
    {{"CStringWithoutKey"}, [](Serializer& object) { object.addValue("x"); }},
    {{"NumberWithoutKey"}, [](Serializer& object) { object.appendValue("1"); }},
    {{"SerializerWithoutKey"}, [](Serializer& object) { object.addValue(objectWithNumber("1")); }},
    {{"ArrayWithoutKey"}, [](Serializer& object) { object.addValue(std::vector<Serializer>{}); }},
    {{"TwoKeys"},
     [](Serializer& object) {
         object.appendKey("a");
         object.appendKey("b");
     }},
    {{"TwoValues"},
     [](Serializer& object) {
         object.appendKey("a");
         object.appendValue("1");
         object.appendValue("2");
     }},
    {{"StringBehindAnArray"},
     [](Serializer& object) {
         object.appendKey("a");
         object.addValue(std::vector<Serializer>{});
         object.addValue("x");
     }},
    {{"FinalizeBehindAKey"},
     [](Serializer& object) {
         object.appendKey("a");
         object.finalize();
     }},
    {{"KeyBehindFinalize"},
     [](Serializer& object) {
         object.finalize();
         object.appendKey("a");
     }},
    {{"ValueBehindFinalize"},
     [](Serializer& object) {
         object.finalize();
         object.addValue("x");
     }},
    {{"KeyIntoExistingText"},
     [](Serializer&) {
         Serializer value(std::string("{}"), Format::Compact);
         value.appendKey("a");
     }},
    {{"ValueIntoExistingText"},
     [](Serializer&) {
         Serializer value(std::string("{}"), Format::Compact);
         value.addValue("x");
     }},
    {{"EmbeddingAnUnfinishedObject"},
     [](Serializer& object) {
         object.appendKey("a");
         object.addValue(Serializer(Format::Compact));
     }},
    {{"EmbeddingUncheckedText"},
     [](Serializer& object) {
         object.appendKey("a");
         object.addValue(Serializer(std::string("1"), Format::Compact));
     }},
    {{"AnUnfinishedObjectInAnArray"},
     [](Serializer& object) {
         object.appendKey("a");
         object.addValue(std::vector<Serializer>{objectWithNumber("1"), Serializer(Format::Compact)});
     }},
};

INSTANTIATE_TEST_SUITE_P(Of, JsonWriterOrder, testing::ValuesIn(misuses), byName);

struct ExistingText : NamedCase {
    std::string text;
};

class TextThatIsNoJson : public testing::TestWithParam<ExistingText> {};

TEST_P(TextThatIsNoJson, IsRefusedWhenItIsFinalized) {
    Serializer value(std::string(GetParam().text), Format::Compact);
    EXPECT_THAT(thrownBy([&] { value.finalize(); }), StartsWith("std::invalid_argument: "));
}

const ExistingText noJsonTexts[] = {
    {{"Word"}, "text"},
    {{"Blank"}, " "},
    {{"OpenObject"}, "{"},
    {{"TrailingComma"}, "[1,]"},
    {{"TwoValues"}, "{}{}"},
    {{"ValueAndKey"}, R"({},"injected":1)"},
    {{"Comment"}, "{} // none"},
    {{"ByteOrderMark"}, "\xEF\xBB\xBF{}"},
    {{"InvalidUtf8"}, "\"\xFF\""},
    {{"ZeroByteAlone"}, "\0"s},
    {{"ZeroByteBehind"}, "{}\0"s},
    {{"ZeroByteAndMoreBehind"}, "{}\0,1"s},
};

INSTANTIATE_TEST_SUITE_P(Of, TextThatIsNoJson, testing::ValuesIn(noJsonTexts), byName);

class TextThatIsJson : public testing::TestWithParam<ExistingText> {};

TEST_P(TextThatIsJson, IsKeptAsItStands) { EXPECT_EQ(carrying(GetParam().text).mutableJson(), GetParam().text); }

const ExistingText jsonTexts[] = {
    {{"Object"}, R"({"a":1})"},
    {{"ObjectWithBlanks"}, " { \"a\" : 1 }\n"},
    {{"ObjectWithAKeyTwice"}, R"({"a":1,"a":2})"},
    {{"Array"}, "[1, 2]"},
    {{"String"}, R"("\u0041")"},
    {{"Number"}, "1.50"},
    {{"Null"}, "null"},
};

INSTANTIATE_TEST_SUITE_P(Of, TextThatIsJson, testing::ValuesIn(jsonTexts), byName);

TEST(JsonString, EscapesQuotesAndBackslashes) {
    EXPECT_EQ(writtenObject(R"(a"b\c)"), R"({"a":"a\"b\\c"})");
    EXPECT_EQ(writtenObject(R"(\")"), R"({"a":"\\\""})");
}

TEST(JsonString, EscapesEveryControlCharacter) {
    for (int code = 0; code < 0x20; ++code) {
        const std::string text = "x" + std::string(1, static_cast<char>(code)) + "y";
        const std::string json = writtenObject(text);
        EXPECT_TRUE(std::all_of(json.begin(), json.end(), isPrintable)) << code;
        EXPECT_EQ(readBack(json), text) << code;
    }
}

TEST(JsonString, KeepsEveryCharacterOfAsciiApart) {
    std::string text;
    for (int code = 0; code < 0x80; ++code) text += static_cast<char>(code);
    EXPECT_EQ(readBack(writtenObject(text)), text);
}

TEST(JsonString, GoesOnBehindAZeroByte) { EXPECT_EQ(readBack(writtenObject("a\0b\0"s)), "a\0b\0"s); }

TEST(JsonString, KeepsMillionsOfCharacters) {
    std::string text;
    while (text.size() < 3'000'000) text += "a\"\xE2\x82\xAC\n";
    EXPECT_EQ(readBack(writtenObject(text)), text);
}

struct Utf8Text : NamedCase {
    std::string text;
};

class Utf8 : public testing::TestWithParam<Utf8Text> {};

TEST_P(Utf8, ComesBackAsItWas) {
    EXPECT_EQ(readBack(writtenObject(GetParam().text)), GetParam().text);
    const std::string surrounded = "x" + GetParam().text + "\"y";
    EXPECT_EQ(readBack(writtenObject(surrounded)), surrounded);
}

const Utf8Text utf8Texts[] = {
    {{"Empty"}, ""},
    {{"TwoBytes"}, "\xC3\xA9"},
    {{"FirstOfTwoBytes"}, "\xC2\x80"},
    {{"ThreeBytes"}, "\xE2\x82\xAC"},
    {{"FirstOfThreeBytes"}, "\xE0\xA0\x80"},
    {{"BelowTheSurrogates"}, "\xED\x9F\xBF"},
    {{"AboveTheSurrogates"}, "\xEE\x80\x80"},
    {{"LineSeparator"}, "\xE2\x80\xA8"},
    {{"ParagraphSeparator"}, "\xE2\x80\xA9"},
    {{"Noncharacter"}, "\xEF\xBF\xBF"},
    {{"ByteOrderMark"}, "\xEF\xBB\xBF"},
    {{"FirstOfFourBytes"}, "\xF0\x90\x80\x80"},
    {{"FourBytes"}, "\xF0\x9F\x98\x80"},
    {{"LastCharacter"}, "\xF4\x8F\xBF\xBF"},
    {{"ReplacementCharacter"}, replacement},
    {{"Delete"}, "\x7F"},
};

INSTANTIATE_TEST_SUITE_P(Of, Utf8, testing::ValuesIn(utf8Texts), byName);

class InvalidUtf8 : public testing::TestWithParam<Utf8Text> {};

// Every bad byte may be replaced on its own, or several that belong together at once; nothing else may change.
bool isReplaced(std::string_view text, std::size_t badBytes) {
    std::size_t replacements = 0;
    for (; text.substr(0, replacement.size()) == replacement; text.remove_prefix(replacement.size())) ++replacements;
    return text.empty() && replacements >= 1 && replacements <= badBytes;
}

TEST_P(InvalidUtf8, IsReplaced) {
    const std::string bad = GetParam().text;
    EXPECT_TRUE(isReplaced(readBack(writtenObject(bad)), bad.size()));
}

TEST_P(InvalidUtf8, IsReplacedBetweenCharactersThatStay) {
    const std::string bad = GetParam().text;
    for (const std::string& neighbour : {"z"s, "\xE2\x82\xAC"s, "\xF0\x9F\x98\x80"s, "\""s, "\n"s, "\0"s}) {
        const std::string text = readBack(writtenObject(neighbour + bad + neighbour));
        ASSERT_GT(text.size(), 2 * neighbour.size());
        EXPECT_EQ(text.substr(0, neighbour.size()), neighbour);
        EXPECT_EQ(text.substr(text.size() - neighbour.size()), neighbour);
        EXPECT_TRUE(
            isReplaced(std::string_view(text).substr(neighbour.size(), text.size() - 2 * neighbour.size()), bad.size()))
            << text;
    }
}

TEST_P(InvalidUtf8, IsReplacedInAKey) {
    Serializer object(Format::Compact);
    object.appendKey(GetParam().text.c_str());
    object.appendValue("1");
    object.finalize();
    const std::string& json = object.mutableJson();
    EXPECT_THAT(json, StartsWith("{\"" + replacement));
    EXPECT_EQ(carrying(json).mutableJson(), json);
}

const Utf8Text invalidTexts[] = {
    {{"ContinuationByteAlone"}, "\x80"},
    {{"LastContinuationByteAlone"}, "\xBF"},
    {{"TwoContinuationBytesAlone"}, "\x80\xBF"},
    {{"OverlongSlash"}, "\xC0\xAF"},
    {{"OverlongZero"}, "\xC0\x80"},
    {{"OverlongOfThreeBytes"}, "\xE0\x80\xAF"},
    {{"LargestOverlongOfThreeBytes"}, "\xE0\x9F\xBF"},
    {{"OverlongOfFourBytes"}, "\xF0\x80\x80\xAF"},
    {{"LargestOverlongOfFourBytes"}, "\xF0\x8F\xBF\xBF"},
    {{"HighSurrogate"}, "\xED\xA0\x80"},
    {{"LowSurrogate"}, "\xED\xBF\xBF"},
    {{"SurrogatePair"}, "\xED\xA0\xBD\xED\xB8\x80"},
    {{"BeyondUnicode"}, "\xF4\x90\x80\x80"},
    {{"FiveByteForm"}, "\xF8\x88\x80\x80\x80"},
    {{"SixByteForm"}, "\xFC\x84\x80\x80\x80\x80"},
    {{"CutOffBehindOneOfTwo"}, "\xC3"},
    {{"CutOffBehindOneOfThree"}, "\xE2"},
    {{"CutOffBehindTwoOfThree"}, "\xE2\x82"},
    {{"CutOffBehindOneOfFour"}, "\xF0"},
    {{"CutOffBehindThreeOfFour"}, "\xF0\x9F\x98"},
    {{"ByteFE"}, "\xFE"},
    {{"ByteFF"}, "\xFF"},
    {{"Latin1"}, "\xE9"},
};

INSTANTIATE_TEST_SUITE_P(Of, InvalidUtf8, testing::ValuesIn(invalidTexts), byName);

TEST(InvalidUtf8Byte, BecomesOneReplacementCharacter) {
    for (int byte = 0x80; byte < 0x100; ++byte) {
        const std::string text = "a" + std::string(1, static_cast<char>(byte)) + "b";
        EXPECT_EQ(readBack(writtenObject(text)), "a" + replacement + "b") << byte;
    }
}

}  // namespace
}  // namespace oru::common::lwjson
