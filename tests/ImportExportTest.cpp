// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "authlist/AuthListManager.h"
#include "authlist/CsvExchange.h"
#include "authlist/JsonExchange.h"
#include "authlist/KeyHash.h"
#include "support/CardFields.h"
#include "support/ExchangedCards.h"
#include "support/Files.h"
#include "support/ManagerOverFake.h"
#include "support/OpenFiles.h"
#include "support/OrdinaryRights.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::cardWithId;
using test::contentOf;
using test::fieldsOf;
using test::thrownBy;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using namespace std::string_literals;

constexpr auto CSV = ExchangeDataType::CSV;
constexpr auto JSON = ExchangeDataType::JSON;
constexpr auto neither = static_cast<ExchangeDataType>(2);

const std::string zipRefused =
    "std::invalid_argument: Function arguments suggest that zip functions are needed -- compile the library using the "
    "WITH_ZIP flag.";
const std::string emptyFile = "Imported file empty or not accessible (e.g. incorrect password for protected zip file)";
const std::string csvLine = "7,Main door,04A2B3,Accepted,*,,";
const std::string emptyJson = R"({"listVersion":"","localAuthorizationList":[]})";

std::string textOf(const RfidCard& card) {
    std::ostringstream text;
    text << card;
    return text.str();
}

std::string jsonOf(const std::vector<RfidCard>& cards) { return serializeRfidsAsJson(cards, std::nullopt); }

/// A backend that refuses the card with id 2.
class PickyAccessor : public test::FakeDbAccessor {
public:
    using FakeDbAccessor::FakeDbAccessor;

    unsigned createRecord(const RfidCard& card) const override {
        if (card.id == 2U) throw std::length_error("refused");
        return FakeDbAccessor::createRecord(card);
    }
};

class ManagerExport : public test::ManagerOverFake {
protected:
    ManagerExport() { mStorage.range = {cardWithId(7, "04A2B3")}; }

    std::vector<std::string>& journal() { return mStorage.journal; }

    test::TemporaryFolder mFolder;
};

class ManagerImport : public test::ManagerOverFake {
protected:
    std::vector<std::string>& journal() { return mStorage.journal; }

    std::string failureOfImport(const std::string& text, ExchangeDataType type) {
        return thrownBy([&] { mManager.importStr(text, type); });
    }
    std::string failureOfImportFile(const std::string& path, ExchangeDataType type) {
        return thrownBy([&] { mManager.importFile(path, type, false, ""); });
    }

    test::TemporaryFolder mFolder;
};

// Export to a text

TEST_F(ManagerExport, WritesAllStoredCardsAsCsv) {
    EXPECT_EQ(mManager.exportStr(CSV), "SEP=,\n7,Card 04A2B3,04A2B3,Accepted,*,,");
    EXPECT_THAT(journal(), ElementsAre("readAllRecords()"));
}

TEST_F(ManagerExport, WritesAllStoredCardsAndTheVersionAsJson) {
    mStorage.version = 5;
    EXPECT_EQ(mManager.exportStr(JSON), serializeRfidsAsJson(mStorage.range, 5));
    EXPECT_THAT(journal(), ElementsAre("readAllRecords()", "readVersion()"));
}

TEST_F(ManagerExport, WritesAnEmptyTextForAVersionThatWasNeverStored) {
    mStorage.range.clear();
    EXPECT_EQ(mManager.exportStr(JSON), emptyJson);
}

TEST_F(ManagerExport, WritesAnEmptyListAsAnEmptyCsvText) {
    mStorage.range.clear();
    EXPECT_EQ(mManager.exportStr(CSV), "");
}

TEST_F(ManagerExport, WritesAnEmptyTextForATypeOutsideTheEnumeration) {
    EXPECT_EQ(mManager.exportStr(neither), "");
    EXPECT_EQ(mManager.exportStr(static_cast<ExchangeDataType>(-1)), "");
    EXPECT_THAT(journal(), ElementsAre("readAllRecords()", "readAllRecords()"));
}

