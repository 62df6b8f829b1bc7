// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "support/FileState.h"
#include "tools/authlist/ToolLists.h"

// Options, arguments and values that are refused before anything is done.

namespace oru::kadi::authlist::test {
namespace {

/// In the arguments @LIST stands for a list with the sample cards, @DIR for its folder, where good.csv is a text that
/// can be imported.
struct BadInput : NamedCase {
    Arguments arguments;
    std::string culprit;
    int exitStatus = 2;
};

std::string replaced(std::string text, const std::string& mark, const std::string& value) {
    if (const auto at = text.find(mark); at != std::string::npos) text.replace(at, mark.size(), value);
    return text;
}

class Refusing : public testing::TestWithParam<std::tuple<Store, BadInput>>, protected ListUnderTest {
protected:
    Refusing() : ListUnderTest(std::get<0>(GetParam())) {}
};

TEST_P(Refusing, NamesTheCulpritAndChangesNothing) {
    store(sampleCards(), 42);
    writeFile(mFolder.file("good.csv"), "SEP=,\n9,Nine,KEY-OF-NINE,Accepted,*,,\n");
    const std::string before = listBytes();
    const std::vector<std::string> names = namesIn(mFolder.path());
    const BadInput& row = std::get<1>(GetParam());
    Arguments arguments;
    for (const std::string& each : row.arguments) {
        arguments.push_back(replaced(replaced(each, "@LIST", mList), "@DIR", mFolder.path()));
    }
    expectRefusal(runTool(arguments), row.exitStatus, row.culprit);
    EXPECT_EQ(listBytes(), before);
    EXPECT_EQ(namesIn(mFolder.path()), names);
}

const auto byStoreAndName = [](const auto& each) {
    return std::string(std::get<0>(each.param).name) + std::get<1>(each.param).name;
};

BadInput onList(const char* name, const Arguments& arguments, const std::string& culprit, int exitStatus = 2) {
    BadInput row{{name}, {"-l", "@LIST"}, culprit, exitStatus};
    row.arguments.insert(row.arguments.end(), arguments.begin(), arguments.end());
    return row;
}

BadInput anywhere(const char* name, const Arguments& arguments, const std::string& culprit) {
    return {{name}, arguments, culprit};
}

BadInput badFilter(const char* name, const std::string& filter, const std::string& culprit) {
    return onList(name, {"list", "--filter", filter}, culprit);
}

BadInput badAddition(const char* name, const std::string& option, const std::string& value) {
    return onList(name, {"add", "NEW-KEY-1", option + "=" + value}, option.substr(2));
}

BadInput badUpdate(const char* name, const std::string& option, const std::string& value) {
    return onList(name, {"update", "--id", "1", option + "=" + value}, option.substr(2));
}

const BadInput commandsInputs[] = {
    onList("NoCommand", {}, ""),
    onList("UnknownCommand", {"frobnicate"}, "frobnicate"),
    onList("UnknownOption", {"list", "--frobnicate"}, "--frobnicate"),
    onList("UnknownShortOption", {"list", "-x"}, "-x"),
    onList("FormerOption", {"-v", "list"}, "-v"),
    onList("OptionOfAnotherCommand", {"count", "--keep-backup"}, "--keep-backup"),
    onList("SurplusArgument", {"count", "surplus"}, "surplus"),
    onList("AuthorizeNobody", {"authorize"}, ""),
    onList("AuthorizeTwo", {"authorize", "04A2B3C4D5", "04FFEE0102"}, ""),
    onList("ShowNothing", {"show"}, ""),
    onList("FindNothing", {"find"}, ""),
    onList("AddNothing", {"add"}, ""),
    onList("AddOnlyADescription", {"add", "--description", "Nobody"}, ""),
    onList("UpdateNobody", {"update", "--status", "Blocked"}, ""),
    onList("UpdateNothing", {"update", "--id", "1"}, ""),
    onList("UpdateCardsAndFilter", {"update", "--id", "1", "--filter", "id=2", "--status", "Blocked", "--yes"},
           "--filter"),
    onList("RemoveNobody", {"remove", "--yes"}, ""),
    onList("RemoveCardsAndFilter", {"remove", "--id", "1", "--filter", "id=2", "--yes"}, "--filter"),
    onList("ImportNothing", {"import"}, ""),
    onList("ImportWithoutFormat", {"import", "-"}, "--format"),
    onList("CopyNowhere", {"copy"}, ""),
    onList("DiffWithNothing", {"diff"}, ""),
    onList("DiffOfThree", {"diff", "@LIST", "@LIST", "@LIST"}, ""),
    anywhere("DiffOfOneAlone", {"diff", "@LIST"}, ""),
    anywhere("HashOfNothing", {"hash"}, ""),
};
INSTANTIATE_TEST_SUITE_P(Commands, Refusing, testing::Combine(bothStores, testing::ValuesIn(commandsInputs)),
                         byStoreAndName);

const BadInput missingListInputs[] = {
    anywhere("List", {"list"}, "--list"),
    anywhere("Find", {"find", "Main"}, "--list"),
    anywhere("Show", {"show", "--id", "1"}, "--list"),
    anywhere("Authorize", {"authorize", "04A2B3C4D5"}, "--list"),
    anywhere("Stats", {"stats"}, "--list"),
    anywhere("Check", {"check"}, "--list"),
    anywhere("Add", {"add", "04A2B3C4D5"}, "--list"),
    anywhere("Update", {"update", "--id", "1", "--evse", "1"}, "--list"),
    anywhere("Remove", {"remove", "--id", "1"}, "--list"),
    anywhere("Clear", {"clear", "-y"}, "--list"),
    anywhere("Version", {"version", "5"}, "--list"),
    anywhere("Import", {"import", "@DIR/good.csv"}, "--list"),
    anywhere("Export", {"export", "@DIR/out.csv"}, "--list"),
    anywhere("Copy", {"copy", "@DIR/out.db"}, "--list"),
    anywhere("Tune", {"tune"}, "--list"),
    anywhere("WithoutValue", {"list", "--list"}, "--list"),
};
INSTANTIATE_TEST_SUITE_P(MissingList, Refusing, testing::Combine(bothStores, testing::ValuesIn(missingListInputs)),
                         byStoreAndName);

const BadInput choicesInputs[] = {
    onList("Output", {"-o", "xml", "list"}, "xml"),
    onList("OutputInCapitals", {"-o", "JSON", "list"}, "JSON"),
    onList("Store", {"-s", "tape", "list"}, "tape"),
    onList("ImportFormat", {"import", "@DIR/good.csv", "--format", "xml"}, "xml"),
    onList("ExportFormat", {"export", "--format", "xml"}, "xml"),
    onList("ExportExtension", {"export", "@DIR/out.xml"}, "out.xml"),
    onList("CopyTo", {"copy", "@DIR/out", "--to", "tape"}, "tape"),
    onList("WriteAheadLog", {"tune", "--write-ahead-log", "perhaps"}, "perhaps"),
    onList("Sort", {"list", "--sort", "colour"}, "colour"),
    onList("SortByInjection", {"list", "--sort", "id; DROP TABLE rfid_card"}, "DROP"),
    onList("LimitNegative", {"list", "--limit=-1"}, "limit"),
    onList("LimitInWords", {"list", "--limit", "ten"}, "ten"),
    onList("LimitHuge", {"list", "--limit", "99999999999999999999"}, "99999999999999999999"),
    onList("LimitFractional", {"list", "--limit", "1.5"}, "1.5"),
    onList("LimitEmpty", {"list", "--limit="}, "limit"),
    onList("OffsetNegative", {"list", "--offset=-1"}, "offset"),
    onList("OffsetBeyond32Bits", {"find", "a", "--offset", "4294967296"}, "4294967296"),
    onList("VersionNegative", {"version", "--", "-1"}, "-1"),
    onList("VersionInWords", {"version", "five"}, "five"),
    onList("VersionWithTail", {"version", "5x"}, "5x"),
    onList("VersionBeyond32Bits", {"version", "4294967296"}, "4294967296"),
};
INSTANTIATE_TEST_SUITE_P(Choices, Refusing, testing::Combine(bothStores, testing::ValuesIn(choicesInputs)),
                         byStoreAndName);

const BadInput filtersInputs[] = {
    badFilter("Empty", "", "filter"),
    badFilter("ColumnAlone", "id", "id"),
    badFilter("WithoutValue", "id=", "id="),
    badFilter("WithoutColumn", "=5", "=5"),
    badFilter("UnknownColumn", "colour=red", "colour"),
    badFilter("ColumnInCapitals", "ID=5", "ID"),
    badFilter("ColumnOfTheDatabase", "last_access_time>2026-01-01", "last_access_time"),
    badFilter("UnknownStatus", "status=Nobody", "Nobody"),
    badFilter("StatusInSmallLetters", "status=blocked", "blocked"),
    badFilter("StatusAsNumber", "status=2", "2"),
    badFilter("StatusLess", "status<Blocked", "status"),
    badFilter("StatusGreaterOrEqual", "status>=Blocked", "status"),
    badFilter("UnknownOperator", "id==5", "id==5"),
    badFilter("OperatorReversed", "id=<5", "id=<5"),
    badFilter("OperatorInSql", "id<>5", "id<>5"),
    badFilter("Injection", "id=1 OR 1=1", "1 OR 1=1"),
    badFilter("InjectionWithQuotes", "expiry<2027\" OR \"1\"=\"1", "2027"),
    badFilter("InjectionBehindATime", "expiry<2027-01-01\" OR \"1\"=\"1", "2027-01-01"),
    badFilter("InjectionIntoStatus", "status=Blocked\" OR \"1\"=\"1", "Blocked"),
    badFilter("IdNegative", "id=-1", "-1"),
    badFilter("IdBeyond32Bits", "id<4294967296", "4294967296"),
    badFilter("IdHuge", "id<99999999999999999999999", "99999999999999999999999"),
    badFilter("IdNever", "id=never", "never"),
    badFilter("IdHexadecimal", "id=0x10", "0x10"),
    badFilter("IdWithBlank", "id= 5", " 5"),
    badFilter("NoTime", "expiry<tomorrowish", "tomorrowish"),
    badFilter("Before1970", "expiry<1969-12-31", "1969-12-31"),
    badFilter("After2106", "expiry<2106-02-08", "2106-02-08"),
    badFilter("Year10000", "accessed<10000-01-01", "10000-01-01"),
    badFilter("NoSuchMonth", "accessed>2027-13-01", "2027-13-01"),
    badFilter("NoSuchDay", "modified>2027-02-30", "2027-02-30"),
    badFilter("NoSuchHour", "modified>2027-02-01T25:00", "2027-02-01T25:00"),
    badFilter("FarFromNow", "expiry<+999999999w", "+999999999w"),
    badFilter("FarBeforeNow", "expiry<-5000w", "-5000w"),
    badFilter("UnknownUnit", "expiry<+5y", "+5y"),
    badFilter("WithoutUnit", "expiry<+5", "+5"),
    badFilter("LessThanNever", "expiry<never", "never"),
    badFilter("AccessedNever", "accessed=never", "never"),
    onList("InCount", {"count", "--filter", "status=Nobody"}, "Nobody"),
    onList("InFind", {"find", "a", "--filter", "status=Nobody"}, "Nobody"),
    onList("InRemove", {"remove", "--filter", "status=Nobody", "--yes"}, "Nobody"),
    onList("SecondOne", {"list", "--filter", "id>1", "--filter", "id>x"}, "id>x"),
};
INSTANTIATE_TEST_SUITE_P(Filters, Refusing, testing::Combine(bothStores, testing::ValuesIn(filtersInputs)),
                         byStoreAndName);

const BadInput cardsInputs[] = {
    onList("AddEmptyKey", {"add", ""}, ""),
    onList("AddEmptyKeyAmongOthers", {"add", "NEW-KEY-1", ""}, ""),
    onList("AuthorizeEmptyKey", {"authorize", ""}, ""),
    onList("ShowEmptyKey", {"show", ""}, ""),
    onList("UpdateToEmptyKey", {"update", "--id", "1", "--add-key", ""}, ""),
    onList("AddShortHash", {"add", "--hash", "12ab"}, "12ab"),
    onList("AddHashOfOtherLetters", {"add", "--hash", std::string(64, 'x')}, "xxxx"),
    onList("AddLongHash", {"add", "--hash", std::string(65, 'a')}, "aaaa"),
    onList("AddEmptyHash", {"add", "--hash="}, "hash"),
    onList("ShowShortHash", {"show", "--hash", "12ab"}, "12ab"),
    onList("RemoveShortHash", {"remove", "--hash", "12ab"}, "12ab"),
    onList("ShowIdInWords", {"show", "--id", "one"}, "one"),
    onList("ShowIdNegative", {"show", "--id=-1"}, "id"),
    onList("RemoveIdWithTail", {"remove", "--id", "1x"}, "1x"),
    onList("RemoveIdBeyond32Bits", {"remove", "--id", "4294967297"}, "4294967297"),
    badAddition("IdZero", "--id", "0"),
    badAddition("IdTooLarge", "--id", "2147483647"),
    badAddition("IdBeyond32Bits", "--id", "4294967297"),
    badAddition("IdNegative", "--id", "-5"),
    badAddition("IdWithTail", "--id", "1x"),
    badAddition("IdEmpty", "--id", ""),
    badAddition("StatusUnknown", "--status", "Nobody"),
    badAddition("StatusInSmallLetters", "--status", "accepted"),
    badAddition("ExpiryInWords", "--expiry", "tomorrowish"),
    badAddition("ExpiryInGerman", "--expiry", "31.12.2030"),
    badAddition("ExpiryNoSuchDay", "--expiry", "2027-02-30"),
    badAddition("ExpiryBefore1970", "--expiry", "1969-12-31T23:59:59Z"),
    badAddition("ExpiryAfter2106", "--expiry", "2200-01-01"),
    badAddition("ExpiryJustAfterTheLastSecond", "--expiry", "2106-02-07T06:28:16Z"),
    badAddition("ExpiryWithTail", "--expiry", "2027-01-31x"),
    badAddition("ExpiryEmpty", "--expiry", ""),
    badAddition("EvseNegative", "--evse", "-1"),
    badAddition("EvseInWords", "--evse", "left"),
    badAddition("EvseBeyond32Bits", "--evse", "4294967296"),
    badAddition("LifetimeNegative", "--lifetime", "-1"),
    badAddition("LifetimeWithUnit", "--lifetime", "1h"),
    badAddition("LifetimeBeyond32Bits", "--lifetime", "4294967296"),
    badAddition("ExtraDataArray", "--extra-data", "[1]"),
    badAddition("ExtraDataNumber", "--extra-data", "5"),
    badAddition("ExtraDataNull", "--extra-data", "null"),
    badAddition("ExtraDataUnfinished", "--extra-data", "{\"a\":"),
    badAddition("ExtraDataWithTail", "--extra-data", "{} x"),
    badUpdate("UpdateStatus", "--status", "Nobody"),
    badUpdate("UpdateExpiry", "--expiry", "2027-02-30"),
    badUpdate("UpdateEvse", "--evse", "any2"),
    badUpdate("UpdateLifetime", "--lifetime", "forever"),
    badUpdate("UpdateExtraData", "--extra-data", "[]"),
};
INSTANTIATE_TEST_SUITE_P(Cards, Refusing, testing::Combine(bothStores, testing::ValuesIn(cardsInputs)), byStoreAndName);

const BadInput unknownInputs[] = {
    onList("ShowId", {"show", "--id", "77"}, "77", 3),
    onList("UpdateId", {"update", "--id", "77", "--evse", "1"}, "77", 3),
    onList("RemoveId", {"remove", "--id", "77"}, "77", 3),
    onList("RemoveLargeId", {"remove", "--id", "4294967295"}, "4294967295", 3),
    onList("ShowHash", {"show", "--hash", hashKey("nobody")}, hashKey("nobody"), 3),
    onList("ShowKey", {"--show-keys", "show", "04FFFFFFFF"}, "04FFFFFFFF", 3),
    onList("ShowMaskedKey", {"show", "04FFFFFFFF"}, "04****FF", 3),
    onList("RemoveMaskedShortKey", {"remove", "04A2B3"}, "****", 3),
};
INSTANTIATE_TEST_SUITE_P(Unknown, Refusing, testing::Combine(bothStores, testing::ValuesIn(unknownInputs)),
                         byStoreAndName);

}  // namespace
}  // namespace oru::kadi::authlist::test
