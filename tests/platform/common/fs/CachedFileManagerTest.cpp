// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "oru/common/fs/CachedFileManager.h"
#include "support/Eventually.h"
#include "support/FileCalls.h"
#include "support/FileState.h"
#include "support/Files.h"
#include "support/Gate.h"
#include "support/NamedCase.h"
#include "support/OrdinaryRights.h"
#include "support/TemporaryFolder.h"
#include "support/TextFile.h"
#include "support/ThrownBy.h"

namespace oru::common::fs {
namespace {

using namespace kadi::authlist::test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using Options = CachedFileManager::Options;
using Clock = std::chrono::steady_clock;

// Written at the end of the test's manager, not before.
const Options muchLater = delayedBy(24h);
const Options atOnce = delayedBy(0ms);

class ACachedFile : public testing::Test {
protected:
    // Has a manager change the file's text and write it.
    void save(const std::string& text, const Options& options = muchLater) const { saveAt(mPath, text, options); }

    static void saveAt(const std::string& path, const std::string& text, const Options& options = muchLater) {
        CachedFileManager files;
        addFile(files, path, options);
        setText(files, text);
    }

    static std::string loadedFrom(const std::string& path) {
        CachedFileManager files;
        addFile(files, path, muchLater);
        return textOf(files);
    }

    std::string refusal() const {
        return thrownBy([this] {
            CachedFileManager files;
            addFile(files, mPath, atOnce);
        });
    }

