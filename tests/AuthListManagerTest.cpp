// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "authlist/AuthListManager.h"
#include "support/Cards.h"
#include "support/FakeDbAccessor.h"
#include "support/ManagerOverFake.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::FakeDbAccessor;
using test::FakeStorage;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;

// The interface as applications compile against it

using Manager = AuthListManager;
using Card = std::optional<RfidCard>;
using Text = std::optional<std::string>;
using Number = std::optional<unsigned>;
using Status = std::optional<RfidCardStatus>;
using SortKey = std::optional<SortingAndFilteringKey>;

template <class Function>
constexpr bool is(Function, Function) {
    return true;
}

static_assert(std::is_constructible_v<Manager, std::unique_ptr<IDbAccessor>, AuthListConfiguration>);
static_assert(std::is_constructible_v<Manager, AuthListConfiguration>);
static_assert(is<unsigned (Manager::*)(RfidCard&, bool, bool)>(&Manager::emplace, nullptr));
static_assert(is<bool (Manager::*)() const>(&Manager::isDatabaseFull, nullptr));
static_assert(is<bool (Manager::*)(const RfidCard&) const>(&Manager::isRfidCardAlreadyStored, nullptr));
static_assert(is<void (Manager::*)()>(&Manager::makeRoom, nullptr));
static_assert(is<Card (Manager::*)(const std::string&) const>(&Manager::getByKey, nullptr));
static_assert(is<Card (Manager::*)(const std::string&) const>(&Manager::getByHash, nullptr));
static_assert(is<Card (Manager::*)(unsigned) const>(&Manager::getById, nullptr));
static_assert(is<Card (Manager::*)(const std::string&, KeyRepresentation) const>(&Manager::retrieveRecord, nullptr));
static_assert(is<Card (Manager::*)(unsigned) const>(&Manager::retrieveRecord, nullptr));
static_assert(is<RfidCard (Manager::*)(RfidCard&) const>(&Manager::updateOnAccess, nullptr));
static_assert(is<bool (*)(const RfidCard&)>(&Manager::dateExpired, nullptr));
static_assert(is<std::vector<RfidCard> (Manager::*)(Number, Number, SortKey, std::optional<FilteringOperator>,
                                                    std::optional<CardValue>, SortKey, std::optional<SortingOrder>)
                     const>(&Manager::getRange, nullptr));
static_assert(is<unsigned (Manager::*)() const>(&Manager::countRecords, nullptr));
static_assert(is<void (Manager::*)(unsigned, Text, Status, std::optional<TimePoint>, Text)>(&Manager::updateData,
                                                                                            nullptr));
static_assert(is<void (Manager::*)(unsigned, Text, Status, Text, Text)>(&Manager::updateDataIso8601, nullptr));
static_assert(is<void (Manager::*)(const std::string&)>(&Manager::deleteByKey, nullptr));
static_assert(is<void (Manager::*)(const std::string&)>(&Manager::deleteByHash, nullptr));
static_assert(is<void (Manager::*)(unsigned)>(&Manager::deleteById, nullptr));
static_assert(is<void (Manager::*)() const>(&Manager::clearAll, nullptr));
static_assert(is<void (Manager::*)(unsigned) const>(&Manager::setVersion, nullptr));
static_assert(is<Number (Manager::*)() const>(&Manager::getVersion, nullptr));
static_assert(is<std::unique_ptr<IDbAccessor> (Manager::*)(const std::string&)>(&Manager::buildDbAccessor, nullptr));
static_assert(is<void (Manager::*)(const std::string&, bool) const>(&Manager::logMessage, nullptr));

// Configuration

static_assert(std::is_aggregate_v<AuthListConfiguration> && std::is_copy_constructible_v<AuthListConfiguration>);
static_assert(std::is_same_v<decltype(AuthListConfiguration::maxRecords), std::uint32_t>);
static_assert(std::is_same_v<decltype(AuthListConfiguration::databaseFileName), std::string>);
static_assert(std::is_same_v<decltype(AuthListConfiguration::logCallback), std::function<void(std::string, bool)>>);

