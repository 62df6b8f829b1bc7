// SPDX-License-Identifier: Apache-2.0
// What is left of a file when a call to the operating system fails, or the process is killed, in the middle of a save.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "oru/common/fs/CachedFileManager.h"
#include "support/Eventually.h"
#include "support/FileCalls.h"
#include "support/FileState.h"
#include "support/Files.h"
#include "support/ForkedProcess.h"
#include "support/Gate.h"
#include "support/NamedCase.h"
#include "support/TemporaryFolder.h"
#include "support/TextFile.h"
#include "support/ThrownBy.h"

namespace oru::common::fs {
namespace {

using namespace kadi::authlist::test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Options = CachedFileManager::Options;
using Calls = std::vector<FinishedCall>;
using Names = std::vector<std::string>;

constexpr auto shortestRetry = 100ms;

// Long enough for several pieces, equal in all but the last.
const std::string oldText = std::string(3500, 'x') + "old";
const std::string newText = std::string(3500, 'x') + "new";
const std::string olderText = "older";

const Options plain = inPieces(1, 0ms);
const Options rewritten = inPlace(plain);
const Options backedUp = withBackup(plain);
const Options backedUpInPlace = inPlace(backedUp);

std::string kindOf(const std::string& content) {
    if (content == oldText) return "old list";
    if (content == newText) return "new list";
    if (content == olderText) return "older list";
    return content.empty() ? "nothing" : "a torn list";
}

bool isNewFile(const std::string& name) { return name.starts_with(".list."); }

std::string described(const FileCall& call) {
    std::string name = call.name == "." ? "the folder" : call.name == "list" ? "the file" : "the new file";
    if (call.name.find("backup") != std::string::npos) name = "the new backup";
    if (call.operation == "link") name = "the new backup";
    if (call.operation == "open" && call.name == "list") name += " to compare";
    if (call.operation == "rename") name += " to " + call.newName;
    return call.operation + " " + name;
}

// The same, numbered where a save makes several such calls one after the other.
std::string described(const Calls& calls, std::size_t index) {
    const std::string text = described(calls[index]);
    std::size_t first = index;
    while (first > 0 && described(calls[first - 1]) == text) --first;
    const bool isOnly = first == index && (index + 1 == calls.size() || described(calls[index + 1]) != text);
    return isOnly ? text : text + ", " + std::to_string(index - first + 1);
}

// What must be true when this call has failed: nothing came of it, or the attempt failed before or after the rename.
enum class Effect { None, KeepsOld, KeepsNew };

Effect effectOfFailing(const FileCall& call, int error) {
    if (call.operation == "unlink") return Effect::None;  // clears away what need not be there
    const bool isFolder = call.name == ".";
    if (call.operation == "close" && isFolder) return Effect::None;
    if (isFolder && error == EACCES) return Effect::None;  // a folder that nobody can flush is left at that
    if (isFolder) return Effect::KeepsNew;
    const bool isComparison = call.name == "list" && call.operation != "link";
    return isComparison ? Effect::None : Effect::KeepsOld;
}

// A folder with an old list, and an older one where backups are kept.
class OldList {
public:
    explicit OldList(const Options& options) {
        writeFile(mPath, oldText);
        if (options.backupSuffix) writeFile(mPath + *options.backupSuffix, olderText);
        mNames = namesIn(mFolder.path());
    }

    std::string folder() const { return mFolder.path(); }
    const std::string& path() const { return mPath; }
    std::string kind() const { return kindOf(contentOf(mPath)); }
    std::string kindOfBackup() const { return kindOf(contentOf(mPath + ".bak")); }

