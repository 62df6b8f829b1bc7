// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "authlist/CsvExchange.h"
#include "support/Database.h"
#include "support/FileState.h"
#include "tools/authlist/ToolLists.h"

// Texts that would give another list than their author meant.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

std::string upperCase(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

std::string jsonOf(const std::string& card) { return R"({"localAuthorizationList":[)" + card + "]}"; }

std::string jsonCard(const std::string& members) {
    return jsonOf(R"({"id":1,"description":"d","status":"Accepted",)" + members + "}");
}

constexpr const char* jsonTags = R"("tags":[{"key":"KEY-1"}])";

/// A text that no list must be made of.
struct BadText : NamedCase {
    const char* format;
    std::string text;
    std::string culprit;
};

BadText csv(const char* name, const std::string& text, const std::string& culprit) {
    return {{name}, "csv", text, culprit};
}

BadText json(const char* name, const std::string& text, const std::string& culprit) {
    return {{name}, "json", text, culprit};
}

const BadText emptyKeys[] = {
    csv("CsvBehindAnother", "1,d,A|,Accepted,*,,\n", "empty key"),
    csv("CsvBeforeAnother", "1,d,|A,Accepted,*,,\n", "empty key"),
    csv("CsvBetweenOthers", "1,d,A||B,Accepted,*,,\n", "empty key"),
    csv("CsvAlone", "1,d,,Accepted,*,,\n", ""),
    csv("CsvInALaterCard", "1,d,A,Accepted,*,,\n2,e,B|,Accepted,*,,\n", "2"),
    json("Json", jsonCard(R"("tags":[{"key":"KEY-1"},{"key":""}])"), ""),
};

const BadText evses[] = {
    csv("CsvTwo", "1,d,A,Accepted,2;3,,\n", "2;3"),
    csv("CsvFraction", "1,d,A,Accepted,1.5,,\n", "1.5"),
    csv("CsvLetter", "1,d,A,Accepted,2x,,\n", "2x"),
    csv("CsvBlank", "1,d,A,Accepted,2 3,,\n", "2 3"),
    csv("CsvZero", "1,d,A,Accepted,0,,\n", "0"),
    csv("CsvStars", "1,d,A,Accepted,**,,\n", ""),
    csv("CsvNegative", "1,d,A,Accepted,-1,,\n", ""),
    csv("CsvBeyond32Bits", "1,d,A,Accepted,4294967297,,\n", ""),
    csv("CsvOfASecondLine", "1,d,A,Accepted,2,,\n2,e,B,Accepted,2x,,\n", "line 2"),
    csv("CsvWithAnotherSeparator", "sep=;\n1;d;A;Accepted;2x;;\n", "2x"),
    json("JsonZero", jsonCard(std::string(R"("evseId":0,)") + jsonTags), "evseId"),
    json("JsonLetter", jsonCard(std::string(R"("evseId":"2x",)") + jsonTags), "2x"),
    json("JsonFraction", jsonCard(std::string(R"("evseId":1.5,)") + jsonTags), "1.5"),
    json("JsonNegative", jsonCard(std::string(R"("evseId":-1,)") + jsonTags), ""),
};

const BadText dates[] = {
    csv("CsvNoMonth", "1,d,A,Accepted,*,,2027-13-01\n", "2027-13-01"),
    csv("CsvLetterAsSeparator", "SEP=x\n1XdescXkeyXAcceptedX*XX2027-13-45\n", "2027-13-45"),
    csv("CsvLetterThatEndsTheLine", "SEP=x\n1XdescXkeyXAcceptedX*XX2027-13-45x\n", "2027-13-45"),
    csv("CsvSmallSeparatorLine", "sep=;\n1;d;A;Accepted;*;;2027-02-30\n", "2027-02-30"),
    csv("CsvBehindALineThatOnlyLooksLikeASeparatorLine", "abc=;\n1,d,A,Accepted,*,,2027-02-30\n", "2027-02-30"),
    json("Json", jsonCard(std::string(R"("expiryDate":"2027-02-30",)") + jsonTags), "2027-02-30"),
    json("JsonAccessTooLate", jsonCard(std::string(R"("lastAccessTime":"2200-01-01",)") + jsonTags), "2200-01-01"),
    json("JsonModificationTooEarly", jsonCard(std::string(R"("lastModificationTime":"1960-01-01",)") + jsonTags),
         "1960-01-01"),
};

const BadText ids[] = {
    csv("CsvWithTail", "4x,d,A,Accepted,*,,\n", "4x"),
    csv("CsvJustBeyondTheLargest", "2147483647,d,A,Accepted,*,,\n", "2147483647"),
    csv("CsvOf32Bits", "4294967295,d,A,Accepted,*,,\n", "4294967295"),
    csv("CsvBeyond32Bits", "4294967297,d,A,Accepted,*,,\n", ""),
    json("JsonJustBeyondTheLargest", jsonOf(R"({"id":2147483647,"status":"Accepted","tags":[{"key":"KEY-1"}]})"),
         "2147483647"),
    json("JsonWithTail", jsonOf(R"({"id":"7x","status":"Accepted","tags":[{"key":"KEY-1"}]})"), "7x"),
    json("JsonWithFraction", jsonOf(R"({"id":1.9,"status":"Accepted","tags":[{"key":"KEY-1"}]})"), "1.9"),
    json("JsonWithBlank", jsonOf(R"({"id":" 13","status":"Accepted","tags":[{"key":"KEY-1"}]})"), " 13"),
    json("JsonOf32Bits", jsonOf(R"({"id":4294967295,"status":"Accepted","tags":[{"key":"KEY-1"}]})"), "4294967295"),
};

const std::string hashOfKey1 = hashKey("KEY-1");

const BadText hashes[] = {
    json("JsonTwiceInDifferentLetters",
         jsonCard(R"("tags":[{"hash":")" + hashOfKey1 + R"("},{"hash":")" + upperCase(hashOfKey1) + R"("}])"), ""),
    json("JsonTwiceOnceByItsKey", jsonCard(R"("tags":[{"key":"KEY-1"},{"hash":")" + upperCase(hashOfKey1) + R"("}])"),
         ""),
};

class StrictImport : public testing::TestWithParam<std::tuple<Store, BadText>>, protected ListUnderTest {
protected:
    StrictImport() : ListUnderTest(std::get<0>(GetParam())) {}
};

TEST_P(StrictImport, RefusesTheTextAndKeepsTheList) {
    store(sampleCards(), 42);
    const BadText& row = std::get<1>(GetParam());
    const std::string file = mFolder.file(std::string("bad.") + row.format);
    writeFile(file, row.text);
    const FileState before = stateOf(mList);
    const ToolResult result = tool({"import", file});
    expectRefusal(result, 5, row.culprit);
    EXPECT_THAT(result.err, HasSubstr(file));
    EXPECT_EQ(stateOf(mList), before);
    EXPECT_THAT(namesIn(mFolder.path()), SizeIs(2));
    EXPECT_EQ(tool({"import", file, "--dry-run"}).exitStatus, 5);
}

const auto byStoreAndName = [](const auto& each) {
    return std::string(std::get<0>(each.param).name) + std::get<1>(each.param).name;
};

INSTANTIATE_TEST_SUITE_P(EmptyKeys, StrictImport, testing::Combine(bothStores, testing::ValuesIn(emptyKeys)),
                         byStoreAndName);
INSTANTIATE_TEST_SUITE_P(Evses, StrictImport, testing::Combine(bothStores, testing::ValuesIn(evses)), byStoreAndName);
INSTANTIATE_TEST_SUITE_P(Dates, StrictImport, testing::Combine(bothStores, testing::ValuesIn(dates)), byStoreAndName);
INSTANTIATE_TEST_SUITE_P(Ids, StrictImport, testing::Combine(bothStores, testing::ValuesIn(ids)), byStoreAndName);
INSTANTIATE_TEST_SUITE_P(Hashes, StrictImport, testing::Combine(bothStores, testing::ValuesIn(hashes)), byStoreAndName);

class LenientImport : public OverBothStores {
protected:
    void import(const std::string& format, const std::string& text) const {
        const std::string file = mFolder.file("good." + format);
        writeFile(file, text);
        expectSuccess(tool({"-s", GetParam().option, "import", file}));
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, LenientImport, bothStores, byName);

TEST_P(LenientImport, TakesOneEvseAndAll) {
    import("csv", "1,d,A,Accepted,12,,\n2,e,B,Accepted,*,,\n3,f,C,Accepted,4294967295,,\n");
    EXPECT_EQ(storedCard(1).evseId, 12U);
    EXPECT_EQ(storedCard(2).evseId, std::nullopt);
    EXPECT_EQ(storedCard(3).evseId, 4294967295U);
    import("json", jsonCard(std::string(R"("evseId":12,)") + jsonTags));
    EXPECT_EQ(storedCard(1).evseId, 12U);
    import("json", jsonCard(std::string(R"("evseId":null,)") + jsonTags));
    EXPECT_EQ(storedCard(1).evseId, std::nullopt);
}

TEST_P(LenientImport, ReadsDatesWhateverSeparatesTheColumns) {
    const TimePoint date = at(1801353600);  // 2027-01-31
    for (const char* text : {"1,d,A,Accepted,*,,2027-01-31\n", "abc=;\n1,d,A,Accepted,*,,2027-01-31\n",
                             "sep=;\n1;d;A;Accepted;*;;2027-01-31\n", "SEP=x\n1XdescXkeyXAcceptedX*XX2027-01-31\n",
                             "id,description,tags,status,evseId,parentId,expiryDate\n1,d,A,Accepted,*,,2027-01-31\n"}) {
        SCOPED_TRACE(text);
        import("csv", text);
        EXPECT_EQ(storedCard(1).expiryDate, date);
    }
}

TEST_P(LenientImport, TakesTheLargestId) {
    import("csv", "2147483646,d,A,Accepted,*,,\n");
    EXPECT_EQ(storedCard(2147483646).tags.front().key, "A");
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
    expectSuccess(tool({"remove", "A"}));
    expectSuccess(tool({"add", "B"}));
    expectSuccess(tool({"authorize", "B"}));
}

TEST_P(LenientImport, MakesHashesInCapitalsOnesThatTheirKeysMatch) {
    import("json", jsonCard(R"("tags":[{"hash":")" + upperCase(hashOfKey1) + R"("}])"));
    EXPECT_EQ(storedCard(1).tags.front().hash, hashOfKey1);
    expectSuccess(tool({"authorize", "KEY-1"}));
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
    expectRefusal(tool({"add", "--hash", upperCase(hashOfKey1)}), 5, "");
    expectRefusal(tool({"add", "KEY-1"}), 5, "");
    expectSuccess(tool({"remove", "--hash", upperCase(hashOfKey1)}));
    EXPECT_THAT(stored().cards, SizeIs(0));
}

class HashesFromElsewhere : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, HashesFromElsewhere, bothStores, byName);

TEST_P(HashesFromElsewhere, AreChosenInTheLettersGiven) {
    std::vector<RfidCard> cards = {numbered(1, cardWithKey("KEY-1")), numbered(2, cardWithKey("KEY-1"))};
    cards[1].tags.front() = {upperCase(hashOfKey1), std::nullopt, std::nullopt};
    store(cards);
    expectSuccess(tool({"remove", "--hash", upperCase(hashOfKey1)}));
    ASSERT_THAT(stored().cards, SizeIs(1));
    EXPECT_EQ(stored().cards.front().id, 1U);
}

class EmptyKeys : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, EmptyKeys, bothStores, byName);