TEST_F(ManagerExport, BuildsATextOfGivenCards) {
    mStorage.version = 3;
    const std::vector<RfidCard> cards{cardWithId(1, "a"), cardWithId(2, "b")};
    EXPECT_EQ(mManager.buildStringFromDatabase(cards, CSV), serializeRfidsAsCsv(cards));
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_EQ(mManager.buildStringFromDatabase(cards, neither), "");
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_EQ(mManager.buildStringFromDatabase(cards, JSON), serializeRfidsAsJson(cards, 3));
    EXPECT_THAT(journal(), ElementsAre("readVersion()"));
}

TEST_F(ManagerExport, PassesOnWhatTheBackendOrTheFormatThrows) {
    mStorage.range[0].extraData = "no JSON";
    EXPECT_THAT(thrownBy([&] { mManager.exportStr(JSON); }), StartsWith("std::invalid_argument: "));
    mStorage.fail("readAllRecords()", std::out_of_range("no disk"));
    EXPECT_EQ(thrownBy([&] { mManager.exportStr(CSV); }), "std::out_of_range: no disk");
    EXPECT_THAT(journal(), ElementsAre("readAllRecords()", "readVersion()", "readAllRecords()")) << "nothing is logged";
}

// Export to a file

TEST_F(ManagerExport, WritesTheTextToAFileByteForByte) {
    mStorage.range[0].description = "a\nb\r\n\0\xFF"s;
    mStorage.version = 5;
    for (const ExchangeDataType type : {CSV, JSON}) {
        const std::string file = mFolder.file("list");
        mManager.exportFile(file, type, false, "");
        EXPECT_EQ(contentOf(file), mManager.exportStr(type));
    }
    EXPECT_THAT(journal(), ElementsAre("readAllRecords()", "readAllRecords()", "readAllRecords()", "readVersion()",
                                       "readAllRecords()", "readVersion()"));
}

TEST_F(ManagerExport, ReplacesWhatAFileHeldBefore) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, std::string(10'000, 'x'));
    mManager.exportFile(file, CSV, false, "");
    EXPECT_EQ(contentOf(file), "SEP=,\n7,Card 04A2B3,04A2B3,Accepted,*,,");
}

TEST_F(ManagerExport, LeavesAnEmptyFileWhereThereIsNothingToWrite) {
    mStorage.range.clear();
    mManager.exportFile(mFolder.file("empty.csv"), CSV, false, "");
    mManager.exportFile(mFolder.file("neither"), neither, false, "");
    EXPECT_TRUE(std::filesystem::is_empty(mFolder.file("empty.csv")));
    EXPECT_TRUE(std::filesystem::is_empty(mFolder.file("neither")));
}

TEST_F(ManagerExport, WarnsOfAPasswordWithoutZipAndWritesAPlainFile) {
    const std::string file = mFolder.file("list.csv");
    mManager.exportFile(file, CSV, false, "secret");
    EXPECT_EQ(contentOf(file), "SEP=,\n7,Card 04A2B3,04A2B3,Accepted,*,,");
    EXPECT_THAT(journal(), ElementsAre("log: Password for zip encryption defined but zipping not requested. The "
                                       "password will be disregarded...",
                                       "readAllRecords()"));
}

TEST_F(ManagerExport, RefusesAZipFileOnceTheTextIsBuilt) {
    const std::string file = mFolder.file("list.zip");
    EXPECT_EQ(thrownBy([&] { mManager.exportFile(file, JSON, true, ""); }), zipRefused);
    EXPECT_EQ(thrownBy([&] { mManager.exportFile(file, CSV, true, "secret"); }), zipRefused);
    EXPECT_EQ(thrownBy([&] { mManager.exportFile("/no/such/folder/list.zip", CSV, true, ""); }), zipRefused);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_THAT(journal(), ElementsAre("readAllRecords()", "readVersion()", "readAllRecords()", "readAllRecords()"));
}