    TemporaryFolder mFolder;
    const std::string mPath = mFolder.file("list");
};

// Loading

TEST_F(ACachedFile, StartsEmptyWhereThereIsNoFile) { EXPECT_EQ(loadedFrom(mPath), ""); }

TEST_F(ACachedFile, IsNotCreatedWhileNobodyAsksForItsObject) {
    {
        CachedFileManager files;
        addFile(files, mPath, atOnce);
    }
    EXPECT_THAT(namesIn(mFolder.path()), IsEmpty());
}

// Would notice that it is asked to read nothing.
class NeverEmpty : public Text {
public:
    bool deserialize(std::istream& stream) override { return Text::deserialize(stream) && !text.empty(); }
};

TEST_F(ACachedFile, StartsEmptyWhereTheFileHasZeroBytes) {
    writeFile(mPath, "");
    CachedFileManager files;
    addFile<NeverEmpty>(files, mPath, atOnce);
    EXPECT_EQ(textOf<NeverEmpty>(files), "");
}

TEST_F(ACachedFile, IsLoadedWhenItIsAdded) {
    writeFile(mPath, "one");
    CachedFileManager files;
    addFile(files, mPath, muchLater);
    writeFile(mPath, "two");
    EXPECT_EQ(textOf(files), "one");
}

TEST_F(ACachedFile, IsLoadedWholeWhenItIsLargerThanTheBuffer) {
    const std::string text = std::string(100'000, 'x') + "end";
    writeFile(mPath, text);
    EXPECT_EQ(loadedFrom(mPath), text);
}

TEST_F(ACachedFile, IsRefusedAndLeftUntouchedWhenItsObjectDoesNotAcceptIt) {
    writeFile(mPath, "damaged");
    const FileState before = stateOf(mPath);
    EXPECT_EQ(refusal(), "std::runtime_error: Cannot load " + mPath + ": its content cannot be decoded");
    EXPECT_EQ(stateOf(mPath), before);
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("list"));
}

class Thrower : public Text {
public:
    bool deserialize(std::istream&) override { throw std::logic_error("byte 7 is wrong"); }
};

TEST_F(ACachedFile, IsRefusedAndLeftUntouchedWhenItsObjectThrows) {
    writeFile(mPath, "some text");
    const FileState before = stateOf(mPath);
    const std::string thrown = thrownBy([this] {
        CachedFileManager files;
        addFile<Thrower>(files, mPath, atOnce);
    });
    EXPECT_EQ(thrown, "std::runtime_error: Cannot load " + mPath + ": byte 7 is wrong");
    EXPECT_EQ(stateOf(mPath), before);
}

TEST_F(ACachedFile, IsRefusedAndLeftUntouchedWhenItMayNotBeRead) {
    writeFile(mPath, "secret");
    std::filesystem::permissions(mPath, std::filesystem::perms::none);
    const FileState before = stateOf(mPath);
    {
        const OrdinaryRights rights;
        EXPECT_EQ(refusal(), "std::runtime_error: Cannot load " + mPath + ": Permission denied");
    }
    EXPECT_EQ(stateOf(mPath), before);
    std::filesystem::permissions(mPath, std::filesystem::perms::owner_all);
    EXPECT_EQ(contentOf(mPath), "secret");
}

TEST_F(ACachedFile, IsRefusedWhenItIsAFolder) {
    std::filesystem::create_directory(mPath);
    EXPECT_EQ(refusal(), "std::runtime_error: Cannot load " + mPath + ": it is not a regular file");
}

TEST_F(ACachedFile, IsRefusedWhenItIsAPipeWhichNobodyWaitsFor) {
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
    EXPECT_EQ(refusal(), "std::runtime_error: Cannot load " + mPath + ": it is not a regular file");
}

TEST_F(ACachedFile, IsRefusedWhereItsFolderDoesNotExist) {
    const std::string path = mFolder.file("missing/list");
    EXPECT_EQ(thrownBy([&path] { loadedFrom(path); }),
              "std::runtime_error: Cannot load " + path + ": its folder does not exist");
}

TEST_F(ACachedFile, IsRefusedBelowAFileThatIsNoFolder) {
    writeFile(mPath, "no folder");
    EXPECT_THAT(thrownBy([this] { loadedFrom(mPath + "/list"); }),
                StartsWith("std::runtime_error: Cannot load " + mPath + "/list: "));
}

TEST_F(ACachedFile, IsRefusedAtALinkThatLeadsInACircle) {
    std::filesystem::create_symlink("other", mPath);
    std::filesystem::create_symlink("list", mFolder.file("other"));
    EXPECT_THAT(refusal(), StartsWith("std::runtime_error: Cannot load " + mPath + ": "));
}

TEST_F(ACachedFile, IsRefusedByItsOwnNameWhenALinkLeadsWhereItMayNotGo) {
    std::filesystem::create_directory(mFolder.file("closed"));
    std::filesystem::create_symlink("closed/list", mPath);
    std::filesystem::permissions(mFolder.file("closed"), std::filesystem::perms::none);
    std::string thrown;
    {
        const OrdinaryRights rights;
        thrown = refusal();
    }
    std::filesystem::permissions(mFolder.file("closed"), std::filesystem::perms::owner_all);
    EXPECT_THAT(thrown, testing::HasSubstr(mPath));
}

TEST_F(ACachedFile, CanBeAddedOnceItIsRepaired) {
    writeFile(mPath, "damaged");
    CachedFileManager files;
    EXPECT_THROW(addFile(files, mPath, muchLater), std::runtime_error);
    writeFile(mPath, "repaired");
    addFile(files, mPath, muchLater);
    EXPECT_EQ(textOf(files), "repaired");
}

class OtherText : public Text {};

TEST_F(ACachedFile, SharesItsManagerWithFilesOfOtherTypes) {
    const std::string otherPath = mFolder.file("other");
    writeFile(otherPath, "other");
    {
        CachedFileManager files;
        addFile(files, mPath, muchLater);
        addFile<OtherText>(files, otherPath, muchLater);
        setText(files, "first");
        EXPECT_EQ(textOf<OtherText>(files), "other");
        setText<OtherText>(files, "second");
    }
    EXPECT_EQ(contentOf(mPath), "first");
    EXPECT_EQ(contentOf(otherPath), "second");
}

TEST_F(ACachedFile, IsRefusedWhenAnotherOfItsTypeIsThere) {
    CachedFileManager files;
    addFile(files, mPath, muchLater);
    setText(files, "kept");
    const std::string second = mFolder.file("second");
    EXPECT_EQ(thrownBy([&] { addFile(files, second, muchLater); }),
              "std::invalid_argument: Cannot add " + second + ": there is a file for this type of content");
    EXPECT_EQ(textOf(files), "kept");
}

TEST(CachedFileManager, HasNoHandlerForATypeThatWasNotAdded) {
    const CachedFileManager files;
    EXPECT_EQ(thrownBy([&files] { files.getHandler(typeid(Text)); }),
              std::string("std::out_of_range: No file was added for ") + typeid(Text).name());
}

// When it is written

// The calls of a save at which new content appears under the old name.
std::vector<Clock::time_point> renamings(const FileCallWatch& watch) {
    std::vector<Clock::time_point> times;
    for (const FinishedCall& call : watch.calls()) {
        if (call.operation == "rename" && call.error == 0) times.push_back(call.ended);
    }
    return times;
}

// Flushing takes no time, so that no slow disk has a part in what is measured.
Verdict flushInNoTime(const FileCall& call) { return {.skip = call.operation == "fsync"}; }

constexpr auto longDelay = 2s;  // the half of it that is left for the disk is plenty on a loaded machine, too

TEST_F(ACachedFile, IsWrittenNoLaterThanTheDelayAfterAChange) {
    FileCallWatch watch(mFolder.path(), flushInNoTime);
    CachedFileManager files;
    addFile(files, mPath, delayedBy(longDelay));
    const auto changed = Clock::now();
    setText(files, "new");
    ASSERT_TRUE(eventually([&watch] { return !renamings(watch).empty(); }));
    EXPECT_LE(renamings(watch).front() - changed, longDelay);
    EXPECT_EQ(contentOf(mPath), "new");
}

TEST_F(ACachedFile, IsWrittenNoLaterThanTheDelayUnderSteadyTraffic) {
    constexpr auto delay = 1s;
    std::vector<Clock::time_point> changes;
    std::vector<std::size_t> changesOnDisk;  // how many of them, after each renaming
    FileCallWatch watch(mFolder.path(), flushInNoTime);
    CachedFileManager files;
    addFile(files, mPath, delayedBy(delay));
    ASSERT_TRUE(eventually([&] {
        changes.push_back(Clock::now());
        setText(files, std::string(changes.size(), 'x'));
        if (renamings(watch).size() > changesOnDisk.size()) changesOnDisk.push_back(contentOf(mPath).size());
        return changesOnDisk.size() == 3;
    }));
    const auto times = renamings(watch);
    EXPECT_LE(times[0] - changes[0], delay);
    for (std::size_t i = 1; i < changesOnDisk.size(); ++i) {
        EXPECT_LE(times[i] - changes[changesOnDisk[i - 1]], delay) << "the first change that was not on disk before";
    }
}

TEST_F(ACachedFile, IsWrittenAtOnceWithoutADelay) {
    for (const auto delay : {0ms, -5000ms}) {
        const std::string text = "written after " + std::to_string(delay.count());
        CachedFileManager files;
        addFile(files, mPath, delayedBy(delay));
        setText(files, text);
        EXPECT_TRUE(eventually([&] { return contentOf(mPath) == text; }));
    }
}

TEST_F(ACachedFile, IsWrittenInTheBackground) {
    FileCallWatch watch(mFolder.path(), {}, FileCallWatch::Threads::All);
    {
        CachedFileManager files;
        addFile(files, mPath, atOnce);
        setText(files, "new");
        ASSERT_TRUE(eventually([&watch] { return !renamings(watch).empty(); }));
        setText(files, "newer");
    }
    ASSERT_EQ(renamings(watch).size(), 2U);
    for (const FinishedCall& call : watch.calls()) EXPECT_NE(call.thread, std::this_thread::get_id());
}

TEST_F(ACachedFile, IsWrittenWhenItsManagerIsDestroyed) {
    for (const std::chrono::milliseconds delay : {std::chrono::milliseconds(24h), std::chrono::milliseconds::max()}) {
        const std::string text = "pending for " + std::to_string(delay.count());
        save(text, delayedBy(delay));
        EXPECT_EQ(contentOf(mPath), text);
    }
}

TEST_F(ACachedFile, IsNotReplacedWhenItsBytesDidNotChange) {
    save("the same");
    const FileState before = stateOf(mPath);
    FileCallWatch watch(mFolder.path());
    CachedFileManager files;
    addFile(files, mPath, atOnce);
    const auto compares = [&watch] {
        const auto calls = watch.calls();
        return std::count_if(calls.begin(), calls.end(),
                             [](const FinishedCall& call) { return call.operation == "close" && call.name == "list"; });
    };
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(textOf(files), "the same");
        ASSERT_TRUE(eventually([&] { return compares() >= i; }));
    }
    withLocked(files, [](Text& text) {
        text.text = "changed and";
        text.text = "the same";
    });
    ASSERT_TRUE(eventually([&] { return compares() >= 4; }));
    EXPECT_EQ(stateOf(mPath), before);
    for (const FinishedCall& call : watch.calls()) EXPECT_FALSE(call.toWrite) << call.operation << " " << call.name;
}

struct Difference : NamedCase {
    std::string text;
};

class CachedFileOfFourKiB : public ACachedFile, public testing::WithParamInterface<Difference> {};

TEST_P(CachedFileOfFourKiB, IsReplacedWhenAnyOfItsBytesChanged) {
    const Options options = inPieces(1, 24h);
    save(std::string(4096, 'x'), options);
    const FileState before = stateOf(mPath);
    save(GetParam().text, options);
    EXPECT_EQ(contentOf(mPath), GetParam().text);
    EXPECT_NE(stateOf(mPath).inode, before.inode);
}

const Difference differences[] = {
    {{"TheFirst"}, "y" + std::string(4095, 'x')},
    {{"TheLast"}, std::string(4095, 'x') + "y"},
    {{"OneInTheMiddle"}, std::string(2048, 'x') + "y" + std::string(2047, 'x')},
    {{"OneLess"}, std::string(4095, 'x')},
    {{"AWholePieceLess"}, std::string(3072, 'x')},
    {{"OneMore"}, std::string(4097, 'x')},
    {{"NoneLeft"}, ""},
};

INSTANTIATE_TEST_SUITE_P(ACachedFile, CachedFileOfFourKiB, testing::ValuesIn(differences), byName);

TEST_F(ACachedFile, GetsAChangeThatWasMadeWhileItWasWritten) {
    Gate gate;
    FileCallWatch watch(mFolder.path(), [&gate](const FileCall& call) {
        if (call.operation == "fsync") gate.pass();
        return Verdict{};
    });
    CachedFileManager files;
    addFile(files, mPath, atOnce);
    const OpenAtExit opener(gate);
    setText(files, "first");
    ASSERT_TRUE(gate.isReached());
    setText(files, "second");
    gate.open();
    EXPECT_TRUE(eventually([this] { return contentOf(mPath) == "second"; }));
}

TEST_F(ACachedFile, GetsAChangeMadeDuringTheLastWriteBeforeItsManagerIsDestroyed) {
    Gate gate;
    FileCallWatch watch(mFolder.path(), [&gate](const FileCall& call) {
        if (call.operation == "fsync") gate.pass();
        return Verdict{};
    });
    auto files = std::make_unique<CachedFileManager>();
    addFile(*files, mPath, atOnce);
    setText(*files, "first");
    const bool isHeld = gate.isReached();
    setText(*files, "second");
    auto destroyed = std::async(std::launch::async, [&files] { files.reset(); });
    gate.open();
    destroyed.get();
    EXPECT_TRUE(isHeld);
    EXPECT_EQ(contentOf(mPath), "second");
}

// Its lock

struct HeldCall : NamedCase {
    std::string operation;
    std::string file;  // "new" is the new one, "." the folder