    // What is in the folder besides the list and its backup.
    Names leftovers() const {
        Names names = namesIn(mFolder.path());
        std::erase_if(names, [this](const std::string& name) {
            return std::find(mNames.begin(), mNames.end(), name) != mNames.end();
        });
        return names;
    }

private:
    TemporaryFolder mFolder;
    std::string mPath = mFolder.file("list");
    Names mNames;
};

// The manager of the list, with the new text as a pending change.
std::unique_ptr<CachedFileManager> changed(const OldList& list, const Options& options) {
    auto files = std::make_unique<CachedFileManager>();
    addFile(*files, list.path(), options);
    setText(*files, newText);
    return files;
}

// All calls of a save in which nothing goes wrong.
Calls callsOfASave(const Options& options) {
    const OldList list(options);
    const FileCallWatch watch(list.folder());
    changed(list, options).reset();
    EXPECT_EQ(list.kind(), "new list");
    return watch.calls();
}

std::size_t openDescriptors() { return namesIn("/proc/self/fd").size(); }

// Tells the first call of an attempt that changes anything: linking the backup, or opening the new file where the
// backup was kept before or none is wanted.
class AttemptWatch {
public:
    bool isBegunBy(const FileCall& call) {
        const bool opens = call.operation == "open" && call.toWrite;
        const bool begins = call.operation == "link" || (opens && !mIsLinked);
        if (opens || begins) mIsLinked = call.operation == "link";
        return begins;
    }

private:
    bool mIsLinked = false;
};

// One save in which one call goes wrong.
struct Outcome {
    bool happened = false;
    std::string heldAfterwards;  // by the file, when the attempt was over
    std::string backupAfterwards;
    Names leftAfterwards;  // beside the file
    int attempts = 0;
    std::chrono::milliseconds retriedAfter{0};
    std::string heldInTheEnd;
    std::string backupInTheEnd;
    Names leftInTheEnd;
};

template <class JudgeCall>
Outcome saveWith(JudgeCall judgeCall, const Options& options, bool isRetryExpected) {
    Outcome outcome;
    const OldList list(options);
    std::atomic<std::size_t> made = 0;
    std::atomic<int> attempts = 0;
    AttemptWatch attempt;
    std::chrono::steady_clock::time_point failedAt;
    std::chrono::steady_clock::time_point retriedAt;
    Gate retry;
    FileCallWatch watch(list.folder(), [&](const FileCall& call) {
        if (attempt.isBegunBy(call) && ++attempts == 2) {
            retriedAt = std::chrono::steady_clock::now();
            retry.pass();
        }
        const Verdict verdict = judgeCall(made++, call);
        if (verdict.error != 0) failedAt = std::chrono::steady_clock::now();
        return verdict;
    });
    const std::size_t descriptors = openDescriptors();
    {
        const auto files = changed(list, options);
        const OpenAtExit opener(retry);
        outcome.happened =
            isRetryExpected ? retry.isReached() : eventually([&list] { return list.kind() == "new list"; });
        outcome.heldAfterwards = list.kind();
        outcome.backupAfterwards = list.kindOfBackup();
        if (isRetryExpected) outcome.leftAfterwards = list.leftovers();
        EXPECT_EQ(textOf(*files), newText) << "the list in memory, while the disk fails";
        retry.open();
        EXPECT_TRUE(eventually([&list] { return list.kind() == "new list"; }));
    }
    outcome.attempts = attempts;
    if (attempts > 1) {
        outcome.retriedAfter = std::chrono::duration_cast<std::chrono::milliseconds>(retriedAt - failedAt);
    }
    outcome.heldInTheEnd = list.kind();
    outcome.backupInTheEnd = list.kindOfBackup();
    outcome.leftInTheEnd = list.leftovers();
    if (!isRetryExpected) outcome.leftAfterwards = outcome.leftInTheEnd;
    EXPECT_EQ(openDescriptors(), descriptors);
    return outcome;
}

void printHeading() {
    std::cout << "| call | error | file after the attempt | left beside | attempts | file in the end |\n"
              << "|---|---|---|---|---|---|\n";
}

void printRow(const std::string& call, const std::string& error, const Outcome& outcome) {
    std::ostringstream attempts;
    attempts << outcome.attempts;
    if (outcome.retriedAfter > 0ms) attempts << ", the next " << outcome.retriedAfter.count() << " ms later";
    std::cout << "| " << call << " | " << error << " | " << outcome.heldAfterwards << " | "
              << (outcome.leftAfterwards.empty() ? "nothing" : outcome.leftAfterwards.front()) << " | "
              << attempts.str() << " | " << outcome.heldInTheEnd << " |" << std::endl;
}

void expectNothingLost(const Outcome& outcome, Effect effect) {
    EXPECT_TRUE(outcome.happened);
    EXPECT_EQ(outcome.heldAfterwards, effect == Effect::KeepsOld ? "old list" : "new list");
    EXPECT_THAT(outcome.leftAfterwards, IsEmpty());
    EXPECT_EQ(outcome.attempts, effect == Effect::None ? 1 : 2);
    if (effect != Effect::None) {
        EXPECT_GE(outcome.retriedAfter, shortestRetry);
    }
    EXPECT_EQ(outcome.heldInTheEnd, "new list");
    EXPECT_THAT(outcome.leftInTheEnd, IsEmpty());
}

// One error, at each call of a save where it can occur.

struct Fault : NamedCase {
    int error;
    Names operations;  // none: all
};

class AFault : public testing::TestWithParam<Fault> {
protected:
    static bool fits(const FileCall& call) {
        const Names& operations = GetParam().operations;
        return operations.empty() ||
               std::find(operations.begin(), operations.end(), call.operation) != operations.end();
    }

