// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "oru/common/lwjson/Deserializer.h"
#include "support/NamedCase.h"
#include "support/PeakMemory.h"
#include "support/ThrownBy.h"

namespace oru::common::lwjson {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::MeasuredRun;
using kadi::authlist::test::memoryCanBeMeasured;
using kadi::authlist::test::NamedCase;
using kadi::authlist::test::runMeasured;
using kadi::authlist::test::thrownBy;
using testing::ElementsAre;
using testing::StartsWith;

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

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
}

struct Nesting : NamedCase {
    std::string opening;
    std::string innermost;
    std::string closing;
    std::size_t levelsOfOpening;

    std::string text(std::size_t levels) const {
        return repeated(opening, levels / levelsOfOpening) + innermost + repeated(closing, levels / levelsOfOpening);
    }
};

class DeepJson : public testing::TestWithParam<Nesting> {
protected:
    // Far above what a linear reader needs under any sanitizer, far below what a quadratic one does.
    static constexpr auto patience = std::chrono::seconds(20);
    static constexpr std::size_t limit = 200'000;

    void TearDown() override { EXPECT_LT(std::chrono::steady_clock::now() - mStart, patience); }

private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

TEST_P(DeepJson, IsReadAtAHundredThousandLevels) {
    const std::string text = GetParam().text(100'000);
    EXPECT_EQ(imported(text).rawText(), text);
}

TEST_P(DeepJson, IsPassedOverAsAMember) {
    const std::string text = R"({"extra": )" + GetParam().text(100'000) + R"(, "id": 7})";
    EXPECT_EQ(rawMember(imported(text), "id"), "7");
}

TEST_P(DeepJson, IsPassedOverAsAnElement) {
    const std::string text = "[" + GetParam().text(100'000) + ",7]";
    EXPECT_THAT(rawElements(imported(text)), ElementsAre(GetParam().text(100'000), "7"));
}

TEST_P(DeepJson, IsReadUpToTheLimit) {
    const std::string text = GetParam().text(limit);
    EXPECT_EQ(imported(text).rawText().size(), text.size());
}

TEST_P(DeepJson, IsRefusedBeyondTheLimit) {
    const std::string text = "[" + GetParam().text(limit) + "]";
    EXPECT_THAT(thrownBy([&] { imported(text); }), StartsWith("std::runtime_error: "));
}

TEST_P(DeepJson, IsRefusedWhenItIsNeverClosed) {
    for (const std::size_t levels : {std::size_t{100'000}, limit, 10 * limit}) {
        const std::string text = repeated(GetParam().opening, levels / GetParam().levelsOfOpening);
        EXPECT_THAT(thrownBy([&] { imported(text); }), StartsWith("std::runtime_error: ")) << levels;
    }
}

const Nesting nestings[] = {
    {{"Arrays"}, "[", "", "]", 1},
    {{"Objects"}, R"({"a":)", "1", "}", 1},
    {{"ArraysAndObjects"}, R"([{"a":)", "1", "}]", 2},
    {{"ArraysWithSiblings"}, R"(["]",)", "1", ",2]", 1},
};

INSTANTIATE_TEST_SUITE_P(Of, DeepJson, testing::ValuesIn(nestings), byName);

struct Hostile : NamedCase {
    std::string (*text)();
    bool isJson;
};

class HostileJson : public testing::TestWithParam<Hostile> {};

// Reads the text as an import would: all of it, then one level of it.
std::string readOneLevel(std::string_view text) {
    std::size_t elements = 0;
    const std::string thrown = thrownBy([&] {
        const Deserializer value = imported(text);
        value.findMember("localAuthorizationList");
        if (value.kind() == Kind::Array) value.forEachElement([&elements](const Deserializer&) { ++elements; });
    });
    return thrown == "nothing" ? "read" : "refused";
}

TEST_P(HostileJson, TakesFourTimesItsSizeInMemoryAtMost) {
    const std::string text = GetParam().text();
    const std::string expected = GetParam().isJson ? "read" : "refused";
    if (!memoryCanBeMeasured) {
        EXPECT_EQ(readOneLevel(text), expected);
        GTEST_SKIP() << "Read well, but a sanitizer's own memory hides the reader's.";
    }
    const MeasuredRun run = runMeasured([&text] { return readOneLevel(text); });
    EXPECT_EQ(run.result, expected);
    RecordProperty("PeakGrowthPerCent", static_cast<int>(100 * run.peakGrowth / text.size()));
    EXPECT_LE(run.peakGrowth, 4 * text.size());
}

const Hostile hostileTexts[] = {
    {{"ArrayOf10MillionNumbers"}, [] { return "[" + repeated("1,", 9'999'999) + "1]"; }, true},
    {{"ArrayOf10MillionNumbersUnclosed"}, [] { return "[" + repeated("1,", 10'000'000); }, false},
    {{"ObjectOf1MillionEmptyKeys"}, [] { return "{" + repeated("\"\":1,", 999'999) + "\"\":1}"; }, true},
    {{"OpeningBrackets"}, [] { return std::string(5'000'000, '['); }, false},
    {{"OpeningObjects"}, [] { return repeated("{\"\":", 1'250'000); }, false},
    {{"EmptyArrays"}, [] { return "[" + repeated("[],", 3'333'333) + "[]]"; }, true},
    {{"OneLongString"}, [] { return '"' + std::string(20'000'000, 'a') + '"'; }, true},
    {{"OneLongKey"}, [] { return "{\"" + std::string(20'000'000, 'a') + "\":1}"; }, true},
    {{"OneLongStringUnclosed"}, [] { return '"' + std::string(20'000'000, 'a'); }, false},
    {{"OneLongStringOfEscapes"}, [] { return '"' + repeated("\\\\", 10'000'000) + '"'; }, true},
    {{"OneLongKeyOfEscapes"}, [] { return "{\"" + repeated("\\u0061", 3'000'000) + "\":1}"; }, true},
    {{"OneLongInteger"}, [] { return std::string(20'000'000, '1'); }, false},
    {{"OneLongFraction"}, [] { return "0." + std::string(20'000'000, '1'); }, true},
    {{"Blanks"}, [] { return std::string(20'000'000, ' ') + "1"; }, true},
};

INSTANTIATE_TEST_SUITE_P(Of, HostileJson, testing::ValuesIn(hostileTexts), byName);

}  // namespace
}  // namespace oru::common::lwjson