    bool is(const FileCall& call) const {
        const bool isNew = call.name.starts_with(".list.");
        return call.operation == operation && (isNew ? "new" : call.name) == file;
    }
};

class CachedFileHeldBack : public ACachedFile, public testing::WithParamInterface<HeldCall> {};

TEST_P(CachedFileHeldBack, LetsLookupsAndChangesGoOn) {
    save("old");
    Gate gate;
    FileCallWatch watch(mFolder.path(), [&gate](const FileCall& call) {
        if (GetParam().is(call)) gate.pass();
        return Verdict{};
    });
    CachedFileManager files;
    addFile(files, mPath, atOnce);
    const OpenAtExit opener(gate);
    setText(files, "new");
    ASSERT_TRUE(gate.isReached());
    auto lookup = std::async(std::launch::async, [&files] {
        setText(files, textOf(files) + "er");
        return textOf(files);
    });
    const bool wasInTime = lookup.wait_for(30s) == std::future_status::ready;
    gate.open();
    EXPECT_EQ(lookup.get(), "newer");
    EXPECT_TRUE(wasInTime) << "the lookup waited for the disk";
}

const HeldCall heldCalls[] = {
    {{"WhenTheOldFileIsOpened"}, "open", "list"},   {{"WhenTheOldFileIsRead"}, "read", "list"},
    {{"WhenTheNewFileIsOpened"}, "open", "new"},    {{"WhenTheNewFileIsWritten"}, "write", "new"},
    {{"WhenTheNewFileIsFlushed"}, "fsync", "new"},  {{"WhenTheNewFileIsClosed"}, "close", "new"},
    {{"WhenTheNewFileIsRenamed"}, "rename", "new"}, {{"WhenTheFolderIsFlushed"}, "fsync", "."},
};

INSTANTIATE_TEST_SUITE_P(ACachedFile, CachedFileHeldBack, testing::ValuesIn(heldCalls), byName);

// Stops in the middle of its serialization.
class HeldText : public Text {
public:
    explicit HeldText(Gate& gate) : mGate(gate) {}