    static Outcome saveWithFaultAt(std::size_t index, const Options& options, Effect effect) {
        return saveWith([index](std::size_t made,
                                const FileCall&) { return Verdict{.error = made == index ? GetParam().error : 0}; },
                        options, effect != Effect::None);
    }
};

TEST_P(AFault, AtAnyCallOfASaveLosesNothing) {
    const Calls calls = callsOfASave(plain);
    printHeading();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (!fits(calls[i])) continue;
        SCOPED_TRACE("call " + std::to_string(i) + ": " + described(calls, i));
        const Effect effect = effectOfFailing(calls[i], GetParam().error);
        const Outcome outcome = saveWithFaultAt(i, plain, effect);
        printRow(described(calls, i), GetParam().name, outcome);
        expectNothingLost(outcome, effect);
    }
}

TEST_P(AFault, AtAnyCallOfASaveWithABackupLosesNeitherTheListNorTheBackup) {
    const Calls calls = callsOfASave(backedUp);
    printHeading();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (!fits(calls[i])) continue;
        SCOPED_TRACE("call " + std::to_string(i) + ": " + described(calls, i));
        const Effect effect = effectOfFailing(calls[i], GetParam().error);
        const Outcome outcome = saveWithFaultAt(i, backedUp, effect);
        printRow(described(calls, i), GetParam().name, outcome);
        expectNothingLost(outcome, effect);
        EXPECT_THAT(outcome.backupAfterwards, testing::AnyOf("older list", "old list"));
        EXPECT_EQ(outcome.backupInTheEnd, "old list");
    }
}

// In place, the old list is not kept, but the new one comes all the same.
TEST_P(AFault, AtAnyCallOfASaveInPlaceIsOvercomeByTheNextAttempt) {
    const Calls calls = callsOfASave(rewritten);
    bool isWriting = false;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        isWriting = isWriting || calls[i].toWrite;
        if (!fits(calls[i])) continue;
        SCOPED_TRACE("call " + std::to_string(i) + ": " + described(calls, i));
        const Outcome outcome = saveWithFaultAt(i, rewritten, isWriting ? Effect::KeepsOld : Effect::None);
        EXPECT_EQ(outcome.attempts, isWriting ? 2 : 1);
        EXPECT_EQ(outcome.heldInTheEnd, "new list");
    }
}

const Fault faults[] = {
    {{"ENOSPC"}, ENOSPC, {}},
    {{"EIO"}, EIO, {}},
    {{"EROFS"}, EROFS, {}},
    {{"EDQUOT"}, EDQUOT, {"open", "write", "fsync", "close", "rename", "link"}},
    {{"EACCES"}, EACCES, {"open", "fchmod", "rename", "link", "unlink"}},
};

INSTANTIATE_TEST_SUITE_P(WriteFaults, AFault, testing::ValuesIn(faults), byName);

TEST(WriteFaults, AreTriedAtEveryKindOfCall) {
    Names all;
    for (const FinishedCall& call : callsOfASave(plain)) {
        const std::string text = described(call);
        if (all.empty() || all.back() != text) all.push_back(text);
    }
    EXPECT_THAT(all, ElementsAre("open the file to compare", "read the file", "close the file", "open the new file",
                                 "fchmod the new file", "write the new file", "fsync the new file",
                                 "close the new file", "rename the new file to list", "open the folder",
                                 "fsync the folder", "close the folder", "unlink the new file"));
}

// Whoever else may write in the folder may guess the name of the new file, and read what is written there.
TEST(AFileInPlaceOfTheNewOne, GetsNothingOfTheList) {
    const OldList list(plain);
    std::fstream foreign;
    const FileCallWatch watch(list.folder(), [&](const FileCall& call) {
        if (call.toWrite && !foreign.is_open()) {
            foreign.open(list.folder() + "/" + call.name, std::ios::in | std::ios::out | std::ios::trunc);
        }
        return Verdict{};
    });
    {
        const auto files = changed(list, plain);
        EXPECT_TRUE(eventually([&list] { return list.kind() == "new list"; }));
    }
    ASSERT_TRUE(foreign.is_open());
    EXPECT_EQ(foreign.peek(), std::fstream::traits_type::eof());
    EXPECT_THAT(list.leftovers(), IsEmpty());
}