TEST_F(ManagerExport, LeavesAnExistingFileAloneWhenZipIsRefused) {
    const std::string file = mFolder.file("list.zip");
    writeFile(file, "old");
    EXPECT_EQ(thrownBy([&] { mManager.exportFile(file, CSV, true, ""); }), zipRefused);
    EXPECT_EQ(contentOf(file), "old");
}

TEST_F(ManagerExport, LeavesAnExistingFileAloneWhenTheTextCannotBeBuilt) {
    const std::string file = mFolder.file("list.json");
    writeFile(file, "old");
    mStorage.range[0].extraData = "no JSON";
    EXPECT_THAT(thrownBy([&] { mManager.exportFile(file, JSON, false, ""); }), StartsWith("std::invalid_argument: "));
    EXPECT_EQ(contentOf(file), "old");
}

TEST_F(ManagerExport, ReportsAFileThatCannotBeOpened) {
    const std::string folder = mFolder.path().string();
    for (const std::string& path : {folder + "/no/list.csv", folder, folder + "/", folder + "/list.csv/", ""s, "/"s}) {
        journal().clear();
        EXPECT_EQ(thrownBy([&] { mManager.exportFile(path, CSV, false, ""); }),
                  "std::runtime_error: Output file open failure");
        EXPECT_THAT(journal(),
                    ElementsAre("readAllRecords()", "error: Failed to open output file for export at {}" + path));
    }
    EXPECT_TRUE(std::filesystem::is_empty(mFolder.path()));
}

TEST_F(ManagerExport, KeepsTheTwoBracesInTheMessageOfAFileThatCannotBeOpened) {
    thrownBy([&] { mManager.exportFile("/no/such/folder/list", CSV, false, ""); });
    EXPECT_EQ(journal().back(), "error: Failed to open output file for export at {}/no/such/folder/list");
}

TEST_F(ManagerExport, ReportsAFileThatMustNotBeWritten) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, "old");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const test::OrdinaryRights evenAsRoot;
    EXPECT_EQ(thrownBy([&] { mManager.exportFile(file, CSV, false, ""); }),
              "std::runtime_error: Output file open failure");
    EXPECT_EQ(contentOf(file), "old");
}

TEST_F(ManagerExport, ReportsAFileThatCannotBeWrittenToTheEnd) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "This system has no device that is always full.";
    for (const std::size_t count : {1U, 10'000U}) {  // fails when it is closed, and already while it is written
        mStorage.range.assign(count, cardWithId(7, "04A2B3"));
        journal().clear();
        EXPECT_EQ(thrownBy([&] { mManager.exportFile("/dev/full", CSV, false, ""); }),
                  "std::runtime_error: Output file write failure");
        EXPECT_THAT(journal(),
                    ElementsAre("readAllRecords()", "error: Failed to write output file for export at /dev/full"));
    }
}

/// Makes a folder the current one for a while.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder) : mPrevious(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() { std::filesystem::current_path(mPrevious); }

private:
    std::filesystem::path mPrevious;
};

TEST_F(ManagerExport, AcceptsEveryFormOfFileName) {
    const CurrentFolder current(mFolder.path());
    std::filesystem::create_directory("sub folder");
    const std::string inside = mFolder.path().string();
    for (const std::string& path : {"list"s, "a list.csv"s, "./list.csv"s, "sub folder//list 2.csv"s, "\"quoted"s,
                                    "{}"s, "back\\slash"s, inside + "/absolute.csv", "ä.csv"s}) {
        mManager.exportFile(path, CSV, false, "");
        EXPECT_EQ(contentOf(path), "SEP=,\n7,Card 04A2B3,04A2B3,Accepted,*,,") << path;
        EXPECT_EQ(thrownBy([&] { mManager.importFile(path, CSV, false, ""); }), "nothing") << path;
    }
}

