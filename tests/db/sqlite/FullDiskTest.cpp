// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "authlist/db/sqlite/SqliteDbAccessor.h"
#include "support/CardFields.h"
#include "support/Cards.h"
#include "support/Database.h"
#include "support/ForkedProcess.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

// On a full disk SQLite rolls a transaction back by itself. COMMIT and ROLLBACK then both fail, and the process ends
// rather than go on with a card that it believes stored.

namespace oru::kadi::authlist::db::sqlite {
namespace {

using test::Database;
using test::fieldsOf;
using test::Reporter;
using test::tagWithKey;
using test::thrownBy;

RfidCard cardNumber(unsigned number) {
    const std::string key = "Key " + std::to_string(number);
    RfidCard card = test::cardWithKey(key);
    card.tags.push_back(tagWithKey(key + " spare"));
    card.extraData = std::string(500, 'x');
    return card;
}

// Stores cards for as long as it goes; reports the id of each card once it is stored, one to a line, and at last what
// ends the process.
void fillDisk(const std::string& file, const Reporter& report) {
    static const Reporter* toParent = nullptr;
    toParent = &report;
    std::set_terminate([] {
        (*toParent)(thrownBy([] { std::rethrow_exception(std::current_exception()); }));
        std::abort();
    });
    const SqliteDbAccessor accessor(file);
    for (unsigned number = 1; number <= 10000; ++number) {
        report(std::to_string(accessor.createRecord(cardNumber(number))) + "\n");
    }
}

// What a process finds that lets another one fill a disk: how that one ended and what it left.
void fillADiskAndLook(const std::string& folder, const Reporter& report) {
    const std::string obstacle = test::mountDiskOf("256k", folder);
    if (!obstacle.empty()) {
        report("impossible " + obstacle);
        return;
    }
    const std::string file = folder + "/list.db";
    const test::ForkedRun filling = test::runForked([&](const Reporter& toHere) { fillDisk(file, toHere); });
    if (!filling.diedBySignal(SIGABRT)) report("Wait status " + std::to_string(filling.status) + "\n");

    std::istringstream lines(filling.report);
    std::vector<RfidCard> expected;
    std::string line;
    while (std::getline(lines, line) && line == std::to_string(expected.size() + 1)) {
        expected.push_back(cardNumber(static_cast<unsigned>(expected.size() + 1)));
        expected.back().id = static_cast<unsigned>(expected.size());
    }
    if (expected.size() < 10) report("Only " + std::to_string(expected.size()) + " cards\n");
    report(line + "\n");
    while (std::getline(lines, line)) report(line + "\n");

    report("Integrity " + Database(file).value("PRAGMA integrity_check") + "\n");
    const bool intact = fieldsOf(SqliteDbAccessor(file).readAllRecords()) == fieldsOf(expected);
    report(intact ? "Intact\n" : "Not the cards that were stored\n");
}

TEST(FullDisk, EndsTheProcessAndLeavesEveryCardThatWasStored) {
    const test::TemporaryFolder folder;
    const test::ForkedRun run =
        test::runForked([&](const Reporter& report) { fillADiskAndLook(folder.path().string(), report); });
    if (run.report.starts_with("impossible ")) GTEST_SKIP() << run.report;
    EXPECT_EQ(run.report,
              "std::runtime_error: Cannot execute query:  ROLLBACK; \n"
              "Error: 1=cannot rollback - no transaction is active\n"
              "Integrity ok\n"
              "Intact\n");
    EXPECT_TRUE(run.finished()) << run.status;
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "The disk is still mounted";
}

}  // namespace
}  // namespace oru::kadi::authlist::db::sqlite