TEST_P(EmptyKeys, AreFoundByACheck) {
    std::vector<RfidCard> cards = sampleCards();
    cards[5].id = 606;
    cards[5].tags.push_back(tagWithKey(""));
    store(cards);
    const ToolResult result = tool({"check"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.out, AllOf(HasSubstr("606"), HasSubstr("empty key")));
}

TEST_P(EmptyKeys, DoNotComeOutOfACsvExportUnsaid) {
    std::vector<RfidCard> cards = {numbered(1, cardWithKey("KEY-1"))};
    cards[0].tags.push_back({hashKey("SECRET"), std::nullopt, std::nullopt});
    store(cards);
    const std::string file = mFolder.file("out.csv");
    const ToolResult result = tool({"export", file});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.err, HasSubstr("1 tag without plain key"));
}

std::string jsonOfTags(unsigned count) {
    std::string tags;
    for (unsigned i = 0; i < count; ++i) tags += (i == 0 ? "" : ",") + (R"({"key":"K)" + std::to_string(i) + "\"}");
    return jsonCard("\"tags\":[" + tags + "]");
}

TEST_F(OverFileStore, IsKeptWhenACardHasMoreTagsThanAFileCanCount) {
    store(sampleCards(), 42);
    writeFile(mFolder.file("wide.json"), jsonOfTags(65536));
    const FileState before = stateOf(mList);
    expectRefusal(tool({"import", mFolder.file("wide.json")}), 5, "65,535");
    EXPECT_TRUE(stateOf(mList) == before);
    expectSuccess(tool({"count"}));
}