TEST(Configuration, HasItsFieldsInTheDocumentedOrder) {
    AuthListConfiguration configuration;
    const auto& [maxRecords, databaseFileName, logCallback, first, second] = configuration;
    EXPECT_EQ(&maxRecords, &configuration.maxRecords);
    EXPECT_EQ(&databaseFileName, &configuration.databaseFileName);
    EXPECT_EQ(&logCallback, &configuration.logCallback);
    EXPECT_EQ(&first, &configuration.firstCompanion);
    EXPECT_EQ(&second, &configuration.secondCompanion);
}

TEST(Configuration, BelongsToTheManagerAsACopy) {
    FakeStorage storage;
    storage.count = 5;
    AuthListConfiguration configuration{5, "", logInto(storage)};
    const AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), configuration);
    configuration.maxRecords = 6;
    configuration.logCallback = [](const std::string& text, bool) { FAIL() << text; };
    EXPECT_TRUE(manager.isDatabaseFull());
    manager.logMessage("Hello", false);
    EXPECT_THAT(storage.journal, ElementsAre("countRecords()", "log: Hello"));
}

TEST(Configuration, TakesTheLargestCapacity) {
    FakeStorage storage;
    const AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{4294967295, "", {}});
    storage.count = 4294967294;
    EXPECT_FALSE(manager.isDatabaseFull());
    storage.count = 4294967295;
    EXPECT_TRUE(manager.isDatabaseFull());
}

// A callable that holds something which enters its end into the journal, and whose call would be entered too.
std::function<void()> companion(FakeStorage& storage, const std::string& name) {
    const std::shared_ptr<void> held(nullptr,
                                     [&storage, name](void*) { storage.journal.push_back(name + " destroyed"); });
    return [&storage, name, held] { storage.journal.push_back(name + " called"); };
}

TEST(Manager, DestroysTheBackendFirstAndThenItsConfiguration) {
    FakeStorage storage;
    {
        const AuthListManager manager(
            std::make_unique<FakeDbAccessor>(storage),
            AuthListConfiguration{1, "", {}, companion(storage, "first"), companion(storage, "second")});
        EXPECT_THAT(storage.journal, IsEmpty());
    }
    ASSERT_EQ(storage.journal.size(), 3U);
    EXPECT_EQ(storage.journal[0], "backend destroyed");
    EXPECT_THAT(storage.journal,
                testing::UnorderedElementsAre("backend destroyed", "first destroyed", "second destroyed"));
}

TEST(Manager, NeverCallsTheCompanionsOfItsConfiguration) {
    FakeStorage storage;
    RfidCard card = test::cardWithKey("A");
    card.id = 7;
    storage.record = card;
    {
        AuthListManager manager(
            std::make_unique<FakeDbAccessor>(storage),
            AuthListConfiguration{0, "", logInto(storage), companion(storage, "first"), companion(storage, "second")});
        manager.emplace(card, true, true);
        manager.getById(7);
        manager.getByKey("A");
        manager.getByHash("00ff");
        manager.getRange({}, {}, {}, {}, {}, {}, {});
        manager.updateData(7, {}, {}, {}, {});
        manager.deleteById(7);
        manager.importStr("1,Main door,A,Accepted,*,,", ExchangeDataType::CSV);
        manager.exportStr(ExchangeDataType::JSON);
        manager.clearAll();
        manager.setVersion(1);
        manager.getVersion();
    }
    EXPECT_THAT(storage.journal, testing::Not(testing::Contains(testing::EndsWith(" called"))));
    EXPECT_THAT(storage.journal, testing::Contains("first destroyed"));
}

// Construction over a backend of the caller's

TEST(Manager, NeitherLogsNorCallsTheBackendWhenItIsBuiltOverIt) {
    FakeStorage storage;
    const AuthListManager manager(std::make_unique<FakeDbAccessor>(storage),
                                  AuthListConfiguration{1, "", logInto(storage)});
    EXPECT_THAT(storage.journal, IsEmpty());
}