    void serialize(std::ostream& stream) const override {
        mGate.pass();
        Text::serialize(stream);
    }

private:
    Gate& mGate;
};

TEST_F(ACachedFile, IsLockedWhileItsObjectIsSerialized) {
    Gate gate;
    CachedFileManager files;
    files.add(std::make_unique<HeldText>(gate), mPath, atOnce);
    const OpenAtExit opener(gate);
    setText<HeldText>(files, "new");
    ASSERT_TRUE(gate.isReached());
    const std::unique_lock lock(files.getHandler(typeid(HeldText)).mutex(), std::try_to_lock);
    EXPECT_FALSE(lock.owns_lock());
}

// Fails to serialize a few times.
class FailingText : public Text {
public:
    void serialize(std::ostream& stream) const override {
        if (mFailuresLeft-- > 0) throw std::length_error("too long");
        Text::serialize(stream);
    }

private:
    mutable int mFailuresLeft = 2;
};

TEST_F(ACachedFile, KeepsItsContentUntilItsObjectCanBeSerialized) {
    save("old");
    CachedFileManager files;
    addFile<FailingText>(files, mPath, atOnce);
    setText<FailingText>(files, "new");
    EXPECT_TRUE(eventually([this] {
        const std::string content = contentOf(mPath);
        EXPECT_TRUE(content == "old" || content == "new") << content;
        return content == "new";
    }));
}

// How it is written

// As "rename .list.unfinished-* list": the number in a temporary name is nobody's business.
std::string described(const FileCall& call) {
    const std::string name = call.name.starts_with(".list.") ? "new" : call.name;
    const std::string mode = call.operation != "open" ? "" : call.toWrite ? " to write" : " to read";
    return call.operation + " " + name + mode + (call.newName.empty() ? "" : " to " + call.newName);
}

std::vector<std::string> described(const std::vector<FinishedCall>& calls) {
    std::vector<std::string> texts;
    for (const FinishedCall& call : calls) texts.push_back(described(call));
    return texts;
}

TEST_F(ACachedFile, IsReplacedInAnOrderThatSurvivesAPowerCut) {
    FileCallWatch watch(mFolder.path());
    save("new");
    for (const FinishedCall& call : watch.calls()) {
        EXPECT_EQ(call.error, call.operation == "unlink" || described(call) == "open list to read" ? ENOENT : 0);
    }
    EXPECT_THAT(described(watch.calls()),
                ElementsAre("open list to read", "open new to write", "fchmod new", "write new", "fsync new",
                            "close new", "rename new to list", "open . to read", "fsync .", "close .", "unlink new"));
}

TEST_F(ACachedFile, IsNeverSeenWithAMixtureOfOldAndNew) {
    constexpr int versions = 100;
    const auto version = [](int number) {
        return std::string(static_cast<std::size_t>(5000 + number * 37), static_cast<char>('A' + number % 26));
    };
    save(version(0));
    CachedFileManager files;
    addFile(files, mPath, inPieces(1, 0ms));
    for (int number = 1; number <= versions; ++number) {
        setText(files, version(number));
        ASSERT_TRUE(eventually([&] {
            const std::string seen = contentOf(mPath);
            EXPECT_TRUE(seen == version(number) || seen == version(number - 1)) << seen.size() << " bytes";
            return seen == version(number);
        }));
    }
}

class BufferOf : public ACachedFile, public testing::WithParamInterface<std::pair<unsigned, std::size_t>> {};

TEST_P(BufferOf, IsTheSizeOfThePiecesInWhichTheFileIsReadAndWritten) {
    const auto [bufferKiB, pieceSize] = GetParam();
    const std::string text(2 * pieceSize + 1, 'x');
    const Options options = inPieces(bufferKiB, 24h);
    FileCallWatch watch(mFolder.path());
    save(text, options);
    save(text + "y", options);
    std::vector<std::size_t> written;
    for (const FinishedCall& call : watch.calls()) {
        if (call.operation == "write") written.push_back(call.length);
        if (call.operation == "read") {
            EXPECT_LE(call.length, pieceSize);
        }
    }
    EXPECT_THAT(written, ElementsAre(pieceSize, pieceSize, 1U, pieceSize, pieceSize, 2U));
    EXPECT_EQ(loadedFrom(mPath), text + "y");
}

INSTANTIATE_TEST_SUITE_P(ACachedFile, BufferOf,
                         testing::Values(std::pair(0U, 1024U), std::pair(1U, 1024U), std::pair(32U, 32768U)),
                         [](const auto& row) { return std::to_string(row.param.first) + "KiB"; });

TEST_F(ACachedFile, AcceptsABufferSizeBeyondTheLargest) {
    save("new", inPieces(4294967295U, 24h));
    EXPECT_EQ(loadedFrom(mPath), "new");
}

// While it lives, the process masks these permissions.
class Umask {
public:
    explicit Umask(mode_t mask) : mPrevious(umask(mask)) {}
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;
    ~Umask() { umask(mPrevious); }

private:
    mode_t mPrevious;
};

struct Creation : NamedCase {
    bool atomicReplace;
    unsigned permissions;
    mode_t mask;
};

class CreatedFile : public ACachedFile, public testing::WithParamInterface<Creation> {};

TEST_P(CreatedFile, HasTheModeOfTheOptionsWhateverTheUmask) {
    const Umask mask(GetParam().mask);
    Options options = muchLater;
    options.atomicReplace = GetParam().atomicReplace;
    options.permissions = GetParam().permissions;
    save("new", options);
    EXPECT_EQ(modeOf(mPath), GetParam().permissions);
    EXPECT_EQ(contentOf(mPath), "new");
}

const Creation creations[] = {
    {{"UnderANarrowUmask"}, true, 0644, 0077},
    {{"UnderAClosedUmask"}, true, 0600, 0777},
    {{"UnderAnOpenUmask"}, true, 0600, 0},
    {{"InPlaceUnderANarrowUmask"}, false, 0644, 0077},
    {{"InPlaceUnderAClosedUmask"}, false, 0600, 0777},
    {{"InPlaceUnderAnOpenUmask"}, false, 0600, 0},
};

INSTANTIATE_TEST_SUITE_P(ACachedFile, CreatedFile, testing::ValuesIn(creations), byName);

TEST_F(ACachedFile, HasTheModeOfTheOptionsAfterAReplacement) {
    writeFile(mPath, "old");
    std::filesystem::permissions(mPath, std::filesystem::perms(0644));
    save("new");
    EXPECT_EQ(modeOf(mPath), 0600U);
}

TEST_F(ACachedFile, StaysWhereItWasWhenTheProgramChangesItsFolder) {
    const auto start = std::filesystem::current_path();
    TemporaryFolder elsewhere;
    std::filesystem::current_path(mFolder.path());
    saveAt("list", "old");
    {
        CachedFileManager files;
        addFile(files, "list", muchLater);
        setText(files, "new");
        std::filesystem::current_path(elsewhere.path());
    }
    std::filesystem::current_path(start);
    EXPECT_EQ(contentOf(mPath), "new");
    EXPECT_THAT(namesIn(elsewhere.path()), IsEmpty());
}

TEST_F(ACachedFile, MayHaveTheLongestNameOfTheFileSystem) {
    const std::string path = mFolder.file(std::string(255, 'n'));
    saveAt(path, "new");
    EXPECT_EQ(contentOf(path), "new");
}

// Symbolic links at its path

class LinkedFile : public ACachedFile {
protected:
    // A link of this name in the folder.
    void link(const std::string& name, const std::string& target) const {
        std::filesystem::create_symlink(target, mFolder.file(name));
    }

