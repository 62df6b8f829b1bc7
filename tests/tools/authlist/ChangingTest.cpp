// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tools/authlist/OutputText.h"
#include "tools/authlist/ToolLists.h"

// add, remove, clear and version.

namespace oru::kadi::authlist::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::vector<unsigned> idsOf(const ListContent& list) {
    std::vector<unsigned> ids;
    for (const RfidCard& card : list.cards) ids.push_back(*card.id);
    return ids;
}

class Adding : public OverBothStores {
protected:
    ToolResult add(Arguments arguments) const {
        arguments.insert(arguments.begin(), {"--store", GetParam().option, "add"});
        return tool(arguments);
    }
};

INSTANTIATE_TEST_SUITE_P(Stores, Adding, bothStores, byName);

TEST_P(Adding, CreatesTheListAndSaysTheId) {
    const TimePoint before = now();
    const ToolResult result = add({"04A2B3C4"});
    expectSuccess(result);
    EXPECT_THAT(result.out, HasSubstr("1"));
    const RfidCard card = storedCard(1);
    EXPECT_GE(card.lastModificationTime, before);
    EXPECT_GE(card.lastAccessTime, before);
    RfidCard expected = numbered(1, cardWithKey("04A2B3C4"));
    expected.description = card.description;
    expected.lastAccessTime = card.lastAccessTime;
    expected.lastModificationTime = card.lastModificationTime;
    EXPECT_EQ(fieldsOf(card), fieldsOf(expected));
    EXPECT_EQ(card.description, "");
}

TEST_P(Adding, CreatesADatabaseUnlessToldOtherwise) {
    expectSuccess(tool({"add", "04A2B3C4"}));
    EXPECT_EQ(readList(sqliteStore, mList).cards.size(), 1U);
}

TEST_P(Adding, StoresEveryFieldThatIsGiven) {
    const std::string hidden = hashKey("hidden");
    expectSuccess(add({"04A2B3C4",   "04C4D5E6",     "--hash",        hidden,
                       "--id",       "70",           "--description", "Main door, Süd",
                       "--status",   "ConcurrentTx", "--expiry",      "2026-12-31T23:59:59Z",
                       "--parent",   "FLEET-1",      "--evse",        "2",
                       "--lifetime", "3600",         "--extra-data",  R"({"a":[1 ,{}]})"}));
    const RfidCard card = storedCard(70);
    RfidCard expected = numbered(70, cardWithKey("04A2B3C4", RfidCardStatus::ConcurrentTx));
    expected.tags.push_back(tagWithKey("04C4D5E6"));
    expected.tags.push_back(RfidTag{hidden, std::nullopt, std::nullopt});
    expected.description = "Main door, Süd";
    expected.expiryDate = at(1798761599);
    expected.parentId = "FLEET-1";
    expected.evseId = 2;
    expected.recordLifetime = 3600;
    expected.extraData = R"({"a":[1 ,{}]})";
    expected.lastAccessTime = card.lastAccessTime;
    expected.lastModificationTime = card.lastModificationTime;
    EXPECT_EQ(fieldsOf(card), fieldsOf(expected));
}

TEST_P(Adding, TakesTheWordsForNone) {
    expectSuccess(add({"04A2B3C4", "--expiry", "never", "--parent", "", "--evse", "any", "--lifetime", "none",
                       "--extra-data", "", "--description", ""}));
    const RfidCard card = storedCard(1);
    EXPECT_EQ(card.expiryDate, std::nullopt);
    EXPECT_EQ(card.parentId, std::nullopt);
    EXPECT_EQ(card.evseId, std::nullopt);
    EXPECT_EQ(card.recordLifetime, std::nullopt);
    EXPECT_EQ(card.extraData, std::nullopt);
}

TEST_P(Adding, StoresOnlyTheHashesWhenToldTo) {
    expectSuccess(add({"04A2B3C4", "04C4D5E6", "--hash-only"}));
    const std::vector<RfidTag> tags = storedCard(1).tags;
    ASSERT_THAT(tags, SizeIs(2));
    EXPECT_EQ(fieldsOf(tags[0]), fieldsOf(RfidTag{hashKey("04A2B3C4"), std::nullopt, std::nullopt}));
    EXPECT_EQ(fieldsOf(tags[1]), fieldsOf(RfidTag{hashKey("04C4D5E6"), std::nullopt, std::nullopt}));
    EXPECT_EQ(tool({"authorize", "04C4D5E6"}).exitStatus, 0);
}

