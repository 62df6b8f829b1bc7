// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "support/Eventually.h"
#include "support/FileState.h"
#include "tools/authlist/ToolLists.h"

// An import that is stopped midway.

namespace oru::kadi::authlist::test {
namespace {

std::string longCsv(unsigned cards) {
    std::string text = "SEP=,\n";
    for (unsigned id = 1; id <= cards; ++id) {
        const std::string number = std::to_string(id);
        text += number + ",Card number " + number + " of a long list,KEY-" + number + ",Accepted,*,,\n";
    }
    return text;
}

class Interrupting : public OverBothStores {
protected:
    void SetUp() override { storeAnew(); }

    void storeAnew() const {
        std::filesystem::remove(mList);
        store(sampleCards(), 42);
    }

    void writeText(unsigned cards) const { writeFile(mCsv, longCsv(cards)); }
    Arguments importing() const { return onList({"import", mCsv}); }

    /// Whether the tool has begun to write: there is something besides the list and the text.
    bool hasBegun() const { return namesIn(mFolder.path()).size() > 2; }

    /// Of all files together; one that goes meanwhile does not count.
    std::uintmax_t bytesInFolder() const {
        std::uintmax_t bytes = 0;
        std::error_code gone;
        for (const auto& entry : std::filesystem::directory_iterator(mFolder.path())) {
            const std::uintmax_t size = entry.file_size(gone);
            if (!gone) bytes += size;
        }
        return bytes;
    }

    void expectOldCards() const {
        const ListContent list = stored();
        EXPECT_EQ(list.cards.size(), 6U);
        EXPECT_TRUE(fieldsOf(list.cards) == fieldsOf(sampleCards()));
        EXPECT_EQ(list.version, 42U);
    }

    std::string mCsv = mFolder.file("long.csv");
};

INSTANTIATE_TEST_SUITE_P(Stores, Interrupting, bothStores, byName);

TEST_P(Interrupting, LeavesTheListAsItWasWhileTheTextIsRead) {
    ASSERT_EQ(mkfifo(mCsv.c_str(), 0600), 0);
    RunningTool import(importing());
    int writing = -1;
    ASSERT_TRUE(eventually([&] { return (writing = open(mCsv.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }));
    const std::string text = longCsv(100);
    const std::size_t half = text.size() / 2;
    EXPECT_EQ(write(writing, text.data(), half), static_cast<ssize_t>(half));
    import.signal(SIGINT);
    signal(SIGPIPE, SIG_IGN);  // the tool may have gone by now
    const ssize_t rest = write(writing, text.data() + half, text.size() - half);
    EXPECT_TRUE(rest > 0 || errno == EPIPE);
    close(writing);
    const ToolResult result = import.finish();
    EXPECT_EQ(result.exitStatus, 130);
    EXPECT_EQ(result.out, "");
    expectOldCards();
}

TEST_P(Interrupting, LeavesTheOldOrTheNewCardsWhenItIsKilled) {
    constexpr unsigned newCards = 20000;
    writeText(newCards);
    const std::uintmax_t atFirst = bytesInFolder();
    EXPECT_EQ(runTool(importing()).exitStatus, 0);
    const std::uintmax_t written = bytesInFolder();
    ASSERT_GT(written, atFirst);
    storeAnew();
    std::mt19937 random(20261121);
    for (int run = 0; run < 6; ++run) {
        RunningTool import(importing());
        const std::uintmax_t moment = atFirst + random() % (written - atFirst);
        ASSERT_TRUE(eventually([this, moment] { return bytesInFolder() >= moment; }));
        import.signal(SIGKILL);
        import.finish();
        const ListContent list = stored();
        if (list.cards.size() == newCards) {
            EXPECT_EQ(list.cards.back().description, "Card number 20000 of a long list");
            storeAnew();
        } else {
            expectOldCards();
        }
        EXPECT_EQ(tool({"check"}).exitStatus, 0) << "after " << moment << " bytes";
    }
}

TEST_P(Interrupting, LeavesAListThatWorksOnAfterItWasKilled) {
    writeText(20000);
    {
        RunningTool import(importing());
        ASSERT_TRUE(eventually([this] { return hasBegun(); }));
        import.signal(SIGKILL);
        EXPECT_EQ(import.finish().exitStatus, 128 + SIGKILL);
    }
    EXPECT_EQ(tool({"add", "NEW-KEY-1"}).exitStatus, 0);
    EXPECT_EQ(tool({"import", mCsv}).exitStatus, 0);
    EXPECT_EQ(stored().cards.size(), 20000U);
    EXPECT_THAT(namesIn(mFolder.path()), testing::SizeIs(2));
}

class InterruptingSqlite : public Interrupting {};

INSTANTIATE_TEST_SUITE_P(Only, InterruptingSqlite, testing::Values(sqliteStore), byName);

TEST_P(InterruptingSqlite, LeavesTheListAsItWasWhileCardsAreStored) {
    writeText(100000);
    RunningTool import(importing());
    ASSERT_TRUE(eventually([this] { return hasBegun(); }));
    import.signal(SIGINT);
    expectRefusal(import.finish(), 130, mList);
    EXPECT_THAT(namesIn(mFolder.path()), testing::SizeIs(2));
    expectOldCards();
}

}  // namespace
}  // namespace oru::kadi::authlist::test