TEST_F(OverFileStore, TakesACardWithAsManyTagsAsAFileCanCountAndNoneMore) {
    writeFile(mFolder.file("wide.json"), jsonOfTags(65535));
    expectSuccess(tool({"-s", "file", "import", mFolder.file("wide.json")}));
    EXPECT_THAT(storedCard(1).tags, SizeIs(65535));
    EXPECT_EQ(tool({"check"}).exitStatus, 0);
    const FileState before = stateOf(mList);
    expectRefusal(tool({"update", "--id", "1", "--add-key", "ONE-MORE-KEY"}), 5, mList);
    EXPECT_TRUE(stateOf(mList) == before);
}

TEST_F(OverFileStore, TakesNoCopyOfACardWithMoreTags) {
    const std::string database = mFolder.file("wide.db");
    writeSqliteList(database, {numbered(1, cardWithKey("KEY-1"))});
    Database(database).execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 65535) "
        "INSERT INTO rfid_tag(rfid_card, hash) SELECT 1, printf('%064x', i) FROM n");
    expectRefusal(runTool({"-l", database, "copy", mList, "--to", "file"}), 5, "65,535");
    EXPECT_FALSE(std::filesystem::exists(mList));
}

}  // namespace
}  // namespace oru::kadi::authlist::test