TEST_P(Adding, TakesACardOfWhichOnlyTheHashIsKnown) {
    expectSuccess(add({"--hash", hashKey("04A2B3C4"), "--hash", hashKey("04C4D5E6")}));
    EXPECT_EQ(tool({"authorize", "04C4D5E6"}).exitStatus, 0);
}

TEST_P(Adding, StoresAHashInCapitalLettersSoThatItsKeyMatches) {
    std::string hash = hashKey("04A2B3C4");
    for (char& c : hash) {
        if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
    }
    expectSuccess(add({"--hash", hash}));
    EXPECT_EQ(tool({"authorize", "04A2B3C4"}).exitStatus, 0);
}

TEST_P(Adding, RefusesAKeyThatAnotherCardHas) {
    store(sampleCards());
    const std::string before = listBytes();
    const std::vector<Arguments> doubled = {{"NEW-KEY-1", "VID:321994913B9B"},
                                            {"SECRET-OF-FOUR"},
                                            {"NEW-KEY-1", "--hash", hashKey("04C4D5E6F7")},
                                            {"04C4D5E6F7", "--hash-only"}};
    for (const Arguments& arguments : doubled) {
        expectRefusal(add(arguments), 5, "");
        EXPECT_EQ(listBytes(), before);
    }
}

TEST_P(Adding, RefusesOneKeyTwice) {
    store({});
    const std::string before = listBytes();
    EXPECT_NE(add({"04A2B3C4", "04A2B3C4"}).exitStatus, 0);
    EXPECT_NE(add({"04A2B3C4", "--hash", hashKey("04A2B3C4")}).exitStatus, 0);
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Adding, RefusesAnIdThatAnotherCardHas) {
    store(sampleCards());
    const std::string before = listBytes();
    expectRefusal(add({"NEW-KEY-1", "--id", "3"}), 5, "3");
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Adding, TakesTheLargestId) {
    expectSuccess(add({"04A2B3C4", "--id", "2147483646"}));
    EXPECT_THAT(idsOf(stored()), ElementsAre(2147483646));
}

TEST_P(Adding, GivesOneMoreThanTheLargestId) {
    store({numbered(7, cardWithKey("SEVEN")), numbered(1, cardWithKey("ONE")), numbered(2, cardWithKey("TWO"))});
    for (unsigned id = 8; id <= 12; ++id) {
        const ToolResult result = add({"NEW-" + std::to_string(id)});
        expectSuccess(result);
        EXPECT_THAT(result.out, HasSubstr(std::to_string(id)));
        EXPECT_EQ(storedCard(id).tags.front().key, "NEW-" + std::to_string(id));
    }
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 2, 7, 8, 9, 10, 11, 12));
}

TEST_P(Adding, RefusesACardWithoutIdOnceTheLargestIdIsUsed) {
    store({numbered(2147483646, cardWithKey("LAST"))});
    const std::string before = listBytes();
    expectRefusal(add({"NEW-KEY-1"}), 5, "");
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Adding, TakesWordsAsTheyStand) {
    expectSuccess(add({"[A,B]", "{C}", "%d\\n", "--description=[x,y]", "--parent=--evse", "--id", "1"}));
    expectSuccess(add({"04A2B3C4", "--id", "2", "--description=", "--status", "Blocked"}));
    RfidCard card = storedCard(1);
    ASSERT_THAT(card.tags, SizeIs(3));
    EXPECT_EQ(card.tags[0].key, "[A,B]");
    EXPECT_EQ(card.tags[1].key, "{C}");
    EXPECT_EQ(card.tags[2].key, "%d\\n");
    EXPECT_EQ(card.description, "[x,y]");
    EXPECT_EQ(card.parentId, "--evse");
    EXPECT_EQ(storedCard(2).description, "");
    EXPECT_EQ(storedCard(2).status, RfidCardStatus::Blocked);
}

TEST_P(Adding, KeepsTheOtherCardsAndTheVersion) {
    store(sampleCards(), 42);
    expectSuccess(add({"NEW-KEY-1", "--id", "10"}));
    ListContent after = stored();
    EXPECT_EQ(after.version, 42U);
    after.cards.pop_back();
    EXPECT_EQ(fieldsOf(after.cards), fieldsOf(sampleCards()));
}