// Import from a text

TEST_F(ManagerImport, ReplacesTheStoredCards) {
    mManager.importStr("1,one,a,Accepted,*,,\n2,two,b,Blocked,*,,", CSV);
    ASSERT_EQ(mStorage.written.size(), 2U);
    EXPECT_EQ(mStorage.written[0].description, "one");
    EXPECT_EQ(mStorage.written[1].description, "two");
}

TEST_F(ManagerImport, ClearsTheListThenLogsAndCreatesCardByCard) {
    const std::vector<RfidCard> cards{cardWithId(1, "a"), cardWithId(2, "b")};
    mManager.importStr(jsonOf(cards), JSON);
    EXPECT_THAT(journal(),
                ElementsAre("deleteAllRecords()",
                            "log: New imported record will be added to database: " + textOf(cards[0]), "createRecord",
                            "log: New imported record will be added to database: " + textOf(cards[1]), "createRecord"));
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(cards));
}

TEST_F(ManagerImport, LogsTheWholeTextOfACard) {
    mManager.importStr(R"({"localAuthorizationList":[{"id":3,"status":"Accepted","description":"Main door","evseId":2,)"
                       R"("tags":[{"key":"k"}],"lastAccessTime":"2026-01-01T00:00:00Z",)"
                       R"("lastModificationTime":"2026-01-01T00:00:01Z"}]})",
                       JSON);
    EXPECT_EQ(journal().at(1),
              "log: New imported record will be added to database: {Id=3;Status=Accepted;Description=Main "
              "door;Expiry=<n/a>;Tags=[Hash=" +
                  hashKey("k") +
                  ";Key=k;Extra data=<n/a>;];Parent ID=<n/a>;EVSE ID=2;Extra data=<n/a>;Last access "
                  "time=2026-01-01T00:00:00Z;Last modification time=2026-01-01T00:00:01Z}");
}

TEST_F(ManagerImport, LogsCsvCardsWithTheirTimeOfImport) {
    mManager.importStr(csvLine, CSV);
    ASSERT_EQ(mStorage.written.size(), 1U);
    EXPECT_EQ(journal().at(1), "log: New imported record will be added to database: " + textOf(mStorage.written[0]));
}

TEST_F(ManagerImport, ChecksNeitherCapacityNorDuplicatesNorTags) {
    mManager.importStr("1,,a,Accepted,*,,\n1,,a,Accepted,*,,\n1,,,Accepted,*,,\n1,,|,Accepted,*,,", CSV);
    const auto logLine = StartsWith("log: New imported record will be added to database: {Id=1;");
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()", logLine, "createRecord", logLine, "createRecord", logLine,
                                       "createRecord", logLine, "createRecord"));
}

TEST_F(ManagerImport, LeavesTheVersionAsItIs) {
    mStorage.version = 3;
    mManager.importStr(R"({"listVersion":7,"localAuthorizationList":[]})", JSON);
    EXPECT_EQ(mStorage.version, 3U);
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()"));
}

TEST_F(ManagerImport, ClearsTheListForATextWithoutCards) {
    for (const auto& [text, type] : {std::pair{""s, CSV}, {"\n\n"s, CSV}, {emptyJson, JSON}}) {
        journal().clear();
        mManager.importStr(text, type);
        EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()"));
    }
}

TEST_F(ManagerImport, ClearsTheListForATypeOutsideTheEnumeration) {
    mManager.importStr(csvLine, neither);
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()"));
}

TEST_F(ManagerImport, LeavesTheListAloneAndLogsWhenTheJsonTextIsMalformed) {
    EXPECT_EQ(failureOfImport("{", JSON), "std::runtime_error: Failed to process input JSON file/string.");
    EXPECT_THAT(journal(), ElementsAre("error: Failed to process JSON file/string for import: Failed to process input "
                                       "JSON file/string."));
}

