// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "oru/common/lwjson/Deserializer.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::common::lwjson {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::NamedCase;
using kadi::authlist::test::thrownBy;
using testing::StartsWith;
using namespace std::string_literals;

// The value of a text, which must outlive it.
Deserializer imported(std::string_view text) {
    Deserializer value(Options::Strict);
    value.importJson(text);
    return value;
}

std::string extracted(std::string_view text, const char* defaultValue = "") {
    std::string out = "what was there before";
    Deserializer::extractValue(text.data(), static_cast<unsigned>(text.size()), out, defaultValue);
    return out;
}

struct Escape : NamedCase {
    std::string escaped;
    std::string text;
};

class EscapedText : public testing::TestWithParam<Escape> {};

TEST_P(EscapedText, IsResolved) { EXPECT_EQ(extracted(GetParam().escaped), GetParam().text); }

TEST_P(EscapedText, IsWhatStandsBetweenTheQuotesOfAString) {
    const std::string json = '"' + GetParam().escaped + '"';
    const Deserializer value = imported(json);
    EXPECT_EQ(value.scalarText(), GetParam().escaped);
    EXPECT_EQ(extracted(value.scalarText()), GetParam().text);
}

const Escape escapes[] = {
    {{"NoEscape"}, "Main door", "Main door"},
    {{"Quote"}, R"(\")", "\""},
    {{"Backslash"}, R"(\\)", "\\"},
    {{"Slash"}, R"(\/)", "/"},
    {{"SlashUnescaped"}, "/", "/"},
    {{"Backspace"}, R"(\b)", "\b"},
    {{"FormFeed"}, R"(\f)", "\f"},
    {{"LineFeed"}, R"(\n)", "\n"},
    {{"CarriageReturn"}, R"(\r)", "\r"},
    {{"Tab"}, R"(\t)", "\t"},
    {{"AllShortOnes"}, R"(\"\\\/\b\f\n\r\t)", "\"\\/\b\f\n\r\t"},
    {{"EscapedBackslashBeforeALetter"}, R"(\\n)", "\\n"},
    {{"EscapedBackslashBeforeU"}, R"(\\u0041)", "\\u0041"},
    {{"OneByteCharacter"}, R"(\u0041)", "A"},
    {{"TwoByteCharacter"}, R"(\u00e9)", "\xC3\xA9"},
    {{"LastOneByteCharacter"}, R"(\u007f)", "\x7F"},
    {{"FirstTwoByteCharacter"}, R"(\u0080)", "\xC2\x80"},
    {{"LastTwoByteCharacter"}, R"(\u07FF)", "\xDF\xBF"},
    {{"FirstThreeByteCharacter"}, R"(\u0800)", "\xE0\xA0\x80"},
    {{"ThreeByteCharacter"}, R"(\u20AC)", "\xE2\x82\xAC"},
    {{"BelowTheSurrogates"}, R"(\uD7FF)", "\xED\x9F\xBF"},
    {{"AboveTheSurrogates"}, R"(\uE000)", "\xEE\x80\x80"},
    {{"Noncharacter"}, R"(\uFFFF)", "\xEF\xBF\xBF"},
    {{"SurrogatePair"}, R"(\uD83D\uDE00)", "\xF0\x9F\x98\x80"},
    {{"SurrogatePairInLowerCase"}, R"(\ud83d\ude00)", "\xF0\x9F\x98\x80"},
    {{"FirstSurrogatePair"}, R"(\uD800\uDC00)", "\xF0\x90\x80\x80"},
    {{"LastSurrogatePair"}, R"(\uDBFF\uDFFF)", "\xF4\x8F\xBF\xBF"},
    {{"TwoSurrogatePairs"}, R"(\uD83D\uDE00\uD83D\uDE01)", "\xF0\x9F\x98\x80\xF0\x9F\x98\x81"},
    {{"ZeroByte"}, R"(a\u0000b)", "a\0b"s},
    {{"Utf8BesideEscapes"}, "\xE2\x82\xAC\\n\xF0\x9F\x98\x80", "\xE2\x82\xAC\n\xF0\x9F\x98\x80"},
    {{"Utf8WithoutEscapes"}, "\xE2\x82\xAC\xF0\x9F\x98\x80", "\xE2\x82\xAC\xF0\x9F\x98\x80"},
    {{"BlanksAround"}, R"( \n )", " \n "},
    {{"Delete"}, "\x7F", "\x7F"},
};