TEST(Manager, DoesNotCheckTheBackendThatItIsBuiltOver) {
    std::vector<std::string> lines;
    const AuthListManager manager(
        nullptr, AuthListConfiguration{1, "", [&](const std::string& line, bool) { lines.push_back(line); }});
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(manager.getByKey(""), std::nullopt);
    EXPECT_THAT(lines, ElementsAre("It is not possible to perform search using empty key string."));
}

TEST(Manager, DoesNotUseTheDatabaseFileNameWhenItIsBuiltOverABackend) {
    const test::TemporaryFolder folder;
    FakeStorage storage;
    {
        const AuthListManager manager(std::make_unique<FakeDbAccessor>(storage),
                                      AuthListConfiguration{1, folder.file("list.db"), {}});
        manager.countRecords();
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// Logging

class Logging : public test::ManagerOverFake {};

TEST_F(Logging, HandsOverTheMessageAndWhetherItIsAnError) {
    mManager.logMessage("Hello", false);
    mManager.logMessage("", true);
    EXPECT_THAT(mStorage.journal, ElementsAre("log: Hello", "error: "));
}

TEST_F(Logging, PassesOnWhatTheCallbackThrows) {
    const auto exception = mStorage.fail("log: Hello", std::logic_error("no room for logs"));
    EXPECT_EQ(test::exceptionFrom([&] { mManager.logMessage("Hello", false); }), exception);
    mStorage.fail("error: Hello", test::NoStdException{});
    EXPECT_THROW(mManager.logMessage("Hello", true), test::NoStdException);
}

TEST(LoggingCallback, RunsOnTheCallingThreadAndIsFinishedWhenTheCallReturns) {
    FakeStorage storage;
    std::vector<std::thread::id> threads;
    const AuthListManager manager(
        std::make_unique<FakeDbAccessor>(storage),
        AuthListConfiguration{1, "", [&](const std::string&, bool) { threads.push_back(std::this_thread::get_id()); }});
    manager.logMessage("Hello", false);
    EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id()));
}

TEST(LoggingCallback, MayUseTheManagerThatIsLogging) {
    FakeStorage storage;
    std::optional<AuthListManager> manager;
    manager.emplace(std::make_unique<FakeDbAccessor>(storage),
                    AuthListConfiguration{1, "", [&](const std::string&, bool) { manager->countRecords(); }});
    EXPECT_EQ(manager->getByKey(""), std::nullopt);
    EXPECT_THAT(storage.journal, ElementsAre("countRecords()"));
}

TEST(LoggingWithoutACallback, DoesNothing) {
    FakeStorage storage;
    const AuthListManager manager(std::make_unique<FakeDbAccessor>(storage), AuthListConfiguration{});
    manager.logMessage("Hello", false);
    manager.logMessage("Hello", true);
    EXPECT_THAT(storage.journal, IsEmpty());
}

// Zip archives

class ZipSupport : public test::ManagerOverFake {
protected:
    const std::string mRefused =
        "std::invalid_argument: Function arguments suggest that zip functions are needed -- compile the library using "
        "the WITH_ZIP flag.";
};

TEST_F(ZipSupport, IsMissingForReading) {
    for (const auto type : {ExchangeDataType::CSV, ExchangeDataType::JSON, static_cast<ExchangeDataType>(2)}) {
        EXPECT_EQ(thrownBy([&] { mManager.retrieveDataFromZip("list.zip", type, "secret"); }), mRefused);
        EXPECT_EQ(thrownBy([&] { mManager.retrieveDataFromZip("", type, ""); }), mRefused);
    }
    EXPECT_THAT(mStorage.journal, IsEmpty());
}

TEST_F(ZipSupport, IsMissingForWriting) {
    const AuthListManager& manager = mManager;
    const test::TemporaryFolder folder;
    EXPECT_EQ(thrownBy([&] { manager.outputDataAsZip(folder.file("list.zip"), "text", "secret"); }), mRefused);
    EXPECT_EQ(thrownBy([&] { manager.outputDataAsZip("", "", ""); }), mRefused);
    EXPECT_THAT(mStorage.journal, IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace oru::kadi::authlist