    std::string targetOf(const std::string& name) const {
        return std::filesystem::read_symlink(mFolder.file(name)).string();
    }
};

TEST_F(LinkedFile, IsReplacedBehindTheLink) {
    writeFile(mFolder.file("target"), "old");
    link("list", mFolder.file("target"));
    EXPECT_EQ(loadedFrom(mPath), "old");
    save("new");
    EXPECT_EQ(targetOf("list"), mFolder.file("target"));
    EXPECT_EQ(contentOf(mFolder.file("target")), "new");
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("list", "target"));
}

TEST_F(LinkedFile, IsCreatedBehindADanglingLink) {
    link("list", "target");
    save("new");
    EXPECT_EQ(targetOf("list"), "target");
    EXPECT_EQ(contentOf(mFolder.file("target")), "new");
}

TEST_F(LinkedFile, IsFoundThroughRelativeLinksFromFolderToFolder) {
    std::filesystem::create_directories(mFolder.file("etc/lists"));
    std::filesystem::create_directories(mFolder.file("data"));
    link("list", "etc/lists/current");
    link("etc/lists/current", "../latest");
    link("etc/latest", "../data/target");
    save("new");
    EXPECT_EQ(contentOf(mFolder.file("data/target")), "new");
    EXPECT_EQ(loadedFrom(mPath), "new");
    EXPECT_EQ(targetOf("list"), "etc/lists/current");
    EXPECT_EQ(targetOf("etc/lists/current"), "../latest");
    EXPECT_EQ(targetOf("etc/latest"), "../data/target");
    EXPECT_THAT(namesIn(mFolder.file("etc/lists")), ElementsAre("current"));
}