class AFolder : public testing::TestWithParam<Fault> {};

TEST_P(AFolder, ThatCannotBeFlushedDoesNotHaveTheFileWrittenAgain) {
    const Outcome outcome = saveWith(
        [](std::size_t, const FileCall& call) {
            const bool isHit = call.name == "." && call.operation == GetParam().operations.front();
            return Verdict{.error = isHit ? GetParam().error : 0};
        },
        plain, false);
    expectNothingLost(outcome, Effect::None);
}

const Fault unflushable[] = {
    {{"BecauseItMayNotBeRead"}, EACCES, {"open"}},
    {{"BecauseItsFileSystemRefuses"}, EINVAL, {"fsync"}},
    {{"BecauseItsFileSystemKnowsNoFlushing"}, ENOTSUP, {"fsync"}},
};

INSTANTIATE_TEST_SUITE_P(WriteFaults, AFolder, testing::ValuesIn(unflushable), byName);

TEST(WriteFaults, LoseNothingAfterAPartOfAWrite) {
    const Calls calls = callsOfASave(plain);
    printHeading();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].operation != "write") continue;
        SCOPED_TRACE("call " + std::to_string(i));
        bool isPartDone = false;
        const Outcome outcome = saveWith(
            [&isPartDone, i](std::size_t made, const FileCall& call) {
                if (made == i) return Verdict{.atMost = call.length / 2};
                if (made != i + 1) return Verdict{};
                isPartDone = call.operation == "write" && call.length > 0;
                return Verdict{.error = ENOSPC};
            },
            plain, true);
        printRow(described(calls, i), "half of it written, then ENOSPC", outcome);
        EXPECT_TRUE(isPartDone);
        expectNothingLost(outcome, Effect::KeepsOld);
    }
}

TEST(WriteFaults, AreNotSeenInWritesAndReadsThatMoveOnlyAPart) {
    const Outcome outcome = saveWith([](std::size_t, const FileCall&) { return Verdict{.atMost = 7}; }, plain, false);
    expectNothingLost(outcome, Effect::None);
}

// Every second write or read is interrupted before it moves anything.
TEST(WriteFaults, AreNotSeenInInterruptedWritesAndReads) {
    bool interrupts = false;
    const Outcome outcome = saveWith(
        [&interrupts](std::size_t, const FileCall& call) {
            if (call.operation != "write" && call.operation != "read") return Verdict{};
            interrupts = !interrupts;
            return Verdict{.error = interrupts ? EINTR : 0, .atMost = 100};
        },
        plain, false);
    expectNothingLost(outcome, Effect::None);
}

// At calls other than reading and writing, an interruption may count as a failure, as long as nothing comes of it.
TEST(WriteFaults, LoseNothingAtAnInterruptedCall) {
    const Calls calls = callsOfASave(plain);
    printHeading();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i) + ": " + described(calls, i));
        const OldList list(plain);
        std::atomic<std::size_t> made = 0;
        std::atomic<int> attempts = 0;
        AttemptWatch attempt;
        FileCallWatch watch(list.folder(), [&](const FileCall& call) {
            if (attempt.isBegunBy(call)) ++attempts;
            return Verdict{.error = made++ == i ? EINTR : 0};
        });
        auto files = changed(list, plain);
        EXPECT_TRUE(eventually([&list] { return list.kind() == "new list"; }));
        files.reset();
        const std::string held = list.kind();
        printRow(described(calls, i), "EINTR", {true, held, {}, list.leftovers(), attempts, {}, held, {}, {}});
        EXPECT_EQ(list.kind(), "new list");
        EXPECT_THAT(list.leftovers(), IsEmpty());
        if (calls[i].operation == "write" || calls[i].operation == "read") {
            EXPECT_EQ(attempts, 1);
        }
    }
}

// A fault that stays.

struct LastingFault : NamedCase {
    std::string operation;
    int error;
};

class ALastingFault : public testing::TestWithParam<LastingFault> {
protected:
    static constexpr auto delay = 150ms;

    Verdict verdictOn(const FileCall& call) {
        const bool isHit = mLasts && isNewFile(call.name) && call.operation == GetParam().operation;
        if (isHit) ++mFailures;
        return Verdict{.error = isHit ? GetParam().error : 0};
    }