TEST_P(Adding, ReadsExpiryDatesInEveryForm) {
    const std::vector<std::pair<const char*, std::int64_t>> times = {
        {"2027-01-31", 1801353600},           {"2027-01-31T18:00", 1801418400},
        {"2027-01-31T18:00:30Z", 1801418430}, {"2027-01-31T18:00+02:00", 1801411200},
        {"2106-02-07", 4294944000},           {"1970-01-02", 86400},
    };
    unsigned id = 0;
    for (const auto& [text, seconds] : times) {
        expectSuccess(add({"KEY-" + std::string(text), "--expiry", text, "--id", std::to_string(++id)}));
        EXPECT_EQ(storedCard(id).expiryDate, at(seconds)) << text;
    }
}

TEST_P(Adding, ReadsExpiryDatesFromNow) {
    const std::vector<std::pair<const char*, std::int64_t>> times = {
        {"now", 0}, {"+12h", 43200}, {"+1d", 86400}, {"+3w", 1814400}, {"-2w", -1209600}};
    unsigned id = 0;
    for (const auto& [text, seconds] : times) {
        const TimePoint before = now();
        expectSuccess(add({"KEY-" + std::string(text), "--id", std::to_string(++id), "--expiry=" + std::string(text)}));
        const std::optional<TimePoint> expiry = storedCard(id).expiryDate;
        EXPECT_GE(expiry, before + std::chrono::seconds(seconds)) << text;
        EXPECT_LE(expiry, now() + std::chrono::seconds(seconds)) << text;
    }
}

TEST_P(Adding, ReadsTimesWithoutZoneAsLocalWhenToldTo) {
    const ToolSetting berlin = with("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    Arguments arguments{"-s", GetParam().option, "--local", "add", "A", "--id", "1", "--expiry", "2027-01-31T18:00"};
    expectSuccess(tool(arguments, berlin));
    arguments = {"--local", "add", "B", "--id", "2", "--expiry", "2027-07-31"};
    expectSuccess(tool(arguments, berlin));
    arguments = {"--local", "add", "C", "--id", "3", "--expiry", "2027-07-31T00:00Z"};
    expectSuccess(tool(arguments, berlin));
    arguments = {"add", "D", "--id", "4", "--expiry", "2027-07-31"};
    expectSuccess(tool(arguments, berlin));
    EXPECT_EQ(storedCard(1).expiryDate, at(1801418400 - 3600));
    EXPECT_EQ(storedCard(2).expiryDate, at(1816992000 - 7200));
    EXPECT_EQ(storedCard(3).expiryDate, at(1816992000));
    EXPECT_EQ(storedCard(4).expiryDate, at(1816992000));
}

// remove and clear

class Removing : public OverBothStores {
protected:
    void SetUp() override { store(sampleCards(), 42); }

    void expectUnchanged() const { EXPECT_EQ(listBytes(), mBefore); }
    void rememberList() { mBefore = listBytes(); }

    std::string mBefore;
};

INSTANTIATE_TEST_SUITE_P(Stores, Removing, bothStores, byName);

TEST_P(Removing, RemovesCardsByKeyHashAndId) {
    EXPECT_EQ(
        tool({"remove", "VID:321994913B9B", "SECRET-OF-FOUR", "--hash", hashKey("0401020305"), "--id", "6"}).exitStatus,
        0);
    const ListContent after = stored();
    EXPECT_THAT(idsOf(after), ElementsAre(1, 3));
    EXPECT_EQ(after.version, 42U);
    EXPECT_EQ(tool({"authorize", "04C4D5E6F7"}).exitStatus, 3);
}

TEST_P(Removing, RemovesACardThatIsNamedTwice) {
    EXPECT_EQ(tool({"remove", "VID:321994913B9B", "04C4D5E6F7", "--id", "2"}).exitStatus, 0);
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 3, 4, 5, 6));
}

TEST_P(Removing, RemovesNothingUnlessEveryCardIsFound) {
    rememberList();
    expectRefusal(tool({"remove", "--id", "1", "--id", "77"}), 3, "77");
    expectRefusal(tool({"remove", "--id", "1", "--hash", hashKey("nobody")}), 3, hashKey("nobody").substr(0, 8));
    EXPECT_EQ(tool({"remove", "04A2B3C4D5", "04FFFFFFFF"}).exitStatus, 3);
    expectUnchanged();
}