TEST_F(LinkedFile, IsFoundThroughALinkedFolder) {
    std::filesystem::create_directories(mFolder.file("data/deep"));
    link("folder", "data/deep");
    link("data/list", "deep/../target");
    saveAt(mFolder.file("folder/../list"), "new");
    EXPECT_EQ(contentOf(mFolder.file("data/target")), "new");
    saveAt(mFolder.file("folder/plain"), "plain");
    EXPECT_EQ(contentOf(mFolder.file("data/deep/plain")), "plain");
}

TEST_F(LinkedFile, IsFoundThroughALongChain) {
    writeFile(mFolder.file("link0"), "old");
    for (int i = 1; i <= 39; ++i) link("link" + std::to_string(i), "link" + std::to_string(i - 1));
    saveAt(mFolder.file("link39"), "new");
    EXPECT_EQ(contentOf(mFolder.file("link0")), "new");
    EXPECT_EQ(targetOf("link39"), "link38");
    EXPECT_FALSE(std::filesystem::is_symlink(mFolder.file("link0")));
}

TEST_F(LinkedFile, IsRefusedWhereALinkLeadsIntoAMissingFolder) {
    link("list", "missing/target");
    EXPECT_EQ(refusal(), "std::runtime_error: Cannot load " + mPath + ": its folder does not exist");
}