TEST_F(ManagerImport, KeepsTheTypeOfAJsonFailure) {
    EXPECT_EQ(failureOfImport("{}", JSON), "std::out_of_range: JSON member \"localAuthorizationList\" not found");
    EXPECT_EQ(failureOfImport(
                  R"({"localAuthorizationList":[{"id":1,"status":"Accepted","tags":[],"lastAccessTime":""}]})", JSON),
              "std::bad_optional_access: bad optional access");
    EXPECT_THAT(journal(), ElementsAre("error: Failed to process JSON file/string for import: JSON member "
                                       "\"localAuthorizationList\" not found",
                                       "error: Failed to process JSON file/string for import: bad optional access"));
}

TEST_F(ManagerImport, LeavesTheListAloneAndLogsNothingWhenTheCsvTextIsMalformed) {
    EXPECT_EQ(failureOfImport(csvLine + "\n1,2", CSV),
              "std::runtime_error: Invalid number of columns on imported csv line (expectation: 7, reality: 2)");
    EXPECT_EQ(failureOfImport("1,d,k,bad,*,,", CSV),
              "std::invalid_argument: bad was not found in N3oru4kadi8authlist14RfidCardStatusE");
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ManagerImport, BuildsCardsWithoutTouchingTheBackend) {
    const std::vector<RfidCard> cards{cardWithId(1, "a"), cardWithId(2, "b")};
    EXPECT_EQ(mManager.buildDatabaseFromString(csvLine, CSV).size(), 1U);
    EXPECT_EQ(fieldsOf(mManager.buildDatabaseFromString(jsonOf(cards), JSON)), fieldsOf(cards));
    EXPECT_EQ(mManager.buildDatabaseFromString(csvLine, neither).size(), 0U);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ManagerImport, LogsAFailureOfBuildingCardsFromJson) {
    EXPECT_EQ(thrownBy([&] { mManager.buildDatabaseFromString("x", JSON); }),
              "std::runtime_error: Failed to process input JSON file/string.");
    EXPECT_THAT(journal(), ElementsAre("error: Failed to process JSON file/string for import: Failed to process input "
                                       "JSON file/string."));
}

TEST_F(ManagerImport, LeavesTheCardsBeforeTheOneThatTheBackendRefuses) {
    AuthListManager manager(std::make_unique<PickyAccessor>(mStorage), {0, "", logInto(mStorage), {}, {}});
    const std::string text = jsonOf({cardWithId(1, "a"), cardWithId(2, "b"), cardWithId(3, "c")});
    EXPECT_EQ(thrownBy([&] { manager.importStr(text, JSON); }), "std::length_error: refused");
    EXPECT_THAT(
        journal(),
        ElementsAre("deleteAllRecords()", StartsWith("log: New imported record will be added to database: {Id=1;"),
                    "createRecord", StartsWith("log: New imported record will be added to database: {Id=2;")));
}

TEST_F(ManagerImport, PassesOnAFailureToClearTheList) {
    mStorage.fail("deleteAllRecords()", std::length_error("refused"));
    EXPECT_EQ(failureOfImport(csvLine, CSV), "std::length_error: refused");
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()"));
}

TEST_F(ManagerImport, PassesOnWhatTheLogCallbackThrows) {
    const std::vector<RfidCard> cards{cardWithId(1, "a"), cardWithId(2, "b")};
    const std::string secondLine = "log: New imported record will be added to database: " + textOf(cards[1]);
    mStorage.fail(secondLine, std::length_error("log full"));
    EXPECT_EQ(failureOfImport(jsonOf(cards), JSON), "std::length_error: log full");
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()", testing::_, "createRecord", secondLine));
}