    const Options mOptions = inPieces(1, delay);
    const OldList mList{mOptions};
    std::atomic<bool> mLasts = true;
    std::atomic<int> mFailures = 0;
    FileCallWatch mWatch{mList.folder(), [this](const FileCall& call) { return verdictOn(call); }};
};

TEST_P(ALastingFault, KeepsTheOldFileAndThePendingChangesUntilItGoesAway) {
    const auto files = changed(mList, mOptions);
    for (int failures = 1; failures <= 4; ++failures) {
        ASSERT_TRUE(eventually([&] { return mFailures >= failures; }));
        EXPECT_EQ(mList.kind(), "old list");
        setText(*files, "change " + std::to_string(failures));
        EXPECT_EQ(textOf(*files), "change " + std::to_string(failures));
    }
    setText(*files, newText);
    mLasts = false;
    EXPECT_TRUE(eventually([this] { return mList.kind() == "new list"; }));
}

TEST_P(ALastingFault, IsTriedAgainNoSoonerThanAfterTheDelay) {
    const auto files = changed(mList, mOptions);
    ASSERT_TRUE(eventually([this] { return mFailures >= 3; }));
    const Calls calls = mWatch.calls();
    std::optional<std::chrono::steady_clock::time_point> failed;
    AttemptWatch attempt;
    for (const FinishedCall& call : calls) {
        if (attempt.isBegunBy(call) && failed) {
            EXPECT_GE(call.begun - *failed, delay);
        }
        if (call.error == GetParam().error) failed = call.begun;
    }
}

TEST_P(ALastingFault, LeavesTheOldFileWhenTheManagerIsDestroyed) {
    changed(mList, inPieces(1, 24h)).reset();
    EXPECT_EQ(mFailures, 1) << "it is tried once";
    EXPECT_EQ(mList.kind(), "old list");
    EXPECT_THAT(mList.leftovers(), IsEmpty());
}

TEST_P(ALastingFault, LosesNothingWhenItGoesAwayBeforeTheManagerIsDestroyed) {
    {
        CachedFileManager files;
        addFile(files, mList.path(), plain);
        setText(files, newText);
        ASSERT_TRUE(eventually([this] { return mFailures >= 1; }));
        mLasts = false;
    }
    EXPECT_EQ(mList.kind(), "new list");
}

class OtherText : public Text {};

TEST_P(ALastingFault, IsNoneOfTheOtherFilesBusiness) {
    const auto files = changed(mList, mOptions);
    const std::string other = mList.folder() + "/other";
    addFile<OtherText>(*files, other, plain);
    ASSERT_TRUE(eventually([this] { return mFailures >= 1; }));
    setText<OtherText>(*files, "other");
    EXPECT_TRUE(eventually([&other] { return contentOf(other) == "other"; }));
    EXPECT_EQ(mList.kind(), "old list");
}

const LastingFault lastingFaults[] = {
    {{"Open"}, "open", EROFS},    {{"Write"}, "write", ENOSPC},   {{"Fsync"}, "fsync", EIO},
    {{"Close"}, "close", EDQUOT}, {{"Rename"}, "rename", ENOSPC},
};

INSTANTIATE_TEST_SUITE_P(WriteFaults, ALastingFault, testing::ValuesIn(lastingFaults), byName);

// In place, a failed write may leave a torn file; the backup is what is whole then.
TEST(WriteFaultsInPlace, KeepTheOldListInTheBackupHoweverOftenAWriteFails) {
    const OldList list(backedUpInPlace);
    std::atomic<int> writes = 0;
    std::atomic<int> failures = 0;
    std::atomic<bool> lasts = true;
    const FileCallWatch watch(list.folder(), [&](const FileCall& call) {
        const bool isHit = call.operation == "write" && call.name == "list" && lasts && ++writes % 2 == 0;
        if (isHit) ++failures;
        return Verdict{.error = isHit ? ENOSPC : 0};
    });
    const auto files = changed(list, backedUpInPlace);
    ASSERT_TRUE(eventually([&failures] { return failures >= 3; }));
    EXPECT_EQ(list.kindOfBackup(), "old list");
    lasts = false;
    EXPECT_TRUE(eventually([&list] { return list.kind() == "new list"; }));
}

// Faults while the file is loaded.