INSTANTIATE_TEST_SUITE_P(Of, EscapedText, testing::ValuesIn(escapes), byName);

TEST(ExtractValue, GivesTheDefaultForAnEmptyText) {
    EXPECT_EQ(extracted(""), "");
    EXPECT_EQ(extracted("", "none"), "none");
    EXPECT_EQ(extracted("x", "none"), "x");
}

TEST(ExtractValue, GivesOtherScalarsAsTheyStand) {
    EXPECT_EQ(extracted("true"), "true");
    EXPECT_EQ(extracted("-12.5e3"), "-12.5e3");
}

TEST(ExtractValue, ReadsTheGivenLengthOnly) {
    EXPECT_EQ(extracted(std::string_view("abcdef").substr(0, 3)), "abc");
    EXPECT_EQ(extracted(std::string_view(R"(\ndef)").substr(0, 3)), "\nd");
}

struct Refusal : NamedCase {
    std::string text;
};

class ImpossibleStringText : public testing::TestWithParam<Refusal> {};

TEST_P(ImpossibleStringText, IsRefusedBesideAnEscape) {
    EXPECT_THAT(thrownBy([] { extracted("\\n" + GetParam().text); }), StartsWith("std::runtime_error: "));
}

TEST_P(ImpossibleStringText, IsRefusedBetweenTheQuotesOfAString) {
    const std::string json = '"' + GetParam().text + '"';
    EXPECT_THAT(thrownBy([&] { imported(json); }), StartsWith("std::runtime_error: "));
}

const Refusal impossibleTexts[] = {
    {{"Quote"}, "a\"b"},
    {{"TwoQuotes"}, R"(a","b)"},
    {{"QuoteAtTheEnd"}, "a\""},
    {{"BackslashAtTheEnd"}, "a\\"},
    {{"UnknownEscape"}, R"(\x41)"},
    {{"CapitalU"}, R"(\U0041)"},
    {{"EscapedSingleQuote"}, R"(\')"},
    {{"EscapedDigit"}, R"(\0)"},
    {{"NoHexadecimalDigits"}, R"(\u)"},
    {{"ThreeHexadecimalDigits"}, R"(\u041)"},
    {{"LetterG"}, R"(\u004G)"},
    {{"SignedHexadecimal"}, R"(\u+041)"},
    {{"HighSurrogateAlone"}, R"(\uD83D)"},
    {{"HighSurrogateBeforeALetter"}, R"(\uD83Da)"},
    {{"HighSurrogateBeforeAnotherEscape"}, R"(\uD83D\n)"},
    {{"HighSurrogateBeforeAnotherCharacter"}, R"(\uD83D\u0041)"},
    {{"TwoHighSurrogates"}, R"(\uD83D\uD83D)"},
    {{"LowSurrogateAlone"}, R"(\uDE00)"},
    {{"SurrogatesInTheWrongOrder"}, R"(\uDE00\uD83D)"},
    {{"LineFeed"}, "a\nb"},
    {{"Tab"}, "a\tb"},
    {{"ZeroByte"}, "a\0b"s},
    {{"UnitSeparator"}, "a\x1F"},
    {{"ContinuationByteAlone"}, "a\x80"},
    {{"Overlong"}, "\xC0\xAF"},
    {{"EncodedSurrogate"}, "\xED\xA0\x80"},
    {{"CutOffUtf8"}, "a\xE2\x82"},
    {{"BeyondUnicode"}, "\xF4\x90\x80\x80"},
    {{"ByteFF"}, "\xFF"},
};

INSTANTIATE_TEST_SUITE_P(With, ImpossibleStringText, testing::ValuesIn(impossibleTexts), byName);

}  // namespace
}  // namespace oru::common::lwjson