TEST(ManagerImportWithoutLog, WorksAllTheSame) {
    test::FakeStorage storage;
    AuthListManager manager(std::make_unique<test::FakeDbAccessor>(storage), {0, "", {}, {}, {}});
    manager.importStr(csvLine, CSV);
    EXPECT_EQ(thrownBy([&] { manager.importStr("x", JSON); }),
              "std::runtime_error: Failed to process input JSON file/string.");
    EXPECT_EQ(thrownBy([&] { manager.importFile("/no/such/file", CSV, false, ""); }),
              "std::runtime_error: Input file open failure");
    EXPECT_THAT(storage.journal, ElementsAre("deleteAllRecords()", "createRecord"));
}

// Import from a file

TEST_F(ManagerImport, ReadsAFileByteForByte) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, "7,a\0b\rc,\xFF\x1A,Accepted,*,,\r\n"s);
    mManager.importFile(file, CSV, false, "");
    ASSERT_EQ(mStorage.written.size(), 1U);
    EXPECT_EQ(mStorage.written[0].description, "a\0b\rc"s);
    EXPECT_EQ(mStorage.written[0].tags.at(0).key, "\xFF\x1A");
}

TEST_F(ManagerImport, ReadsAFileAsItReadsTheSameText) {
    const std::vector<RfidCard> cards{cardWithId(1, "a"), cardWithId(2, "b")};
    const std::string file = mFolder.file("list.json");
    writeFile(file, jsonOf(cards));
    mManager.importFile(file, JSON, false, "");
    const std::vector<std::string> fromFile = journal();
    EXPECT_EQ(fieldsOf(mStorage.written), fieldsOf(cards));
    journal().clear();
    mManager.importStr(jsonOf(cards), JSON);
    EXPECT_EQ(journal(), fromFile);
}

TEST_F(ManagerImport, ReadsAFileLargerThanAnyBuffer) {
    std::string text;
    for (int i = 0; i < 50'000; ++i) text += csvLine + "\n";
    const std::string file = mFolder.file("list.csv");
    writeFile(file, text);
    mManager.importFile(file, CSV, false, "");
    EXPECT_EQ(mStorage.written.size(), 50'000U);
}

TEST_F(ManagerImport, HasClosedTheFileBeforeItLogsOrImports) {
    const std::string file = mFolder.file("list.csv");
    std::vector<int> openThen;
    AuthListConfiguration configuration;
    configuration.logCallback = [&](const std::string&, bool) { openThen.push_back(test::openDescriptorsOf(file)); };
    AuthListManager manager(std::make_unique<test::FakeDbAccessor>(mStorage), configuration);
    writeFile(file, csvLine);
    manager.importFile(file, CSV, false, "");
    writeFile(file, "");
    EXPECT_EQ(thrownBy([&] { manager.importFile(file, CSV, false, ""); }), "std::runtime_error: " + emptyFile);
    EXPECT_THAT(openThen, ElementsAre(0, 0));
}

TEST_F(ManagerImport, DoesNotWarnOfAPasswordWithoutZip) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, "\n");
    mManager.importFile(file, CSV, false, "secret");
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()"));
}

TEST_F(ManagerImport, RefusesAZipFileBeforeItLooksForTheFile) {
    EXPECT_EQ(thrownBy([&] { mManager.importFile("/no/such/file", CSV, true, ""); }), zipRefused);
    EXPECT_EQ(thrownBy([&] { mManager.importFile("/no/such/file", JSON, true, "secret"); }), zipRefused);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ManagerImport, ReportsAFileThatCannotBeOpened) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, csvLine);
    for (const std::string& path : {mFolder.file("no list.csv"), file + "/", "no_such_file.csv"s, ""s}) {
        journal().clear();
        EXPECT_EQ(failureOfImportFile(path, CSV), "std::runtime_error: Input file open failure");
        EXPECT_THAT(journal(), ElementsAre("error: Failed to open input file for import at " + path));
    }
}