TEST(ReadFaults, AtAnyReadRefuseTheFileAndLeaveItUntouched) {
    const OldList list(plain);
    const FileState before = stateOf(list.path());
    std::size_t reads = 0;
    for (std::size_t failing = 0;; ++failing) {
        SCOPED_TRACE("read " + std::to_string(failing));
        std::string thrown;
        std::size_t made = 0;
        {
            const FileCallWatch watch(
                list.folder(),
                [&made, failing](const FileCall& call) {
                    if (call.operation != "read") return Verdict{};
                    return Verdict{.error = made++ == failing ? EIO : 0};
                },
                FileCallWatch::Threads::All);
            thrown = thrownBy([&list] {
                CachedFileManager files;
                addFile(files, list.path(), plain);
            });
        }
        if (made <= failing) break;
        ++reads;
        EXPECT_EQ(thrown, "std::runtime_error: Cannot load " + list.path() + ": its content cannot be decoded");
        EXPECT_EQ(stateOf(list.path()), before);
        EXPECT_THAT(list.leftovers(), IsEmpty());
    }
    EXPECT_GE(reads, 4U) << "the file is read in several pieces";
}

// Killed processes.

// Runs a save in a process that is killed just before one of its calls.
ForkedRun saveKilledBefore(std::size_t index, const OldList& list, const Options& options) {
    return runForked([&](const Reporter&) {
        std::size_t made = 0;
        const FileCallWatch watch(list.folder(), [&made, index](const FileCall& call) {
            if (made++ == index) raise(SIGKILL);
            if (call.operation != "write") return Verdict{};
            return Verdict{.atMost = 600};  // so that some die in the middle of a piece
        });
        changed(list, options).reset();
    });
}

class AKilledProcess : public testing::TestWithParam<bool> {
protected:
    const Options mOptions = GetParam() ? backedUp : plain;
};

TEST_P(AKilledProcess, LeavesTheOldOrTheNewListAndWhatItsSuccessorClearsAway) {
    std::cout << "| killed before | file | left beside | after the next start |\n|---|---|---|---|\n";
    bool isRenamed = false;
    for (std::size_t i = 0;; ++i) {
        SCOPED_TRACE("call " + std::to_string(i));
        const OldList list(mOptions);
        const ForkedRun run = saveKilledBefore(i, list, mOptions);
        if (run.finished()) break;
        ASSERT_TRUE(run.diedBySignal(SIGKILL)) << run.report;
        const std::string held = list.kind();
        const Names left = list.leftovers();
        isRenamed = isRenamed || held == "new list";
        EXPECT_EQ(held, isRenamed ? "new list" : "old list");
        if (GetParam()) {
            EXPECT_THAT(list.kindOfBackup(), testing::AnyOf("older list", "old list"));
        }
        std::string loaded;
        {
            CachedFileManager files;
            addFile(files, list.path(), mOptions);
            loaded = kindOf(textOf(files));
        }
        std::cout << "| call " << i << " | " << held << " | " << (left.empty() ? "nothing" : left.front()) << " | "
                  << loaded << " |" << std::endl;
        EXPECT_EQ(loaded, held);
        EXPECT_THAT(list.leftovers(), IsEmpty());
    }
    EXPECT_TRUE(isRenamed);
}

INSTANTIATE_TEST_SUITE_P(WriteFaults, AKilledProcess, testing::Bool(),
                         [](const auto& row) { return row.param ? "WithBackup" : "Plain"; });

// Two managers on one file: the last one wins, but the file is always one of theirs.
TEST(TwoManagersOfOneFile, NeverMixWhatTheyWrite) {
    const std::string firstText(3000, '1');
    const std::string secondText(2500, '2');
    const OldList list(plain);
    Gate gate;
    std::atomic<int> writes = 0;
    std::atomic<bool> isTorn = false;
    const FileCallWatch watch(list.folder(), [&](const FileCall& call) {
        if (call.operation == "write" && ++writes == 2) gate.pass();
        const std::string content = contentOf(list.path());
        if (content != oldText && content != firstText && content != secondText) isTorn = true;
        return Verdict{};
    });
    {
        CachedFileManager first;
        addFile(first, list.path(), plain);
        CachedFileManager second;
        addFile(second, list.path(), plain);
        const OpenAtExit opener(gate);
        setText(first, firstText);
        ASSERT_TRUE(gate.isReached());
        setText(second, secondText);
        ASSERT_TRUE(eventually([&] { return contentOf(list.path()) == secondText; }));
        gate.open();
    }
    EXPECT_FALSE(isTorn);
    EXPECT_THAT(contentOf(list.path()), testing::AnyOf(firstText, secondText));
    EXPECT_THAT(list.leftovers(), IsEmpty());
}

}  // namespace
}  // namespace oru::common::fs
