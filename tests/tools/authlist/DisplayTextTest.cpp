// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <locale.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output/DisplayText.h"
#include "support/Emulator.h"
#include "support/NamedCase.h"

namespace {

bool localesAreMissing = false;
int localesMade = 0;

}  // namespace

// Stands before the C library's own: counts, and can act a system without locales.
extern "C" locale_t newlocale(int mask, const char* name, locale_t base) noexcept {
    ++localesMade;
    if (localesAreMissing) return nullptr;
    static const auto real = reinterpret_cast<decltype(&newlocale)>(dlsym(RTLD_NEXT, "newlocale"));
    return real(mask, name, base);
}

namespace oru::kadi::authlist::tool {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using test::byName;
using test::NamedCase;

constexpr std::size_t many = 1'000'000;

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t done = 0; done < count; ++done) result += text;
    return result;
}

TEST(Printable, LeavesOrdinaryTextAlone) {
    for (const char* text : {"", "Main door", R"(C:\new, "quoted")", "Müller", "漢字", "é", "😀", "�", "ﬀ\u00A0"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(Printable, NamesTheUsualControlCharacters) { EXPECT_EQ(printable("a\nb\r\tc"), R"(a\nb\r\tc)"); }

TEST(Printable, WritesOtherControlCharactersOfOneByteAsTwoDigits) {
    EXPECT_EQ(printable("\0\x01\x1B[31m\x1F\x7F"sv), R"(\x00\x01\x1B[31m\x1F\x7F)");
}

TEST(Printable, WritesControlCharactersOfTwoBytesAsFourDigits) {
    EXPECT_EQ(printable("\u0080\u0085\u009B31m\u009F"), R"(\u0080\u0085\u009B31m\u009F)");
}

TEST(Printable, EscapesLineAndParagraphSeparators) { EXPECT_EQ(printable("a\u2028b\u2029"), R"(a\u2028b\u2029)"); }

TEST(Printable, EscapesWhatChangesTheDirectionOfText) {
    EXPECT_EQ(printable("\u061C\u200E\u200F"), R"(\u061C\u200E\u200F)");
    EXPECT_EQ(printable("\u202A\u202B\u202C\u202D\u202E"), R"(\u202A\u202B\u202C\u202D\u202E)");
    EXPECT_EQ(printable("\u2066\u2067\u2068\u2069"), R"(\u2066\u2067\u2068\u2069)");
}

TEST(Printable, LeavesTheNeighboursOfEscapedCharactersAlone) {
    for (const char* text :
         {" ", "~", "\u00A0", "\u061B", "\u061D", "\u200D", "\u2010", "\u2027", "\u202F", "\u2065", "\u206A"}) {
        EXPECT_EQ(printable(text), text);
    }
}

struct BadBytes : NamedCase {
    std::string_view text;
    std::string_view shown;
};

class PrintableOf : public testing::TestWithParam<BadBytes> {};

TEST_P(PrintableOf, BytesThatAreNoUtf8HasOneReplacementForEachPart) {
    EXPECT_EQ(printable(GetParam().text), GetParam().shown);
    EXPECT_EQ(displayWidth(GetParam().text), displayWidth(GetParam().shown));
}

INSTANTIATE_TEST_SUITE_P(Cases, PrintableOf,
                         testing::Values(BadBytes{{"LoneContinuation"}, "a\x80z", "a�z"},             //
                                         BadBytes{{"TwoContinuations"}, "a\x80\xBFz", "a��z"},        //
                                         BadBytes{{"OverlongOfTwo"}, "\xC0\x80\xC1\xBFz", "����z"},   //
                                         BadBytes{{"OverlongOfThree"}, "\xE0\x9F\xBFz", "���z"},      //
                                         BadBytes{{"OverlongOfFour"}, "\xF0\x8F\xBF\xBFz", "����z"},  //
                                         BadBytes{{"Surrogates"}, "\xED\xA0\x80\xED\xBF\xBFz", "������z"},
                                         BadBytes{{"BeyondTheLastCodePoint"}, "\xF4\x90\x80\x80z", "����z"},
                                         BadBytes{{"BytesThatNeverOccur"}, "\xF5\xF8\xFE\xFFz", "����z"},
                                         BadBytes{{"TwoBytesCutShort"}, "\xC3z", "�z"},                     //
                                         BadBytes{{"ThreeBytesCutShort"}, "\xE2\x82z", "�z"},               //
                                         BadBytes{{"FourBytesCutShort"}, "\xF0\x9F\x98z", "�z"},            //
                                         BadBytes{{"CutShortByTheEnd"}, "z\xF0\x9F\x98", "z�"},             //
                                         BadBytes{{"LeadAtTheEnd"}, "z\xC3", "z�"},                         //
                                         BadBytes{{"CutShortByAGoodCharacter"}, "\xE2\x82\xC3\xA4", "�ä"},  //
                                         BadBytes{{"Latin1"}, "M\xFCller", "M�ller"}),
                         byName);

TEST(Printable, TakesTheFirstAndLastCharacterOfEachLength) {
    for (const char* text : {"\xC2\xA0", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
                             "\xF0\x90\x80\x80", "\xF3\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(printable(text), text);
    }
}

TEST(DisplayWidth, CountsColumnsNotBytes) {
    EXPECT_EQ(displayWidth(""), 0U);
    EXPECT_EQ(displayWidth("Main door"), 9U);
    EXPECT_EQ(displayWidth("Müller"), 6U);
    EXPECT_EQ(displayWidth("漢字"), 4U);
    EXPECT_EQ(displayWidth("😀"), 2U);
    EXPECT_EQ(displayWidth("한국"), 4U);
    EXPECT_EQ(displayWidth("…�"), 2U);
}

TEST(DisplayWidth, GivesCombiningMarksNoColumn) {
    EXPECT_EQ(displayWidth("e\u0301"), 1U);
    EXPECT_EQ(displayWidth("e\u0301\u0302\u0303x"), 2U);
    EXPECT_EQ(displayWidth("\u0301"), 0U);
}

TEST(DisplayWidth, GivesACodePointThatIsNotAssignedOneColumn) { EXPECT_EQ(displayWidth("\u0378\U0010FFFF"), 2U); }

TEST(DisplayWidth, IsTheSameUnderEveryLocaleOfTheProcess) {
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(displayWidth("ü漢e\u0301"), 4U);
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(displayWidth("ü漢e\u0301"), 4U);
    std::setlocale(LC_ALL, "C");
}

TEST(DisplayWidth, LeavesTheLocaleOfTheProcessAlone) {
    displayWidth("漢");
    EXPECT_EQ(uselocale(nullptr), LC_GLOBAL_LOCALE);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

TEST(DisplayWidth, LeavesALocaleOfTheThreadAlone) {
    const locale_t own = newlocale(LC_ALL_MASK, "C", nullptr);
    ASSERT_NE(own, nullptr);
    uselocale(own);
    displayWidth("漢");
    EXPECT_EQ(fitted("漢漢", 3), "漢…");
    EXPECT_EQ(fitted("漢", 3), "漢 ");
    EXPECT_EQ(uselocale(LC_GLOBAL_LOCALE), own);
    freelocale(own);
}

TEST(DisplayWidth, MakesItsLocaleOnce) {
    displayWidth("a");
    const int before = localesMade;
    EXPECT_GE(before, 1) << "nobody counts";
    displayWidth("b");
    fitted("c", 3);
    EXPECT_EQ(localesMade, before);
}

// Runs in a process of its own, in which no locale was made yet.
TEST(DisplayWidthDeathTest, IsOneColumnACodePointWhereTheSystemHasNoLocales) {
    if (test::isEmulated()) GTEST_SKIP() << "starts itself once more, which an emulated program cannot";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            localesAreMissing = true;
            std::setlocale(LC_ALL, "C.UTF-8");  // does not count either
            const bool isRight = displayWidth("ü漢e\u0301") == 4 && displayWidth("漢字") == 2 &&
                                 fitted("漢字漢", 2) == "漢…" && uselocale(nullptr) == LC_GLOBAL_LOCALE;
            std::_Exit(isRight && localesMade == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Fitted, FillsUpWithBlanks) {
    EXPECT_EQ(fitted("ab", 4), "ab  ");
    EXPECT_EQ(fitted("ab", 4, true), "  ab");
    EXPECT_EQ(fitted("", 2), "  ");
    EXPECT_EQ(fitted("ü漢", 5), "ü漢  ");
    EXPECT_EQ(fitted("e\u0301", 3, true), "  e\u0301");
}

TEST(Fitted, LeavesATextOfTheWidthAlone) {
    EXPECT_EQ(fitted("abcd", 4), "abcd");
    EXPECT_EQ(fitted("ab漢", 4), "ab漢");
    EXPECT_EQ(fitted("", 0), "");
}

TEST(Fitted, EndsWhatItCutsInAnEllipsis) {
    EXPECT_EQ(fitted("abcde", 4), "abc…");
    EXPECT_EQ(fitted("abcde", 4, true), "abc…");
    EXPECT_EQ(fitted("abcde", 1), "…");
    EXPECT_EQ(fitted("abcde", 0), "");
    EXPECT_EQ(fitted("Müllerin", 4), "Mül…");
}

TEST(Fitted, CutsAWideCharacterWhole) {
    EXPECT_EQ(fitted("漢字漢", 5), "漢字…");
    EXPECT_EQ(fitted("漢字漢", 4), "漢… ");
    EXPECT_EQ(fitted("漢字漢", 4, true), " 漢…");
    EXPECT_EQ(fitted("漢", 1), "…");
    EXPECT_EQ(fitted("abc漢", 4), "abc…");
}

TEST(Fitted, NeverTakesTheMarksFromACharacter) {
    EXPECT_EQ(fitted("abe\u0301\u0302cd", 4), "abe\u0301\u0302…");
    EXPECT_EQ(fitted("abe\u0301\u0302cd", 3), "ab…");
    EXPECT_EQ(fitted("abe\u0301", 3), "abe\u0301");
    EXPECT_EQ(fitted("漢\u0301字", 3), "漢\u0301…");
}

TEST(Fitted, KeepsInvalidBytesAsOneColumnEach) { EXPECT_EQ(fitted("\xFF\xFF\xFF", 2), "\xFF…"); }

TEST(HugeText, OfCombiningMarksHasNoWidth) {
    const std::string marks = repeated("\u0301", many);
    EXPECT_TRUE(printable(marks) == marks);
    EXPECT_EQ(displayWidth(marks), 0U);
    EXPECT_TRUE(fitted("a" + marks + "bc", 2) == "a" + marks + "…");
    EXPECT_EQ(fitted("ab" + marks + "c", 2), "a…");
}

TEST(HugeText, OfNulBytesIsEscaped) {
    const std::string shown = printable(std::string(many, '\0'));
    EXPECT_TRUE(shown == repeated("\\x00", many));
    EXPECT_EQ(displayWidth(shown), 4 * many);
    EXPECT_EQ(fitted(shown, 6), "\\x00\\…");
}

TEST(HugeText, OfCharactersCutShortIsReplaced) {
    const std::string shown = printable(repeated("\xF0\x9F\x98", many));
    EXPECT_TRUE(shown == repeated("�", many));
    EXPECT_EQ(displayWidth(shown), many);
}

}  // namespace
}  // namespace oru::kadi::authlist::tool
