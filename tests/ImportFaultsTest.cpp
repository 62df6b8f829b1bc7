// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <utility>

#include "authlist/AuthListManager.h"
#include "support/FileCalls.h"
#include "support/Files.h"
#include "support/ManagerOverFake.h"
#include "support/TemporaryFolder.h"
#include "support/ThrownBy.h"

namespace oru::kadi::authlist {
namespace {

using test::FileCall;
using test::FileCallWatch;
using test::thrownBy;
using test::Verdict;
using testing::ElementsAre;

/// The import of a file that is larger than what one read() delivers.
class ImportOfAFailingFile : public test::ManagerOverFake {
protected:
    static constexpr std::size_t cardCount = 10'000;

    ImportOfAFailingFile() {
        std::string text;
        for (std::size_t i = 0; i < cardCount; ++i) text += "7,Main door,04A2B3,Accepted,*,,\n";
        test::writeFile(mFile, text);
    }

    /// What the import throws when judge decides on each read().
    std::string failureWhen(const FileCallWatch::Judge& judge) {
        const FileCallWatch watch(
            mFolder.path().string(),
            [&judge](const FileCall& call) { return call.operation == "read" ? judge(call) : Verdict{}; },
            FileCallWatch::Threads::All);
        return thrownBy([this] { mManager.importFile(mFile, ExchangeDataType::CSV, false, ""); });
    }

    test::TemporaryFolder mFolder;
    const std::string mFile = mFolder.file("list.csv");
};

TEST_F(ImportOfAFailingFile, ReportsThatReadingBrokeOff) {
    for (const std::size_t length : {100'000U, 1'000U, 1U}) {
        mStorage.journal.clear();
        Verdict next{0, length};
        const auto failAfterTheFirst = [&next](const FileCall&) { return std::exchange(next, Verdict{EIO}); };
        EXPECT_EQ(failureWhen(failAfterTheFirst), "std::runtime_error: Input file read failure") << length;
        EXPECT_THAT(mStorage.journal, ElementsAre("error: Failed to read input file for import at " + mFile)) << length;
    }
}

TEST_F(ImportOfAFailingFile, IsRefusedLikeAnEmptyOneWhereNothingCouldBeRead) {
    const std::string emptyFile =
        "Imported file empty or not accessible (e.g. incorrect password for protected zip file)";
    EXPECT_EQ(failureWhen([](const FileCall&) { return Verdict{EIO}; }), "std::runtime_error: " + emptyFile);
    EXPECT_THAT(mStorage.journal, ElementsAre("error: " + emptyFile));
}

TEST_F(ImportOfAFailingFile, SucceedsWhereReadingIsOnlySlow) {
    EXPECT_EQ(failureWhen([](const FileCall&) { return Verdict{0, 777}; }), "nothing");
    EXPECT_EQ(mStorage.written.size(), cardCount);
}

}  // namespace
}  // namespace oru::kadi::authlist