TEST_P(Removing, RemovesByFilterWithYes) {
    EXPECT_EQ(tool({"remove", "--filter", "expiry<2026-01-01", "--filter", "status=Accepted", "--yes"}).exitStatus, 0);
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 2, 3, 4, 6));
}

TEST_P(Removing, RefusesAFilterWithoutTerminalAndYes) {
    rememberList();
    const ToolResult result = tool({"remove", "--filter", "id>3"}, typing("y\n"));
    expectRefusal(result, 2, "--yes");
    expectUnchanged();
}

TEST_P(Removing, AsksOnATerminal) {
    rememberList();
    EXPECT_EQ(onTerminal({"remove", "--filter", "id>3"}, typing("n\n")).exitStatus, 1);
    expectUnchanged();
    EXPECT_EQ(onTerminal({"remove", "--filter", "id>3"}, typing("\n")).exitStatus, 1);
    expectUnchanged();
    EXPECT_EQ(onTerminal({"remove", "--filter", "id>3"}, typing("\x04")).exitStatus, 1);
    expectUnchanged();
    const ToolResult result = onTerminal({"remove", "--filter", "id>3"}, typing("y\n"));
    EXPECT_EQ(result.exitStatus, 0) << result.out;
    EXPECT_THAT(result.out, HasSubstr("3"));
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 2, 3));
}

TEST_P(Removing, RemovesChosenCardsWithoutAsking) {
    EXPECT_EQ(tool({"remove", "--id", "2"}).exitStatus, 0);
    EXPECT_EQ(onTerminal({"remove", "--id", "3"}).exitStatus, 0);
    EXPECT_THAT(idsOf(stored()), ElementsAre(1, 4, 5, 6));
}

TEST_P(Removing, ClearsAllCardsAndKeepsTheVersion) {
    EXPECT_EQ(tool({"clear", "-y"}).exitStatus, 0);
    EXPECT_THAT(stored().cards, IsEmpty());
    EXPECT_EQ(stored().version, 42U);
}

TEST_P(Removing, ClearsOnlyWhenAnsweredWithYes) {
    rememberList();
    expectRefusal(tool({"clear"}, typing("y\n")), 2, "--yes");
    EXPECT_EQ(onTerminal({"clear"}, typing("n\n")).exitStatus, 1);
    expectUnchanged();
    EXPECT_EQ(onTerminal({"clear"}, typing("y\n")).exitStatus, 0);
    EXPECT_THAT(stored().cards, IsEmpty());
}

// version

class Versioning : public OverBothStores {};

INSTANTIATE_TEST_SUITE_P(Stores, Versioning, bothStores, byName);

TEST_P(Versioning, PrintsTheVersion) {
    store(sampleCards(), 42);
    const std::string before = listBytes();
    const ToolResult result = tool({"version"});
    expectSuccess(result);
    EXPECT_EQ(result.out, "42\n");
    EXPECT_EQ(listBytes(), before);
}

TEST_P(Versioning, SetsTheVersionAndKeepsTheCards) {
    store(sampleCards());
    for (const unsigned version : {1U, 2147483647U, 4294967295U, 0U}) {
        EXPECT_EQ(tool({"version", std::to_string(version)}).exitStatus, 0);
        EXPECT_EQ(stored().version, version);
        EXPECT_EQ(tool({"version"}).out, std::to_string(version) + "\n");
    }
    EXPECT_EQ(fieldsOf(stored().cards), fieldsOf(sampleCards()));
}

TEST_P(Versioning, CreatesTheList) {
    EXPECT_EQ(tool({"--store", GetParam().option, "version", "5"}).exitStatus, 0);
    EXPECT_EQ(stored().version, 5U);
    EXPECT_THAT(stored().cards, IsEmpty());
}

TEST_P(Versioning, LeavesAListWithoutAVersionWithout) {
    store(sampleCards());
    EXPECT_EQ(tool({"version"}).exitStatus, 0);
    EXPECT_EQ(stored().version, std::nullopt);
}

}  // namespace
}  // namespace oru::kadi::authlist::test