TEST_F(ManagerImport, ReportsAFileThatMustNotBeRead) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, csvLine);
    std::filesystem::permissions(file, std::filesystem::perms::owner_write);
    const test::OrdinaryRights evenAsRoot;
    EXPECT_EQ(failureOfImportFile(file, CSV), "std::runtime_error: Input file open failure");
    EXPECT_THAT(journal(), ElementsAre("error: Failed to open input file for import at " + file));
}

TEST_F(ManagerImport, RefusesAnEmptyFileAndLeavesTheListAlone) {
    const std::string file = mFolder.file("empty");
    writeFile(file, "");
    for (const ExchangeDataType type : {CSV, JSON, neither}) {
        journal().clear();
        EXPECT_EQ(failureOfImportFile(file, type), "std::runtime_error: " + emptyFile);
        EXPECT_THAT(journal(), ElementsAre("error: " + emptyFile));
    }
}

TEST_F(ManagerImport, RefusesAFolderLikeAnEmptyFile) {
    EXPECT_EQ(failureOfImportFile(mFolder.path().string(), JSON), "std::runtime_error: " + emptyFile);
    EXPECT_THAT(journal(), ElementsAre("error: " + emptyFile));
}

TEST_F(ManagerImport, ClearsTheListForAFileOfATypeOutsideTheEnumeration) {
    const std::string file = mFolder.file("list");
    writeFile(file, csvLine);
    mManager.importFile(file, neither, false, "");
    EXPECT_THAT(journal(), ElementsAre("deleteAllRecords()"));
}

TEST_F(ManagerImport, RefusesAJsonFileThatIsCutAnywhere) {
    const std::string whole = jsonOf({cardWithId(1, "a")});
    const std::string file = mFolder.file("list.json");
    for (std::size_t length = 1; length < whole.size(); ++length) {
        writeFile(file, whole.substr(0, length));
        ASSERT_EQ(failureOfImportFile(file, JSON), "std::runtime_error: Failed to process input JSON file/string.")
            << whole.substr(0, length);
    }
    EXPECT_THAT(journal(), testing::Each(StartsWith("error: Failed to process JSON")));
}

TEST_F(ManagerImport, RefusesACsvFileThatIsCutWithinTheColumnsOfItsLastLine) {
    const std::string file = mFolder.file("list.csv");
    writeFile(file, csvLine + "\n8,Back door,04A2B4,Acc");
    EXPECT_EQ(failureOfImportFile(file, CSV),
              "std::runtime_error: Invalid number of columns on imported csv line (expectation: 7, reality: 4)");
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ManagerImport, RefusesRandomBytes) {
    std::mt19937 random(20260101);
    std::string bytes(1'000'000, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() & 0xFF);
    const std::string file = mFolder.file("random");
    writeFile(file, bytes);
    EXPECT_THAT(
        failureOfImportFile(file, CSV),
        StartsWith("std::runtime_error: Invalid number of columns on imported csv line (expectation: 7, reality: "));
    EXPECT_EQ(failureOfImportFile(file, JSON), "std::runtime_error: Failed to process input JSON file/string.");
    EXPECT_THAT(journal(), ElementsAre("error: Failed to process JSON file/string for import: Failed to process input "
                                       "JSON file/string."));
}

TEST_F(ManagerImport, NeverSupportsZip) {
    EXPECT_EQ(thrownBy([&] { mManager.retrieveDataFromZip("", CSV, ""); }), zipRefused);
    EXPECT_EQ(thrownBy([&] { mManager.retrieveDataFromZip("list.zip", JSON, "secret"); }), zipRefused);
    EXPECT_EQ(thrownBy([&] { mManager.outputDataAsZip("", "", ""); }), zipRefused);
    EXPECT_EQ(thrownBy([&] { mManager.outputDataAsZip("list.zip", "text", "secret"); }), zipRefused);
    EXPECT_THAT(journal(), IsEmpty());
}

}  // namespace
}  // namespace oru::kadi::authlist
