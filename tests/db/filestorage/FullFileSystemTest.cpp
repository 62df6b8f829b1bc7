// SPDX-License-Identifier: Apache-2.0
// A list on a file system that takes no more, and one in a folder that takes no files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "authlist/db/filestorage/FileDbAccessor.h"
#include "support/Cards.h"
#include "support/Eventually.h"
#include "support/FileCalls.h"
#include "support/FileState.h"
#include "support/Files.h"
#include "support/ForkedProcess.h"
#include "support/ListFile.h"
#include "support/NamedCase.h"
#include "support/OrdinaryRights.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"

namespace oru::kadi::authlist::db::filestorage {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr auto delay = 20ms;
constexpr unsigned recordsBefore = 20;
constexpr unsigned recordsAfter = 120;

std::string keyOf(unsigned number) { return "key " + std::to_string(number); }

void addRecordsUpTo(unsigned last, const FileDbAccessor& accessor) {
    for (unsigned number = accessor.countRecords() + 1; number <= last; ++number) {
        accessor.createRecord(cardWithKey(keyOf(number)));
    }
}

std::size_t storedCount(const std::string& path) {
    return std::filesystem::exists(path) ? storedIn(path).cards.size() : 0;
}

// Whether so many calls have failed with this error.
bool haveFailed(const FileCallWatch& watch, std::ptrdiff_t count, int error) {
    return eventually([&] {
        const auto calls = watch.calls();
        return std::count_if(calls.begin(), calls.end(),
                             [error](const FinishedCall& call) { return call.error == error; }) >= count;
    });
}

// Tells, line by line, how a list fares that cannot be written for a while.
template <class TakeRoom, class MakeRoom>
std::string storyOf(const std::string& folder, int error, TakeRoom takeRoom, MakeRoom makeRoom) {
    std::ostringstream story;
    const std::string path = folder + "/list";
    const FileCallWatch watch(folder);
    const FileDbAccessor accessor(path, delay);
    addRecordsUpTo(recordsBefore, accessor);
    if (!eventually([&] { return storedCount(path) == recordsBefore; })) return "nothing was written";
    const FileState before = stateOf(path);
    takeRoom();
    addRecordsUpTo(recordsAfter, accessor);
    story << (haveFailed(watch, 3, error) ? "three writes failed" : "writes did not fail") << "\n"
          << "in memory: " << accessor.countRecords() << ", the last one "
          << (accessor.readRecord(keyOf(recordsAfter), KeyRepresentation::Key) ? "found" : "missing") << "\n"
          << "the old file: " << (stateOf(path) == before ? "untouched" : "changed") << "\n";
    accessor.deleteRecord(recordsAfter);
    story << "after a deletion, in memory: " << accessor.countRecords() << ", stored: " << storedCount(path) << "\n";
    makeRoom();
    const bool isWritten = eventually([&] { return storedCount(path) == recordsAfter - 1; });
    story << "with room again: " << (isWritten ? "written" : "not written") << "\n";
    return story.str();
}

const std::string happyStory =
    "three writes failed\n"
    "in memory: 120, the last one found\n"
    "the old file: untouched\n"
    "after a deletion, in memory: 119, stored: 20\n"
    "with room again: written\n";

// Takes what is left of the file system's bytes, or of its files.
void fillWithBytes(const std::string& folder) {
    std::ofstream filler(folder + "/filler", std::ios::binary);
    const std::string piece(512, 'x');
    while (filler.write(piece.data(), static_cast<std::streamsize>(piece.size())).flush()) {
    }
}

void fillWithFiles(const std::string& folder) {
    std::filesystem::create_directory(folder + "/filler");
    for (int i = 0; std::ofstream(folder + "/filler/" + std::to_string(i)).is_open(); ++i) {
    }
}

struct Limit : NamedCase {
    std::string size;  // in bytes and, perhaps, in files
    void (*fill)(const std::string& folder);
};

const std::string notMounted = "No file system can be mounted here: ";

class AListOnAFullFileSystem : public testing::TestWithParam<Limit> {};

TEST_P(AListOnAFullFileSystem, WorksInMemoryAndIsWrittenWhenThereIsRoomAgain) {
    const TemporaryFolder mountPoint;
    const std::string folder = mountPoint.path();
    const ForkedRun run = runForked([&folder](const Reporter& report) {
        const std::string obstacle = mountDiskOf(GetParam().size, folder);
        if (!obstacle.empty()) return report(notMounted + obstacle);
        report(storyOf(
            folder, ENOSPC, [&folder] { GetParam().fill(folder); },
            [&folder] { std::filesystem::remove_all(folder + "/filler"); }));
    });
    if (run.report.starts_with(notMounted)) GTEST_SKIP() << run.report;
    EXPECT_TRUE(run.finished());
    EXPECT_EQ(run.report, happyStory);
}

const Limit limits[] = {
    {{"WithoutBytes"}, "128k", fillWithBytes},
    {{"WithoutInodes"}, "1m,nr_inodes=16", fillWithFiles},
};

INSTANTIATE_TEST_SUITE_P(FileStore, AListOnAFullFileSystem, testing::ValuesIn(limits), byName);

TEST(AListInAFolderWithoutWritePermission, WorksInMemoryAndIsWrittenWhenThePermissionIsBack) {
    using std::filesystem::perms;
    const TemporaryFolder folder;
    const OrdinaryRights rights;
    const std::string story = storyOf(
        folder.path(), EACCES, [&folder] { std::filesystem::permissions(folder.path(), perms(0500)); },
        [&folder] { std::filesystem::permissions(folder.path(), perms(0700)); });
    std::filesystem::permissions(folder.path(), perms(0700));
    EXPECT_EQ(story, happyStory);
}

}  // namespace
}  // namespace oru::kadi::authlist::db::filestorage