TEST_F(LinkedFile, IsWrittenInPlaceBehindTheLink) {
    link("list", "target");
    save("new", inPlace(muchLater));
    EXPECT_EQ(targetOf("list"), "target");
    EXPECT_EQ(contentOf(mFolder.file("target")), "new");
}

// What a killed process leaves

TEST_F(ACachedFile, IsFreedFromWhatKilledProcessesLeft) {
    writeFile(mPath, "list");
    writeFile(mFolder.file(".list.unfinished-4711"), "half a li");
    writeFile(mFolder.file(".list.unfinished-backup-815"), "list");
    EXPECT_EQ(loadedFrom(mPath), "list");
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("list"));
}

TEST_F(ACachedFile, IsFreedFromThemBehindALinkToo) {
    std::filesystem::create_directory(mFolder.file("data"));
    writeFile(mFolder.file("data/.target.unfinished-4711"), "half a li");
    std::filesystem::create_symlink("data/target", mPath);
    CachedFileManager files;
    addFile(files, mPath, atOnce);
    EXPECT_THAT(namesIn(mFolder.file("data")), IsEmpty());
}

TEST_F(ACachedFile, LeavesTheOtherFilesOfItsFolderAlone) {
    const std::vector<std::string> others = {".lis.unfinished-1",   ".list",
                                             ".list.bak",           ".list.unfinished",
                                             ".list2.unfinished-1", ".other.unfinished-4711",
                                             "list.unfinished-12",  "other",
                                             "unfinished-12"};
    for (const std::string& name : others) writeFile(mFolder.file(name), name);
    save("new");
    EXPECT_EQ(loadedFrom(mPath), "new");
    for (const std::string& name : others) EXPECT_EQ(contentOf(mFolder.file(name)), name);
}

TEST_F(ACachedFile, KeepsWhatKilledProcessesLeftWhenItCannotBeLoaded) {
    writeFile(mPath, "damaged");
    writeFile(mFolder.file(".list.unfinished-4711"), "perhaps good");
    EXPECT_THROW(loadedFrom(mPath), std::runtime_error);
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre(".list.unfinished-4711", "list"));
}

// Backups

class CachedFileWithBackup : public ACachedFile, public testing::WithParamInterface<bool> {
protected:
    static Options options() { return withBackup(GetParam() ? muchLater : inPlace(muchLater)); }

    const std::string mBackup = mPath + ".bak";
};

TEST_P(CachedFileWithBackup, HasNoneAfterTheFirstWrite) {
    save("one", options());
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("list"));
}

TEST_P(CachedFileWithBackup, KeepsThePreviousContent) {
    save("one", options());
    save("two", options());
    EXPECT_EQ(contentOf(mBackup), "one");
    save("three", options());
    EXPECT_EQ(contentOf(mBackup), "two");
    EXPECT_EQ(contentOf(mPath), "three");
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("list", "list.bak"));
}

TEST_P(CachedFileWithBackup, LeavesTheBackupAloneWhenNothingChanged) {
    save("one", options());
    save("two", options());
    save("two", options());
    EXPECT_EQ(contentOf(mBackup), "one");
}

TEST_P(CachedFileWithBackup, KeepsItBesideTheTargetOfALink) {
    std::filesystem::create_directory(mFolder.file("data"));
    writeFile(mFolder.file("data/target"), "one");
    std::filesystem::create_symlink("data/target", mPath);
    save("two", options());
    EXPECT_EQ(contentOf(mFolder.file("data/target.bak")), "one");
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("data", "list"));
}

INSTANTIATE_TEST_SUITE_P(ACachedFile, CachedFileWithBackup, testing::Bool(),
                         [](const auto& row) { return row.param ? "Replaced" : "InPlace"; });

TEST_F(ACachedFile, HasNoBackupWithAnEmptySuffix) {
    Options options = muchLater;
    options.backupSuffix = "";
    save("one", options);
    save("two", options);
    EXPECT_THAT(namesIn(mFolder.path()), ElementsAre("list"));
}

// In place

class CachedFileInPlace : public ACachedFile {
protected:
    const Options mInPlace = inPlace(muchLater);
};

TEST_F(CachedFileInPlace, KeepsItsInodeAndMode) {
    writeFile(mPath, "a long old text");
    std::filesystem::permissions(mPath, std::filesystem::perms(0640));
    const FileState before = stateOf(mPath);
    save("new", mInPlace);
    EXPECT_EQ(contentOf(mPath), "new");
    EXPECT_EQ(stateOf(mPath).inode, before.inode);
    EXPECT_EQ(stateOf(mPath).mode, 0640U);
}

TEST_F(CachedFileInPlace, IsWrittenWhereNoFileCanBeCreated) {
    writeFile(mPath, "old");
    std::filesystem::permissions(mFolder.path(), std::filesystem::perms(0500));
    {
        const OrdinaryRights rights;
        save("new", mInPlace);
    }
    std::filesystem::permissions(mFolder.path(), std::filesystem::perms(0700));
    EXPECT_EQ(contentOf(mPath), "new");
}

TEST_F(CachedFileInPlace, IsNotWrittenWhenItsBytesDidNotChange) {
    save("the same", mInPlace);
    const FileState before = stateOf(mPath);
    save("the same", mInPlace);
    EXPECT_EQ(stateOf(mPath), before);
}

TEST_F(CachedFileInPlace, IsFlushedToTheDevice) {
    FileCallWatch watch(mFolder.path());
    save("new", mInPlace);
    EXPECT_THAT(described(watch.calls()),
                testing::IsSupersetOf({"open list to write", "write list", "fsync list", "close list"}));
}

TEST_F(CachedFileInPlace, IsOverwrittenOnlyWhenItsBackupIsOnTheDevice) {
    save("old", mInPlace);
    FileCallWatch watch(mFolder.path());
    save("new", withBackup(mInPlace));
    auto calls = described(watch.calls());
    const auto overwriting = std::find(calls.begin(), calls.end(), "open list to write");
    ASSERT_NE(overwriting, calls.end());
    calls.erase(overwriting, calls.end());
    EXPECT_THAT(calls, testing::IsSupersetOf({"fsync list.bak", "fsync ."}));
}

}  // namespace
}  // namespace oru::common::fs
